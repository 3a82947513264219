// Recording on Wayland through the engine, as the application does it: a portal of the test's own on a
// private bus hands out a real PipeWire daemon's node, fed by a source that numbers its frames and moves
// its cursor. The picker's entries, the movie and its cursor track, the restore token that makes the
// second recording ask nothing, a desktop that can only draw the cursor into the picture, a source that
// goes away while recording, and the ways a start fails.
#include "CaptureTestSupport.h"
#include "FakeScreenCastPortal.h"
#include "PipeWireTestSupport.h"
#include "capture/CaptureEngine.h"
#include "capture/PermissionsManager.h"
#include "capture/TelemetryFiles.h"
#include "capture/wayland/PortalScreenCast.h"
#include "capture/wayland/RememberedSources.h"
#include "media/FrameReader.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <gtest/gtest.h>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

class WaylandCaptureEngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString why;
        pipewire = PipeWireSession::start(&why);
        if (!pipewire)
            GTEST_SKIP() << "no PipeWire session: " << why.toStdString();
        if (portalBus.address.isEmpty())
            GTEST_SKIP() << "dbus-daemon did not start";
        source = TestVideoSource::start(pipewire->connect(), 320, 240, 30, &why);
        ASSERT_NE(source, nullptr) << why.toStdString();
        QDeadlineTimer deadline(5000);
        while (source->nodeId() == 0 && !deadline.hasExpired())
            QThread::msleep(20);
        ASSERT_NE(source->nodeId(), 0u);

        portal = FakeScreenCast::publish(portalBus.connect(QStringLiteral("portal-side")));
        portal->streamNode = source->nodeId();
        portal->streamSize = {320, 240};
        portal->openRemote = [this] {
            return pipewire->connect();
        };

        ASSERT_TRUE(folder.isValid());
        bundle =
            std::make_shared<ProjectBundle>(folder.filePath(QStringLiteral("Test.orvanescreen")), Project{});
        ASSERT_TRUE(bundle->ensureOnDisk());
    }

    CaptureEnvironment environment() const {
        CaptureEnvironment env;
        env.session = CaptureEnvironment::Session::wayland;
        env.portalBusAddress = portalBus.address;
        env.rememberedSourcesPath = folder.filePath(QStringLiteral("remembered-sources.json"));
        env.inputDeviceDirectory = folder.filePath(QStringLiteral("no-input-devices"));
        return env;
    }

    std::vector<CaptureSource> discover() {
        auto sources = awaitTask(CaptureEngine::discoverSources(environment()));
        if (!sources || !*sources) {
            ADD_FAILURE() << "discovery failed";
            return {};
        }
        return **sources;
    }

    tl::expected<CaptureResult, CaptureEngineError>
    record(const CaptureSource& chosen, std::chrono::milliseconds d, QStringList* warnings = nullptr) {
        CaptureEngine engine(environment());
        const auto started = awaitTask(engine.start(chosen, bundle, false, false));
        if (!started || !*started)
            return tl::unexpected(started ? started->error()
                                          : CaptureEngineError::system(QStringLiteral("hung")));
        if (warnings)
            *warnings = engine.warnings();
        processEventsFor(d);
        return awaitTask(engine.stop()).value();
    }

    // The movies the bundle's media folder holds.
    QStringList movies() const {
        QStringList found;
        QDir media(bundle->path());
        for (const QFileInfo& info : media.entryInfoList(QDir::AllDirs | QDir::NoDotAndDotDot))
            for (const QString& name : QDir(info.filePath()).entryList({QStringLiteral("*.mov")}))
                found << name;
        return found;
    }

    std::unique_ptr<PipeWireSession> pipewire;
    PrivateBus portalBus;
    std::unique_ptr<TestVideoSource> source;
    std::unique_ptr<FakeScreenCast> portal;
    QTemporaryDir folder;
    std::shared_ptr<ProjectBundle> bundle;
};

