#pragma once

#include "HttpRequest.h"
#include "LocalScreenAPIDelegate.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

namespace orvane {

struct ApiResponse {
    int status = 200;
    std::optional<JsonObject> body;

    static ApiResponse ok(JsonObject body = {}) {
        body.insert("ok", true);
        return {200, std::move(body)};
    }
    static ApiResponse json(JsonObject body) { return {200, std::move(body)}; }
    static ApiResponse error(int status, const QString& message) {
        return {status, JsonObject{{"error", message}}};
    }
};

// Where answers go and how the application is reached. Shared by the server and every call in flight;
// the application side is cleared when it goes away, so late calls answer 503.
class ApiEndpoint {
public:
    virtual ~ApiEndpoint() = default;
    // Any thread.
    virtual void send(quintptr connection, const ApiResponse& response) = 0;
    // Main thread: the delegate, or none once the application has gone.
    virtual LocalScreenAPIDelegate* delegate() = 0;
};

// One request on its way through a handler. Handlers start on the server's thread, where they read
// and validate the body; application work hops to the main thread through onMain.
class ApiCall {
public:
    ApiCall(HttpRequest request, QString pathID, quintptr connection, std::weak_ptr<ApiEndpoint> endpoint)
        : m_request(std::move(request))
        , m_pathID(std::move(pathID))
        , m_connection(connection)
        , m_endpoint(std::move(endpoint)) {}

    const HttpRequest& request() const { return m_request; }
    const std::optional<JsonObject>& body() const { return m_request.body; }
    // The <id> segment of the route, when it has one.
    const QString& pathID() const { return m_pathID; }

    void respond(const ApiResponse& response) const;
    void respond(int status, const QString& error) const { respond(ApiResponse::error(status, error)); }

    // Runs `work` on the main thread and sends what it returns; 503 when the application is gone.
    void onMain(std::function<ApiResponse(LocalScreenAPIDelegate&)> work) const;
    // The same for work that awaits; the answer goes out when it ends.
    void onMainAsync(std::function<QCoro::Task<ApiResponse>(LocalScreenAPIDelegate&)> work) const;
    // Main thread: the delegate as it stands now, for work that has awaited and must not assume the
    // application outlived the wait; none when it or the server has gone.
    LocalScreenAPIDelegate* currentDelegate() const;

    // Body fields: absent, or of the wrong type, reads as none.
    std::optional<QString> string(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;
    std::optional<int> integer(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;

private:
    HttpRequest m_request;
    QString m_pathID;
    quintptr m_connection;
    std::weak_ptr<ApiEndpoint> m_endpoint;
};

} // namespace orvane
