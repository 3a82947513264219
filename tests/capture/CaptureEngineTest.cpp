#include "capture/CaptureEngine.h"

#include "CaptureTestSupport.h"
#include "capture/CameraRecorder.h"
#include "capture/TelemetryFiles.h"
#include "capture/pulse/PulseRecorder.h"
#include "capture/x11/DemoWindow.h"
#include "common/LogCapture.h"
#include "media/AssetProbe.h"
#include "media/AudioReader.h"
#include "media/FrameReader.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

// The level of `frequency` in one audio track of a movie, over `seconds` from `from`.
double trackToneLevel(const QString& path, int track, double from, double seconds, double frequency) {
    auto reader = AudioReader::open(path, {track});
    if (!reader)
        return -1;
    (*reader)->seek(from);
    std::vector<float> samples;
    const auto wanted = std::size_t(seconds * 48000) * 2;
    while (samples.size() < wanted) {
        auto chunk = (*reader)->next();
        if (!chunk || !*chunk)
            break;
        samples.insert(samples.end(), (*chunk)->samples.begin(), (*chunk)->samples.end());
    }
    samples.resize(std::min(samples.size(), wanted));
    return test::toneLevel(samples.data(), samples.size() / 2, frequency);
}

// Waits until `device` is heard playing something. An idle null sink sleeps for up to two seconds before it
// notices a new listener; a real device answers at once.
bool waitForSound(const QByteArray& server, PulseRecorder::Device device) {
    std::atomic<bool> heard{false};
    PulseRecorder listener(device, server, "test.listen", [&](std::span<const float> samples, MediaTime) {
        if (std::any_of(samples.begin(), samples.end(), [](float v) { return std::abs(v) > 0.1f; }))
            heard = true;
    });
    if (!listener.start(5s))
        return false;
    return test::processEventsUntil([&] { return heard.load(); }, 5s);
}

class FakeCamera : public CameraRecorder {
public:
    explicit FakeCamera(std::optional<QString> failure)
        : m_failure(std::move(failure)) {}
    QCoro::Task<tl::expected<void, QString>> start(QString deviceUniqueID, QString path) override {
        startedWith = {deviceUniqueID, path};
        if (m_failure)
            co_return tl::unexpected(*m_failure);
        co_return tl::expected<void, QString>{};
    }
    std::optional<std::pair<QString, QString>> startedWith;

private:
    std::optional<QString> m_failure;
};

class CaptureEngineTest : public test::CaptureServers {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_CAPTURE_SERVERS();
        driver = std::make_unique<test::XTestDriver>(xserver->displayName());
        ASSERT_TRUE(folder.isValid());
        bundle =
            std::make_shared<ProjectBundle>(folder.filePath(QStringLiteral("Test.orvanescreen")), Project{});
        ASSERT_TRUE(bundle->ensureOnDisk());
    }
    QStringList capturedLog() const { return log.lines(); }

    std::unique_ptr<DemoWindow> openWindow(DemoWindow::Options options) {
        options.displayName = xserver->displayName();
        auto window = DemoWindow::open(options);
        EXPECT_TRUE(window) << window.error().toStdString();
        return window ? std::move(*window) : nullptr;
    }

    CaptureSource sourceWithID(const QString& id) {
        const auto sources = test::awaitTask(CaptureEngine::discoverSources(environment()));
        for (const CaptureSource& s : sources.value().value())
            if (s.id == id)
                return s;
        ADD_FAILURE() << "no source " << id.toStdString();
        return {};
    }

    CaptureSource firstDisplay() {
        const auto source = test::awaitTask(CaptureEngine::findSource(QString(), environment()));
        return source.value().value();
    }

    tl::expected<CaptureResult, CaptureEngineError> recordFor(CaptureEngine& engine,
                                                              std::chrono::milliseconds d) {
        test::processEventsFor(d);
        return test::awaitTask(engine.stop()).value();
    }

    QTemporaryDir folder;
    std::shared_ptr<ProjectBundle> bundle;
    std::unique_ptr<test::XTestDriver> driver;
    test::LogCapture log;
};

