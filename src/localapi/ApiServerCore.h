#pragma once

#include "AllowedOriginsPreference.h"
#include "LocalAPIServer.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <atomic>

namespace orvane {

// The server's half that lives on its own thread: the listener with its retry ladder, the connections
// and the single read of each, and the dispatch into the route table.
class ApiServerCore : public QObject {
    Q_OBJECT
public:
    // `settingsPath`: the application's settings file, where the allowed web origins are listed.
    ApiServerCore(quint16 port, const std::vector<LocalAPIServer::Route>& routes, QDateTime startTime,
                  QString appVersion, QString settingsPath);

    void setEndpoint(std::weak_ptr<ApiEndpoint> endpoint) { m_endpoint = std::move(endpoint); }
    void setRetryDelay(std::function<std::chrono::milliseconds(int)> delay) {
        m_retryDelay = std::move(delay);
    }
    void setIdleConnectionLimit(std::chrono::milliseconds limit) { m_idleLimit = limit; }
    void setQuietRequestEnd(std::chrono::milliseconds quiet) {
        m_quietEnd = quiet;
        if (m_sweeper)
            m_sweeper->setInterval(int(std::min<qint64>(200, std::max<qint64>(10, quiet.count() / 2))));
    }

    // Server thread.
    void start();
    // The answer goes out with the cross-origin headers its request earned; `payload` is the body written
    // out, empty for none.
    void send(quintptr connection, int status, const QByteArray& payload);

    std::atomic<int> retryCount = 0;
    std::atomic<bool> listening = false;
    std::atomic<int> openConnections = 0;

Q_SIGNALS:
    void becameReady();
    void gaveUp();

private:
    struct Connection {
        QPointer<QTcpSocket> socket;
        QByteArray buffer;
        QElapsedTimer sinceOpen;
        QElapsedTimer sinceLastByte;
        bool dispatched = false;
        HttpCorsGrant cors;
    };

    void acceptConnections();
    void readFrom(quintptr id);
    static bool requestComplete(const Connection& c);
    void dispatch(quintptr id);
    void sweep();
    void close(quintptr id);
    void handleHealth(const ApiCall& call);

    quint16 m_port;
    const std::vector<LocalAPIServer::Route>& m_routes;
    QDateTime m_startTime;
    QString m_appVersion;
    AllowedOriginsPreference m_allowedOrigins;
    std::weak_ptr<ApiEndpoint> m_endpoint;
    std::function<std::chrono::milliseconds(int)> m_retryDelay;
    std::chrono::milliseconds m_idleLimit = LocalAPIServer::idleConnectionLimit;
    std::chrono::milliseconds m_quietEnd = LocalAPIServer::quietRequestEnd;
    QTcpServer* m_listener = nullptr;
    QTimer* m_sweeper = nullptr;
    QHash<quintptr, Connection> m_connections;
    quintptr m_nextID = 1;
};

} // namespace orvane
