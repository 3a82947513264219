// The recording flow of AppState and the `sources` and `record` commands, against a private Xvfb and
// PulseAudio daemon: real capture engines, real movies, real project folders.
#include "app/AppState.h"
#include "app/RecordingRecovery.h"
#include "capture/CaptureTestSupport.h"
#include "capture/TelemetryFiles.h"
#include "capture/pulse/PulseRecorder.h"
#include "capture/pulse/SoundEffects.h"
#include "media/AssetProbe.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <atomic>
#include <csignal>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

class RecordingFlowTest : public test::CaptureServers {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_CAPTURE_SERVERS();
        ASSERT_TRUE(m_dir.isValid());
        m_defaults.setValue(QStringLiteral("recordingSaveDirectory"),
                            m_dir.filePath(QStringLiteral("Projects")));
        m_app.setCaptureEnvironment(environment());
        m_app.setCountdownTick(60ms);
        m_app.setIncludesMicrophone(false);
        m_app.setIncludesSystemAudio(false);
        // Every phase the flow goes through, in order.
        QObject::connect(&m_app, &AppState::recordingPhaseChanged,
                         [this] { m_phases.push_back(m_app.recordingPhase()); });
    }

    // Permissions and sources as the picker reads them, with the first display selected.
    void discover() {
        auto permissions = m_app.refreshPermissions();
        ASSERT_TRUE(test::processEventsUntil([&] { return permissions.isReady(); }, 10s));
        ASSERT_EQ(m_app.permissions().screenRecording, PermissionsState::Status::granted);
        auto sources = m_app.refreshSources();
        ASSERT_TRUE(test::processEventsUntil([&] { return sources.isReady(); }, 10s));
        ASSERT_FALSE(m_app.availableSources().empty());
        ASSERT_EQ(m_app.availableSources().front().kind, CaptureSource::Kind::display);
        m_app.setSelectedSourceID(m_app.availableSources().front().id);
    }

    bool waitForPhase(bool (RecordingPhase::*is)() const, std::chrono::milliseconds timeout = 20s) {
        return test::processEventsUntil([&] { return (m_app.recordingPhase().*is)(); }, timeout);
    }

    // One whole recording through beginCapture and stopCapture, about `seconds` long.
    void record(std::chrono::milliseconds length) {
        m_app.beginCapture();
        ASSERT_TRUE(waitForPhase(&RecordingPhase::isRecording)) << "the engine did not start";
        test::processEventsUntil([] { return false; }, length);
        m_app.stopCapture();
        ASSERT_TRUE(waitForPhase(&RecordingPhase::isIdle, 30s));
        ASSERT_FALSE(m_app.lastError().has_value()) << m_app.lastError()->message.toStdString();
    }

    QStringList mediaFiles() const {
        if (!m_app.currentBundle())
            return {};
        return QDir(m_app.currentBundle()->mediaDirectory()).entryList(QDir::Files);
    }

    QTemporaryDir m_dir;
    UserDefaults m_defaults{m_dir.filePath(QStringLiteral("defaults.ini"))};
    RecentProjectsStore m_recents{m_defaults};
    ManualClock m_clock;
    AppState m_app{{m_defaults, m_recents, m_clock}};
    std::vector<RecordingPhase> m_phases;
};

} // namespace

