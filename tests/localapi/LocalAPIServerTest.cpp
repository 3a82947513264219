#include "localapi/LocalAPIServer.h"

#include "ServerTestSupport.h"
#include "localapi/AppStateAPIDelegate.h"
#include "project/JsonValue.h"
#include "support/UserDefaults.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkInterface>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <random>
#include <thread>

using namespace orvane;
using namespace orvane::test;

namespace {

class LocalAPIServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_defaults.setValue(QStringLiteral("recordingSaveDirectory"),
                            m_dir.filePath(QStringLiteral("Projects")));
        m_server = std::make_unique<LocalAPIServer>(&m_delegate, m_lifetime.get(), m_defaults, m_port);
        QSignalSpy ready(m_server.get(), &LocalAPIServer::listening);
        m_server->start();
        ASSERT_TRUE(ready.wait(5000));
    }

    CurlResult call(const QString& method, const QString& path, const QByteArray& body = {}) {
        return curl(m_port, method, path, body);
    }

    // A project with one clip, opened.
    QUuid openProjectWithClip() {
        auto bundle = m_app.createProject(QStringLiteral("API"), 1920, 1080, 60);
        EXPECT_TRUE(bundle);
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.name = QStringLiteral("Take 1");
        clip.sourceVideoPath = QStringLiteral("media/take.mov");
        clip.sourceOut = ProjectTime(12.345);
        clip.sourceSize = Size{2880, 1800};
        (*bundle)->update([&](Project& p) { p.timeline.clips.push_back(clip); });
        (void)(*bundle)->flushPendingSave();
        return clip.id;
    }

    Project savedProject() {
        (void)m_app.currentBundle()->flushPendingSave();
        QFile f(m_app.currentBundle()->projectJSONPath());
        EXPECT_TRUE(f.open(QIODevice::ReadOnly));
        return *decodeProject(f.readAll());
    }

    QTemporaryDir m_dir;
    UserDefaults m_defaults{m_dir.filePath(QStringLiteral("defaults.ini"))};
    RecentProjectsStore m_recents{m_defaults};
    std::unique_ptr<QObject> m_lifetime = std::make_unique<QObject>();
    AppState m_app{{m_defaults, m_recents, Clock::system()}};
    AppStateAPIDelegate m_delegate{m_app};
    quint16 m_port = freeLoopbackPort();
    std::unique_ptr<LocalAPIServer> m_server;
};

} // namespace

TEST_F(LocalAPIServerTest, HealthStatusAndTheRouteTableEdges) {
    const CurlResult health = call(QStringLiteral("GET"), QStringLiteral("/health"));
    ASSERT_EQ(health.exitCode, 0);
    EXPECT_EQ(health.status, 200);
    const JsonObject h = bodyOf(health.body);
    EXPECT_EQ(h.value("service").toString(), QStringLiteral("orvane-screen"));
    EXPECT_EQ(h.value("port").toDouble(), m_port);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d$"))
                    .match(h.value("uptime").toString())
                    .hasMatch());

    EXPECT_EQ(call(QStringLiteral("get"), QStringLiteral("/health")).status, 200);
    const CurlResult query = call(QStringLiteral("GET"), QStringLiteral("/health?x=1"));
    EXPECT_EQ(query.status, 404);
    EXPECT_EQ(query.body, QByteArray(R"({"error":"Not found: GET /health?x=1"})"));

    const QByteArray options = rawExchange(m_port, "OPTIONS /nothing/here HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(options.startsWith("HTTP/1.1 204 No Content\r\n")) << options.constData();
    EXPECT_TRUE(options.contains("Access-Control-Allow-Methods: GET, POST, OPTIONS"));
    EXPECT_TRUE(options.endsWith("\r\n\r\n"));

    const CurlResult status = call(QStringLiteral("GET"), QStringLiteral("/status"));
    EXPECT_EQ(bodyOf(status.body), (JsonObject{{"screen", "welcome"},
                                               {"isRecording", false},
                                               {"isExporting", false},
                                               {"isImporting", false},
                                               {"hasProject", false}}));
    openProjectWithClip();
    const JsonObject open = bodyOf(call(QStringLiteral("GET"), QStringLiteral("/status")).body);
    EXPECT_EQ(open.value("screen").toString(), QStringLiteral("editor"));
    EXPECT_EQ(open.value("clipCount").toDouble(), 1);
    EXPECT_EQ(open.value("projectPath").toString(), m_app.currentBundle()->path());

    // Trailing and doubled slashes reach the same route; a wrong method on a good path is not found.
    EXPECT_EQ(call(QStringLiteral("GET"), QStringLiteral("/project/")).status, 200);
    EXPECT_EQ(rawExchange(m_port, "GET //project HTTP/1.1\r\n\r\n").left(15), QByteArray("HTTP/1.1 200 OK"));
    const QString clipPath = QStringLiteral("/project/clip/%1/speed")
                                 .arg(uuidString(m_app.currentBundle()->project().timeline.clips[0].id));
    EXPECT_EQ(call(QStringLiteral("GET"), clipPath).status, 404);

    const QByteArray garbage = rawExchange(m_port, QByteArray("\xff\xfe\xfd\r\n\r\n"));
    EXPECT_TRUE(garbage.startsWith("HTTP/1.1 400 Bad Request")) << garbage.constData();
    EXPECT_TRUE(garbage.endsWith(R"({"error":"Invalid request encoding"})"));
    EXPECT_TRUE(rawExchange(m_port, "NOPATH\r\n\r\n").endsWith(R"({"error":"Malformed request line"})"));
}