TEST_F(CaptureEngineTest, RecordsADisplayWithBothSoundsAndTheClicks) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    auto window = openWindow({});
    ASSERT_TRUE(window);
    // Speakers play 440 Hz, the microphone hears 660 Hz.
    test::PulsePlayer speakers(pulse->serverString(), test::PulseServer::speakers, 440);
    test::PulsePlayer microphone(pulse->serverString(), test::PulseServer::microphone, 660);
    ASSERT_TRUE(speakers.isOpen() && microphone.isOpen());
    ASSERT_TRUE(waitForSound(pulse->serverString(), PulseRecorder::Device::systemAudio));
    ASSERT_TRUE(waitForSound(pulse->serverString(), PulseRecorder::Device::microphone));

    CaptureEngine engine(environment());
    const auto beforeStart = std::chrono::steady_clock::now();
    const auto started = test::awaitTask(engine.start(firstDisplay(), bundle, true, true));
    ASSERT_TRUE(started && *started) << started->error().message().toStdString();
    EXPECT_TRUE(engine.isRunning());
    EXPECT_TRUE(engine.startedAt());
    const auto startedClock = std::chrono::steady_clock::now();
    // The movie's time zero lies somewhere inside the start call, which a loaded machine stretches: times
    // measured from its end may read late by up to this much.
    const double startTook = std::chrono::duration<double>(startedClock - beforeStart).count();

    test::processEventsFor(1000ms);
    driver->warp(400, 300);
    driver->moveBy(10, 10);
    driver->click(1);
    const double clickedAt =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - startedClock).count();
    const auto stopped = recordFor(engine, 2000ms);
    // Nor can the movie be longer than the whole time from the start call to the end of the stop call.
    const double wholeTime =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - beforeStart).count();
    ASSERT_TRUE(stopped) << stopped.error().message().toStdString();
    const CaptureResult& r = *stopped;
    EXPECT_FALSE(engine.isRunning());
    EXPECT_FALSE(engine.startedAt());

    // The files are named after one fresh id, inside the project folder; the sound lives in the movie.
    static const QRegularExpression name(QStringLiteral("^media/clip-([0-9A-F-]{36})\\.mov$"));
    const auto match = name.match(r.videoRelativePath);
    ASSERT_TRUE(match.hasMatch()) << r.videoRelativePath.toStdString();
    const QString id = match.captured(1);
    EXPECT_EQ(r.cursorRelativePath, QStringLiteral("media/clip-%1-cursor.json").arg(id));
    EXPECT_EQ(r.eventsRelativePath, QStringLiteral("media/clip-%1-events.json").arg(id));
    EXPECT_EQ(r.videoURL, bundle->mediaPath(r.videoRelativePath));
    EXPECT_FALSE(r.audioURL);
    EXPECT_FALSE(r.audioRelativePath);
    EXPECT_FALSE(r.cameraRelativePath);
    EXPECT_EQ(r.frameSize, (Size{1280, 720}));
    EXPECT_GE(r.duration.seconds, 3.0 - 0.3);
    EXPECT_LE(r.duration.seconds, wholeTime + 0.1);
    // The journal kept the telemetry while the recording ran; once the two files are written it goes.
    EXPECT_FALSE(
        QFileInfo::exists(bundle->mediaPath(QStringLiteral("media/clip-%1-telemetry.jsonl").arg(id))));

    const auto info = probeAsset(r.videoURL);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    EXPECT_TRUE(info->isPlayable);
    EXPECT_EQ(info->brand, QStringLiteral("qt  "));
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].codec, QStringLiteral("h264"));
    EXPECT_EQ(info->videoTracks[0].naturalSize, (Size{1280, 720}));
    ASSERT_EQ(info->audioTracks.size(), 2u);
    for (const auto& track : info->audioTracks) {
        EXPECT_EQ(track.sampleRate, 48000);
        EXPECT_EQ(track.channels, 2);
    }
    EXPECT_GE(info->duration, 3.0 - 0.3);
    EXPECT_LE(info->duration, wholeTime + 0.1);

    // 60 frames a second, within 5 %, and every frame the engine appended is in the file.
    const double videoSeconds = info->videoTracks[0].duration.value_or(info->duration);
    const auto frames = test::countedFrames(r.videoURL);
    ASSERT_TRUE(frames);
    EXPECT_NEAR(double(*frames) / videoSeconds, 60.0, 3.0);
    EXPECT_EQ(*frames, engine.statistics().output.framesAppended);

    // The system's sound first, the microphone second, each with its own tone.
    EXPECT_GT(trackToneLevel(r.videoURL, 0, 0.5, 1.0, 440), 0.1);
    EXPECT_LT(trackToneLevel(r.videoURL, 0, 0.5, 1.0, 660), 0.01);
    EXPECT_GT(trackToneLevel(r.videoURL, 1, 0.5, 1.0, 660), 0.1);
    EXPECT_LT(trackToneLevel(r.videoURL, 1, 0.5, 1.0, 440), 0.01);

    // The click lands where it was made, at the time it was made.
    const EventTrack events = TelemetryFiles::readEventTrack(r.eventsURL).value();
    const auto down = std::find_if(events.events.begin(), events.events.end(),
                                   [](const InputEvent& e) { return e.isClick(); });
    ASSERT_NE(down, events.events.end());
    EXPECT_EQ(down->location(), (Point{410, 310}));
    EXPECT_GE(down->time().seconds, clickedAt - 0.1);
    EXPECT_LE(down->time().seconds, clickedAt + startTook + 0.1);
    const CursorTrack cursor = TelemetryFiles::readCursorTrack(r.cursorURL).value();
    ASSERT_FALSE(cursor.samples.empty());
    EXPECT_EQ(cursor.samples.back().x, 410);
    EXPECT_EQ(cursor.samples.back().y, 310);

    const QStringList& lines = capturedLog();
    EXPECT_TRUE(
        lines.contains(QStringLiteral("[CaptureEngine] Writer startWriting: true, status: 1, error: none")));
    EXPECT_EQ(lines
                  .filter(QRegularExpression(
                      QStringLiteral("^\\[CaptureEngine\\] Starting XCB SHM capture on display \\d+ "
                                     "\\(1280x720\\)( with sound from PulseAudio)?\\.\\.\\.$")))
                  .size(),
              1);
    EXPECT_TRUE(lines.contains(QStringLiteral("[CaptureEngine] XCB SHM capture started successfully")));
    // Sound that is already flowing comes first; the first sample names its image only if it is a frame.
    const QStringList first = lines.filter(QStringLiteral("[CaptureEngine] Frame #1 type="));
    ASSERT_EQ(first.size(), 1);
    if (first[0].contains(QStringLiteral("type=0")))
        EXPECT_TRUE(first[0].endsWith(QStringLiteral(" valid=true pb=1280x720 fmt=BGRA(1111970369)")));
    else
        EXPECT_TRUE(lines.filter(QStringLiteral(" pb=")).isEmpty());
    EXPECT_TRUE(
        lines.contains(QStringLiteral("[CaptureEngine] MouseTracker (XInput2 tap) started successfully")));
}