// The picker offers the desktop's dialog for each kind the portal casts; recording through it gives a
// movie of the numbered frames and a cursor track from the stream's metadata, and the choice is kept. The
// second recording of it hands the portal its token (so the desktop asks nothing) and keeps the new one.
TEST_F(WaylandCaptureEngineTest, RecordsThePortalsStreamAndRemembersTheChoice) {
    const std::vector<CaptureSource> first = discover();
    ASSERT_EQ(first.size(), 2u);
    EXPECT_EQ(first[0].id, QString::fromLatin1(RememberedSources::chooseDisplayID));
    EXPECT_EQ(first[0].kind, CaptureSource::Kind::display);
    EXPECT_EQ(first[0].title, QStringLiteral("Choose in the desktop\u2019s dialog\u2026"));
    EXPECT_EQ(first[1].id, QString::fromLatin1(RememberedSources::chooseWindowID));
    EXPECT_EQ(first[1].kind, CaptureSource::Kind::window);

    QStringList warnings;
    const auto result = record(first[0], 2s, &warnings);
    ASSERT_TRUE(result) << result.error().message().toStdString();
    EXPECT_EQ(result->frameSize, (Size{320, 240}));
    EXPECT_FALSE(result->cursorInPicture);
    EXPECT_TRUE(warnings.join(u' ').contains(QStringLiteral("Clicks and keys are not recorded")))
        << warnings.join(u'\n').toStdString();
    ASSERT_EQ(portal->selectOptions.size(), 1);
    EXPECT_EQ(portal->selectOptions[0].value(QStringLiteral("types")).toUInt(), 1u);
    EXPECT_EQ(portal->selectOptions[0].value(QStringLiteral("cursor_mode")).toUInt(), 4u);
    EXPECT_FALSE(portal->selectOptions[0].contains(QStringLiteral("restore_token")));

    // About 2 s of a 30 fps source; the pattern counts up frame by frame.
    const auto frames = countedFrames(result->videoURL);
    ASSERT_TRUE(frames.has_value());
    EXPECT_GE(*frames, 40);
    EXPECT_LE(*frames, 75);
    auto reader = FrameReader::open(result->videoURL);
    ASSERT_TRUE(reader);
    std::vector<int> blues;
    while (auto frame = (*reader)->next()) {
        if (!*frame)
            break;
        blues.push_back(int((**frame).pixel(160, 120) & 0xff));
    }
    ASSERT_GE(blues.size(), 40u);
    // Each source frame adds one to blue; the encoder may round two neighbours alike, never backwards.
    int backwards = 0;
    for (std::size_t i = 1; i < blues.size(); ++i)
        backwards += blues[i] + 2 < blues[i - 1] && blues[i] + 200 > blues[i - 1]; // past 255 it starts over
    EXPECT_LE(backwards, 1) << "the movie does not show the source's frames in order";
    EXPECT_GE((blues.back() - blues.front() + 256) % 256, 40) << "the pattern did not move";

    // The metadata put the cursor at (n, 2n) on frame n: the track follows it, on the recording's clock.
    const CursorTrack cursor = TelemetryFiles::readCursorTrack(result->cursorURL).value();
    ASSERT_GE(cursor.samples.size(), 30u);
    for (const CursorSample& s : cursor.samples)
        EXPECT_DOUBLE_EQ(s.y, 2 * s.x) << s.time.seconds;
    EXPECT_LT(cursor.samples.front().time.seconds, 0.5);
    EXPECT_GT(cursor.samples.back().time.seconds, 1.5);
    EXPECT_LT(cursor.samples.back().time.seconds, 3.0);

    // Remembered, newest first, before the dialog's entries.
    RememberedSources remembered(environment().rememberedSourcesPath);
    ASSERT_EQ(remembered.sources().size(), 1u);
    EXPECT_EQ(remembered.sources()[0].restoreToken, QStringLiteral("restore-1"));
    const std::vector<CaptureSource> second = discover();
    ASSERT_EQ(second.size(), 3u);
    EXPECT_TRUE(second[0].id.startsWith(QStringLiteral("portal-")));
    EXPECT_EQ(second[0].title, QStringLiteral("Display 320 \u00d7 240"));
    EXPECT_EQ(second[1].id, QString::fromLatin1(RememberedSources::chooseDisplayID));

    portal->nextRestoreToken = QStringLiteral("restore-2");
    const auto again = record(second[0], 500ms);
    ASSERT_TRUE(again) << again.error().message().toStdString();
    ASSERT_EQ(portal->selectOptions.size(), 2);
    EXPECT_EQ(portal->selectOptions[1].value(QStringLiteral("restore_token")).toString(),
              QStringLiteral("restore-1"));
    RememberedSources after(environment().rememberedSourcesPath);
    ASSERT_EQ(after.sources().size(), 1u) << "the same source, not a second one";
    EXPECT_EQ(after.sources()[0].id, second[0].id);
    EXPECT_EQ(after.sources()[0].restoreToken, QStringLiteral("restore-2"));
    EXPECT_GE(portal->session.closed, 2) << "each recording ends its portal session";
}