TEST_F(LocalAPIServerTest, ProjectRoutes) {
    // Invalid JSON counts as no body: the defaults make an "Untitled" project.
    const CurlResult created = call(QStringLiteral("POST"), QStringLiteral("/project/create"), "{not json");
    ASSERT_EQ(created.status, 200) << created.body.constData();
    const JsonObject c = bodyOf(created.body);
    EXPECT_EQ(c.value("name").toString(), QStringLiteral("Untitled"));
    EXPECT_EQ(c.value("canvasSize").toObject().value("width").toDouble(), 1920);
    EXPECT_EQ(c.value("ok").toBool(), true);
    EXPECT_TRUE(QFile::exists(c.value("projectPath").toString() + QStringLiteral("/project.json")));

    const CurlResult named = call(QStringLiteral("POST"), QStringLiteral("/project/create"),
                                  R"({"name": "Talk", "width": 100, "height": 100, "frameRate": 30})");
    EXPECT_EQ(bodyOf(named.body).value("canvasSize").toObject(),
              (JsonObject{{"width", 320}, {"height", 240}}));

    EXPECT_EQ(call(QStringLiteral("POST"), QStringLiteral("/project/open"), "{}").body,
              QByteArray(R"({"error":"Missing 'path'"})"));
    const CurlResult missing =
        call(QStringLiteral("POST"), QStringLiteral("/project/open"), R"({"path": "/nowhere"})");
    EXPECT_EQ(missing.status, 404);
    EXPECT_EQ(bodyOf(missing.body).value("error").toString(), QStringLiteral("No project.json at /nowhere"));
    const CurlResult reopened =
        call(QStringLiteral("POST"), QStringLiteral("/project/open"),
             QByteArray(R"({"path": ")") + c.value("projectPath").toString().toUtf8() + "\"}");
    EXPECT_EQ(reopened.status, 200);
    spinUntil([&] { return m_app.currentBundle()->project().name == QStringLiteral("Untitled"); });

    const QUuid clipID = openProjectWithClip();
    const JsonObject info = bodyOf(call(QStringLiteral("GET"), QStringLiteral("/project")).body);
    EXPECT_EQ(info.value("clipCount").toDouble(), 1);
    EXPECT_EQ(info.value("duration").toDouble(), 12.35);
    EXPECT_EQ(info.value("tracks").toArray().size(), 3);
    EXPECT_EQ(info.value("tracks").toArray()[1].toObject().value("kind").toString(), QStringLiteral("audio"));
    const JsonObject summary = info.value("clips").toArray()[0].toObject();
    EXPECT_EQ(summary.value("id").toString(), uuidString(clipID));
    EXPECT_EQ(summary.value("isAudioOnly").toBool(true), false);

    const CurlResult detail =
        call(QStringLiteral("GET"), QStringLiteral("/project/clip/") + uuidString(clipID).toLower());
    ASSERT_EQ(detail.status, 200);
    const JsonObject d = bodyOf(detail.body);
    EXPECT_EQ(d.value("sourceSize").toObject(), (JsonObject{{"width", 2880}, {"height", 1800}}));
    EXPECT_TRUE(d.value("sourceAudioPath").isNull());
    EXPECT_EQ(d.value("background").toObject().value("style").toString(), QStringLiteral("gradient"));
    EXPECT_EQ(d.value("frame").toObject().value("shadowPreset").toString(), QStringLiteral("premium"));
    EXPECT_FALSE(d.contains("colorGrade"));
    EXPECT_FALSE(d.contains("transition"));

    EXPECT_EQ(call(QStringLiteral("GET"), QStringLiteral("/project/clip/not-a-uuid")).body,
              QByteArray(R"({"error":"Invalid clip ID"})"));
    const QString other = uuidString(QUuid::createUuid());
    const CurlResult unknown = call(QStringLiteral("GET"), QStringLiteral("/project/clip/") + other);
    EXPECT_EQ(unknown.status, 404);
    EXPECT_EQ(bodyOf(unknown.body).value("error").toString(), QStringLiteral("Clip not found: ") + other);
}