TEST_F(RecordingFlowTest, TwoRecordingsBecomeTwoClipsOneAfterTheOther) {
    discover();
    record(1500ms);
    EXPECT_EQ(m_app.screen(), AppScreen::editor);
    EXPECT_EQ(m_app.captureEngine(), nullptr);

    // The countdown counts down from three before the engine starts, then stops and goes idle.
    ASSERT_GE(m_phases.size(), 6u);
    EXPECT_EQ(m_phases[0], RecordingPhase::countingDown(3));
    const std::vector<RecordingPhase> counted(m_phases.begin(), m_phases.begin() + 3);
    EXPECT_EQ(counted,
              (std::vector<RecordingPhase>{RecordingPhase::countingDown(3), RecordingPhase::countingDown(2),
                                           RecordingPhase::countingDown(1)}));
    EXPECT_TRUE(m_phases[3].isRecording());
    EXPECT_TRUE(m_phases[4].isStopping());
    EXPECT_TRUE(m_phases[5].isIdle());

    record(1000ms);
    const Project& project = m_app.currentBundle()->project();
    ASSERT_EQ(project.timeline.clips.size(), 2u);
    const Clip& first = project.timeline.clips[0];
    const Clip& second = project.timeline.clips[1];
    EXPECT_EQ(first.name, QStringLiteral("Recording 1"));
    EXPECT_EQ(second.name, QStringLiteral("Recording 2"));
    EXPECT_DOUBLE_EQ(first.timelineStart.seconds, 0);
    EXPECT_DOUBLE_EQ(second.timelineStart.seconds, first.timelineEnd().seconds);
    EXPECT_NE(first.id, second.id);

    for (const Clip& clip : project.timeline.clips) {
        EXPECT_EQ(clip.sourceSize, (Size{1280, 720}));
        EXPECT_DOUBLE_EQ(clip.sourceIn.seconds, 0);
        EXPECT_GT(clip.sourceOut.seconds, 0.7);
        EXPECT_FALSE(clip.sourceAudioPath.has_value()); // the sound lives in the movie's own tracks
        EXPECT_FALSE(clip.camera.isEnabled);
        EXPECT_TRUE(clip.zoomTrack.keyframes.empty()); // no manual marks, and auto-zoom is not run
        EXPECT_EQ(clip.background, project.defaultBackground);
        EXPECT_EQ(clip.autoZoom, project.defaultAutoZoom);
        EXPECT_EQ(clip.audio, (AudioConfig{1.0, 1.0, true, true}));
        ASSERT_TRUE(clip.sourceCursorPath && clip.sourceEventsPath);
        EXPECT_TRUE(QFileInfo::exists(m_app.currentBundle()->mediaPath(*clip.sourceCursorPath)));
        const auto probe = probeAsset(m_app.currentBundle()->mediaPath(clip.sourceVideoPath));
        ASSERT_TRUE(probe.has_value());
        // The picture's own length: on a loaded machine the sound tracks may run on a little past it.
        ASSERT_EQ(probe->videoTracks.size(), 1u);
        EXPECT_NEAR(probe->videoTracks[0].duration.value_or(probe->duration), clip.sourceOut.seconds, 0.2);
    }

    // The clips are on disk once the throttled save is flushed.
    ASSERT_TRUE(m_app.currentBundle()->flushPendingSave().has_value());
    auto reloaded = ProjectBundle::load(m_app.currentBundle()->path());
    ASSERT_TRUE(reloaded.has_value());
    EXPECT_EQ((*reloaded)->project().timeline.clips, project.timeline.clips);
}

TEST_F(RecordingFlowTest, StartWithoutASourceOrPermissionChangesNothing) {
    // Permissions unknown: not even an error.
    m_app.beginCapture();
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_FALSE(m_app.lastError().has_value());

    discover();
    m_app.setSelectedSourceID(QStringLiteral("display-does-not-exist"));
    m_app.beginCapture();
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_TRUE(m_phases.empty());
    ASSERT_TRUE(m_app.lastError().has_value());
    ASSERT_EQ(m_app.lastError()->recoveryActions.size(), 1u);
    m_app.lastError()->recoveryActions.front().handler();
    EXPECT_EQ(m_app.screen(), AppScreen::sourcePicker);
    EXPECT_EQ(m_app.currentBundle(), nullptr); // nothing was made for a start that never began

    // A stop with no engine does nothing at all.
    m_app.setScreen(AppScreen::welcome);
    m_app.stopCapture();
    EXPECT_TRUE(m_phases.empty());
    EXPECT_EQ(m_app.screen(), AppScreen::welcome);
}