TEST_F(CaptureEngineTest, AWindowIsRecordedWholeEvenWhereCovered) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    DemoWindow::Options red;
    red.x = 100;
    red.y = 100;
    red.width = 321;
    red.height = 241;
    red.title = QStringLiteral("Red");
    red.background = 0xff0000;
    red.framesPerSecond = 0;
    auto below = openWindow(red);
    DemoWindow::Options blue = red;
    blue.x = 200;
    blue.y = 150;
    blue.width = 300;
    blue.height = 200;
    blue.title = QStringLiteral("Blue");
    blue.background = 0x0000ff;
    auto above = openWindow(blue);
    ASSERT_TRUE(below && above);
    driver->warp(150, 150); // over the red window, where no other window is

    CaptureEngine engine(environment());
    const CaptureSource source = sourceWithID(QStringLiteral("window-%1").arg(below->windowID()));
    ASSERT_EQ(source.pixelSize, (Size{321, 241}));
    const auto started = test::awaitTask(engine.start(source, bundle, false, false));
    ASSERT_TRUE(started && *started) << started->error().message().toStdString();
    const auto r = recordFor(engine, 500ms);
    ASSERT_TRUE(r) << r.error().message().toStdString();
    // H.264 wants even sides: the last column and row go.
    EXPECT_EQ(r->frameSize, (Size{320, 240}));

    auto reader = FrameReader::open(r->videoURL);
    ASSERT_TRUE(reader);
    int frames = 0;
    while (auto frame = (*reader)->next()) {
        if (!*frame)
            break;
        ++frames;
        const VideoFrame& f = **frame;
        ASSERT_EQ(f.width(), 320);
        // Under the blue window (global 250, 200) and under the pointer (global 150, 150): red.
        for (auto [x, y] : {std::pair{150, 100}, std::pair{50, 50}}) {
            const std::uint32_t p = f.pixel(x, y);
            EXPECT_GT((p >> 16) & 0xff, 200u) << frames << ": " << x << "," << y;
            EXPECT_LT(p & 0xff, 50u) << frames << ": " << x << "," << y;
            EXPECT_LT((p >> 8) & 0xff, 50u) << frames << ": " << x << "," << y;
        }
    }
    EXPECT_GT(frames, 20);
}

