#include "HttpRequest.h"

#include <QStringDecoder>

namespace orvane {

std::variant<HttpRequest, HttpRequestError> parseHttpRequest(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return HttpRequestError{400, QStringLiteral("Invalid request encoding")};

    const qsizetype lineEnd = text.indexOf(QStringLiteral("\r\n"));
    const QString requestLine = lineEnd < 0 ? text : text.left(lineEnd);
    // At most two splits: "GET /path HTTP/1.1" and also "GET /path" with no version.
    QStringList pieces;
    qsizetype start = 0;
    while (pieces.size() < 2) {
        const qsizetype space = requestLine.indexOf(u' ', start);
        const QString piece = requestLine.mid(start, space < 0 ? -1 : space - start);
        if (!piece.isEmpty())
            pieces << piece;
        if (space < 0)
            break;
        start = space + 1;
    }
    if (pieces.size() < 2)
        return HttpRequestError{400, QStringLiteral("Malformed request line")};

    HttpRequest request;
    request.method = pieces[0].toUpper();
    request.path = pieces[1];
    for (const QString& segment : request.path.split(u'/', Qt::SkipEmptyParts))
        request.segments << segment;

    const qsizetype bodyStart = text.indexOf(QStringLiteral("\r\n\r\n"));
    if (bodyStart >= 0) {
        const QByteArray body = text.mid(bodyStart + 4).toUtf8();
        if (!body.isEmpty()) {
            auto parsed = parseJson(std::string_view(body.constData(), std::size_t(body.size())));
            if (auto* value = std::get_if<JsonValue>(&parsed); value && value->isObject())
                request.body = std::move(*value).toObject();
        }
    }
    return request;
}

QString httpStatusText(int status) {
    switch (status) {
    case 200:
        return QStringLiteral("OK");
    case 204:
        return QStringLiteral("No Content");
    case 400:
        return QStringLiteral("Bad Request");
    case 404:
        return QStringLiteral("Not Found");
    case 500:
        return QStringLiteral("Internal Server Error");
    case 503:
        return QStringLiteral("Service Unavailable");
    default:
        return QStringLiteral("Unknown");
    }
}

QByteArray buildHttpResponse(int status, const std::optional<JsonObject>& body) {
    const QByteArray payload = body ? writeCompactJson(*body) : QByteArray();
    QByteArray response;
    response.reserve(256 + payload.size());
    response += "HTTP/1.1 " + QByteArray::number(status) + ' ' + httpStatusText(status).toLatin1() + "\r\n";
    response += "Content-Type: application/json\r\n";
    response += "Content-Length: " + QByteArray::number(payload.size()) + "\r\n";
    response += "Access-Control-Allow-Origin: *\r\n";
    response += "Access-Control-Allow-Methods: GET, POST, OPTIONS\r\n";
    response += "Access-Control-Allow-Headers: Content-Type\r\n";
    response += "Connection: close\r\n";
    response += "\r\n";
    response += payload;
    return response;
}

} // namespace orvane
