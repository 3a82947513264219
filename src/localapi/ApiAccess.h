#pragma once

#include "ApiCall.h"
#include "HttpRequest.h"

#include <QStringList>
#include <QStringView>

#include <functional>
#include <optional>

namespace orvane {

// The preference listing the web origins ("http://127.0.0.1:8000", ...) whose pages may use the loopback
// API. Empty by default: no web page may.
inline constexpr char allowedOriginsKey[] = "orvane.screen.api.allowedOrigins";

// Whether `host`, the value of a Host header, names this machine's loopback on `port`: "127.0.0.1:P",
// "localhost:P" or "[::1]:P", the name in any case. A Host without a port means port 80.
bool isLoopbackHost(QStringView host, quint16 port);

// Whether `origin` is one of `allowed`. Entries are compared without regard to case or a trailing slash,
// since a person types them and a browser sends them lower-cased and without a path.
bool isAllowedOrigin(QStringView origin, const QStringList& allowed);

// What the server decides about a request before any route runs.
struct ApiAccess {
    // A 403 to send instead of running a route; none when the request may go on.
    std::optional<ApiResponse> refusal;
    // The cross-origin headers of whatever answer the request gets.
    HttpCorsGrant cors;
};

// The loopback API serves the programs of this machine. A Host header that is not our loopback name
// and port means a page reached us through a name it controls (DNS rebinding); an Origin header means a
// browser sends the request on a page's behalf. Both are refused, the second unless the user listed that
// origin. Programs send no Origin and keep every route and answer as they were.
//
// `allowedOrigins` is asked only when the request carries an Origin, so requests from programs never
// read the preference.
ApiAccess decideApiAccess(const HttpRequest& request, quint16 port,
                          const std::function<QStringList()>& allowedOrigins);

} // namespace orvane