TEST_F(CaptureEngineTest, AWindowThatGoesAwayEndsTheFramesNotTheRecording) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    DemoWindow::Options options;
    options.width = 200;
    options.height = 100;
    options.title = QStringLiteral("Short-lived");
    auto window = openWindow(options);
    ASSERT_TRUE(window);
    const std::uint32_t id = window->windowID();
    CaptureEngine engine(environment());
    const auto started =
        test::awaitTask(engine.start(sourceWithID(QStringLiteral("window-%1").arg(id)), bundle, false, false))
            .value();
    ASSERT_TRUE(started) << started.error().message().toStdString();
    test::processEventsFor(300ms);
    window.reset();
    const auto r = recordFor(engine, 300ms);
    ASSERT_TRUE(r) << r.error().message().toStdString();
    EXPECT_TRUE(capturedLog().contains(
        QStringLiteral("[CaptureEngine] stream stopped with error: The window %1 is gone.").arg(id)));
    const auto info = probeAsset(r->videoURL);
    ASSERT_TRUE(info);
    EXPECT_TRUE(info->isPlayable);
    EXPECT_GT(engine.statistics().output.framesAppended, 10);
    EXPECT_GT(engine.statistics().stream.screen.idleTicks, 5);
}

TEST_F(CaptureEngineTest, RefusesWhatItCannotDoWithTheTextsOfItsErrors) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    DemoWindow::Options options;
    options.wmClass = "orvane-app-test";
    auto window = openWindow(options);
    ASSERT_TRUE(window);
    CaptureEngine engine(environment());
    const auto notRunning = test::awaitTask(engine.stop()).value();
    ASSERT_FALSE(notRunning);
    EXPECT_EQ(notRunning.error().message(), QStringLiteral("Capture is not running."));

    CaptureSource gone;
    gone.id = QStringLiteral("window-12345");
    gone.kind = CaptureSource::Kind::window;
    gone.windowID = 12345;
    const auto notFound = test::awaitTask(engine.start(gone, bundle, false, false)).value();
    ASSERT_FALSE(notFound);
    EXPECT_EQ(notFound.error().message(), QStringLiteral("The selected source could not be found."));

    // An application is recorded as its display. A second start while running is refused.
    const CaptureSource app = sourceWithID(QStringLiteral("app-orvane-app-test"));
    EXPECT_EQ(app.pixelSize, (Size{1280, 720}));
    auto camera = std::make_shared<FakeCamera>(QStringLiteral("no camera here"));
    const auto started = test::awaitTask(engine.start(app, bundle, false, false, camera)).value();
    ASSERT_TRUE(started) << started.error().message().toStdString();
    EXPECT_EQ(engine.frameSize(), (Size{1280, 720}));
    const auto again = test::awaitTask(engine.start(app, bundle, false, false)).value();
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().message(), QStringLiteral("Capture is already running."));
    const auto first = recordFor(engine, 300ms);
    ASSERT_TRUE(first);
    // The camera failed: logged, and the recording went on without it.
    EXPECT_TRUE(
        capturedLog().contains(QStringLiteral("[CaptureEngine] camera failed to start: no camera here")));
    EXPECT_FALSE(first->cameraURL);
    EXPECT_FALSE(first->cameraRelativePath);
    ASSERT_TRUE(camera->startedWith);
    EXPECT_EQ(camera->startedWith->first, QString());

    // The engine starts again after a stop; a working camera records beside the movie.
    auto working = std::make_shared<FakeCamera>(std::nullopt);
    ASSERT_TRUE(test::awaitTask(engine.start(firstDisplay(), bundle, false, false, working)).value());
    const auto second = recordFor(engine, 300ms);
    ASSERT_TRUE(second);
    EXPECT_EQ(
        second->cameraRelativePath,
        QString(second->videoRelativePath).replace(QStringLiteral(".mov"), QStringLiteral("-camera.mov")));
    EXPECT_EQ(second->cameraURL, working->startedWith->second);
    EXPECT_NE(second->videoRelativePath, first->videoRelativePath);
}

