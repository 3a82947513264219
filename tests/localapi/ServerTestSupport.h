#pragma once

// Real clients for the loopback server, usable from the main thread while it keeps serving: each
// client runs on a thread of its own and the main thread spins its event loop until the answer is in.
// And a server of its own for a test: a fresh application state behind it, on a free port.

#include "localapi/AppStateAPIDelegate.h"
#include "localapi/LocalAPIServer.h"
#include "project/JsonValue.h"
#include "support/UserDefaults.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>

namespace orvane::test {

inline bool spinUntil(const std::function<bool()>& done, int timeoutMs = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.hasExpired(timeoutMs))
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

inline quint16 freeLoopbackPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// Connects to 127.0.0.1:port, sends `bytes` as given and reads until the server closes. An empty
// result means no answer.
inline QByteArray rawExchangeBlocking(quint16 port, const QByteArray& bytes, int timeoutMs = 15000) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return {};
    timeval tv{timeoutMs / 1000, (timeoutMs % 1000) * 1000};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    QByteArray answer;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        if (!bytes.isEmpty())
            ::send(fd, bytes.constData(), std::size_t(bytes.size()), MSG_NOSIGNAL);
        char buffer[4096];
        while (true) {
            const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
            if (n <= 0)
                break;
            answer.append(buffer, n);
        }
    }
    ::close(fd);
    return answer;
}

inline QByteArray rawExchange(quint16 port, const QByteArray& bytes) {
    auto future = std::async(std::launch::async, [=] { return rawExchangeBlocking(port, bytes); });
    spinUntil([&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, 20000);
    return future.get();
}

struct CurlResult {
    int exitCode = -1;
    int status = 0;
    QByteArray body;
};

// curl as a separate process; "-w" appends the status on a line of its own.
inline CurlResult curl(quint16 port, const QString& method, const QString& path,
                       const QByteArray& body = {}) {
    QProcess process;
    QStringList args{QStringLiteral("-s"),
                     QStringLiteral("-X"),
                     method,
                     QStringLiteral("-w"),
                     QStringLiteral("\n%{http_code}"),
                     QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(path)};
    if (!body.isNull())
        args << QStringLiteral("-H") << QStringLiteral("Content-Type: application/json")
             << QStringLiteral("--data-binary") << QString::fromUtf8(body);
    process.start(QStringLiteral("curl"), args);
    spinUntil([&] { return process.state() == QProcess::NotRunning; }, 20000);
    CurlResult result;
    result.exitCode = process.exitCode();
    const QByteArray out = process.readAllStandardOutput();
    const qsizetype newline = out.lastIndexOf('\n');
    result.status = out.mid(newline + 1).toInt();
    result.body = out.left(newline);
    return result;
}

inline JsonObject bodyOf(const QByteArray& json) {
    auto parsed = parseJson(std::string_view(json.constData(), std::size_t(json.size())));
    auto* v = std::get_if<JsonValue>(&parsed);
    return v ? v->toObject() : JsonObject();
}

// An application state with its own settings and a started server on a free port.
struct TestServer {
    explicit TestServer(std::function<void(LocalAPIServer&)> configure = {}) {
        defaults.setValue(QStringLiteral("recordingSaveDirectory"), dir.filePath(QStringLiteral("Projects")));
        if (configure)
            configure(server);
        QSignalSpy ready(&server, &LocalAPIServer::listening);
        server.start();
        started = ready.wait(5000);
    }

    CurlResult call(const QString& method, const QString& path, const QByteArray& body = {}) const {
        return curl(port, method, path, body);
    }

    QObject lifetime;
    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(QStringLiteral("d.ini"))};
    RecentProjectsStore recents{defaults};
    AppState app{{defaults, recents, Clock::system()}};
    AppStateAPIDelegate delegate{app};
    quint16 port = freeLoopbackPort();
    LocalAPIServer server{&delegate, &lifetime, defaults, port};
    bool started = false;
};

} // namespace orvane::test
