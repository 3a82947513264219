#include "app/AppState.h"

#include "AppTestSupport.h"
#include "app/TerminationRace.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"

#include <QCoro/QCoroFuture>
#include <QDir>
#include <QFileInfo>
#include <QPromise>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

class AppStateTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    Project& project() { return const_cast<Project&>(m_app.currentBundle()->project()); }

    test::PrivateApp m_private;
    QTemporaryDir& m_dir = m_private.dir;
    UserDefaults& m_defaults = m_private.defaults;
    RecentProjectsStore& m_recents = m_private.recents;
    ManualClock& m_clock = m_private.clock;
    AppState& m_app = m_private.app;
};

} // namespace

TEST_F(AppStateTest, StartsIdleOnTheWelcomeScreen) {
    EXPECT_EQ(AppState::shared(), &m_app);
    EXPECT_EQ(m_app.screen(), AppScreen::welcome);
    EXPECT_TRUE(m_app.recordingPhase().isIdle());
    EXPECT_FALSE(m_app.isRecording());
    EXPECT_FALSE(m_app.canStartRecording()); // permissions unknown
    PermissionsState granted;
    granted.screenRecording = PermissionsState::Status::granted;
    m_app.setPermissions(granted);
    EXPECT_TRUE(m_app.canStartRecording());
    m_app.setIsExporting(true);
    EXPECT_FALSE(m_app.canStartRecording());
    m_app.setIsExporting(false);
    m_app.setRecordingPhase(RecordingPhase::countingDown(3));
    EXPECT_TRUE(m_app.isRecording());
    EXPECT_FALSE(m_app.canStartRecording());
    m_app.setRecordingPhase(RecordingPhase::stopping());
    EXPECT_FALSE(m_app.isRecording());
}

TEST_F(AppStateTest, SettersNotifyOnlyOnChange) {
    QSignalSpy screens(&m_app, &AppState::screenChanged);
    m_app.setScreen(AppScreen::editor);
    m_app.setScreen(AppScreen::editor);
    EXPECT_EQ(screens.count(), 1);

    QSignalSpy errors(&m_app, &AppState::lastErrorChanged);
    AppError e;
    e.title = QStringLiteral("t");
    m_app.setLastError(e);
    AppError same = e;
    same.recoveryActions.push_back({QStringLiteral("x"), [] {
                                    }});
    m_app.setLastError(same); // same id, title and message: no change
    EXPECT_EQ(errors.count(), 1);
    m_app.setLastError(AppError{QUuid::createUuid(), QStringLiteral("t"), {}, {}});
    EXPECT_EQ(errors.count(), 2);
}

TEST_F(AppStateTest, RecordingsFolderComesFromTheDefaults) {
    EXPECT_EQ(m_app.recordingsRootDirectory(), m_dir.filePath(QStringLiteral("Projects")));
    m_defaults.setValue(QStringLiteral("recordingSaveDirectory"), QString());
    EXPECT_EQ(m_app.recordingsRootDirectory(),
              QDir(AppState::moviesDirectory()).filePath(QStringLiteral("Orvane Screen")));
    m_app.setRecordingsRootDirectory(QStringLiteral("/elsewhere"));
    EXPECT_EQ(m_defaults.string(QStringLiteral("recordingSaveDirectory")), QStringLiteral("/elsewhere"));
}

TEST_F(AppStateTest, CreateProjectFiltersTheNameAndClamps) {
    auto bundle = m_app.createProject(QStringLiteral("Demo: v2/final?"), 100, 100, 500);
    ASSERT_TRUE(bundle) << bundle.error().description.toStdString();
    EXPECT_EQ((*bundle)->path(), m_dir.filePath(QStringLiteral("Projects/Demo v2final.orvanescreen")));
    const Project& p = (*bundle)->project();
    EXPECT_EQ(p.name, QStringLiteral("Demo v2final"));
    EXPECT_EQ(p.canvasSize, (Size{320, 240}));
    EXPECT_EQ(p.frameRate, 120);
    EXPECT_EQ(p.timeline.tracks.size(), 3u);
    EXPECT_EQ(m_app.screen(), AppScreen::editor);
    EXPECT_EQ(m_app.currentBundle(), *bundle);
    EXPECT_EQ(m_recents.projects().front().projectID, p.id);
    EXPECT_TRUE(QFileInfo::exists((*bundle)->projectJSONPath()));

    EXPECT_EQ((*m_app.createProject(QStringLiteral("?!"), 1920, 1080, 0))->project().name,
              QStringLiteral("Untitled"));
    EXPECT_EQ(m_app.currentBundle()->project().frameRate, 1);
    EXPECT_EQ(AppState::filteredProjectName(QStringLiteral("Café_Ünïcödé-1")),
              QStringLiteral("Café_Ünïcödé-1"));
}

