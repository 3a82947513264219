#pragma once

#include "project/JsonValue.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace orvane {

// One request as the loopback API reads it: the method upper-cased, the path split into its non-empty
// segments (a query string stays part of the last one), and the body when it is a JSON object.
struct HttpRequest {
    QString method;
    QString path;
    QStringList segments;
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

// The whole response: status line, the fixed headers and the compact JSON body (keys sorted).
QByteArray buildHttpResponse(int status, const std::optional<JsonObject>& body);
QString httpStatusText(int status);

} // namespace orvane
