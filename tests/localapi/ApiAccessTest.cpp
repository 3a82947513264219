// Who may use the loopback API, asked with raw requests so that every header is exactly as written: a
// Host that is not our loopback name and port, or an Origin the user did not list, is refused before any
// route runs, and leaves the application as it was.
#include "localapi/ApiAccess.h"

#include "ServerTestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;

namespace {

struct RawAnswer {
    int status = 0;
    QByteArray headers; // every header line, each ending in CRLF
    std::string body;

    bool hasHeader(const QByteArray& line) const { return headers.contains(line + "\r\n"); }
    JsonObject json() const { return bodyOf(QByteArray::fromStdString(body)); }
    QString error() const { return json().value("error").toString(); }
};

RawAnswer exchange(quint16 port, const QByteArray& request) {
    const QByteArray bytes = rawExchange(port, request);
    RawAnswer answer;
    const qsizetype statusEnd = bytes.indexOf("\r\n");
    const qsizetype headersEnd = bytes.indexOf("\r\n\r\n");
    if (statusEnd < 0 || headersEnd < 0)
        return answer;
    answer.status = bytes.mid(9, 3).toInt();
    answer.headers = bytes.mid(statusEnd + 2, headersEnd - statusEnd);
    answer.body = bytes.mid(headersEnd + 4).toStdString();
    return answer;
}

class ApiAccessTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(server.started); }

    // `method path` with the header lines given (each ending in CRLF) and an optional body.
    RawAnswer ask(const char* method, const char* path, const QByteArray& headers,
                  const QByteArray& body = {}) {
        QByteArray request = QByteArray(method) + ' ' + path + " HTTP/1.1\r\n" + headers;
        if (!body.isEmpty())
            request += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
        return exchange(server.port, request + "\r\n" + body);
    }
    QByteArray hostLine(const QByteArray& host) const { return "Host: " + host + "\r\n"; }
    QByteArray ourPort() const { return QByteArray::number(server.port); }

    void allowOrigins(const QStringList& origins) {
        server.defaults.setValue(QString::fromLatin1(allowedOriginsKey), origins);
    }

    TestServer server;
};

const QByteArray pageOrigin = "http://127.0.0.1:8000";

} // namespace

TEST_F(ApiAccessTest, HostMustNameTheLoopbackOnOurPort) {
    const QByteArray p = ourPort();
    const QByteArray otherPort = QByteArray::number(server.port == 65535 ? 1 : server.port + 1);
    struct Case {
        QByteArray headers;
        bool served;
    };
    const std::vector<Case> cases{
        {hostLine("127.0.0.1:" + p), true},
        {hostLine("localhost:" + p), true},
        {hostLine("LocalHost:" + p), true},
        {hostLine("[::1]:" + p), true},
        {"host:127.0.0.1:" + p + "\r\n", true},
        {"", true}, // programs speaking HTTP/1.0 send none
        {hostLine("127.0.0.1:" + otherPort), false},
        {hostLine("localhost"), false}, // no port means 80
        {hostLine("[::1]"), false},
        {hostLine("::1:" + p), false},
        {hostLine("localhost:0" + p), false},
        {hostLine("localhost.:" + p), false},
        {hostLine("evil.example:" + p), false},
        {hostLine("127.0.0.1.evil.example:" + p), false},
        {hostLine("localhost:" + p + "@evil.example"), false},
        // A letter that only folds to ASCII under Unicode's rules: the long s.
        {hostLine("localho\xc5\xbft:" + p), false},
        {hostLine(""), false},
        // A second Host, or one folded onto the next line, leaves open which host was meant.
        {hostLine("127.0.0.1:" + p) + hostLine("evil.example:" + p), false},
        {hostLine("localhost:" + p) + " evil.example\r\n", false},
    };
    for (const Case& c : cases) {
        const RawAnswer answer = ask("GET", "/health", c.headers);
        if (c.served) {
            EXPECT_EQ(answer.status, 200) << c.headers.constData();
            EXPECT_TRUE(answer.hasHeader("Access-Control-Allow-Origin: *")) << c.headers.constData();
        } else {
            EXPECT_EQ(answer.status, 403) << c.headers.constData();
            EXPECT_EQ(answer.body, R"({"error":"Forbidden host"})") << c.headers.constData();
            EXPECT_FALSE(answer.headers.contains("Access-Control")) << c.headers.constData();
        }
    }

    // The check comes before every route: the preflight, the not-found answer and the routes that act.
    const QByteArray rebound = hostLine("evil.example:" + p);
    EXPECT_EQ(ask("OPTIONS", "/project/create", rebound).status, 403);
    EXPECT_EQ(ask("GET", "/no/such/route", rebound).status, 403);
    const RawAnswer create = ask("POST", "/project/create", rebound, R"({"name": "Rebound"})");
    EXPECT_EQ(create.status, 403);
    EXPECT_EQ(create.error(), QStringLiteral("Forbidden host"));
    EXPECT_FALSE(server.app.currentBundle());
    EXPECT_FALSE(QDir(server.dir.filePath(QStringLiteral("Projects"))).exists());
    // The same request with our own host name goes through.
    EXPECT_EQ(ask("POST", "/project/create", hostLine("127.0.0.1:" + p), R"({"name": "Local"})").status, 200);
    ASSERT_TRUE(server.app.currentBundle());
    EXPECT_EQ(server.app.currentBundle()->project().name, QStringLiteral("Local"));
}

