#include "GraphicsBackend.h"

#include "support/Log.h"

#include <QDir>
#include <QQuickWindow>
#include <QSGRendererInterface>

namespace orvane {

bool prefersSoftwareRenderer() {
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND"))
        return false;
    const QByteArray software = qgetenv("LIBGL_ALWAYS_SOFTWARE");
    if (!software.isEmpty() && software != "0" && software != "false")
        return true;
    return QDir(QStringLiteral("/dev/dri")).entryList({QStringLiteral("renderD*")}, QDir::System).isEmpty();
}

void chooseGraphicsBackend() {
    if (!prefersSoftwareRenderer())
        return;
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // Without a swap to wait on, a window's update request is held back a few milliseconds to gather
    // others; a preview handing over a frame every 16.7 ms then misses every other display frame. The
    // render itself paces the window instead. Read once, at the first request.
    if (!qEnvironmentVariableIsSet("QT_QPA_UPDATE_IDLE_TIME"))
        qputenv("QT_QPA_UPDATE_IDLE_TIME", "0");
    log::info("App", QStringLiteral("no GPU: drawing with the software renderer"));
}

} // namespace orvane
