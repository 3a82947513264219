#include "app/AppState.h"
#include "app/BundlePreviewRenderer.h"
#include "app/CommandLine.h"
#include "app/DisplayCheck.h"
#include "app/InterruptWatcher.h"
#include "direction/ThumbnailGenerator.h"
#include "localapi/LocalAPIServer.h"
#include "localapi/ServeCommand.h"
#include "project/RecentProjectsStore.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"
#include "ui/GraphicsBackend.h"
#include "ui/SingleInstance.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QThreadPool>
#include <QUrl>

#include <unistd.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace {

// What the desktop opens the program with: nothing, project folders, or orvane-screen: links.
bool isWindowArgument(const char* argument) {
    const QString text = QString::fromLocal8Bit(argument);
    if (text.startsWith(QLatin1String("orvane-screen:")))
        return true;
    const QUrl url(text);
    const QString path = url.isLocalFile() ? url.toLocalFile() : text;
    return QFileInfo(QDir(path).filePath(QStringLiteral("project.json"))).isFile();
}

void ensureRuntimeDirectory() {
    // Headless sessions (ssh, CI) often lack a runtime folder; Qt wants one and says so on every run.
    if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        return;
    const QString runtime = QDir::tempPath() + QStringLiteral("/runtime-%1").arg(::getuid());
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
}

void describeApplication() {
    QGuiApplication::setApplicationName(QStringLiteral("Orvane Screen"));
    QGuiApplication::setOrganizationName(QStringLiteral("Orvane"));
    QGuiApplication::setApplicationVersion(QStringLiteral(ORVANE_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("tech.velvetcomet.orvane.screen"));
}

int runDesktop() {
    QStringList arguments = QGuiApplication::arguments();
    arguments.removeFirst();
    orvane::SingleInstance instance(orvane::SingleInstance::defaultSocketPath());
    if (!instance.claimOrForward(arguments)) {
        std::printf("orvane-screen: handed over to the running window\n");
        return 0;
    }

    QQuickStyle::setStyle(QStringLiteral("Basic"));
    orvane::chooseGraphicsBackend();
    // The API port may be moved for a test run beside a user's own program.
    quint16 port = orvane::LocalAPIServer::defaultPort;
    if (const int override = qEnvironmentVariableIntValue("ORVANE_SCREEN_API_PORT");
        override > 0 && override < 65536)
        port = quint16(override);

    orvane::AppState app;
    orvane::DesktopApplication desktop(app, orvane::RecentProjectsStore::shared(),
                                       orvane::UserDefaults::standard(), {port});
    QObject::connect(&instance, &orvane::SingleInstance::argumentsReceived, &desktop,
                     &orvane::DesktopApplication::openArguments);
    orvane::InterruptWatcher interrupts([&desktop] { desktop.requestQuit(); });
    // The start-up benchmark times the program to its first painted frame.
    if (qEnvironmentVariableIsSet("ORVANE_SCREEN_REPORT_FIRST_FRAME"))
        QObject::connect(&desktop, &orvane::DesktopApplication::firstFramePainted, [] {
            std::printf("first frame\n");
            std::fflush(stdout);
        });
    if (!desktop.load())
        return 1;
    if (!arguments.isEmpty())
        desktop.openArguments(arguments);
    const int status = QGuiApplication::exec();
    // The open project's last edit reaches the disk before the program goes.
    if (const auto& bundle = app.currentBundle())
        (void)bundle->flushPendingSave();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (qstrcmp(argv[1], "--version") == 0 || qstrcmp(argv[1], "-v") == 0)) {
        std::printf("orvane-screen %s\n", ORVANE_VERSION);
        return 0;
    }
    bool windowed = true;
    for (int i = 1; i < argc; ++i)
        windowed = windowed && isWindowArgument(argv[i]);
    if (windowed) {
        // Without a display the toolkit would abort; say what is missing and what works without one.
        if (const auto reason = orvane::missingDisplayReason()) {
            std::fprintf(stderr, "orvane-screen: %s.\nWithout a display these commands work:\n\n",
                         qPrintable(*reason));
            windowed = false;
            argc = 1;
        }
    }
    // Commands run headless: they draw previews and stills offscreen and never need a display.
    if (!windowed && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ensureRuntimeDirectory();
    // Log lines carry their own "[Component] " tag; the category name would only repeat it.
    qSetMessagePattern(QStringLiteral("%{message}"));
    QGuiApplication application(argc, argv);
    describeApplication();
    orvane::BundlePreviewRenderer::install();
    orvane::RecentProjectsStore::shared().setThumbnailGenerator(&orvane::ThumbnailGenerator::generate);

    int status = 0;
    if (windowed) {
        status = runDesktop();
    } else {
        orvane::AppState app;
        orvane::CommandLine commandLine;
        commandLine.add(QStringLiteral("serve"), QStringLiteral("serve [--port N]"),
                        &orvane::runServeCommand);
        QStringList args = QGuiApplication::arguments();
        args.removeFirst();
        status = commandLine.run(app, args);
    }
    // A recent project's card may still be in the making; it finishes before the application goes.
    QThreadPool::globalInstance()->waitForDone();
    return status;
}
