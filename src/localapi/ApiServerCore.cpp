#include "ApiServerCore.h"

#include "ApiAccess.h"

#include <QHostAddress>
#include <QLoggingCategory>

#include <cmath>

namespace orvane {

namespace {
Q_LOGGING_CATEGORY(lcServer, "tech.velvetcomet.orvane.screen.LocalAPIServer", QtInfoMsg)

bool matches(const LocalAPIServer::Route& route, const HttpRequest& request, QString& id) {
    if (route.method != request.method || route.pattern.size() != request.segments.size())
        return false;
    for (qsizetype i = 0; i < route.pattern.size(); ++i) {
        if (route.pattern[i] == QLatin1StringView("<id>"))
            id = request.segments[i];
        else if (route.pattern[i] != request.segments[i])
            return false;
    }
    return true;
}
} // namespace

ApiServerCore::ApiServerCore(quint16 port, const std::vector<LocalAPIServer::Route>& routes,
                             QDateTime startTime, QString appVersion, QString settingsPath)
    : m_port(port)
    , m_routes(routes)
    , m_startTime(std::move(startTime))
    , m_appVersion(std::move(appVersion))
    , m_allowedOrigins(std::move(settingsPath))
    , m_retryDelay([](int retry) { return std::chrono::milliseconds(1000LL << retry); }) {}

void ApiServerCore::start() {
    if (!m_sweeper) {
        m_sweeper = new QTimer(this);
        m_sweeper->setInterval(int(std::min<qint64>(200, std::max<qint64>(10, m_quietEnd.count() / 2))));
        connect(m_sweeper, &QTimer::timeout, this, &ApiServerCore::sweep);
        m_sweeper->start();
    }
    if (m_port == 0) {
        qCWarning(lcServer, "Invalid port %hu", m_port);
        return;
    }
    delete m_listener;
    m_listener = new QTcpServer(this);
    connect(m_listener, &QTcpServer::newConnection, this, &ApiServerCore::acceptConnections);
    // Bursts of clients (and hundreds of idle ones) must not overflow the accept queue.
    m_listener->setListenBacklogSize(1024);
    m_listener->setMaxPendingConnections(1024);
    // Loopback only: nothing outside this machine can reach the API.
    if (m_listener->listen(QHostAddress::LocalHost, m_port)) {
        qCInfo(lcServer, "Orvane Screen API listening on 127.0.0.1:%hu", m_port);
        retryCount = 0;
        listening = true;
        Q_EMIT becameReady();
        return;
    }
    listening = false;
    const QString reason = m_listener->errorString();
    qCWarning(lcServer, "API server failed: %s (retry %d/%d)", qPrintable(reason), retryCount.load(),
              LocalAPIServer::maxRetries);
    m_listener->close();
    ++retryCount;
    if (retryCount > LocalAPIServer::maxRetries) {
        qCWarning(lcServer, "API server giving up after %d retries", LocalAPIServer::maxRetries);
        Q_EMIT gaveUp();
        return;
    }
    QTimer::singleShot(m_retryDelay(retryCount), this, &ApiServerCore::start);
}

void ApiServerCore::acceptConnections() {
    while (QTcpSocket* socket = m_listener->nextPendingConnection()) {
        const quintptr id = m_nextID++;
        Connection& c = m_connections[id];
        ++openConnections;
        c.socket = socket;
        c.sinceOpen.start();
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, [this, id] { readFrom(id); });
        connect(socket, &QTcpSocket::disconnected, this, [this, id] {
            // The client closed its side: what came is the whole request.
            auto it = m_connections.find(id);
            if (it == m_connections.end())
                return;
            if (!it->dispatched && !it->buffer.isEmpty())
                dispatch(id);
            else if (!it->dispatched)
                close(id);
        });
        if (socket->bytesAvailable() > 0)
            readFrom(id);
    }
}

void ApiServerCore::readFrom(quintptr id) {
    auto it = m_connections.find(id);
    if (it == m_connections.end() || it->dispatched || !it->socket)
        return;
    Connection& c = *it;
    const qint64 room = LocalAPIServer::maxRequestBytes - c.buffer.size();
    if (room > 0)
        c.buffer += c.socket->read(room);
    // Anything past the limit is left unread: the request is cut there.
    c.sinceLastByte.start();
    if (requestComplete(c))
        dispatch(id);
}

