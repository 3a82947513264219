// The recording routes against a private X server and PulseAudio daemon: real discovery, a real capture
// engine, a movie on disk.
#include "ServerTestSupport.h"
#include "capture/CaptureTestSupport.h"
#include "capture/x11/DemoWindow.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;
using namespace std::chrono_literals;

namespace {

class RecordingRoutesTest : public CaptureServers {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_CAPTURE_SERVERS();
        server = std::make_unique<TestServer>();
        ASSERT_TRUE(server->started);
        server->app.setCaptureEnvironment(environment());
        QCoro::waitFor(server->app.refreshPermissions());
        ASSERT_EQ(server->app.permissions().screenRecording, PermissionsState::Status::granted);
    }

    CurlResult call(const char* method, const char* path, const QByteArray& body = {}) {
        return server->call(QString::fromLatin1(method), QString::fromLatin1(path), body);
    }

    std::unique_ptr<TestServer> server;
};

// The movie's streams and duration as the ffprobe tool reads them.
JsonObject probe(const QString& path) {
    QProcess ffprobe;
    ffprobe.start(QStringLiteral("ffprobe"),
                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
                   QStringLiteral("stream=codec_type,width,height:format=duration"), QStringLiteral("-of"),
                   QStringLiteral("json"), path});
    if (!ffprobe.waitForFinished(30000) || ffprobe.exitCode() != 0)
        return {};
    return bodyOf(ffprobe.readAllStandardOutput());
}

} // namespace