TEST_F(CaptureEngineTest, WithoutASoundServerTheScreenIsRecordedAloneAndSaysSo) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    CaptureEnvironment noSound = environment();
    noSound.pulseServer = "unix:" + QFile::encodeName(folder.path()) + "/nothing/native";
    CaptureEngine engine(noSound);
    const auto started = test::awaitTask(engine.start(firstDisplay(), bundle, true, true)).value();
    ASSERT_TRUE(started) << started.error().message().toStdString();
    ASSERT_EQ(engine.warnings().size(), 1);
    EXPECT_TRUE(engine.warnings().front().startsWith(QStringLiteral("Recording without sound: PulseAudio")))
        << engine.warnings().front().toStdString();
    EXPECT_TRUE(capturedLog().contains(QStringLiteral("[CaptureEngine] ") + engine.warnings().front()));
    const auto result = recordFor(engine, 400ms);
    ASSERT_TRUE(result) << result.error().message().toStdString();
    const auto probe = probeAsset(result->videoURL);
    ASSERT_TRUE(probe.has_value());
    EXPECT_EQ(probe->videoTracks.size(), 1u);
    EXPECT_TRUE(probe->audioTracks.empty());
    // The start that tried the sound first left nothing behind: one movie, the one recorded.
    EXPECT_EQ(QDir(bundle->mediaDirectory()).entryList({QStringLiteral("*.mov")}, QDir::Files).size(), 1);

    // The next start with a sound server that answers records its sound and clears the warning.
    CaptureEngine withSound(environment());
    ASSERT_TRUE(test::awaitTask(withSound.start(firstDisplay(), bundle, false, true)).value());
    EXPECT_TRUE(withSound.warnings().isEmpty());
    const auto heard = recordFor(withSound, 300ms);
    ASSERT_TRUE(heard);
    EXPECT_EQ(probeAsset(heard->videoURL)->audioTracks.size(), 1u);
}

} // namespace
