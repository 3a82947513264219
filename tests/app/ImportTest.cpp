// Import and the sample project, with real media files made by the ffmpeg tool and by our own writer.
#include "app/AppState.h"
#include "media/AssetProbe.h"
#include "media/FrameReader.h"
#include "media/MediaWriter.h"
#include "support/UserDefaults.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

using namespace orvane;

namespace {

bool haveFfmpeg() {
    return !QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty();
}

bool ffmpeg(const QStringList& args) {
    QProcess p;
    p.start(QStringLiteral("ffmpeg"),
            QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")} + args);
    return p.waitForFinished(60000) && p.exitCode() == 0;
}

class ImportTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!haveFfmpeg())
            GTEST_SKIP() << "the ffmpeg tool is not installed (scripts/setup-deps installs it)";
        m_defaults.setValue(QStringLiteral("recordingSaveDirectory"),
                            m_dir.filePath(QStringLiteral("Projects")));
    }

    QString media(const QString& name) const { return m_dir.filePath(name); }

    QString makeVideo(const QString& name, double seconds = 1.0) {
        const QString path = media(name);
        EXPECT_TRUE(ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("testsrc2=size=320x240:rate=30:duration=%1").arg(seconds),
                            QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"), path}));
        return path;
    }

    QString makeAudio(const QString& name) {
        const QString path = media(name);
        EXPECT_TRUE(ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("sine=frequency=440:duration=1.5"), path}));
        return path;
    }

    tl::expected<void, ImportError> importVideo(const QString& path) {
        return QCoro::waitFor(m_app.importVideo(path));
    }
    tl::expected<void, ImportError> importAudio(const QString& path) {
        return QCoro::waitFor(m_app.importAudio(path));
    }

    QTemporaryDir m_dir;
    UserDefaults m_defaults{m_dir.filePath(QStringLiteral("defaults.ini"))};
    RecentProjectsStore m_recents{m_defaults};
    AppState m_app{{m_defaults, m_recents, Clock::system()}};
};

} // namespace

TEST_F(ImportTest, VideoIntoNoProjectMakesOneAndAppendsAtTheEnd) {
    const QString first = makeVideo(QStringLiteral("Demo Take.MP4"), 1.0);
    ASSERT_FALSE(m_app.currentBundle());
    ASSERT_TRUE(importVideo(first));
    ASSERT_TRUE(m_app.currentBundle());
    EXPECT_FALSE(m_app.isImporting());
    const Project& p = m_app.currentBundle()->project();
    ASSERT_EQ(p.timeline.clips.size(), 1u);
    const Clip& clip = p.timeline.clips[0];
    EXPECT_EQ(clip.name, QStringLiteral("Demo Take"));
    EXPECT_TRUE(clip.sourceVideoPath.startsWith(QStringLiteral("media/imported-")));
    EXPECT_TRUE(clip.sourceVideoPath.endsWith(QStringLiteral(".mp4"))); // lower-cased
    EXPECT_TRUE(QFileInfo::exists(m_app.currentBundle()->mediaPath(clip.sourceVideoPath)));
    EXPECT_EQ(clip.sourceSize, (Size{320, 240}));
    EXPECT_NEAR(clip.sourceOut.seconds, 1.0, 0.05);
    EXPECT_EQ(clip.background, p.defaultBackground);
    EXPECT_EQ(clip.trackIndex, 0);

    // An audio file lands on the music track, after everything on the timeline.
    ASSERT_TRUE(importAudio(makeAudio(QStringLiteral("theme.wav"))));
    const Clip& music = m_app.currentBundle()->project().timeline.clips[1];
    EXPECT_EQ(music.trackIndex, 2);
    EXPECT_TRUE(music.sourceVideoPath.isEmpty());
    ASSERT_TRUE(music.sourceAudioPath);
    EXPECT_TRUE(music.sourceAudioPath->startsWith(QStringLiteral("media/audio-")));
    EXPECT_DOUBLE_EQ(music.timelineStart.seconds, clip.sourceOut.seconds);
    EXPECT_EQ(music.sourceSize, (Size{0, 0}));

    // Not an undo step, but saved.
    EXPECT_FALSE(m_app.undoManager().canUndo());
    (void)m_app.currentBundle()->flushPendingSave();
    QFile json(m_app.currentBundle()->projectJSONPath());
    ASSERT_TRUE(json.open(QIODevice::ReadOnly));
    EXPECT_EQ(decodeProject(json.readAll())->timeline.clips.size(), 2u);
}