TEST_F(LocalAPIServerTest, StylingRoutesChangeTheSavedProject) {
    const QUuid id = openProjectWithClip();
    const QString base = QStringLiteral("/project/clip/%1/").arg(uuidString(id));
    auto post = [&](const char* action, const QByteArray& body = {}) {
        return call(QStringLiteral("POST"), base + QString::fromLatin1(action), body);
    };

    EXPECT_EQ(post("frame").body, QByteArray(R"({"error":"Missing JSON body"})"));
    const Clip untouched = savedProject().timeline.clips[0];
    EXPECT_EQ(post("frame", "{}").status, 200);
    EXPECT_EQ(savedProject().timeline.clips[0].frame, untouched.frame);

    EXPECT_EQ(
        post(
            "frame",
            R"({"padding": 1, "cornerRadius": -3, "shadow": "dramatic", "chrome": "safari", "chromeTheme": "light", "chromeUrl": "orvane.app"})")
            .status,
        200);
    Clip saved = savedProject().timeline.clips[0];
    EXPECT_EQ(saved.frame.paddingFraction, 0.3);
    EXPECT_EQ(saved.frame.cornerRadius, 0);
    EXPECT_EQ(saved.frame.shadow, ShadowStyle::dramatic());
    EXPECT_EQ(saved.frame.chrome,
              ChromeStyle::browser(ChromeStyle::BrowserTheme::safariLight, QStringLiteral("orvane.app")));

    EXPECT_EQ(post("background", R"({"style": "solid", "color": "#FF6B6B"})").body,
              QByteArray(R"({"ok":true,"style":"solid"})"));
    EXPECT_EQ(savedProject().timeline.clips[0].background,
              BackgroundStyle::solid(*RGBAColor::fromHex(u"FF6B6B")));
    post("background", R"({"style": "gradient", "preset": "mint"})");
    EXPECT_EQ(savedProject().timeline.clips[0].background,
              BackgroundStyle::gradient(BackgroundStyle::presetGradients()[6].fill));
    post("background", R"({"style": "solid"})"); // no colour: unchanged
    EXPECT_EQ(savedProject().timeline.clips[0].background,
              BackgroundStyle::gradient(BackgroundStyle::presetGradients()[6].fill));

    const CurlResult speed = post("speed", R"({"speed": 100})");
    EXPECT_EQ(bodyOf(speed.body).value("speed").toDouble(), 16);
    EXPECT_EQ(savedProject().timeline.clips[0].speed, 16);
    EXPECT_EQ(post("speed", R"({"speed": "fast"})").body,
              QByteArray(R"x({"error":"Missing 'speed' (e.g. 0.5, 1.0, 2.0)"})x"));

    const CurlResult transition = post("transition", R"({"kind": "wipeLeft", "duration": 10})");
    EXPECT_EQ(bodyOf(transition.body).value("duration").toDouble(), 10);
    EXPECT_EQ(savedProject().timeline.clips[0].transitionIn,
              (Transition{TransitionKind::wipeLeft, ProjectTime(3), EasingCurve::cinematic()}));
    const CurlResult badKind = post("transition", R"({"kind": "spin"})");
    EXPECT_EQ(badKind.status, 400);
    EXPECT_TRUE(
        bodyOf(badKind.body)
            .value("error")
            .toString()
            .startsWith(QStringLiteral(
                "Invalid transition kind 'spin'. Valid: none, crossDissolve, fade, fadeToWhite, slideLeft")));
    post("transition", R"({"kind": "none"})");
    EXPECT_FALSE(savedProject().timeline.clips[0].transitionIn);

    post("color-grade", R"({"exposure": 5, "tint": -0.5, "lut": "Film"})");
    saved = savedProject().timeline.clips[0];
    EXPECT_EQ(saved.colorGrade.exposure, 2);
    EXPECT_EQ(saved.colorGrade.tint, -0.5);
    EXPECT_EQ(saved.colorGrade.lutName, QStringLiteral("Film"));

    const JsonObject overlay = bodyOf(
        post("text-overlay",
             R"({"text": "Hello", "position": "middleLeft", "style": "titleCard", "animation": "spin"})")
            .body);
    EXPECT_EQ(overlay.value("position").toString(), QStringLiteral("middleLeft"));
    saved = savedProject().timeline.clips[0];
    ASSERT_EQ(saved.textOverlays.size(), 1u);
    EXPECT_EQ(saved.textOverlays[0].position, TextOverlay::Position::middleLeft);
    EXPECT_EQ(saved.textOverlays[0].animation, TextOverlay::Animation::fadeIn);
    EXPECT_EQ(saved.textOverlays[0].style, TextStyle::titleCard());
    EXPECT_EQ(uuidString(saved.textOverlays[0].id), overlay.value("overlayId").toString());
    EXPECT_EQ(post("text-overlay", R"({"text": ""})").body, QByteArray(R"({"error":"Missing 'text'"})"));

    post("motion-blur", R"({"cursor": 2, "preset": "glassStage"})");
    EXPECT_EQ(savedProject().timeline.clips[0].motionBlur, MotionBlurConfig::glassStage());
    EXPECT_EQ(post("keystrokes").body, QByteArray(R"({"ok":true,"showKeystrokes":true})"));
    EXPECT_TRUE(savedProject().timeline.clips[0].showKeystrokes);
    EXPECT_EQ(post("camera-layout", R"({"layout": "floating"})").body,
              QByteArray(R"({"error":"Invalid layout. Use: pip, fullscreen, hidden"})"));
    post("camera-layout", R"({"layout": "hidden"})");
    EXPECT_EQ(savedProject().timeline.clips[0].cameraLayout, CameraLayout::hidden);

    const JsonObject key = bodyOf(post("zoom-keyframe", R"({"time": 2, "x": -1, "width": 0.01})").body);
    EXPECT_EQ(key.value("rect").toObject(), (JsonObject{{"x", 0}, {"y", 0}, {"width", 0.05}, {"height", 1}}));
    EXPECT_EQ(key.value("keyframeCount").toDouble(), 1);
    EXPECT_EQ(savedProject().timeline.clips[0].zoomTrack.keyframes[0].easing, EasingCurve::spring());
    post("clear-zoom");
    EXPECT_TRUE(savedProject().timeline.clips[0].zoomTrack.isEmpty());

    post("perspective", R"({"tiltX": 4, "depth": 0.5})");
    saved = savedProject().timeline.clips[0];
    EXPECT_TRUE(saved.frame.perspective.isEnabled);
    EXPECT_EQ(saved.frame.perspective.tiltX, 1);
    EXPECT_EQ(saved.frame.perspective.depth, 0.5);

    // No undo step for any of it.
    EXPECT_FALSE(m_app.undoManager().canUndo());
    // The detail form reflects the edits.
    const JsonObject d =
        bodyOf(call(QStringLiteral("GET"), QStringLiteral("/project/clip/") + uuidString(id)).body);
    EXPECT_EQ(d.value("frame").toObject().value("chrome").toString(), QStringLiteral("safari"));
    EXPECT_EQ(d.value("colorGrade").toObject().value("lut").toString(), QStringLiteral("Film"));
    EXPECT_EQ(d.value("textOverlays").toArray().size(), 1);

    EXPECT_EQ(call(QStringLiteral("POST"),
                   QStringLiteral("/project/clip/%1/speed").arg(uuidString(QUuid::createUuid())),
                   R"({"speed": 2})")
                  .status,
              400);
}

TEST_F(LocalAPIServerTest, QtNetworkClientsAndAppGone) {
    QNetworkAccessManager manager;
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/project/create").arg(m_port)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    std::unique_ptr<QNetworkReply> reply(manager.post(request, QByteArray(R"({"name": "From Qt"})")));
    ASSERT_TRUE(spinUntil([&] { return reply->isFinished(); }));
    EXPECT_EQ(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
    EXPECT_EQ(bodyOf(reply->readAll()).value("name").toString(), QStringLiteral("From Qt"));
    EXPECT_EQ(m_app.currentBundle()->project().name, QStringLiteral("From Qt"));

    m_lifetime.reset();
    const CurlResult gone = call(QStringLiteral("GET"), QStringLiteral("/status"));
    EXPECT_EQ(gone.status, 503);
    EXPECT_EQ(gone.body, QByteArray(R"({"error":"App not available"})"));
    EXPECT_EQ(call(QStringLiteral("GET"), QStringLiteral("/health")).status, 200); // needs no application
}

TEST(LocalAPIServerFlood, MalformedRequestsNeverCrashOrLeakConnections) {
    // Truncated requests end by a quiet spell; keep it short so the flood runs quickly.
    TestServer test([](LocalAPIServer& s) { s.setQuietRequestEnd(std::chrono::milliseconds(30)); });
    ASSERT_TRUE(test.started);
    LocalAPIServer& server = test.server;
    const quint16 port = test.port;

    std::mt19937 rng(99);
    const QByteArray seeds[] = {"GET /health HTTP/1.1\r\n\r\n",
                                "POST /project/create HTTP/1.1\r\n\r\n{\"name\": \"x\"}",
                                "POST /project/clip/ABC/speed HTTP/1.1\r\n\r\n{\"speed\": [1]}",
                                "GET /project/clip/00000000-0000-0000-0000-000000000000 HTTP/1.1\r\n\r\n"};
    std::vector<QByteArray> requests;
    for (int i = 0; i < 1000; ++i) {
        QByteArray r = seeds[i % 4];
        const int edits = std::uniform_int_distribution<int>(0, 6)(rng);
        for (int e = 0; e < edits && !r.isEmpty(); ++e) {
            const int at = std::uniform_int_distribution<int>(0, int(r.size()) - 1)(rng);
            switch (std::uniform_int_distribution<int>(0, 3)(rng)) {
            case 0:
                r[at] = char(std::uniform_int_distribution<int>(0, 255)(rng));
                break;
            case 1:
                r.truncate(at);
                break;
            case 2:
                r.insert(at, QByteArray(std::uniform_int_distribution<int>(1, 3000)(rng), 'A'));
                break;
            default:
                r.insert(at, "\r\n\r\n{}");
            }
        }
        // A client that sends nothing is the silent-client case, tested on its own.
        requests.push_back(r.isEmpty() ? QByteArray("\x01") : r);
    }
    requests.push_back(QByteArray(70000, 'G')); // longer than the single read
    // Eight clients at a time.
    auto future = std::async(std::launch::async, [&] {
        int answered = 0;
        std::vector<std::future<QByteArray>> batch;
        for (std::size_t i = 0; i < requests.size(); i += 8) {
            batch.clear();
            for (std::size_t j = i; j < std::min(requests.size(), i + 8); ++j)
                batch.push_back(std::async(std::launch::async,
                                           [&, j] { return rawExchangeBlocking(port, requests[j], 5000); }));
            for (auto& f : batch)
                answered += f.get().startsWith("HTTP/1.1 ");
        }
        return answered;
    });
    ASSERT_TRUE(spinUntil(
        [&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, 120000));
    EXPECT_GT(future.get(), 950);
    EXPECT_EQ(curl(port, QStringLiteral("GET"), QStringLiteral("/health")).status, 200);
    EXPECT_TRUE(spinUntil([&] { return server.openConnections() == 0; }, 5000)) << server.openConnections();
}

TEST(LocalAPIServerLimits, SilentClientsAreClosedAndDoNotStarveOthers) {
    TestServer test([](LocalAPIServer& s) { s.setIdleConnectionLimit(std::chrono::milliseconds(5000)); });
    ASSERT_TRUE(test.started);
    LocalAPIServer& server = test.server;
    const quint16 port = test.port;

    // Ten clients connect fifty silent sockets each, at once.
    std::vector<int> idle(500, -1);
    std::vector<std::thread> connectors;
    for (int t = 0; t < 10; ++t)
        connectors.emplace_back([&, t] {
            for (int i = t * 50; i < (t + 1) * 50; ++i) {
                const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
                sockaddr_in a{};
                a.sin_family = AF_INET;
                a.sin_port = htons(port);
                a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
                if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0)
                    idle[std::size_t(i)] = fd;
                else
                    ::close(fd);
            }
        });
    for (auto& t : connectors)
        t.join();
    ASSERT_EQ(std::count(idle.begin(), idle.end(), -1), 0);
    ASSERT_TRUE(spinUntil([&] { return server.openConnections() == 500; }, 4000))
        << server.openConnections() << " open";
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(curl(port, QStringLiteral("GET"), QStringLiteral("/status")).status, 200);
    EXPECT_LT(timer.elapsed(), 2000);
    // The silent ones are closed after the limit: their reads end.
    EXPECT_TRUE(spinUntil([&] { return server.openConnections() == 0; }, 10000)) << server.openConnections();
    char byte;
    EXPECT_EQ(::recv(idle.front(), &byte, 1, MSG_DONTWAIT), 0);
    for (int fd : idle)
        ::close(fd);
}

TEST(LocalAPIServerLimits, ListensOnLoopbackOnlyAndGivesUpWhenThePortStaysTaken) {
    QObject lifetime;
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("d.ini")));
    RecentProjectsStore recents(defaults);
    AppState app({defaults, recents, Clock::system()});
    AppStateAPIDelegate delegate(app);
    const quint16 port = freeLoopbackPort();
    {
        LocalAPIServer server(&delegate, &lifetime, defaults, port);
        QSignalSpy ready(&server, &LocalAPIServer::listening);
        server.start();
        ASSERT_TRUE(ready.wait(5000));
        // Nothing answers on any other address of this machine.
        int tried = 0;
        for (const QHostAddress& address : QNetworkInterface::allAddresses()) {
            if (address.isLoopback() || address.protocol() != QAbstractSocket::IPv4Protocol)
                continue;
            ++tried;
            QTcpSocket probe;
            probe.connectToHost(address, port);
            EXPECT_FALSE(probe.waitForConnected(1000)) << address.toString().toStdString();
        }
        QProcess ss;
        ss.start(QStringLiteral("ss"), {QStringLiteral("-Hltn"), QStringLiteral("sport = :%1").arg(port)});
        if (ss.waitForFinished(5000) && ss.exitCode() == 0) {
            const QString listeners = QString::fromUtf8(ss.readAllStandardOutput()).trimmed();
            EXPECT_EQ(listeners.count(u'\n'), 0) << listeners.toStdString();
            EXPECT_TRUE(listeners.contains(QStringLiteral("127.0.0.1:%1").arg(port)))
                << listeners.toStdString();
        }
        RecordProperty("nonLoopbackAddressesTried", tried);
    }

    QTcpServer squatter;
    ASSERT_TRUE(squatter.listen(QHostAddress::LocalHost, port));
    LocalAPIServer server(&delegate, &lifetime, defaults, port);
    std::vector<int> retries;
    server.setRetryDelay([&](int retry) {
        retries.push_back(retry);
        return std::chrono::milliseconds(5);
    });
    QSignalSpy gaveUp(&server, &LocalAPIServer::gaveUp);
    server.start();
    ASSERT_TRUE(gaveUp.wait(5000));
    EXPECT_EQ(retries, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(server.retryCount(), 9);
    EXPECT_FALSE(server.isListening());
}

TEST_F(LocalAPIServerTest, AutoZoomRouteReplacesTheZoomTrack) {
    const QUuid id = openProjectWithClip();
    const QString route = QStringLiteral("/project/clip/%1/auto-zoom").arg(uuidString(id));
    // Without an events file there is nothing to zoom to.
    EXPECT_EQ(call(QStringLiteral("POST"), route).body, QByteArray(R"({"keyframeCount":0,"ok":true})"));

    const QString events = QStringLiteral("media/take-events.json");
    QFile file(m_app.currentBundle()->mediaPath(events));
    ASSERT_TRUE(QDir().mkpath(m_app.currentBundle()->mediaDirectory()));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"events": [{"leftMouseDown": {"time": {"seconds": 1}, "x": 700, "y": 400}}]})");
    file.close();
    ASSERT_TRUE(m_app.apiUpdateClip(id, [&](Clip& c) { c.sourceEventsPath = events; }));

    const JsonObject answer = bodyOf(call(QStringLiteral("POST"), route).body);
    EXPECT_TRUE(answer.value("ok").toBool());
    EXPECT_GT(answer.value("keyframeCount").toDouble(), 0);
    EXPECT_EQ(int(savedProject().timeline.clips[0].zoomTrack.count()),
              int(answer.value("keyframeCount").toDouble()));
    EXPECT_EQ(call(QStringLiteral("POST"),
                   QStringLiteral("/project/clip/%1/auto-zoom").arg(uuidString(QUuid::createUuid())))
                  .status,
              400);
}

