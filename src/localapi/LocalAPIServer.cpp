#include "LocalAPIServer.h"

#include "ApiServerCore.h"

#include <QCoreApplication>

#include <sys/resource.h>

namespace orvane {

namespace {

// The server's half of ApiEndpoint: answers go to the core's thread, the delegate is handed out only
// while the application object lives.
class Endpoint : public ApiEndpoint {
public:
    Endpoint(LocalScreenAPIDelegate* delegate, QObject* lifetime)
        : m_delegate(delegate)
        , m_lifetime(lifetime) {}

    void attach(ApiServerCore* core) { m_core = core; }

    void send(quintptr connection, const ApiResponse& response) override {
        QPointer<ApiServerCore> core = m_core;
        if (!core)
            return;
        // The body is written out here, on the thread that made it; the headers on the server's thread,
        // which knows the request's cross-origin grant.
        const QByteArray payload = response.body ? writeCompactJson(*response.body) : QByteArray();
        const int status = response.status;
        QMetaObject::invokeMethod(
            core, [core, connection, status, payload] { core->send(connection, status, payload); },
            Qt::QueuedConnection);
    }

    LocalScreenAPIDelegate* delegate() override { return m_lifetime ? m_delegate : nullptr; }

private:
    LocalScreenAPIDelegate* m_delegate;
    QPointer<QObject> m_lifetime;
    QPointer<ApiServerCore> m_core;
};

// Hundreds of idle clients must not starve the process of descriptors.
void raiseDescriptorLimit() {
    struct rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void handleStatus(const ApiCall& call) {
    call.onMain([](LocalScreenAPIDelegate& app) {
        static const char* screens[] = {"welcome", "sourcePicker", "recording",
                                        "editor",  "exporting",    "live"};
        JsonObject body{{"screen", screens[int(app.screen())]},
                        {"isRecording", app.isRecording()},
                        {"isExporting", app.isExporting()},
                        {"isImporting", app.isImporting()},
                        {"hasProject", app.currentBundle() != nullptr}};
        if (const auto bundle = app.currentBundle()) {
            body.insert("projectName", bundle->project().name);
            body.insert("projectPath", bundle->path());
            body.insert("clipCount", int(bundle->project().timeline.clips.size()));
        }
        return ApiResponse::json(std::move(body));
    });
}

} // namespace

LocalAPIServer::LocalAPIServer(LocalScreenAPIDelegate* delegate, QObject* delegateLifetime,
                               const UserDefaults& defaults, quint16 port)
    : m_port(port)
    , m_startTime(QDateTime::currentDateTimeUtc())
    , m_routes(buildRoutes()) {
    auto endpoint = std::make_shared<Endpoint>(delegate, delegateLifetime);
    m_endpoint = endpoint;
    m_thread.setObjectName(QStringLiteral("tech.velvetcomet.orvane.screen.localapi"));
    m_core = new ApiServerCore(m_port, m_routes, m_startTime, appVersion(), defaults.fileName());
    m_core->setEndpoint(m_endpoint);
    endpoint->attach(m_core);
    m_core->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_core, &QObject::deleteLater);
    connect(m_core, &ApiServerCore::becameReady, this, &LocalAPIServer::listening, Qt::QueuedConnection);
    connect(m_core, &ApiServerCore::gaveUp, this, &LocalAPIServer::gaveUp, Qt::QueuedConnection);
}

LocalAPIServer::~LocalAPIServer() {
    m_endpoint.reset(); // calls in flight find no server and send nothing
    m_thread.quit();
    m_thread.wait();
}

QString LocalAPIServer::appVersion() const {
    const QString version = QCoreApplication::applicationVersion();
    return version.isEmpty() ? QStringLiteral("0.0.0") : version;
}

int LocalAPIServer::retryCount() const {
    return m_core ? m_core->retryCount.load() : 0;
}
bool LocalAPIServer::isListening() const {
    return m_core && m_core->listening.load();
}

void LocalAPIServer::setRetryDelay(std::function<std::chrono::milliseconds(int)> delay) {
    Q_ASSERT(!m_thread.isRunning());
    m_core->setRetryDelay(std::move(delay));
}

void LocalAPIServer::setIdleConnectionLimit(std::chrono::milliseconds limit) {
    Q_ASSERT(!m_thread.isRunning());
    m_core->setIdleConnectionLimit(limit);
}

void LocalAPIServer::setQuietRequestEnd(std::chrono::milliseconds quiet) {
    Q_ASSERT(!m_thread.isRunning());
    m_core->setQuietRequestEnd(quiet);
}

int LocalAPIServer::openConnections() const {
    return m_core ? m_core->openConnections.load() : 0;
}

void LocalAPIServer::start() {
    raiseDescriptorLimit();
    if (!m_thread.isRunning())
        m_thread.start();
    QMetaObject::invokeMethod(m_core, &ApiServerCore::start, Qt::QueuedConnection);
}

std::vector<LocalAPIServer::Route> LocalAPIServer::buildRoutes() {
    std::vector<Route> routes;
    // Route 1, /health, is answered on the server's thread by the core itself.
    routes.push_back({QStringLiteral("GET"), {QStringLiteral("status")}, &handleStatus});
    addProjectRoutes(routes);
    addClipStyleRoutes(routes);
    addRecordingExportRoutes(routes);
    return routes;
}

} // namespace orvane