TEST_F(RecordingFlowTest, CancellingTheCountdownStartsNothing) {
    discover();
    m_app.setCountdownTick(400ms);
    m_app.beginCapture();
    ASSERT_TRUE(test::processEventsUntil(
        [&] { return m_app.recordingPhase() == RecordingPhase::countingDown(2); }, 5s));
    m_app.cancelCountdown();
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_EQ(m_app.screen(), AppScreen::sourcePicker);
    EXPECT_EQ(m_app.captureEngine(), nullptr);

    // The abandoned countdown must not come back to life when its tick fires.
    test::processEventsUntil([] { return false; }, 1500ms);
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_FALSE(m_app.lastError().has_value());
    EXPECT_TRUE(mediaFiles().isEmpty());

    // A cancel in any other phase is ignored.
    m_app.setCountdownTick(10ms);
    m_app.beginCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isRecording));
    m_app.cancelCountdown();
    EXPECT_TRUE(m_app.recordingPhase().isRecording());
    m_app.stopCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isIdle));
    EXPECT_EQ(m_app.currentBundle()->project().timeline.clips.size(), 1u);
}

TEST_F(RecordingFlowTest, QuittingDuringTheCountdownTakesTheStopPathAndRecordsNothing) {
    discover();
    m_app.setCountdownTick(400ms);
    m_app.beginCapture();
    ASSERT_TRUE(test::processEventsUntil(
        [&] { return m_app.recordingPhase() == RecordingPhase::countingDown(2); }, 5s));
    int replies = 0;
    EXPECT_EQ(m_app.applicationShouldTerminate([&](bool) { ++replies; }), AppState::TerminateReply::later);
    // The stop finds an engine that never started and ends at once; the countdown, no longer counting,
    // never starts it.
    ASSERT_TRUE(test::processEventsUntil([&] { return replies > 0; }, 5s));
    test::processEventsUntil([] { return false; }, 1500ms);
    EXPECT_EQ(replies, 1);
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_EQ(m_app.captureEngine(), nullptr);
    EXPECT_TRUE(mediaFiles().isEmpty());
    EXPECT_TRUE(m_app.currentBundle()->project().timeline.clips.empty());
}

TEST_F(RecordingFlowTest, FailuresComeBackWithTheirWaysOut) {
    discover();
    // A window that has gone between the picker and the start.
    CaptureSource gone;
    gone.id = QStringLiteral("window-4194303");
    gone.kind = CaptureSource::Kind::window;
    gone.title = QStringLiteral("Closed");
    gone.windowID = 4194303;
    m_app.setAvailableSources({gone});
    m_app.setSelectedSourceID(gone.id);
    m_app.beginCapture();
    ASSERT_TRUE(test::processEventsUntil([&] { return m_app.lastError().has_value(); }, 20s));
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_EQ(m_app.screen(), AppScreen::sourcePicker);
    EXPECT_EQ(m_app.captureEngine(), nullptr);
    ASSERT_EQ(m_app.lastError()->recoveryActions.size(), 2u); // try again, change source
    EXPECT_FALSE(m_app.lastError()->message.isEmpty());

    // A movie that vanished before the stop looked for it: an error, not a clip.
    m_app.setLastError(std::nullopt);
    discover();
    m_app.beginCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isRecording));
    ASSERT_TRUE(m_app.captureEngine()->videoURL().has_value());
    ASSERT_TRUE(QFile::remove(*m_app.captureEngine()->videoURL()));
    m_app.stopCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isIdle));
    ASSERT_TRUE(m_app.lastError().has_value());
    EXPECT_EQ(m_app.lastError()->recoveryActions.size(), 1u);
    EXPECT_EQ(m_app.screen(), AppScreen::recording); // left as it was
    EXPECT_TRUE(m_app.currentBundle()->project().timeline.clips.empty());
}