TEST_F(LocalAPIServerTest, OutputFolderRoutes) {
    const JsonObject before =
        bodyOf(call(QStringLiteral("GET"), QStringLiteral("/recording/output-dir")).body);
    EXPECT_EQ(before.value("outputDir").toString(), m_dir.filePath(QStringLiteral("Projects")));
    EXPECT_EQ(before.value("default").toString(), AppState::defaultRecordingsRootDirectory());

    EXPECT_EQ(
        call(QStringLiteral("POST"), QStringLiteral("/recording/output-dir"), R"({"outputDir": ""})").body,
        QByteArray(R"({"error":"Missing 'outputDir' in request body"})"));
    const QString target = m_dir.filePath(QStringLiteral("new/deeper"));
    const JsonObject set = bodyOf(call(QStringLiteral("POST"), QStringLiteral("/recording/output-dir"),
                                       QByteArray(R"({"path": ")") + target.toUtf8() + "\"}")
                                      .body);
    EXPECT_TRUE(set.value("writable").toBool());
    EXPECT_TRUE(QDir(target).exists());
    EXPECT_EQ(m_app.recordingsRootDirectory(), target);

    qputenv("HOME", m_dir.path().toUtf8());
    const JsonObject tilde = bodyOf(call(QStringLiteral("POST"), QStringLiteral("/recording/output-dir"),
                                         R"({"outputDirectory": "~/Tilde"})")
                                        .body);
    EXPECT_EQ(tilde.value("outputDir").toString(), m_dir.filePath(QStringLiteral("Tilde")));
}

