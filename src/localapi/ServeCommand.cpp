#include "ServeCommand.h"

#include "AppStateAPIDelegate.h"
#include "LocalAPIServer.h"
#include "app/AppState.h"
#include "app/CommandLine.h"
#include "app/InterruptWatcher.h"
#include "support/Log.h"
#include "support/UserDefaults.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>

#include <cstdio>

namespace orvane {

int runServeCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    bool bad = false;
    const int port =
        cli::takeIntOption(args, QStringLiteral("--port"), bad).value_or(LocalAPIServer::defaultPort);
    if (bad || !args.isEmpty() || port <= 0 || port > 65535)
        return cli::fail(QStringLiteral("usage: orvane-screen serve [--port N]"));

    auto session = std::make_unique<AppStateAPIServer>(app, quint16(port));
    LocalAPIServer& server = session->server();
    QObject::connect(&server, &LocalAPIServer::listening, [port] {
        cli::print(QStringLiteral("serving the Orvane Screen API on http://127.0.0.1:%1 (Ctrl-C to stop)")
                       .arg(port));
    });
    QObject::connect(&server, &LocalAPIServer::gaveUp, [] { QCoreApplication::exit(1); });
    // The window's start-up reads the permissions; without one they would stay unknown, and every start
    // over the API would be refused in silence.
    QCoro::waitFor(app.refreshPermissions());

    // Ctrl-C, SIGTERM and SIGHUP end the server the way quitting ends the window: a recording under way is
    // stopped and appended to its project, within the same time limit, before the process goes. Watching
    // starts only now, because a quit during the wait above would end that wait's loop and not the server's.
    bool terminating = false;
    InterruptWatcher interrupt([&] {
        // A second signal while the recording stops must not cut the stop short.
        if (terminating)
            return;
        terminating = true;
        const auto reply = app.applicationShouldTerminate([](bool) { QCoreApplication::quit(); });
        if (reply == AppState::TerminateReply::now)
            QCoreApplication::quit();
        else
            std::fputs("stopping the recording...\n", stderr);
    });
    if (!interrupt.isWatching())
        log::warning("Serve", QStringLiteral("cannot watch for signals: Ctrl-C will not keep a recording"));
    server.start();
    const int code = QCoreApplication::exec();

    if (const auto& bundle = app.currentBundle())
        if (auto flushed = bundle->flushPendingSave(); !flushed)
            log::warning("Serve", QStringLiteral("final save failed: ") + flushed.error().description);
    session.reset();
    cli::print(QStringLiteral("stopped"));
    return code;
}

} // namespace orvane
