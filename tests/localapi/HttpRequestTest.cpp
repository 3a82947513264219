#include "localapi/HttpRequest.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {
HttpRequest parsed(const QByteArray& bytes) {
    auto result = parseHttpRequest(bytes);
    EXPECT_TRUE(std::holds_alternative<HttpRequest>(result)) << bytes.constData();
    return std::holds_alternative<HttpRequest>(result) ? std::get<HttpRequest>(result) : HttpRequest{};
}
HttpRequestError failure(const QByteArray& bytes) {
    auto result = parseHttpRequest(bytes);
    EXPECT_TRUE(std::holds_alternative<HttpRequestError>(result)) << bytes.constData();
    return std::holds_alternative<HttpRequestError>(result) ? std::get<HttpRequestError>(result)
                                                            : HttpRequestError{};
}
} // namespace

TEST(HttpRequest, RequestLineAndPath) {
    const HttpRequest r = parsed("get //project/clips/ HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(r.method, QStringLiteral("GET"));
    EXPECT_EQ(r.segments, (QStringList{QStringLiteral("project"), QStringLiteral("clips")}));
    EXPECT_EQ(parsed("GET /health?x=1 HTTP/1.1\r\n\r\n").joinedPath(), QStringLiteral("/health?x=1"));
    EXPECT_EQ(parsed("GET  /a  HTTP/1.1\r\n\r\n").segments, QStringList{QStringLiteral("a")});
    EXPECT_TRUE(parsed("GET / HTTP/1.1\r\n\r\n").segments.isEmpty());
    EXPECT_EQ(parsed("POST /x").method, QStringLiteral("POST")); // no version, no headers

    EXPECT_EQ(failure("GET\r\n\r\n").message, QStringLiteral("Malformed request line"));
    EXPECT_EQ(failure("").message, QStringLiteral("Malformed request line"));
    const HttpRequestError bad = failure("GET /\xff\xfe HTTP/1.1\r\n\r\n");
    EXPECT_EQ(bad.status, 400);
    EXPECT_EQ(bad.message, QStringLiteral("Invalid request encoding"));
}

TEST(HttpRequest, BodyIsAJsonObjectOrAbsent) {
    const HttpRequest r =
        parsed("POST /p HTTP/1.1\r\nContent-Length: 20\r\n\r\n{\"name\": \"Demo\", \"w\": 3}");
    ASSERT_TRUE(r.body);
    EXPECT_EQ(r.body->value("name").toString(), QStringLiteral("Demo"));
    EXPECT_FALSE(parsed("POST /p HTTP/1.1\r\n\r\n[1, 2]").body);
    EXPECT_FALSE(parsed("POST /p HTTP/1.1\r\n\r\n{\"cut").body);
    EXPECT_FALSE(parsed("POST /p HTTP/1.1\r\n\r\n").body);
    EXPECT_FALSE(parsed("POST /p HTTP/1.1\r\n{\"no\": \"separator\"}").body);
}

TEST(HttpResponse, HeadersStatusTextsAndSortedCompactBody) {
    const QByteArray r = buildHttpResponse(409, JsonObject{{"error", "Already recording"}, {"a", 1}});
    EXPECT_TRUE(
        r.startsWith("HTTP/1.1 409 Unknown\r\nContent-Type: application/json\r\nContent-Length: 35\r\n"));
    EXPECT_TRUE(r.contains(
        "\r\nAccess-Control-Allow-Origin: *\r\nAccess-Control-Allow-Methods: GET, POST, OPTIONS\r\n"
        "Access-Control-Allow-Headers: Content-Type\r\nConnection: close\r\n\r\n"));
    EXPECT_TRUE(r.endsWith("\r\n\r\n{\"a\":1,\"error\":\"Already recording\"}"));
    EXPECT_TRUE(buildHttpResponse(204, std::nullopt)
                    .endsWith("Content-Length: 0\r\nAccess-Control-Allow-Origin: *\r\n"
                              "Access-Control-Allow-Methods: GET, POST, OPTIONS\r\n"
                              "Access-Control-Allow-Headers: Content-Type\r\n"
                              "Connection: close\r\n\r\n"));
    for (const auto& [code, text] : std::vector<std::pair<int, const char*>>{{200, "OK"},
                                                                             {202, "Unknown"},
                                                                             {204, "No Content"},
                                                                             {400, "Bad Request"},
                                                                             {404, "Not Found"},
                                                                             {500, "Internal Server Error"},
                                                                             {503, "Service Unavailable"}})
        EXPECT_EQ(httpStatusText(code), QString::fromLatin1(text));
}