TEST_F(RecordingRoutesTest, SourcesAndStartsThatRecordNothing) {
    DemoWindow::Options options;
    options.displayName = xserver->displayName();
    options.title = QStringLiteral("Notes");
    options.wmClass = "editor";
    options.x = 40;
    options.y = 40;
    options.width = 400;
    options.height = 300;
    options.framesPerSecond = 0;
    auto window = DemoWindow::open(options);
    ASSERT_TRUE(window) << window.error().toStdString();

    const CurlResult listed = call("GET", "/sources");
    ASSERT_EQ(listed.status, 200) << listed.body.constData();
    const JsonArray sources = bodyOf(listed.body).value("sources").toArray();
    ASSERT_EQ(sources.size(), 3) << listed.body.constData();
    const JsonObject display = sources[0].toObject();
    EXPECT_TRUE(display.value("id").toString().startsWith(QStringLiteral("display-")));
    EXPECT_EQ(display.value("kind").toString(), QStringLiteral("display"));
    EXPECT_EQ(display.value("width").toDouble(), 1280);
    EXPECT_EQ(display.value("height").toDouble(), 720);
    EXPECT_FALSE(display.contains("bundleID"));
    EXPECT_EQ(sources[1].toObject(),
              (JsonObject{{"id", QStringLiteral("window-%1").arg((*window)->windowID())},
                          {"title", "Notes"},
                          {"subtitle", "editor"},
                          {"kind", "window"},
                          {"width", 400},
                          {"height", 300}}));
    const JsonObject app = sources[2].toObject();
    EXPECT_EQ(app.value("kind").toString(), QStringLiteral("app"));
    EXPECT_EQ(app.value("bundleID").toString(), QStringLiteral("editor"));
    EXPECT_EQ(server->app.availableSources().size(), 3u);

    // Texts that match nothing, or only a source of another kind, are refused before anything starts.
    const CurlResult wrongKind =
        call("POST", "/recording/start", R"({"source": "Display", "sourceType": "WINDOW"})");
    EXPECT_EQ(wrongKind.status, 404);
    EXPECT_EQ(bodyOf(wrongKind.body).value("error").toString(),
              QStringLiteral("No window matching 'Display'. Use GET /sources to list."));
    EXPECT_EQ(bodyOf(call("POST", "/recording/start", R"({"sourceId": "window-1"})").body).value("error"),
              JsonValue("No source matching 'window-1'. Use GET /sources to list."));
    EXPECT_FALSE(server->app.isRecording());

    // While an export runs the capture refuses to start; the answer says so rather than assuming.
    server->app.setIsExporting(true);
    const CurlResult refused =
        call("POST", "/recording/start", R"({"sourceType": "window", "camera": false})");
    server->app.setIsExporting(false);
    ASSERT_EQ(refused.status, 200) << refused.body.constData();
    const JsonObject r = bodyOf(refused.body);
    EXPECT_EQ(r.value("recording").toBool(true), false);
    EXPECT_EQ(r.value("source").toString(), QStringLiteral("window-%1").arg((*window)->windowID()));
    EXPECT_EQ(r.value("sourceTitle").toString(), QStringLiteral("Notes"));
    EXPECT_EQ(server->app.selectedSourceID(), r.value("source").toString());
    EXPECT_FALSE(server->app.isRecording());

    const QByteArray notRecording = rawExchange(server->port, "POST /recording/stop HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(notRecording.startsWith("HTTP/1.1 409 Unknown\r\n")) << notRecording.constData();
    EXPECT_TRUE(notRecording.endsWith(R"({"error":"Not recording"})"));
}

TEST_F(RecordingRoutesTest, StartThenStopLeavesAClipThatPlays) {
    if (QStandardPaths::findExecutable(QStringLiteral("ffprobe")).isEmpty())
        GTEST_SKIP() << "the ffprobe tool is not installed (scripts/setup-deps installs ffmpeg)";
    const QString folder = server->dir.filePath(QStringLiteral("API recordings"));
    QElapsedTimer timer;
    timer.start();
    const CurlResult started = call(
        "POST", "/recording/start",
        QByteArray(R"({"source": "display", "microphone": true, "outputDir": ")") + folder.toUtf8() + "\"}");
    ASSERT_EQ(started.status, 200) << started.body.constData();
    EXPECT_GE(timer.elapsed(), 1000); // the answer waits for the capture to get going
    const JsonObject s = bodyOf(started.body);
    EXPECT_TRUE(s.value("ok").toBool());
    EXPECT_TRUE(s.value("recording").toBool()) << started.body.constData();
    EXPECT_TRUE(s.value("source").toString().startsWith(QStringLiteral("display-")));
    EXPECT_TRUE(s.value("sourceTitle").toString().startsWith(QStringLiteral("Display ")));
    EXPECT_EQ(s.value("outputDir").toString(), folder);
    EXPECT_TRUE(s.value("warnings").isArray() && s.value("warnings").toArray().size() == 0)
        << started.body.constData();
    EXPECT_TRUE(server->app.includesMicrophone());
    EXPECT_FALSE(server->app.includesCamera());

    const JsonObject status = bodyOf(call("GET", "/status").body);
    EXPECT_EQ(status.value("screen").toString(), QStringLiteral("recording"));
    EXPECT_TRUE(status.value("isRecording").toBool());
    const CurlResult again = call("POST", "/recording/start", R"({"source": "display"})");
    EXPECT_EQ(again.status, 409);
    EXPECT_EQ(again.body, QByteArray(R"({"error":"Already recording"})"));

    processEventsFor(1500ms);
    const CurlResult stopped = call("POST", "/recording/stop");
    ASSERT_EQ(stopped.status, 200) << stopped.body.constData();
    const JsonObject stop = bodyOf(stopped.body);
    ASSERT_TRUE(server->app.currentBundle());
    const auto& clips = server->app.currentBundle()->project().timeline.clips;
    ASSERT_EQ(clips.size(), 1u);
    EXPECT_EQ(stop.value("clipCount").toDouble(), 1);
    EXPECT_EQ(stop.value("clipId").toString(), uuidString(clips.back().id));
    const QString projectPath = stop.value("projectPath").toString();
    EXPECT_EQ(projectPath, server->app.currentBundle()->path());
    EXPECT_EQ(QFileInfo(projectPath).absolutePath(), folder); // the new project went to the folder given
    const QString movie = stop.value("filePath").toString();
    EXPECT_TRUE(movie.startsWith(projectPath + u'/'));
    const double duration = stop.value("duration").toDouble();
    EXPECT_GT(duration, 2.0);
    EXPECT_LT(duration, 6.0);
    EXPECT_EQ(duration, std::round(duration * 100) / 100);

    // The movie plays: the screen at its size and both sound tracks, about as long as the clip says.
    const JsonObject probed = probe(movie);
    const JsonArray streams = probed.value("streams").toArray();
    ASSERT_EQ(streams.size(), 3) << movie.toStdString();
    EXPECT_EQ(streams[0].toObject(), (JsonObject{{"codec_type", "video"}, {"width", 1280}, {"height", 720}}));
    EXPECT_EQ(streams[1].toObject().value("codec_type").toString(), QStringLiteral("audio"));
    EXPECT_EQ(streams[2].toObject().value("codec_type").toString(), QStringLiteral("audio"));
    EXPECT_NEAR(probed.value("format").toObject().value("duration").toString().toDouble(), duration, 0.5);
    QProcess decode;
    decode.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), movie,
                  QStringLiteral("-f"), QStringLiteral("null"), QStringLiteral("-")});
    ASSERT_TRUE(decode.waitForFinished(60000));
    EXPECT_EQ(decode.exitCode(), 0) << decode.readAllStandardError().constData();

    EXPECT_EQ(call("POST", "/recording/stop").status, 409);
    EXPECT_FALSE(bodyOf(call("GET", "/status").body).value("isRecording").toBool(true));
}

TEST_F(RecordingRoutesTest, WithoutASoundServerTheStartRecordsVideoAndSaysWhatItLacks) {
    // Sound asked for, and a sound server that is not there: nothing listens on this socket.
    CaptureEnvironment silent = environment();
    silent.pulseServer = "unix:" + QFile::encodeName(server->dir.filePath(QStringLiteral("no-sound-server")));
    server->app.setCaptureEnvironment(silent);
    const CurlResult started =
        call("POST", "/recording/start", R"({"source": "display", "microphone": true, "systemAudio": true})");
    ASSERT_EQ(started.status, 200) << started.body.constData();
    const JsonObject s = bodyOf(started.body);
    EXPECT_TRUE(s.value("recording").toBool()) << started.body.constData();
    const JsonArray warnings = s.value("warnings").toArray();
    ASSERT_EQ(warnings.size(), 1) << started.body.constData();
    EXPECT_TRUE(warnings[0].toString().startsWith(QStringLiteral("Recording without sound: ")))
        << started.body.constData();
    if (server->app.isRecording()) {
        EXPECT_EQ(call("POST", "/recording/stop").status, 200);
    }
}
