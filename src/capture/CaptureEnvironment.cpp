#include "CaptureEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <unistd.h>

namespace orvane {

CaptureEnvironment CaptureEnvironment::fromSystem() {
    CaptureEnvironment env;
    env.session = sessionFrom(qgetenv("XDG_SESSION_TYPE"), qgetenv("WAYLAND_DISPLAY"), qgetenv("DISPLAY"));
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (!data.isEmpty())
        env.rememberedSourcesPath = QDir(data).filePath(QStringLiteral("remembered-sources.json"));
    env.own.bundleIdentifier = QCoreApplication::applicationName();
    env.own.processID = std::uint32_t(::getpid());
    return env;
}

CaptureEnvironment::Session CaptureEnvironment::sessionFrom(const QByteArray& xdgSessionType,
                                                            const QByteArray& waylandDisplay,
                                                            const QByteArray& display) {
    const QByteArray type = xdgSessionType.trimmed().toLower();
    if (type == "wayland")
        return Session::wayland;
    if (type == "x11")
        return Session::x11;
    // "tty", "unspecified" or nothing: the displays decide.
    return !waylandDisplay.isEmpty() && display.isEmpty() ? Session::wayland : Session::x11;
}

QString CaptureEnvironment::sessionName(Session session) {
    return session == Session::wayland ? QStringLiteral("wayland") : QStringLiteral("x11");
}

} // namespace orvane
