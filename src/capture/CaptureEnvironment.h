#pragma once

#include "capture/SourceCatalog.h"

#include <QByteArray>
#include <QString>

namespace orvane {

// Where capture looks: which X display, which PulseAudio server, where video devices live, and which
// windows are this program's own. The application takes the process's own (fromSystem); tests and tools
// point it at private servers so that parallel runs never meet.
struct CaptureEnvironment {
    QByteArray displayName; // empty: $DISPLAY
    QByteArray pulseServer; // empty: the default server ($PULSE_SERVER, else the user's)
    QString videoDeviceDirectory = QStringLiteral("/dev");
    OwnProcess own;

    // $DISPLAY, the default server, /dev, and this process under the application's name.
    static CaptureEnvironment fromSystem();

    bool operator==(const CaptureEnvironment&) const = default;
};

} // namespace orvane
