// Creating and opening projects, and bringing back the recordings a crash left without a clip.
#include "AppTestSupport.h"
#include "app/AppState.h"
#include "app/RecordingRecovery.h"
#include "capture/CaptureTestSupport.h"
#include "capture/TelemetryFiles.h"
#include "media/GradientMovie.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

class ProjectControllerTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    // A movie where the capture engine would have put one, as a killed recording leaves it.
    QString leaveRecording(const ProjectBundle& bundle, double seconds, Size size = Size{640, 360}) {
        const ClipMediaPaths paths = bundle.newClipMediaPaths(QUuid::createUuid());
        QDir().mkpath(bundle.mediaDirectory());
        const auto written = writeGradientMovie(paths.videoPath, size, seconds, 30);
        EXPECT_TRUE(written.has_value());
        return paths.videoRelative;
    }

    const AppError::RecoveryAction* action(const QString& title) const {
        if (!m_app.lastError())
            return nullptr;
        for (const auto& a : m_app.lastError()->recoveryActions)
            if (a.title == title)
                return &a;
        return nullptr;
    }

    test::PrivateApp m_private;
    QTemporaryDir& m_dir = m_private.dir;
    RecentProjectsStore& m_recents = m_private.recents;
    AppState& m_app = m_private.app;
};

} // namespace

TEST_F(ProjectControllerTest, CreatesAProjectInAGivenFolderNamedAfterIt) {
    const QString folder = m_dir.filePath(QStringLiteral("nested/Demo: take 2.orvanescreen"));
    const auto created = m_app.createProjectAt(folder);
    ASSERT_TRUE(created.has_value()) << created.error().description.toStdString();
    EXPECT_EQ((*created)->path(), QFileInfo(folder).absoluteFilePath());
    EXPECT_EQ((*created)->project().name, QStringLiteral("Demo take 2"));
    EXPECT_TRUE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("project.json"))));
    EXPECT_EQ(m_app.currentBundle(), *created);
    EXPECT_EQ(m_app.screen(), AppScreen::editor);
    EXPECT_EQ(m_recents.projects().size(), 1u);

    // A file in the way is an error that leaves the open project as it was.
    QFile blocker(m_dir.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(m_app.createProjectAt(m_dir.filePath(QStringLiteral("blocked/x.orvanescreen"))).has_value());
    EXPECT_EQ(m_app.currentBundle(), *created);
}

TEST_F(ProjectControllerTest, FindsOnlyUnreferencedRecordingsOldestFirst) {
    const auto created = m_app.createProject(QStringLiteral("Orphans"), 1920, 1080, 60);
    ASSERT_TRUE(created.has_value());
    const ProjectBundle& bundle = **created;
    const QString first = leaveRecording(bundle, 0.5);
    // Later modification time: the second one made.
    QThread::msleep(20);
    const QString second = leaveRecording(bundle, 0.5);
    QFile(bundle.mediaPath(second)).open(QIODevice::Append);
    const QString kept = leaveRecording(bundle, 0.5);
    // Names the engine never gives its screen movies are not recordings to bring back.
    for (const QString& name : {QStringLiteral("imported-0A1B.mov"), QStringLiteral("notes.mov")})
        QFile::copy(bundle.mediaPath(first), QDir(bundle.mediaDirectory()).filePath(name));
    QFile::copy(bundle.mediaPath(first), bundle.mediaPath(first.chopped(4) + QStringLiteral("-camera.mov")));

    Project project = bundle.project();
    Clip clip = project.makeClip(QStringLiteral("Kept"), ProjectTime(0.5), Size{640, 360});
    clip.sourceVideoPath = kept;
    project.timeline.clips.push_back(clip);
    const QStringList orphans = RecordingRecovery::findOrphans(bundle.path(), project);
    EXPECT_EQ(orphans, (QStringList{first, second}));
}