TEST_F(RecordingFlowTest, TheAutomationStartHasNoCountdownAndMakesItsOwnProject) {
    discover();
    // Without the screen permission the call does nothing.
    m_app.setPermissions({});
    m_app.apiBeginCaptureNoCountdown();
    EXPECT_TRUE(m_phases.empty());
    // What start-up runs brings the permission and the sources back.
    m_app.setAvailableSources({});
    auto launch = m_app.checkPermissionsOnLaunch();
    ASSERT_TRUE(test::processEventsUntil([&] { return launch.isReady(); }, 10s));
    ASSERT_EQ(m_app.permissions().screenRecording, PermissionsState::Status::granted);
    ASSERT_FALSE(m_app.availableSources().empty());

    m_app.apiBeginCaptureNoCountdown();
    EXPECT_TRUE(m_app.isRecording()); // at once, before the engine has started
    ASSERT_NE(m_app.currentBundle(), nullptr);
    EXPECT_EQ(m_app.currentBundle()->project().name, QStringLiteral("Recording"));
    EXPECT_EQ(m_app.currentBundle()->project().frameRate, 60);
    ASSERT_TRUE(test::processEventsUntil(
        [&] { return m_app.captureEngine() && m_app.captureEngine()->isRunning(); }, 20s));
    EXPECT_FALSE(std::any_of(m_phases.begin(), m_phases.end(),
                             [](const RecordingPhase& p) { return p.isCountingDown(); }));

    // Quitting while recording waits for the stop and answers exactly once.
    int replies = 0;
    EXPECT_EQ(m_app.applicationShouldTerminate([&](bool) { ++replies; }), AppState::TerminateReply::later);
    ASSERT_TRUE(test::processEventsUntil([&] { return replies > 0; }, 30s));
    test::processEventsUntil([] { return false; }, 200ms);
    EXPECT_EQ(replies, 1);
    EXPECT_EQ(m_app.currentBundle()->project().timeline.clips.size(), 1u);
}

TEST_F(RecordingFlowTest, StartAndStopAreHeardUnlessCancelledOrTurnedOff) {
    discover();
    std::atomic<int> loud{0};
    PulseRecorder speakers(PulseRecorder::Device::systemAudio, pulse->serverString(), "test.listen",
                           [&](std::span<const float> samples, MediaTime) {
                               loud += int(std::count_if(samples.begin(), samples.end(),
                                                         [](float v) { return std::abs(v) > 0.1f; }));
                           });
    ASSERT_TRUE(speakers.start(5s).has_value());
    // An idle null sink passes sound to a new listener only after a while: wake it first.
    SoundEffects wake(pulse->serverString());
    for (int attempt = 0; attempt < 30 && loud == 0; ++attempt) {
        auto playing = wake.playStart();
        playing.waitForFinished();
        test::processEventsUntil([&] { return loud > 0; }, 100ms);
    }
    ASSERT_GT(loud.load(), 0) << "the private sink never passed sound on";
    const auto heardWithin = [&](std::chrono::milliseconds wait) {
        return test::processEventsUntil([&] { return loud > 0; }, wait);
    };

    // A countdown that is cancelled plays nothing.
    m_app.setCountdownTick(300ms);
    loud = 0;
    m_app.beginCapture();
    ASSERT_TRUE(test::processEventsUntil(
        [&] { return m_app.recordingPhase() == RecordingPhase::countingDown(2); }, 5s));
    m_app.cancelCountdown();
    EXPECT_FALSE(heardWithin(1200ms));

    m_app.setCountdownTick(60ms);
    loud = 0;
    m_app.beginCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isRecording));
    EXPECT_TRUE(heardWithin(2s)) << "no start sound";
    test::processEventsUntil([] { return false; }, 300ms);
    loud = 0;
    m_app.stopCapture();
    EXPECT_TRUE(heardWithin(2s)) << "no stop sound";
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isIdle));

    m_defaults.setValue(QString::fromLatin1(SoundEffects::enabledKey), false);
    // Let the stop sound die away before listening for silence.
    for (int attempt = 0; attempt < 20; ++attempt) {
        loud = 0;
        if (!heardWithin(300ms))
            break;
    }
    m_app.beginCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isRecording));
    m_app.stopCapture();
    ASSERT_TRUE(waitForPhase(&RecordingPhase::isIdle));
    EXPECT_FALSE(heardWithin(500ms));
}

