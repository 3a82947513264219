#include "AppState.h"
#include "BundlePreviewRenderer.h"
#include "CommandLine.h"
#include "DisplayCheck.h"
#include "direction/ThumbnailGenerator.h"
#include "localapi/ServeCommand.h"

#include <QDir>
#include <QGuiApplication>
#include <QThreadPool>

#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
    const bool windowed = argc == 1;
    if (windowed) {
        // Without a display the toolkit would abort; say what is missing and what works without one.
        if (const auto reason = orvane::missingDisplayReason()) {
            std::fprintf(stderr, "orvane-screen: %s.\nWithout a display these commands work:\n\n",
                         qPrintable(*reason));
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
    }
    if (argc == 2 && (qstrcmp(argv[1], "--version") == 0 || qstrcmp(argv[1], "-v") == 0)) {
        std::printf("orvane-screen %s\n", ORVANE_VERSION);
        return 0;
    }
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
    QGuiApplication::setApplicationVersion(QStringLiteral(ORVANE_VERSION));
    orvane::BundlePreviewRenderer::install();
    orvane::RecentProjectsStore::shared().setThumbnailGenerator(&orvane::ThumbnailGenerator::generate);

    orvane::AppState app;
    orvane::CommandLine commandLine;
    commandLine.add(QStringLiteral("serve"), QStringLiteral("serve [--port N]"), &orvane::runServeCommand);
    QStringList args = QGuiApplication::arguments();
    args.removeFirst();
    const int status = commandLine.run(app, args);
    // A recent project's card may still be in the making; it finishes before the application goes.
    QThreadPool::globalInstance()->waitForDone();
    return status;
}
