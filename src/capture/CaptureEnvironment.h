#pragma once

#include "capture/SourceCatalog.h"

#include <QByteArray>
#include <QString>

namespace orvane {

// Where capture looks: which window system, which X display or which portal, which PulseAudio server,
// where video and input devices live, and which windows are this program's own. The application takes the
// process's own (fromSystem); tests and tools point it at private servers so that parallel runs never meet.
struct CaptureEnvironment {
    // Which backend records: X11 reads the X server itself; Wayland asks the desktop's portal for a
    // PipeWire stream and reads the pointer's buttons from the input devices.
    enum class Session { x11, wayland };

    Session session = Session::x11;
    QByteArray displayName; // empty: $DISPLAY
    QByteArray pulseServer; // empty: the default server ($PULSE_SERVER, else the user's)
    QString videoDeviceDirectory = QStringLiteral("/dev");
    // Wayland: the input devices read for clicks and keys.
    QString inputDeviceDirectory = QStringLiteral("/dev/input");
    // Wayland: the D-Bus address the portal answers on; empty is the session bus.
    QString portalBusAddress;
    // Wayland: the file that remembers the sources chosen in the desktop's dialog; empty keeps nothing.
    QString rememberedSourcesPath;
    OwnProcess own;

    // The session this process runs in, the default servers and devices, and this process under the
    // application's name.
    static CaptureEnvironment fromSystem();

    // Wayland when the session says so ($XDG_SESSION_TYPE) or, where that is unset, when only a Wayland
    // display is there. An X11 session, or both displays without a word from the session, stays on X11:
    // Xwayland's $DISPLAY alone is not a Wayland session, but a Wayland display without $DISPLAY is.
    static Session sessionFrom(const QByteArray& xdgSessionType, const QByteArray& waylandDisplay,
                               const QByteArray& display);
    static QString sessionName(Session session);

    bool operator==(const CaptureEnvironment&) const = default;
};

} // namespace orvane