TEST_F(LocalAPIServerTest, ExportEnqueuesAndStatusCountsJobs) {
    if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty())
        GTEST_SKIP() << "the ffmpeg tool is not installed (scripts/setup-deps installs it)";
    EXPECT_EQ(call(QStringLiteral("POST"), QStringLiteral("/project/export")).body,
              QByteArray(R"({"error":"No project open"})"));
    ASSERT_TRUE(m_app.createProject(QStringLiteral("Empty"), 640, 360, 30));
    EXPECT_EQ(call(QStringLiteral("POST"), QStringLiteral("/project/export")).body,
              QByteArray(R"({"error":"Project has no clips to export"})"));

    const QString movie = m_dir.filePath(QStringLiteral("take.mp4"));
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                  QStringLiteral("lavfi"), QStringLiteral("-i"),
                  QStringLiteral("testsrc2=size=320x240:rate=30:duration=0.5"), movie});
    ASSERT_TRUE(ffmpeg.waitForFinished(60000));
    ASSERT_TRUE(QCoro::waitFor(m_app.importVideo(movie)));

    const JsonObject prores = bodyOf(call(QStringLiteral("POST"), QStringLiteral("/project/export"),
                                          R"({"preset": "square", "codec": "ProRes"})")
                                         .body);
    EXPECT_TRUE(prores.value("outputPath").toString().endsWith(QStringLiteral("/exports/Empty-export.mov")))
        << prores.value("outputPath").toString().toStdString();
    const QString gifPath = m_dir.filePath(QStringLiteral("out.gif"));
    const JsonObject gif = bodyOf(
        call(QStringLiteral("POST"), QStringLiteral("/project/export"),
             QByteArray(R"({"preset": "gif", "codec": "hevc", "outputPath": ")") + gifPath.toUtf8() + "\"}")
            .body);
    EXPECT_EQ(gif.value("outputPath").toString(), gifPath);

    JsonObject status;
    ASSERT_TRUE(spinUntil(
        [&] {
            status = bodyOf(call(QStringLiteral("GET"), QStringLiteral("/project/export/status")).body);
            return status.value("pendingCount").toDouble() == 0 &&
                   status.value("activeCount").toDouble() == 0;
        },
        120000));
    EXPECT_EQ(status.value("completedCount").toDouble(), 1);
    EXPECT_EQ(status.value("failedCount").toDouble(), 1); // GIF comes with the assembly route
    EXPECT_TRUE(QFile::exists(prores.value("outputPath").toString()));
}