bool ApiServerCore::requestComplete(const Connection& c) {
    return c.buffer.size() >= LocalAPIServer::maxRequestBytes || httpRequestComplete(c.buffer);
}

void ApiServerCore::sweep() {
    std::vector<quintptr> quiet, idle;
    for (auto it = m_connections.begin(); it != m_connections.end(); ++it) {
        const Connection& c = *it;
        if (c.dispatched)
            continue;
        if (c.buffer.isEmpty()) {
            if (c.sinceOpen.hasExpired(m_idleLimit.count()))
                idle.push_back(it.key());
        } else if (c.sinceLastByte.hasExpired(m_quietEnd.count())) {
            quiet.push_back(it.key());
        }
    }
    for (quintptr id : idle)
        close(id);
    for (quintptr id : quiet)
        dispatch(id);
}

void ApiServerCore::close(quintptr id) {
    auto it = m_connections.find(id);
    if (it == m_connections.end())
        return;
    if (QTcpSocket* socket = it->socket) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    m_connections.erase(it);
    --openConnections;
}

void ApiServerCore::dispatch(quintptr id) {
    Connection& c = m_connections[id];
    c.dispatched = true;
    const QByteArray bytes = c.buffer;
    c.buffer.clear();
    auto endpoint = m_endpoint.lock();
    if (!endpoint)
        return close(id);

    auto parsed = parseHttpRequest(bytes);
    if (auto* error = std::get_if<HttpRequestError>(&parsed)) {
        endpoint->send(id, ApiResponse::error(error->status, error->message));
        return;
    }
    HttpRequest request = std::move(std::get<HttpRequest>(parsed));
    qCDebug(lcServer, "Received %lld bytes: %s", qint64(bytes.size()),
            qPrintable(QString::fromUtf8(bytes.left(80))));

    // Who may ask is settled before any route, the preflight, /health and the not-found answer included.
    ApiAccess access = decideApiAccess(request, m_port, [this] { return m_allowedOrigins.read(); });
    c.cors = std::move(access.cors);
    if (access.refusal) {
        endpoint->send(id, *access.refusal);
        return;
    }

    if (request.method == QLatin1StringView("OPTIONS")) {
        endpoint->send(id, ApiResponse{204, std::nullopt});
        return;
    }
    if (request.method == QLatin1StringView("GET") &&
        request.segments == QStringList{QStringLiteral("health")}) {
        handleHealth(ApiCall(std::move(request), {}, id, endpoint));
        return;
    }
    for (const LocalAPIServer::Route& route : m_routes) {
        QString pathID;
        if (!matches(route, request, pathID))
            continue;
        route.handler(ApiCall(std::move(request), pathID, id, endpoint));
        return;
    }
    endpoint->send(
        id, ApiResponse::error(404,
                               QStringLiteral("Not found: %1 %2").arg(request.method, request.joinedPath())));
}

void ApiServerCore::handleHealth(const ApiCall& call) {
    const qint64 uptime = std::max<qint64>(0, m_startTime.msecsTo(QDateTime::currentDateTimeUtc()) / 1000);
    call.respond(ApiResponse::json(JsonObject{
        {"service", "orvane-screen"},
        {"version", m_appVersion},
        {"port", int(m_port)},
        {"uptime", QString::asprintf("%02lld:%02lld:%02lld", uptime / 3600, (uptime / 60) % 60, uptime % 60)},
        {"uptimeSeconds", uptime},
    }));
}

void ApiServerCore::send(quintptr id, int status, const QByteArray& payload) {
    auto it = m_connections.find(id);
    if (it == m_connections.end())
        return;
    QTcpSocket* socket = it->socket;
    if (!socket || socket->state() != QAbstractSocket::ConnectedState) {
        qCWarning(lcServer, "Cannot send: connection state is %d", socket ? int(socket->state()) : -1);
        close(id);
        return;
    }
    const QByteArray bytes = buildHttpResponseWithPayload(status, payload, it->cors);
    m_connections.erase(it);
    --openConnections;
    socket->disconnect(this);
    socket->write(bytes);
    // Closes once the bytes are out; the socket deletes itself then.
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    socket->disconnectFromHost();
}

} // namespace orvane
