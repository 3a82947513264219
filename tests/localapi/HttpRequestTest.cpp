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

TEST(HttpRequest, HeadersTheAccessChecksRead) {
    const HttpRequest r = parsed("POST /project/create HTTP/1.1\r\nhost:  LocalHost:19878 \r\n"
                                 "ORIGIN: http://evil.example\r\nX-Other: 1\r\n"
                                 "Access-Control-Request-Private-Network: TRUE\r\n\r\n{\"name\": \"x\"}");
    EXPECT_EQ(r.hosts, QStringList{QStringLiteral("LocalHost:19878")});
    EXPECT_EQ(r.origins, QStringList{QStringLiteral("http://evil.example")});
    EXPECT_TRUE(r.asksPrivateNetworkAccess);
    EXPECT_TRUE(r.body);

    // Nothing after the blank line is a header, and a request line alone has none.
    const HttpRequest inBody = parsed("POST /p HTTP/1.1\r\n\r\nHost: evil.example\r\nOrigin: x\r\n");
    EXPECT_TRUE(inBody.hosts.isEmpty());
    EXPECT_TRUE(inBody.origins.isEmpty());
    EXPECT_TRUE(parsed("GET /health").hosts.isEmpty());
    // Headers without the blank line that ends them (a client that closed early) still count.
    EXPECT_EQ(parsed("GET / HTTP/1.1\r\nHost: a:1").hosts, QStringList{QStringLiteral("a:1")});

    // Every value of a repeated header is kept; a folded line belongs to the header above it and is never
    // a header of its own; a line without a colon is no header.
    const HttpRequest tricky = parsed("GET / HTTP/1.1\r\nHost: 127.0.0.1:1\r\nHost: evil.example:1\r\n"
                                      "X-Note: a\r\n Origin: http://folded.example\r\n"
                                      "Origin: http://a.example\r\n\tnext\r\nNoColon\r\n"
                                      ": empty name\r\nAccess-Control-Request-Private-Network: yes\r\n\r\n");
    EXPECT_EQ(tricky.hosts, (QStringList{QStringLiteral("127.0.0.1:1"), QStringLiteral("evil.example:1")}));
    EXPECT_EQ(tricky.origins, QStringList{QStringLiteral("http://a.example next")});
    EXPECT_FALSE(tricky.asksPrivateNetworkAccess);
    // A blank continuation, or one under an empty value, leaves no blanks at the value's ends.
    const HttpRequest blanks =
        parsed("GET / HTTP/1.1\r\nOrigin: http://b.example\r\n \r\nHost:\r\n\t1:2\r\n\r\n");
    EXPECT_EQ(blanks.origins, QStringList{QStringLiteral("http://b.example")});
    EXPECT_EQ(blanks.hosts, QStringList{QStringLiteral("1:2")});
}

TEST(HttpRequest, CompleteOnceTheHeadersAndTheDeclaredBodyAreIn) {
    EXPECT_FALSE(httpRequestComplete(""));
    EXPECT_FALSE(httpRequestComplete("GET /health HTTP/1.1\r\nHost: x\r\n"));
    EXPECT_TRUE(httpRequestComplete("GET /health HTTP/1.1\r\nHost: x\r\n\r\n"));
    const QByteArray head = "POST /p HTTP/1.1\r\nCONTENT-LENGTH:  5 \r\nHost: x\r\n\r\n";
    EXPECT_FALSE(httpRequestComplete(head));
    EXPECT_FALSE(httpRequestComplete(head + "{\"a\""));
    EXPECT_TRUE(httpRequestComplete(head + "{\"a\"}"));
    EXPECT_TRUE(httpRequestComplete(head + "{\"a\"} and more"));
    // A length that is no number, or is negative, is no promise of a body.
    EXPECT_TRUE(httpRequestComplete("POST /p HTTP/1.1\r\nContent-Length: many\r\n\r\n"));
    EXPECT_TRUE(httpRequestComplete("POST /p HTTP/1.1\r\nContent-Length: -4\r\n\r\n"));
    // Only a header line declares a length: not the request line, not the body.
    EXPECT_TRUE(httpRequestComplete("POST /content-length:9 HTTP/1.1\r\n\r\n"));
    EXPECT_TRUE(httpRequestComplete("POST /p HTTP/1.1\r\n\r\n\r\nContent-Length: 90\r\n"));
}

TEST(HttpResponse, CrossOriginHeadersFollowTheGrant) {
    const QByteArray named =
        buildHttpResponse(200, JsonObject{}, {QStringLiteral("http://127.0.0.1:8000"), true});
    EXPECT_TRUE(named.contains("\r\nAccess-Control-Allow-Origin: http://127.0.0.1:8000\r\nVary: Origin\r\n"))
        << named.constData();
    EXPECT_TRUE(named.contains("\r\nAccess-Control-Allow-Private-Network: true\r\n"));
    EXPECT_FALSE(named.contains("Origin: *"));

    const QByteArray refused =
        buildHttpResponse(403, JsonObject{{"error", "Forbidden host"}}, {std::nullopt, false});
    EXPECT_TRUE(refused.startsWith("HTTP/1.1 403 Forbidden\r\nContent-Type: application/json\r\n"));
    EXPECT_FALSE(refused.contains("Access-Control")) << refused.constData();
    EXPECT_TRUE(refused.endsWith("Connection: close\r\n\r\n{\"error\":\"Forbidden host\"}"));
    EXPECT_FALSE(buildHttpResponse(204, std::nullopt).contains("Vary"));
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
                                                                             {403, "Forbidden"},
                                                                             {404, "Not Found"},
                                                                             {500, "Internal Server Error"},
                                                                             {503, "Service Unavailable"}})
        EXPECT_EQ(httpStatusText(code), QString::fromLatin1(text));
}
