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
    log::info("App", QStringLiteral("no GPU: drawing with the software renderer"));
}

} // namespace orvane