// A wlroots-like portal offers no cursor metadata: the pointer is recorded in the picture, the picker
// says so beforehand, and the result tells the clip not to draw a second one.
TEST_F(WaylandCaptureEngineTest, ADesktopWithoutCursorMetadataRecordsItInThePicture) {
    portal->availableCursorModes = PortalScreenCast::cursorHidden | PortalScreenCast::cursorEmbedded;
    portal->availableSourceTypes = PortalScreenCast::monitor;
    const std::vector<CaptureSource> sources = discover();
    ASSERT_EQ(sources.size(), 1u) << "no window entry where the portal casts no windows";
    EXPECT_TRUE(sources[0].subtitle.contains(QStringLiteral("cursor in the picture")))
        << sources[0].subtitle.toStdString();

    QStringList warnings;
    const auto result = record(sources[0], 500ms, &warnings);
    ASSERT_TRUE(result) << result.error().message().toStdString();
    EXPECT_TRUE(result->cursorInPicture);
    EXPECT_EQ(portal->selectOptions.back().value(QStringLiteral("cursor_mode")).toUInt(), 2u);
    EXPECT_TRUE(warnings.join(u' ').contains(QStringLiteral("draws the cursor into the recording")));
    EXPECT_TRUE(RememberedSources(environment().rememberedSourcesPath).sources().at(0).cursorInPicture);
}

// The window or output goes away: the recording ends by itself with what it had, long before its time.
TEST_F(WaylandCaptureEngineTest, ASourceThatGoesAwayEndsTheRecordingWithTheMovieKept) {
    const std::vector<CaptureSource> sources = discover();
    ASSERT_FALSE(sources.empty());
    QTimer::singleShot(1200, [this] { source->stop(); });
    QElapsedTimer elapsed;
    elapsed.start();
    const auto result =
        awaitTask(CaptureEngine::record(sources[0], bundle, 20s, false, false, environment()));
    ASSERT_TRUE(result.has_value());
    ASSERT_TRUE(*result) << (*result).error().message().toStdString();
    EXPECT_LT(elapsed.elapsed(), 8000) << "the recording ran on after its source was gone";
    const auto frames = countedFrames((*result)->videoURL);
    ASSERT_TRUE(frames.has_value());
    EXPECT_GE(*frames, 15);
}

// A closed dialog is a refusal; a remembered id that is no longer kept is unknown; without a portal the
// text says what is missing. None leaves a movie behind.
TEST_F(WaylandCaptureEngineTest, FailedStartsSayWhyAndLeaveNothing) {
    const std::vector<CaptureSource> sources = discover();
    ASSERT_FALSE(sources.empty());
    portal->startResponse = 1;
    const auto cancelled = record(sources[0], 100ms);
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(cancelled.error().kind, CaptureEngineError::Kind::permissionDenied);

    CaptureSource forgotten = sources[0];
    forgotten.id = QStringLiteral("portal-gone");
    const auto unknown = record(forgotten, 100ms);
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.error().kind, CaptureEngineError::Kind::sourceNotFound);
    EXPECT_TRUE(movies().isEmpty()) << movies().join(u' ').toStdString();

    PrivateBus empty;
    CaptureEnvironment none = environment();
    none.portalBusAddress = empty.address;
    const auto discovered = awaitTask(CaptureEngine::discoverSources(none));
    ASSERT_TRUE(discovered.has_value());
    ASSERT_FALSE(*discovered);
    EXPECT_TRUE((*discovered).error().message().contains(QStringLiteral("No screen cast portal answers")))
        << (*discovered).error().message().toStdString();
}

// On Wayland the screen permission is a portal to ask, and the input permission readable input devices;
// the X server is not asked about either.
TEST_F(WaylandCaptureEngineTest, PermissionsComeFromThePortalAndTheInputDevices) {
    const auto checked = [](CaptureEnvironment env) {
        QFuture<CapturePermissions> checking =
            QtConcurrent::run([env] { return PermissionsManager::check(env); });
        EXPECT_TRUE(
            processEventsUntil([&] { return checking.isFinished(); }, 10s)); // the portal answers here
        return checking.result();
    };
    CaptureEnvironment env = environment();
    env.displayName = ":1999"; // no such X server
    const CapturePermissions found = checked(env);
    EXPECT_EQ(found.screenRecording, CapturePermissions::Status::granted);
    EXPECT_EQ(found.accessibility, CapturePermissions::Status::denied);

    PrivateBus empty;
    env.portalBusAddress = empty.address;
    EXPECT_EQ(checked(env).screenRecording, CapturePermissions::Status::denied);
}

} // namespace
} // namespace orvane::test