namespace {

struct CommandResult {
    int exitCode = -1;
    QString out, err;
};

class RecordCommandTest : public test::CaptureServers {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_CAPTURE_SERVERS();
        ASSERT_TRUE(m_home.isValid());
    }

    QProcess* start(const QStringList& args) {
        auto* process = new QProcess(&m_parent);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(xserver->displayName()));
        env.insert(QStringLiteral("PULSE_SERVER"), QString::fromLatin1(pulse->serverString()));
        env.insert(QStringLiteral("HOME"), m_home.path());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral(".config")));
        process->setProcessEnvironment(env);
        process->start(QStringLiteral(ORVANE_SCREEN_BINARY), args);
        return process;
    }

    CommandResult finish(QProcess* process) {
        EXPECT_TRUE(process->waitForFinished(60000));
        return {process->exitCode(), QString::fromUtf8(process->readAllStandardOutput()),
                QString::fromUtf8(process->readAllStandardError())};
    }

    QTemporaryDir m_home;
    QObject m_parent;
};

// The value after "key<TAB>" on one of the output's lines.
QString field(const QString& output, const QString& key) {
    for (const QString& line : output.split(u'\n'))
        if (line.startsWith(key + u'\t'))
            return line.section(u'\t', 1);
    return {};
}

} // namespace

TEST_F(RecordCommandTest, ListsSourcesAndRecordsIntoAProjectUntilInterrupted) {
    const CommandResult listed = finish(start({QStringLiteral("sources")}));
    ASSERT_EQ(listed.exitCode, 0) << listed.err.toStdString();
    const QStringList first = listed.out.split(u'\n').front().split(u'\t');
    ASSERT_EQ(first.size(), 3);
    EXPECT_TRUE(first[0].startsWith(QStringLiteral("display-")));

    const CommandResult unknown = finish(
        start({QStringLiteral("record"), QStringLiteral("--source"), QStringLiteral("no-such-thing")}));
    EXPECT_NE(unknown.exitCode, 0);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("no-such-thing")));

    // A timed recording with the system's sound into a new project.
    const CommandResult timed =
        finish(start({QStringLiteral("record"), QStringLiteral("--source"), first[0],
                      QStringLiteral("--seconds"), QStringLiteral("1.5"), QStringLiteral("--system-audio")}));
    ASSERT_EQ(timed.exitCode, 0) << timed.err.toStdString();
    const QString project = field(timed.out, QStringLiteral("project"));
    const auto probe = probeAsset(field(timed.out, QStringLiteral("video")));
    ASSERT_TRUE(probe.has_value());
    EXPECT_NEAR(probe->duration, 1.5, 0.35);
    EXPECT_EQ(probe->audioTracks.size(), 1u);
    EXPECT_TRUE(QFileInfo::exists(field(timed.out, QStringLiteral("events"))));

    // Into the same project, stopped with Ctrl-C: the clip is kept and comes second.
    QProcess* open = start({QStringLiteral("record"), project});
    QByteArray progress;
    ASSERT_TRUE(test::processEventsUntil(
        [&] {
            open->waitForReadyRead(50);
            progress += open->readAllStandardError();
            return progress.contains("until Ctrl-C") || open->state() != QProcess::Running;
        },
        20s));
    test::processEventsUntil([] { return false; }, 1000ms);
    ::kill(pid_t(open->processId()), SIGINT);
    const CommandResult interrupted = finish(open);
    ASSERT_EQ(interrupted.exitCode, 0) << interrupted.err.toStdString();
    EXPECT_TRUE(interrupted.out.contains(QStringLiteral("Recording 2")));
    auto bundle = ProjectBundle::load(project);
    ASSERT_TRUE(bundle.has_value());
    ASSERT_EQ((*bundle)->project().timeline.clips.size(), 2u);
}

