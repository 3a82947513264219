#pragma once

#include "ApiCall.h"
#include "LocalScreenAPIDelegate.h"
#include "support/UserDefaults.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QThread>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace orvane {

class ApiServerCore;

// The loopback HTTP/1.1 server for scripts and agents: 127.0.0.1 only, one request per connection,
// JSON answers, then close. Sockets and parsing live on the thread "tech.velvetcomet.orvane.screen.localapi";
// everything that touches the application hops to the main thread.
//
// A request is read once, up to 65,536 bytes. Real clients often split a request over several
// segments, so that read ends when the headers and the Content-Length body are in, when 65,536 bytes
// have come, when the client closes its side, or after one quiet second. A connection that sends
// nothing is closed after ten seconds.
//
// Before any route runs, a request naming another host or coming from a web page is refused (ApiAccess.h):
// the server is for the programs of this machine, which name the loopback address and send no Origin.
class LocalAPIServer : public QObject {
    Q_OBJECT
public:
    static constexpr quint16 defaultPort = 19878;
    static constexpr int maxRetries = 8;
    static constexpr int maxRequestBytes = 65536;
    static constexpr std::chrono::milliseconds idleConnectionLimit{10000};
    static constexpr std::chrono::milliseconds quietRequestEnd{1000};

    using Handler = std::function<void(const ApiCall& call)>;
    struct Route {
        QString method;
        QStringList pattern; // "<id>" matches any one segment
        Handler handler;
    };

    // `delegateLifetime` is the object whose destruction means "the application has gone". `defaults` is
    // the application's settings store, where the web origins allowed in are listed (ApiAccess.h); the
    // server rereads it as requests come, so a change counts while it runs.
    LocalAPIServer(LocalScreenAPIDelegate* delegate, QObject* delegateLifetime, const UserDefaults& defaults,
                   quint16 port = defaultPort);
    ~LocalAPIServer() override;

    void start();
    quint16 port() const { return m_port; }
    const QDateTime& startTime() const { return m_startTime; }
    QString appVersion() const;
    int retryCount() const;
    bool isListening() const;

    // The waits between listener retries: 2^n seconds in the application; tests shorten them. Call
    // these two before start().
    void setRetryDelay(std::function<std::chrono::milliseconds(int retry)> delay);
    void setIdleConnectionLimit(std::chrono::milliseconds limit);
    void setQuietRequestEnd(std::chrono::milliseconds quiet);
    // Connections accepted and not yet answered or closed.
    int openConnections() const;

    // The route table, matched in order. Built once, before start().
    const std::vector<Route>& routes() const { return m_routes; }

Q_SIGNALS:
    // Emitted on the main thread, for tests and the status line.
    void listening();
    void gaveUp();

private:
    std::vector<Route> buildRoutes();

    quint16 m_port;
    QDateTime m_startTime;
    std::vector<Route> m_routes;
    std::shared_ptr<ApiEndpoint> m_endpoint;
    QThread m_thread;
    ApiServerCore* m_core = nullptr; // lives on m_thread, deleted when it finishes
};

// The route tables of each group, in the order of the server's table.
void addProjectRoutes(std::vector<LocalAPIServer::Route>& routes);
void addClipStyleRoutes(std::vector<LocalAPIServer::Route>& routes);
void addRecordingExportRoutes(std::vector<LocalAPIServer::Route>& routes);

} // namespace orvane
