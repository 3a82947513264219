#include "DisplayCheck.h"

#include "capture/x11/XcbHandles.h"

#include <QDir>
#include <QFileInfo>

namespace orvane {

namespace {

bool xServerAnswers(const QByteArray& display) {
    return xcb::connect(display, nullptr) != nullptr;
}

bool waylandSocketExists(const QString& name) {
    if (QDir::isAbsolutePath(name))
        return QFileInfo::exists(name);
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo::exists(QDir(runtime).filePath(name));
}

} // namespace

std::optional<QString> missingDisplayReason() {
    const QByteArray x11 = qgetenv("DISPLAY");
    const QString wayland = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (!x11.isEmpty() && xServerAnswers(x11))
        return std::nullopt;
    if (!wayland.isEmpty() && waylandSocketExists(wayland))
        return std::nullopt;

    QStringList problems;
    problems << (x11.isEmpty()
                     ? QStringLiteral("DISPLAY is not set")
                     : QStringLiteral("no X server answers on DISPLAY=%1").arg(QString::fromLocal8Bit(x11)));
    problems << (wayland.isEmpty() ? QStringLiteral("WAYLAND_DISPLAY is not set")
                                   : QStringLiteral("no Wayland socket named %1").arg(wayland));
    return QStringLiteral("no display to open the window on (%1)").arg(problems.join(QStringLiteral(", ")));
}

} // namespace orvane