TEST_F(ImportTest, RotatedVideoReportsItsDisplayedShape) {
    const QString path = media(QStringLiteral("portrait.mp4"));
    MediaWriterSettings settings;
    settings.container = ContainerFormat::mp4;
    VideoEncoderSettings video;
    video.width = 1920;
    video.height = 1080;
    video.frameRate = 30;
    video.rotationDegrees = 90;
    settings.video = video;
    auto writer = MediaWriter::create(path, settings);
    ASSERT_TRUE(writer) << writer.error().description.toStdString();
    VideoFrame frame = VideoFrame::allocate(1920, 1080);
    frame.fill(40, 80, 120, 255);
    for (int i = 0; i < 10; ++i) {
        while (!(*writer)->isReadyForVideo())
            QThread::msleep(1);
        ASSERT_TRUE((*writer)->appendVideo(frame, MediaTime{i * 20, 600}));
    }
    (*writer)->markVideoFinished();
    ASSERT_TRUE((*writer)->finish());

    ASSERT_TRUE(importVideo(path));
    EXPECT_EQ(m_app.currentBundle()->project().timeline.clips[0].sourceSize, (Size{1080, 1920}));
}

TEST_F(ImportTest, BadFilesGetTheirMessagesAndChangeNothing) {
    const QString good = makeVideo(QStringLiteral("good.mov"));
    QByteArray bytes;
    {
        QFile f(good);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        bytes = f.readAll();
    }
    auto write = [&](const QString& name, const QByteArray& data) {
        QFile f(media(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(data);
        return media(name);
    };
    const QString text = write(QStringLiteral("notes.mov"), "these are not movie bytes");
    const QString empty = write(QStringLiteral("empty.mp4"), {});
    const QString truncated = write(QStringLiteral("cut.mov"), bytes.left(bytes.size() / 3));
    QDir().mkpath(media(QStringLiteral("folder.mov")));
    const QString audioAsVideo = makeAudio(QStringLiteral("voice.m4a"));
    const QString audioRenamed = media(QStringLiteral("voice-as-video.mp4"));
    QFile::copy(audioAsVideo, audioRenamed);

    ASSERT_TRUE(m_app.createProject(QStringLiteral("Bad input"), 1920, 1080, 60));
    const Project before = m_app.currentBundle()->project();

    using Kind = ImportError::Kind;
    struct Case {
        QString path;
        Kind kind;
        QString messageStart;
    };
    const Case cases[] = {
        {media(QStringLiteral("clip.webm")), Kind::unsupportedFormat,
         QStringLiteral("clip.webm — unsupported format. Try converting to MOV, MP4, M4V, MKV.")},
        {media(QStringLiteral("missing.mp4")), Kind::fileMissing,
         QStringLiteral("missing.mp4 — file not found on disk.")},
        {text, Kind::invalidAsset, QStringLiteral("notes.mov — couldn't load as media: ")},
        {empty, Kind::invalidAsset, QStringLiteral("empty.mp4 — couldn't load as media: ")},
        {truncated, Kind::invalidAsset, QStringLiteral("cut.mov — couldn't load as media: ")},
        {media(QStringLiteral("folder.mov")), Kind::invalidAsset,
         QStringLiteral("folder.mov — couldn't load as media: ")},
        {audioRenamed, Kind::noVideoTrack,
         QStringLiteral("voice-as-video.mp4 — file contains no video track.")},
    };
    for (const Case& c : cases) {
        const auto result = importVideo(c.path);
        ASSERT_FALSE(result) << c.path.toStdString();
        EXPECT_EQ(result.error().kind, c.kind) << c.path.toStdString();
        EXPECT_TRUE(result.error().userFacingMessage().startsWith(c.messageStart))
            << result.error().userFacingMessage().toStdString();
        EXPECT_FALSE(m_app.isImporting());
    }
    EXPECT_TRUE(importVideo(text).error().userFacingMessage().endsWith(
        QStringLiteral("\n\nTry converting to MP4 or MOV.")));
    EXPECT_EQ(m_app.currentBundle()->project().timeline, before.timeline);
    EXPECT_EQ(importAudio(media(QStringLiteral("song.ogg"))).error().userFacingMessage(),
              QStringLiteral("song.ogg — unsupported format. Try converting to MP3, M4A, WAV, AIFF, FLAC."));
}

TEST_F(ImportTest, AListStopsAtTheFirstFailureAndReportsIt) {
    const QString one = makeVideo(QStringLiteral("one.mp4"));
    const QString three = makeVideo(QStringLiteral("three.mp4"));
    QCoro::waitFor(m_app.importVideos({one, media(QStringLiteral("two.mp4")), three}));
    ASSERT_TRUE(m_app.currentBundle());
    ASSERT_EQ(m_app.currentBundle()->project().timeline.clips.size(), 1u);
    EXPECT_EQ(m_app.currentBundle()->project().timeline.clips[0].name, QStringLiteral("one"));
    ASSERT_TRUE(m_app.lastError());
    EXPECT_EQ(m_app.lastError()->title, QStringLiteral("Couldn't import file"));
    EXPECT_EQ(m_app.lastError()->message, QStringLiteral("two.mp4 — file not found on disk."));
    ASSERT_EQ(m_app.lastError()->recoveryActions.size(), 2u);
    EXPECT_EQ(m_app.lastError()->recoveryActions[0].title, QStringLiteral("Choose a different file"));
    EXPECT_EQ(m_app.lastError()->recoveryActions[1].title, QStringLiteral("Reveal in Finder"));
    bool askedForAudio = false;
    m_app.setImportPanelHandler([&](bool audio) { askedForAudio = audio; });
    QCoro::waitFor(m_app.importAudios({media(QStringLiteral("gone.mp3"))}));
    m_app.lastError()->recoveryActions[0].handler();
    EXPECT_TRUE(askedForAudio);
}

TEST_F(ImportTest, SampleProjectHasTheWelcomeMovieTitlesAndCaptions) {
    const QString folder = m_dir.filePath(QStringLiteral("Sample.orvanescreen"));
    const auto made = QCoro::waitFor(AppState::materializeSampleProject(folder));
    ASSERT_TRUE(made) << made.error().description.toStdString();
    auto bundle = ProjectBundle::load(folder);
    ASSERT_TRUE(bundle);
    const Project& p = (*bundle)->project();
    EXPECT_EQ(p.name, QStringLiteral("Welcome to Orvane Screen"));
    ASSERT_EQ(p.timeline.clips.size(), 1u);
    const Clip& clip = p.timeline.clips[0];
    EXPECT_EQ(clip.name, QStringLiteral("Welcome"));
    EXPECT_EQ(clip.sourceSize, (Size{1280, 720}));
    ASSERT_EQ(clip.textOverlays.size(), 2u);
    EXPECT_EQ(clip.textOverlays[1].text, QStringLiteral("Cinematic screen recordings, made simple"));
    EXPECT_EQ(clip.textOverlays[1].animation, TextOverlay::Animation::slideUp);
    ASSERT_TRUE(clip.captions);
    ASSERT_EQ(clip.captions->captions.size(), 3u);
    EXPECT_EQ(clip.captions->captions[2].text, QStringLiteral("Export to MP4, HEVC, or ProRes."));
    EXPECT_EQ(clip.captions->style, CaptionsStyle::defaults());

    const auto info = probeAsset((*bundle)->mediaPath(clip.sourceVideoPath));
    ASSERT_TRUE(info);
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].naturalSize, (Size{1280, 720}));
    EXPECT_EQ(info->videoTracks[0].frameCount, 300);
    EXPECT_EQ(info->brand, QStringLiteral("qt  "));

    // The welcome screen's action opens it, making it first when it is not there.
    m_defaults.setValue(QStringLiteral("recordingSaveDirectory"), QString());
    qputenv("HOME", m_dir.path().toUtf8());
    QCoro::waitFor(m_app.openSampleProject());
    ASSERT_TRUE(m_app.currentBundle()) << (m_app.lastError() ? m_app.lastError()->message.toStdString() : "");
    EXPECT_EQ(m_app.currentBundle()->path(), QDir::cleanPath(AppState::sampleProjectDirectory()));
    EXPECT_EQ(m_app.screen(), AppScreen::editor);
}