namespace {

// Waits until the command says it records, reading its progress as it comes.
bool waitUntilRecording(QProcess* process, QByteArray& progress) {
    return test::processEventsUntil(
        [&] {
            process->waitForReadyRead(50);
            progress += process->readAllStandardError();
            return progress.contains("recording ") || process->state() != QProcess::Running;
        },
        20s);
}

} // namespace

TEST_F(RecordCommandTest, TerminationSignalsKeepTheRecordingAndANewPathBecomesTheProject) {
    // SIGTERM from a session manager and SIGHUP from a closed terminal quit the way the window does.
    for (const int signal : {SIGTERM, SIGHUP}) {
        const QString project = m_home.filePath(QStringLiteral("Signal %1.orvanescreen").arg(signal));
        ASSERT_FALSE(QFileInfo::exists(project));
        QProcess* recording = start({QStringLiteral("record"), project});
        QByteArray progress;
        ASSERT_TRUE(waitUntilRecording(recording, progress)) << progress.constData();
        test::processEventsUntil([] { return false; }, 800ms);
        ::kill(pid_t(recording->processId()), signal);
        // A second signal while the movie is finished must not cut the stop short.
        test::processEventsUntil([] { return false; }, 30ms);
        ::kill(pid_t(recording->processId()), signal);
        const CommandResult ended = finish(recording);
        ASSERT_EQ(ended.exitCode, 0) << ended.err.toStdString();
        EXPECT_EQ(field(ended.out, QStringLiteral("project")), QFileInfo(project).absoluteFilePath());

        auto bundle = ProjectBundle::load(project);
        ASSERT_TRUE(bundle.has_value());
        EXPECT_EQ((*bundle)->project().name, QStringLiteral("Signal %1").arg(signal));
        ASSERT_EQ((*bundle)->project().timeline.clips.size(), 1u);
        const Clip& clip = (*bundle)->project().timeline.clips.front();
        ASSERT_TRUE(clip.sourceCursorPath && clip.sourceEventsPath);
        EXPECT_TRUE(
            TelemetryFiles::readCursorTrack((*bundle)->mediaPath(*clip.sourceCursorPath)).has_value());
        EXPECT_TRUE(TelemetryFiles::readEventTrack((*bundle)->mediaPath(*clip.sourceEventsPath)).has_value());
    }
}