TEST_F(ApiAccessTest, WebPagesAreRefusedUnlessTheUserListedTheirOrigin) {
    const QByteArray host = hostLine("127.0.0.1:" + ourPort());
    const QByteArray fromPage = host + "Origin: " + pageOrigin + "\r\n";
    const QByteArray attack = R"({"name": "pwned"})";

    // What a page's fetch or form sends: refused whichever route, and nothing is made.
    for (const auto& [method, path] :
         std::vector<std::pair<const char*, const char*>>{{"POST", "/project/create"},
                                                          {"POST", "/recording/start"},
                                                          {"GET", "/status"},
                                                          {"GET", "/health"},
                                                          {"OPTIONS", "/project/create"},
                                                          {"GET", "/no/such/route"}}) {
        const RawAnswer answer = ask(method, path, fromPage + "Content-Type: text/plain\r\n", attack);
        EXPECT_EQ(answer.status, 403) << method << ' ' << path;
        EXPECT_EQ(answer.body, R"({"error":"Requests from web pages are not allowed"})");
        EXPECT_FALSE(answer.headers.contains("Access-Control")) << answer.headers.constData();
    }
    // Sandboxed frames and files send "null".
    EXPECT_EQ(ask("GET", "/status", host + "Origin: null\r\n").status, 403);
    EXPECT_FALSE(server.app.currentBundle());
    EXPECT_FALSE(server.app.isRecording());
    EXPECT_FALSE(QDir(server.dir.filePath(QStringLiteral("Projects"))).exists());

    // Listing the origin while the server runs lets that page in from its next request, with the
    // cross-origin headers naming it, and it alone.
    allowOrigins({QStringLiteral("HTTP://LocalHost:5173/"), QString::fromLatin1(pageOrigin)});
    const RawAnswer status = ask("GET", "/status", fromPage);
    EXPECT_EQ(status.status, 200) << status.body;
    EXPECT_FALSE(status.json().value("hasProject").toBool(true)) << status.body;
    EXPECT_TRUE(status.hasHeader("Access-Control-Allow-Origin: " + pageOrigin)) << status.headers.constData();
    EXPECT_TRUE(status.hasHeader("Vary: Origin"));
    EXPECT_FALSE(status.headers.contains("Origin: *"));
    EXPECT_FALSE(status.headers.contains("Private-Network"));
    // An entry's trailing slash or case does not keep its page out.
    const RawAnswer vite = ask("GET", "/health", host + "Origin: http://localhost:5173\r\n");
    EXPECT_EQ(vite.status, 200);
    EXPECT_TRUE(vite.hasHeader("Access-Control-Allow-Origin: http://localhost:5173"));
    EXPECT_EQ(ask("GET", "/health", host + "Origin: http://127.0.0.1:8001\r\n").status, 403);
    EXPECT_EQ(ask("GET", "/health", host + "Origin: http://localho\xc5\xbft:5173\r\n").status, 403);
    // Two Origins are as bad as an unknown one.
    EXPECT_EQ(ask("GET", "/health", fromPage + "Origin: http://evil.example\r\n").status, 403);
    // The listed page still needs our own host name.
    EXPECT_EQ(ask("GET", "/health", hostLine("evil.example:" + ourPort()) + "Origin: " + pageOrigin + "\r\n")
                  .status,
              403);

    // Only a listed page's preflight hears that it may reach this machine's private network.
    const QByteArray preflight = "Access-Control-Request-Method: POST\r\n"
                                 "Access-Control-Request-Private-Network: true\r\n";
    const RawAnswer allowedPreflight = ask("OPTIONS", "/project/create", fromPage + preflight);
    EXPECT_EQ(allowedPreflight.status, 204);
    EXPECT_TRUE(allowedPreflight.hasHeader("Access-Control-Allow-Private-Network: true"));
    EXPECT_TRUE(allowedPreflight.hasHeader("Access-Control-Allow-Origin: " + pageOrigin));
    EXPECT_TRUE(allowedPreflight.hasHeader("Access-Control-Allow-Methods: GET, POST, OPTIONS"));
    EXPECT_FALSE(ask("OPTIONS", "/project/create", fromPage).headers.contains("Private-Network"));
    const RawAnswer programPreflight = ask("OPTIONS", "/project/create", host + preflight);
    EXPECT_EQ(programPreflight.status, 204);
    EXPECT_TRUE(programPreflight.hasHeader("Access-Control-Allow-Origin: *"));
    EXPECT_FALSE(programPreflight.headers.contains("Private-Network"));
    EXPECT_EQ(ask("OPTIONS", "/project/create", host + "Origin: http://evil.example\r\n" + preflight).status,
              403);

    const RawAnswer created = ask("POST", "/project/create", fromPage, R"({"name": "From the page"})");
    EXPECT_EQ(created.status, 200) << created.body;
    ASSERT_TRUE(server.app.currentBundle());
    EXPECT_EQ(server.app.currentBundle()->project().name, QStringLiteral("From the page"));

    // Taking the origin off the list shuts the page out again at once.
    allowOrigins({});
    EXPECT_EQ(ask("GET", "/status", fromPage).status, 403);
}

