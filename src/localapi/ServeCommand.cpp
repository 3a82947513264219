#include "ServeCommand.h"

#include "AppStateAPIDelegate.h"
#include "LocalAPIServer.h"
#include "app/CommandLine.h"
#include "support/Log.h"
#include "support/UserDefaults.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace orvane {

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int signal) {
    const char byte = char(signal);
    // Only async-signal-safe work here: the event loop reads the pipe and does the rest.
    [[maybe_unused]] const ssize_t n = ::write(signalPipe[1], &byte, 1);
}

class ServeSession : public QObject {
public:
    ServeSession(AppState& app, quint16 port)
        : m_delegate(app)
        , m_server(&m_delegate, &app, UserDefaults::standard(), port) {}
    LocalAPIServer& server() { return m_server; }

private:
    AppStateAPIDelegate m_delegate;
    LocalAPIServer m_server;
};

} // namespace

int runServeCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    bool bad = false;
    const int port =
        cli::takeIntOption(args, QStringLiteral("--port"), bad).value_or(LocalAPIServer::defaultPort);
    if (bad || !args.isEmpty() || port <= 0 || port > 65535)
        return cli::fail(QStringLiteral("usage: orvane-screen serve [--port N]"));

    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return cli::fail(QStringLiteral("cannot watch for signals"));
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    QSocketNotifier notifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [] {
        char byte;
        while (::read(signalPipe[0], &byte, 1) > 0) {
        }
        QCoreApplication::quit();
    });

    auto session = std::make_unique<ServeSession>(app, quint16(port));
    LocalAPIServer& server = session->server();
    QObject::connect(&server, &LocalAPIServer::listening, [port] {
        cli::print(QStringLiteral("serving the Orvane Screen API on http://127.0.0.1:%1 (Ctrl-C to stop)")
                       .arg(port));
    });
    QObject::connect(&server, &LocalAPIServer::gaveUp, [] { QCoreApplication::exit(1); });
    // The window's start-up reads the permissions; without one they would stay unknown, and every start
    // over the API would be refused in silence.
    QCoro::waitFor(app.refreshPermissions());
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