namespace {
// Runs the ffmpeg tool on lavfi sources; false when it failed.
bool makeMedia(const QStringList& arguments) {
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")} +
                     arguments);
    return ffmpeg.waitForFinished(60000) && ffmpeg.exitStatus() == QProcess::NormalExit &&
           ffmpeg.exitCode() == 0;
}

QByteArray urlBody(const QString& url) {
    return QByteArray(R"({"url": ")") + url.toUtf8() + "\"}";
}
} // namespace

TEST_F(LocalAPIServerTest, ImportRoutesAppendRealFilesAndReportTheirFailures) {
    if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty())
        GTEST_SKIP() << "the ffmpeg tool is not installed (scripts/setup-deps installs it)";
    const QString movie = m_dir.filePath(QStringLiteral("screen take.mp4"));
    const QString tone = m_dir.filePath(QStringLiteral("tone.wav"));
    ASSERT_TRUE(makeMedia({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                           QStringLiteral("testsrc2=size=320x240:rate=30:duration=1.5"), movie}));
    ASSERT_TRUE(makeMedia({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                           QStringLiteral("sine=frequency=440:duration=2"), tone}));
    const QString video = QStringLiteral("/project/import/video");
    const QString audio = QStringLiteral("/project/import/audio");

    EXPECT_EQ(call(QStringLiteral("POST"), video).body,
              QByteArray(R"x({"error":"Missing 'url' (file path or file:// URL)"})x"));
    EXPECT_EQ(call(QStringLiteral("POST"), audio, R"({"url": 7})").status, 400);

    // A file URL, percent-encoded, into no open project: one is made for it.
    const CurlResult imported =
        call(QStringLiteral("POST"), video, urlBody(QUrl::fromLocalFile(movie).toString(QUrl::FullyEncoded)));
    ASSERT_EQ(imported.status, 200) << imported.body.constData();
    ASSERT_TRUE(m_app.currentBundle());
    const auto clips = [&] {
        return m_app.currentBundle()->project().timeline.clips;
    };
    ASSERT_EQ(clips().size(), 1u);
    const Clip clip = clips()[0];
    EXPECT_EQ(
        bodyOf(imported.body),
        (JsonObject{
            {"ok", true}, {"clipId", uuidString(clip.id)}, {"clipName", "screen take"}, {"duration", 1.5}}));
    EXPECT_TRUE(QFile::exists(m_app.currentBundle()->mediaPath(clip.sourceVideoPath)));

    // Audio by plain path lands after the movie and answers without a duration.
    const CurlResult music = call(QStringLiteral("POST"), audio, urlBody(tone));
    ASSERT_EQ(music.status, 200) << music.body.constData();
    ASSERT_EQ(clips().size(), 2u);
    const Clip song = clips()[1];
    EXPECT_EQ(bodyOf(music.body),
              (JsonObject{{"ok", true}, {"clipId", uuidString(song.id)}, {"clipName", "tone"}}));
    EXPECT_TRUE(song.sourceVideoPath.isEmpty());
    EXPECT_EQ(song.timelineStart.seconds, clip.timelineEnd().seconds);

    // Failures carry the file's own message, and add nothing to the timeline.
    const auto errorOf = [&](const QString& route, const QString& path) {
        const CurlResult failed = call(QStringLiteral("POST"), route, urlBody(path));
        EXPECT_EQ(failed.status, 400);
        return bodyOf(failed.body).value("error").toString();
    };
    EXPECT_EQ(errorOf(video, tone),
              QStringLiteral("tone.wav — unsupported format. Try converting to MOV, MP4, "
                             "M4V, MKV."));
    EXPECT_EQ(errorOf(video, m_dir.filePath(QStringLiteral("gone.mov"))),
              QStringLiteral("gone.mov — file not found on disk."));
    const QString renamedTone = m_dir.filePath(QStringLiteral("tone.mkv"));
    ASSERT_TRUE(makeMedia({QStringLiteral("-i"), tone, renamedTone}));
    EXPECT_EQ(errorOf(video, renamedTone), QStringLiteral("tone.mkv — file contains no video track."));
    QFile notes(m_dir.filePath(QStringLiteral("notes.mov")));
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("not a movie at all\n");
    notes.close();
    EXPECT_TRUE(
        errorOf(video, notes.fileName()).startsWith(QStringLiteral("notes.mov — couldn't load as media: ")));
    EXPECT_EQ(clips().size(), 2u);
}
