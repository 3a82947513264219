#include "HttpRequest.h"

#include <QStringDecoder>

namespace orvane {

namespace {

struct HeaderLine {
    QString name; // lower-cased
    QString value;
};

// The header lines between the request line and the blank line. A line that starts with a space or a
// tab continues the one before (the old folded form): it is joined to that value, never read as a header
// of its own, so a folded "Host:" cannot slip in past the checks.
QList<HeaderLine> headerLines(QStringView block) {
    QList<HeaderLine> lines;
    for (QStringView line : block.tokenize(QStringLiteral("\r\n"))) {
        if (line.isEmpty())
            continue;
        if (line.front() == u' ' || line.front() == u'\t') {
            // A continuation of only blanks adds nothing, and none adds blanks at either end.
            if (!lines.isEmpty() && !line.trimmed().isEmpty())
                lines.back().value = (lines.back().value + u' ' + line.trimmed().toString()).trimmed();
            continue;
        }
        const qsizetype colon = line.indexOf(u':');
        if (colon <= 0)
            continue;
        lines.append(
            {line.left(colon).trimmed().toString().toLower(), line.mid(colon + 1).trimmed().toString()});
    }
    return lines;
}

} // namespace

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
    if (lineEnd >= 0 && bodyStart != lineEnd) {
        const qsizetype headersEnd = bodyStart < 0 ? text.size() : bodyStart;
        const QStringView block = QStringView(text).mid(lineEnd + 2, headersEnd - (lineEnd + 2));
        for (const HeaderLine& header : headerLines(block)) {
            if (header.name == QLatin1StringView("host"))
                request.hosts << header.value;
            else if (header.name == QLatin1StringView("origin"))
                request.origins << header.value;
            else if (header.name == QLatin1StringView("access-control-request-private-network"))
                request.asksPrivateNetworkAccess =
                    header.value.compare(QLatin1StringView("true"), Qt::CaseInsensitive) == 0;
        }
    }
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

bool httpRequestComplete(const QByteArray& bytes) {
    const qsizetype headerEnd = bytes.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return false;
    // With a Content-Length, wait for that many body bytes; without, the headers are the request.
    const QByteArray headers = bytes.left(headerEnd).toLower();
    const qsizetype at = headers.indexOf("\r\ncontent-length:");
    if (at < 0)
        return true;
    const qsizetype valueStart = at + 17;
    const qsizetype valueEnd = headers.indexOf("\r\n", valueStart);
    bool ok = false;
    const qint64 length =
        headers.mid(valueStart, valueEnd < 0 ? -1 : valueEnd - valueStart).trimmed().toLongLong(&ok);
    if (!ok || length < 0)
        return true;
    return bytes.size() - (headerEnd + 4) >= length;
}

QString httpStatusText(int status) {
    switch (status) {
    case 200:
        return QStringLiteral("OK");
    case 204:
        return QStringLiteral("No Content");
    case 400:
        return QStringLiteral("Bad Request");
    case 403:
        return QStringLiteral("Forbidden");
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

QByteArray buildHttpResponse(int status, const std::optional<JsonObject>& body, const HttpCorsGrant& cors) {
    return buildHttpResponseWithPayload(status, body ? writeCompactJson(*body) : QByteArray(), cors);
}

QByteArray buildHttpResponseWithPayload(int status, const QByteArray& payload, const HttpCorsGrant& cors) {
    QByteArray response;
    response.reserve(256 + payload.size());
    response += "HTTP/1.1 " + QByteArray::number(status) + ' ' + httpStatusText(status).toLatin1() + "\r\n";
    response += "Content-Type: application/json\r\n";
    response += "Content-Length: " + QByteArray::number(payload.size()) + "\r\n";
    if (cors.allowOrigin) {
        response += "Access-Control-Allow-Origin: " + cors.allowOrigin->toUtf8() + "\r\n";
        // An answer that names one origin must not be served from a cache to another.
        if (*cors.allowOrigin != QLatin1StringView("*"))
            response += "Vary: Origin\r\n";
        response += "Access-Control-Allow-Methods: GET, POST, OPTIONS\r\n";
        response += "Access-Control-Allow-Headers: Content-Type\r\n";
        if (cors.allowPrivateNetwork)
            response += "Access-Control-Allow-Private-Network: true\r\n";
    }
    response += "Connection: close\r\n";
    response += "\r\n";
    response += payload;
    return response;
}

} // namespace orvane