TEST_F(AppStateTest, FailuresLeaveTheOpenProjectAndScreenAlone) {
    auto first = m_app.createProject(QStringLiteral("First"), 1920, 1080, 60);
    ASSERT_TRUE(first);
    m_app.setScreen(AppScreen::sourcePicker);

    // A file where the projects folder should be.
    QFile blocker(m_dir.filePath(QStringLiteral("file")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    m_app.setRecordingsRootDirectory(blocker.fileName());
    EXPECT_FALSE(m_app.createProject(QStringLiteral("Second"), 1920, 1080, 60));
    EXPECT_EQ(m_app.currentBundle(), *first);
    EXPECT_EQ(m_app.screen(), AppScreen::sourcePicker);

    int browsed = 0;
    m_app.setOpenPanelHandler([&] { ++browsed; });
    EXPECT_FALSE(m_app.openProject(m_dir.filePath(QStringLiteral("missing.orvanescreen"))));
    EXPECT_EQ(m_app.currentBundle(), *first);
    EXPECT_EQ(m_app.screen(), AppScreen::sourcePicker);
    ASSERT_TRUE(m_app.lastError());
    EXPECT_EQ(m_app.lastError()->message, QStringLiteral("This isn't a Orvane Screen project."));
    ASSERT_EQ(m_app.lastError()->recoveryActions.size(), 2u);
    EXPECT_EQ(m_app.lastError()->recoveryActions[0].title, QStringLiteral("Browse…"));
    EXPECT_EQ(m_app.lastError()->recoveryActions[1].title, QStringLiteral("Open in Finder"));
    m_app.lastError()->recoveryActions[0].handler();
    EXPECT_EQ(browsed, 1);
}

TEST_F(AppStateTest, EnsureBundleMakesARecordingProjectOnce) {
    auto bundle = m_app.ensureBundle();
    ASSERT_TRUE(bundle);
    EXPECT_TRUE((*bundle)->project().name.startsWith(QStringLiteral("Recording 2025-01-01 ")));
    EXPECT_TRUE((*bundle)->path().endsWith(QStringLiteral(".orvanescreen")));
    EXPECT_EQ(m_app.screen(), AppScreen::welcome); // ensureBundle does not navigate
    EXPECT_EQ(*m_app.ensureBundle(), *bundle);
    EXPECT_TRUE(m_app.openProject((*bundle)->path()));
    EXPECT_EQ(m_app.screen(), AppScreen::editor);
}

TEST_F(AppStateTest, UndoAndRedoRestoreTheExactProject) {
    ASSERT_TRUE(m_app.createProject(QStringLiteral("Edits"), 1920, 1080, 60));
    const Project start = m_app.currentBundle()->project();
    ASSERT_TRUE(
        m_app.performEdit(QStringLiteral("Rename"), [](Project& p) { p.name = QStringLiteral("renamed"); }));
    const Project edited = m_app.currentBundle()->project();
    EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo Rename"));
    EXPECT_EQ(m_app.redoTitle(), QStringLiteral("Redo"));

    const int version = m_app.undoStackVersion();
    m_app.undo();
    EXPECT_GT(m_app.undoStackVersion(), version);
    EXPECT_EQ(m_app.currentBundle()->project(), start);
    EXPECT_EQ(m_app.redoTitle(), QStringLiteral("Redo Rename"));
    m_app.redo();
    EXPECT_EQ(m_app.currentBundle()->project(), edited);
    EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo Rename"));

    // Undo also discards a change made without undo after the step: the step is the whole project.
    m_app.currentBundle()->update([](Project& p) { p.notes = QStringLiteral("api edit"); });
    m_app.undo();
    EXPECT_EQ(m_app.currentBundle()->project().notes, QString());
}

TEST_F(AppStateTest, FiftyLevelsAndThrowingMutations) {
    ASSERT_TRUE(m_app.createProject(QStringLiteral("Levels"), 1920, 1080, 60));
    for (int i = 1; i <= 51; ++i)
        ASSERT_TRUE(
            m_app.performEdit(QStringLiteral("Step %1").arg(i), [i](Project& p) { p.frameRate = i; }));
    EXPECT_EQ(m_app.undoManager().undoCount(), 50u);
    for (int i = 0; i < 60; ++i)
        m_app.undo();
    EXPECT_EQ(m_app.currentBundle()->project().frameRate, 1); // the state before step 1 is gone

    m_clock.advance(5);
    const auto steps = m_app.undoManager().undoCount();
    const auto result = m_app.performEdit(QStringLiteral("Bad"), [](Project& p) {
        p.notes = QStringLiteral("partial");
        throw ErrorException(Error::system(QStringLiteral("nope")));
    });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().description, QStringLiteral("nope"));
    EXPECT_EQ(m_app.currentBundle()->project().notes, QStringLiteral("partial"));
    EXPECT_EQ(m_app.undoManager().undoCount(), steps);
    EXPECT_FALSE(m_app.currentBundle()->pendingSaveDirty()); // saved at once after a quiet second
}

TEST_F(AppStateTest, CommitEditSkipsGesturesThatChangedNothing) {
    ASSERT_TRUE(m_app.createProject(QStringLiteral("Gestures"), 1920, 1080, 60));
    const Project before = m_app.currentBundle()->project();
    m_app.commitEdit(QStringLiteral("Trim Clip End"), before);
    EXPECT_FALSE(m_app.undoManager().canUndo());
    m_app.currentBundle()->update([](Project& p) { p.canvasSize = Size{640, 480}; });
    m_app.commitEdit(QStringLiteral("Trim Clip End"), before);
    EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo Trim Clip End"));
    m_app.undo();
    EXPECT_EQ(m_app.currentBundle()->project().canvasSize, (Size{1920, 1080}));
}

TEST_F(AppStateTest, StepsNeverReachAnotherProject) {
    ASSERT_TRUE(m_app.createProject(QStringLiteral("A"), 1920, 1080, 60));
    ASSERT_TRUE(
        m_app.performEdit(QStringLiteral("Edit A"), [](Project& p) { p.notes = QStringLiteral("a"); }));
    ASSERT_TRUE(m_app.createProject(QStringLiteral("B"), 1920, 1080, 60));
    EXPECT_FALSE(m_app.undoManager().canUndo());
    m_app.undo();
    EXPECT_EQ(m_app.currentBundle()->project().name, QStringLiteral("B"));
    EXPECT_TRUE(m_app.performEdit(QStringLiteral("x"), [](Project&) {}));
}

TEST_F(AppStateTest, QuittingFlushesAndAnswersAtOnceWhenNotRecording) {
    ASSERT_TRUE(m_app.createProject(QStringLiteral("Quit"), 1920, 1080, 60));
    m_app.currentBundle()->update([](Project& p) { p.notes = QStringLiteral("pending"); });
    ASSERT_TRUE(m_app.currentBundle()->pendingSaveDirty());
    int replies = 0;
    EXPECT_EQ(m_app.applicationShouldTerminate([&](bool) { ++replies; }), AppState::TerminateReply::now);
    EXPECT_FALSE(m_app.currentBundle()->pendingSaveDirty());
    m_app.setRecordingPhase(RecordingPhase::stopping());
    EXPECT_EQ(m_app.applicationShouldTerminate([&](bool) { ++replies; }), AppState::TerminateReply::now);
    EXPECT_EQ(replies, 0);
}

TEST_F(AppStateTest, QuittingDuringARecordingRepliesOnceWhenTheStopEnds) {
    m_app.setRecordingPhase(RecordingPhase::recording(m_clock.now()));
    std::vector<bool> replies;
    EXPECT_EQ(m_app.applicationShouldTerminate([&](bool v) { replies.push_back(v); }),
              AppState::TerminateReply::later);
    ASSERT_EQ(replies.size(), 1u); // with no engine to finish, this stop ends at once
    m_clock.advance(10);
    EXPECT_EQ(replies.size(), 1u);

    // A countdown counts as recording: the answer waits for the stop, which finds no engine here.
    m_app.setRecordingPhase(RecordingPhase::countingDown(2));
    EXPECT_EQ(m_app.applicationShouldTerminate([&](bool v) { replies.push_back(v); }),
              AppState::TerminateReply::later);
    EXPECT_EQ(replies, (std::vector<bool>{true, true}));
}

namespace {
QCoro::Task<void> awaitFuture(QFuture<void> f) {
    co_await f;
}
} // namespace

TEST(TerminationRace, ALimitThatWinsRepliesOnceAndLogs) {
    ManualClock clock;
    QPromise<void> stop;
    stop.start();
    int replies = 0;
    int timeouts = 0;
    replyOnceWhenDone(
        clock, 8.0, [f = stop.future()] { return awaitFuture(f); }, [&](bool v) { replies += v; },
        [&] { ++timeouts; });
    clock.advance(7.9);
    EXPECT_EQ(replies, 0);
    clock.advance(0.2);
    EXPECT_EQ(replies, 1);
    EXPECT_EQ(timeouts, 1);
    stop.finish();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    EXPECT_EQ(replies, 1);
}

TEST(TerminationRace, AStopThatEndsFirstIsTheOnlyReply) {
    ManualClock clock;
    QPromise<void> stop;
    stop.start();
    int replies = 0;
    int timeouts = 0;
    replyOnceWhenDone(
        clock, 8.0, [f = stop.future()] { return awaitFuture(f); }, [&](bool) { ++replies; },
        [&] { ++timeouts; });
    clock.advance(3);
    stop.finish();
    for (int i = 0; i < 5 && replies == 0; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(replies, 1);
    EXPECT_EQ(clock.pendingTimers(), 0u);
    clock.advance(10);
    EXPECT_EQ(replies, 1);
    EXPECT_EQ(timeouts, 0);
}
