#include "ApiCall.h"

#include "support/MainThread.h"

#include <cmath>

namespace orvane {

void ApiCall::respond(const ApiResponse& response) const {
    if (auto endpoint = m_endpoint.lock())
        endpoint->send(m_connection, response);
}

void ApiCall::onMain(std::function<ApiResponse(LocalScreenAPIDelegate&)> work) const {
    runOnMainThread([call = *this, work = std::move(work)] {
        auto endpoint = call.m_endpoint.lock();
        if (!endpoint)
            return; // the server itself has gone: nothing is sent
        LocalScreenAPIDelegate* delegate = endpoint->delegate();
        if (!delegate) {
            call.respond(ApiResponse::error(503, QStringLiteral("App not available")));
            return;
        }
        call.respond(work(*delegate));
    });
}

namespace {
QCoro::Task<void> runAsync(ApiCall call,
                           std::function<QCoro::Task<ApiResponse>(LocalScreenAPIDelegate&)> work,
                           LocalScreenAPIDelegate* delegate) {
    auto working = work(*delegate);
    const ApiResponse response = co_await working;
    call.respond(response);
}
} // namespace

void ApiCall::onMainAsync(std::function<QCoro::Task<ApiResponse>(LocalScreenAPIDelegate&)> work) const {
    runOnMainThread([call = *this, work = std::move(work)] {
        auto endpoint = call.m_endpoint.lock();
        if (!endpoint)
            return;
        LocalScreenAPIDelegate* delegate = endpoint->delegate();
        if (!delegate) {
            call.respond(ApiResponse::error(503, QStringLiteral("App not available")));
            return;
        }
        runAsync(call, work, delegate);
    });
}

LocalScreenAPIDelegate* ApiCall::currentDelegate() const {
    auto endpoint = m_endpoint.lock();
    return endpoint ? endpoint->delegate() : nullptr;
}

std::optional<QString> ApiCall::string(std::string_view key) const {
    if (!body())
        return std::nullopt;
    const JsonValue& v = body()->value(key);
    return v.isString() ? std::optional<QString>(v.toString()) : std::nullopt;
}

std::optional<double> ApiCall::number(std::string_view key) const {
    if (!body())
        return std::nullopt;
    const JsonValue& v = body()->value(key);
    return v.isDouble() ? std::optional<double>(v.toDouble()) : std::nullopt;
}

std::optional<int> ApiCall::integer(std::string_view key) const {
    const auto n = number(key);
    if (!n || !std::isfinite(*n) || std::trunc(*n) != *n || std::abs(*n) > 1e9)
        return std::nullopt;
    return int(*n);
}

std::optional<bool> ApiCall::boolean(std::string_view key) const {
    if (!body())
        return std::nullopt;
    const JsonValue& v = body()->value(key);
    return v.isBool() ? std::optional<bool>(v.toBool()) : std::nullopt;
}

} // namespace orvane
