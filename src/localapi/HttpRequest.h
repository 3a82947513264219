#pragma once

#include "project/JsonValue.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace orvane {

// One request as the loopback API reads it: the method upper-cased, the path split into its non-empty
// segments (a query string stays part of the last one), the few headers the server's checks read, and
// the body when it is a JSON object.
struct HttpRequest {
    QString method;
    QString path;
    QStringList segments;
    // Every value of the Host and Origin headers, trimmed, in the order sent. A header sent twice keeps
    // both values, so a check can refuse the ambiguity instead of guessing which one a proxy or the
    // browser meant.
    QStringList hosts;
    QStringList origins;
    // "Access-Control-Request-Private-Network: true": a browser's preflight asking whether a page may
    // reach this machine's private network.
    bool asksPrivateNetworkAccess = false;
    std::optional<JsonObject> body;

    // "/a/b" as the not-found text shows it.
    QString joinedPath() const { return u'/' + segments.join(u'/'); }
};

struct HttpRequestError {
    int status;
    QString message; // the "error" text of the answer
};

// Parses the bytes of the single read. Invalid UTF-8 and a request line without a method and a path
// are errors; a body that is missing or is not a JSON object is simply absent.
std::variant<HttpRequest, HttpRequestError> parseHttpRequest(const QByteArray& bytes);

// Whether `bytes` hold a whole request: the headers have ended and, when they give a Content-Length,
// that many body bytes have come. A length that does not read as a number counts as none.
bool httpRequestComplete(const QByteArray& bytes);

// The cross-origin headers of one answer.
struct HttpCorsGrant {
    // "*" for clients that sent no Origin; the page's own origin when that origin is allowed; none at all
    // for a request that was refused, so that the browser keeps the answer from the page.
    std::optional<QString> allowOrigin = QStringLiteral("*");
    bool allowPrivateNetwork = false;

    bool operator==(const HttpCorsGrant&) const = default;
};

// The whole response: status line, the fixed headers and the compact JSON body (keys sorted).
QByteArray buildHttpResponse(int status, const std::optional<JsonObject>& body,
                             const HttpCorsGrant& cors = {});
// The same around a body already written out (empty for none), so that a large body can be written on the
// thread that made it and only the headers where the request's cross-origin grant is known.
QByteArray buildHttpResponseWithPayload(int status, const QByteArray& payload, const HttpCorsGrant& cors);
QString httpStatusText(int status);

} // namespace orvane