TEST_F(RecordCommandTest, AKilledRecordingIsRecoveredWithItsClicksAndRendersWithZooms) {
    const QString project = m_home.filePath(QStringLiteral("Killed.orvanescreen"));
    QProcess* recording = start({QStringLiteral("record"), project});
    QByteArray progress;
    ASSERT_TRUE(waitUntilRecording(recording, progress)) << progress.constData();

    // Pointer moves and two clicks far apart, through the input devices the tap hears.
    test::XTestDriver input(xserver->displayName());
    ASSERT_TRUE(input.isOpen());
    input.warp(200, 150);
    for (int i = 0; i < 20; ++i) {
        input.moveBy(6, 4);
        test::processEventsFor(20ms);
    }
    input.click(1);
    test::processEventsFor(1200ms);
    for (int i = 0; i < 20; ++i) {
        input.moveBy(-3, 8);
        test::processEventsFor(20ms);
    }
    input.click(1);
    // Past the journal's next flush, then no chance to finish anything.
    test::processEventsFor(1500ms);
    ::kill(pid_t(recording->processId()), SIGKILL);
    ASSERT_TRUE(recording->waitForFinished(10000));

    auto killed = ProjectBundle::load(project);
    ASSERT_TRUE(killed.has_value());
    EXPECT_TRUE((*killed)->project().timeline.clips.empty());

    const CommandResult recovered = finish(start({QStringLiteral("recover"), project}));
    ASSERT_EQ(recovered.exitCode, 0) << recovered.err.toStdString();
    EXPECT_TRUE(recovered.out.contains(QStringLiteral("\tRecording 1\t"))) << recovered.out.toStdString();

    auto bundle = ProjectBundle::load(project);
    ASSERT_TRUE(bundle.has_value());
    ASSERT_EQ((*bundle)->project().timeline.clips.size(), 1u);
    const Clip& clip = (*bundle)->project().timeline.clips.front();
    EXPECT_GT(clip.sourceOut.seconds, 2.0);
    ASSERT_TRUE(clip.sourceEventsPath.has_value());
    const auto events = TelemetryFiles::readEventTrack((*bundle)->mediaPath(*clip.sourceEventsPath));
    ASSERT_TRUE(events.has_value()) << events.error().toStdString();
    EXPECT_EQ(std::count_if(events->events.begin(), events->events.end(),
                            [](const InputEvent& e) { return e.isClick(); }),
              2);
    const auto cursor = TelemetryFiles::readCursorTrack((*bundle)->mediaPath(*clip.sourceCursorPath));
    ASSERT_TRUE(cursor.has_value());
    EXPECT_GE(cursor->samples.size(), 20u);
    // Nothing is left to recover, and nothing of the journal stays behind.
    EXPECT_TRUE(RecordingRecovery::findOrphans((*bundle)->path(), (*bundle)->project()).isEmpty());
    EXPECT_TRUE(
        QDir((*bundle)->mediaDirectory()).entryList({QStringLiteral("*.jsonl")}, QDir::Files).isEmpty());

    const CommandResult zoomed = finish(start({QStringLiteral("auto-zoom"), project}));
    ASSERT_EQ(zoomed.exitCode, 0) << zoomed.err.toStdString();
    EXPECT_GE(zoomed.out.split(u' ').front().toInt(), 2) << zoomed.out.toStdString();

    const QString movie = m_home.filePath(QStringLiteral("recovered.mp4"));
    const CommandResult rendered = finish(start(
        {QStringLiteral("render"), project, QStringLiteral("-o"), movie, QStringLiteral("--no-audio")}));
    ASSERT_EQ(rendered.exitCode, 0) << rendered.err.toStdString();
    const auto probe = probeAsset(movie);
    ASSERT_TRUE(probe.has_value());
    EXPECT_NEAR(probe->duration, clip.sourceOut.seconds, 0.2);
}

TEST_F(RecordCommandTest, WithoutASoundServerItRecordsVideoAndSaysSo) {
    QProcess* process = new QProcess(&m_parent);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(xserver->displayName()));
    env.insert(QStringLiteral("PULSE_SERVER"),
               QStringLiteral("unix:") + m_home.filePath(QStringLiteral("no-pulse")));
    env.insert(QStringLiteral("HOME"), m_home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral(".config")));
    process->setProcessEnvironment(env);
    process->start(QStringLiteral(ORVANE_SCREEN_BINARY),
                   {QStringLiteral("record"), QStringLiteral("--seconds"), QStringLiteral("1"),
                    QStringLiteral("--mic"), QStringLiteral("--system-audio"),
                    m_home.filePath(QStringLiteral("Silent.orvanescreen"))});
    const CommandResult silent = finish(process);
    ASSERT_EQ(silent.exitCode, 0) << silent.err.toStdString();
    EXPECT_TRUE(silent.err.contains(QStringLiteral("Recording without sound: "))) << silent.err.toStdString();
    EXPECT_TRUE(
        field(silent.out, QStringLiteral("warning")).startsWith(QStringLiteral("Recording without sound: ")));
    const auto probe = probeAsset(field(silent.out, QStringLiteral("video")));
    ASSERT_TRUE(probe.has_value());
    EXPECT_EQ(probe->videoTracks.size(), 1u);
    EXPECT_TRUE(probe->audioTracks.empty());
}
