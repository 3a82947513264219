#pragma once

#include "capture/X11TestSupport.h"

#include <QByteArray>

#include <cstdio>
#include <memory>

namespace orvane::bench {

// A private 1920x1080 X server for a timing program's windows, with Qt pointed at it and away from any
// sound server, so the figures do not depend on the desktop the program was started from. Null, after
// saying why on stderr, when no server starts.
inline std::unique_ptr<test::XvfbServer> startPrivateDisplay(const char* program) {
    QByteArray failure;
    auto server = test::XvfbServer::start(1920, 1080, &failure);
    if (!server) {
        std::fprintf(stderr, "%s: no X server: %s\n", program, failure.constData());
        return nullptr;
    }
    qputenv("DISPLAY", server->displayName());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("PULSE_SERVER", "unix:/nonexistent");
    return server;
}

} // namespace orvane::bench