TEST_F(ApiAccessTest, AnEditOfTheSettingsFileByAnotherProgramCountsWhileTheServerRuns) {
    const QByteArray fromPage = hostLine("localhost:" + ourPort()) + "Origin: " + pageOrigin + "\r\n";
    EXPECT_EQ(ask("GET", "/health", fromPage).status, 403);
    server.defaults.sync();
    const QString path = server.defaults.fileName();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::Append)) << path.toStdString();
    // As a person would write it by hand: one origin, not a list.
    file.write(QByteArray("\n[General]\n") + allowedOriginsKey + '=' + pageOrigin + '\n');
    file.close();
    const RawAnswer answer = ask("GET", "/health", fromPage);
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_TRUE(answer.hasHeader("Access-Control-Allow-Origin: " + pageOrigin));
}

TEST_F(ApiAccessTest, ProgramsWithoutAnOriginKeepEveryRouteAndAnswer) {
    // curl sends "Host: 127.0.0.1:P" and no Origin.
    const CurlResult created =
        server.call(QStringLiteral("POST"), QStringLiteral("/project/create"), R"({"name": "Scripted"})");
    EXPECT_EQ(created.status, 200) << created.body.constData();
    EXPECT_EQ(bodyOf(created.body).value("name").toString(), QStringLiteral("Scripted"));
    const RawAnswer missing = ask("GET", "/no/such/route", hostLine("127.0.0.1:" + ourPort()));
    EXPECT_EQ(missing.status, 404);
    EXPECT_EQ(missing.headers.toStdString(),
              "Content-Type: application/json\r\nContent-Length: " + std::to_string(missing.body.size()) +
                  "\r\n"
                  "Access-Control-Allow-Origin: *\r\n"
                  "Access-Control-Allow-Methods: GET, POST, OPTIONS\r\n"
                  "Access-Control-Allow-Headers: Content-Type\r\n"
                  "Connection: close\r\n");
    EXPECT_EQ(missing.error(), QStringLiteral("Not found: GET /no/such/route"));
    // A listed origin changes nothing for them.
    allowOrigins({QString::fromLatin1(pageOrigin)});
    EXPECT_TRUE(ask("GET", "/status", "").hasHeader("Access-Control-Allow-Origin: *"));
}
