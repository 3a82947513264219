#pragma once

#include "capture/ShareableContent.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

namespace orvane {

// Asks an X server what there is to capture: one display per RandR monitor ("display id" = the monitor's
// first output, or its name atom when it has none), the windows of the EWMH client list (or, without a
// window manager, the viewable top-level windows) with their WM_CLASS, _NET_WM_PID, window types and task
// bar state, and the applications grouped by WM_CLASS and process.
//
// Blocking (a few round trips, requests pipelined) and reentrant: each call opens a connection of its own,
// so it may run on any thread.
class X11ContentQuery {
public:
    // Fails with the system's reason when no X server answers.
    static tl::expected<ShareableContent, QString> query(const QByteArray& displayName = {});

    // Whether the server hands this client the screen's pixels: it answers, has a display, and a one-pixel
    // GetImage of the root window succeeds (an untrusted client of the SECURITY extension is refused).
    static bool captureAllowed(const QByteArray& displayName = {});
    // Whether XInput 2.2 is there, which the input tap needs.
    static bool hasXInput2(const QByteArray& displayName = {});
};

} // namespace orvane