TEST_F(ProjectControllerTest, OpeningOffersToRecoverAndRecoveringAppendsRecordingClips) {
    const auto created = m_app.createProject(QStringLiteral("Crashed"), 1920, 1080, 60);
    ASSERT_TRUE(created.has_value());
    const std::shared_ptr<ProjectBundle> bundle = *created;
    bundle->update([](Project& p) {
        p.defaultFrame.cornerRadius = 24;
        p.timeline.clips.push_back(p.makeClip(QStringLiteral("Earlier"), ProjectTime(2), Size{1280, 720}));
        p.timeline.clips.back().sourceVideoPath = QStringLiteral("media/earlier.mov");
    });
    ASSERT_TRUE(bundle->flushPendingSave());

    // One recording whose stop had written its side files, one that died with nothing but its movie.
    const QString withFiles = leaveRecording(*bundle, 1.0, Size{800, 600});
    const QString stem = withFiles.chopped(4);
    CursorTrack cursor;
    cursor.samples.push_back({ProjectTime(0.25), 10, 20, 0});
    EventTrack events;
    events.events.push_back(InputEvent{InputEvent::LeftMouseDown{ProjectTime(0.5), 30, 40}});
    ASSERT_TRUE(TelemetryFiles::writeTracks(cursor, events,
                                            bundle->mediaPath(stem + QStringLiteral("-cursor.json")),
                                            bundle->mediaPath(stem + QStringLiteral("-events.json"))));
    QThread::msleep(20);
    const QString bare = leaveRecording(*bundle, 0.5);

    ASSERT_TRUE(m_app.openProject(bundle->path()));
    ASSERT_TRUE(m_app.lastError().has_value());
    const auto* recover = action(QStringLiteral("Recover Recording"));
    ASSERT_NE(recover, nullptr);
    recover->handler();
    const auto& clips = m_app.currentBundle()->project().timeline.clips;
    ASSERT_TRUE(test::processEventsUntil([&] { return clips.size() == 3; }, 20s));

    const Clip& a = clips[1];
    EXPECT_EQ(a.name, QStringLiteral("Recording 2"));
    EXPECT_EQ(a.sourceVideoPath, withFiles);
    EXPECT_EQ(a.sourceCursorPath, stem + QStringLiteral("-cursor.json"));
    EXPECT_EQ(a.sourceEventsPath, stem + QStringLiteral("-events.json"));
    EXPECT_EQ(a.sourceSize, (Size{800, 600}));
    EXPECT_NEAR(a.sourceOut.seconds, 1.0, 0.1);
    EXPECT_EQ(a.timelineStart, ProjectTime(2));
    EXPECT_EQ(a.trackIndex, 0);
    EXPECT_EQ(a.frame.cornerRadius, 24);
    EXPECT_EQ(a.audio, (AudioConfig{1.0, 1.0, true, true}));
    EXPECT_FALSE(a.camera.isEnabled);
    EXPECT_EQ(a.zoomTrack.count(), 0u);

    const Clip& b = clips[2];
    EXPECT_EQ(b.name, QStringLiteral("Recording 3"));
    EXPECT_EQ(b.sourceVideoPath, bare);
    EXPECT_FALSE(b.sourceCursorPath.has_value());
    EXPECT_FALSE(b.sourceEventsPath.has_value());
    EXPECT_NEAR(b.timelineStart.seconds, 2 + a.sourceOut.seconds, 1e-9);

    // Recovered once: opening again offers nothing.
    m_app.setLastError(std::nullopt);
    ASSERT_TRUE(m_app.currentBundle()->flushPendingSave());
    ASSERT_TRUE(m_app.openProject(bundle->path()));
    EXPECT_FALSE(m_app.lastError().has_value());
}

TEST_F(ProjectControllerTest, AnUnreadableRecordingIsAnErrorWithAWayToTheFiles) {
    const auto created = m_app.createProject(QStringLiteral("Broken"), 1920, 1080, 60);
    ASSERT_TRUE(created.has_value());
    const ClipMediaPaths paths = (*created)->newClipMediaPaths(QUuid::createUuid());
    QDir().mkpath((*created)->mediaDirectory());
    QFile junk(paths.videoPath);
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not a movie");
    junk.close();

    const auto recovered = test::awaitTask(m_app.recoverRecordings());
    ASSERT_TRUE(recovered.has_value());
    EXPECT_EQ(*recovered, 0);
    ASSERT_TRUE(m_app.lastError().has_value());
    EXPECT_NE(action(QStringLiteral("Open Recording in Finder")), nullptr);
    EXPECT_TRUE(m_app.currentBundle()->project().timeline.clips.empty());
}
