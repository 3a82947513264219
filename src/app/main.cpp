#include "AppState.h"
#include "BundlePreviewRenderer.h"
#include "CommandLine.h"
#include "localapi/ServeCommand.h"

#include <QDir>
#include <QGuiApplication>

#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
    // Commands run headless: they draw previews and stills offscreen and never need a display.
    if (argc > 1 && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Headless sessions (ssh, CI) often lack a runtime folder; Qt wants one and says so on every run.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QString runtime = QDir::tempPath() + QStringLiteral("/runtime-%1").arg(::getuid());
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
    }
    // Log lines carry their own "[Component] " tag; the category name would only repeat it.
    qSetMessagePattern(QStringLiteral("%{message}"));
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Orvane Screen"));
    QGuiApplication::setOrganizationName(QStringLiteral("Orvane"));
    orvane::BundlePreviewRenderer::install();

    orvane::AppState app;
    orvane::CommandLine commandLine;
    commandLine.add(QStringLiteral("serve"), QStringLiteral("serve [--port N]"), &orvane::runServeCommand);
    QStringList args = QGuiApplication::arguments();
    args.removeFirst();
    return commandLine.run(app, args);
}
