// The clip bars' filmstrips and waveforms made in the background: what arrives, in which order, what a
// newer request or another project throws away, and that the window's thread keeps turning meanwhile.
#include "ui/ClipMediaCache.h"

#include "UiTestSupport.h"
#include "direction/ClipThumbnailStripGenerator.h"
#include "media/MediaTestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;

namespace {

// A movie with a tone, made by the ffmpeg tool into the project's media folder.
bool makeMovie(const QString& path, double seconds, const QString& size) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    return ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                       QStringLiteral("testsrc2=s=%1:r=15:d=%2").arg(size).arg(seconds), QStringLiteral("-f"),
                       QStringLiteral("lavfi"), QStringLiteral("-i"),
                       QStringLiteral("sine=f=440:r=48000:d=%1").arg(seconds), QStringLiteral("-c:v"),
                       QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast"),
                       QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"), QStringLiteral("-c:a"),
                       QStringLiteral("aac"), QStringLiteral("-shortest")},
                      path);
}

Clip clipOf(const QString& movie, double seconds) {
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.sourceVideoPath = movie;
    clip.sourceIn = ProjectTime(0);
    clip.sourceOut = ProjectTime(seconds);
    return clip;
}

QString localFile(const QString& url) {
    return QUrl(url).toLocalFile();
}

QString upper(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

bool settled(const ClipMediaCache& cache, const QUuid& id) {
    return cache.pendingCount() == 0 && !cache.waveform(id).isEmpty();
}

// A project folder with a two-minute movie in it, made once for the suite: long enough that its strip and
// waveform take a while, small enough to make in seconds.
class ClipMediaCacheTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!haveTool("ffmpeg"))
            return;
        s_shared = std::make_unique<QTemporaryDir>();
        s_longMade =
            makeMovie(s_shared->filePath(QStringLiteral("media/long.mov")), 120, QStringLiteral("640x360"));
    }
    static void TearDownTestSuite() { s_shared.reset(); }

    void SetUp() override {
        ORVANE_REQUIRE_FFMPEG();
        ASSERT_TRUE(s_longMade);
        project = s_shared->path();
        // Each test starts without pictures.
        QDir(QDir(project).filePath(QStringLiteral("thumbnails"))).removeRecursively();
    }

    static inline std::unique_ptr<QTemporaryDir> s_shared;
    static inline bool s_longMade = false;
    QString project;
};

} // namespace

TEST_F(ClipMediaCacheTest, FillsABarFrameByFrameThenItsWaveformAndReusesFreshPictures) {
    ASSERT_TRUE(
        makeMovie(QDir(project).filePath(QStringLiteral("media/short.mov")), 6, QStringLiteral("320x240")));
    const Clip clip = clipOf(QStringLiteral("media/short.mov"), 6);
    std::vector<std::pair<qsizetype, bool>> seen; // frames so far, waveform ready
    ClipMediaCache cache;
    cache.setProjectFolder(project);
    QObject::connect(&cache, &ClipMediaCache::clipMediaChanged, [&](const QUuid& id) {
        EXPECT_EQ(id, clip.id);
        seen.emplace_back(cache.stripFrames(id).size(), !cache.waveform(id).isEmpty());
    });
    // 6 s at 80 px/s: a bar of 480 pixels, six frames, 960 buckets.
    cache.request(clip, 80);
    ASSERT_TRUE(waitUntil([&] { return settled(cache, clip.id); }, std::chrono::seconds(30)));
    const std::vector<std::pair<qsizetype, bool>> expected{{1, false}, {2, false}, {3, false}, {4, false},
                                                           {5, false}, {6, false}, {6, true}};
    EXPECT_EQ(seen, expected);

    const QString thumbnails = QDir(project).filePath(QStringLiteral("thumbnails"));
    const QStringList frames = cache.stripFrames(clip.id);
    for (int i = 0; i < frames.size(); ++i) {
        EXPECT_TRUE(frames[i].startsWith(QStringLiteral("file://"))) << frames[i].toStdString();
        EXPECT_EQ(localFile(frames[i]),
                  QDir(thumbnails)
                      .filePath(QStringLiteral("clip-%1-strip/%2")
                                    .arg(upper(clip.id), ClipThumbnailStripGenerator::frameFileName(i))));
        EXPECT_EQ(QImage(localFile(frames[i])).height(), 240);
    }
    const QString wave = localFile(cache.waveform(clip.id));
    EXPECT_EQ(wave, QDir(thumbnails).filePath(QStringLiteral("clip-%1-wave.png").arg(upper(clip.id))));
    EXPECT_EQ(QImage(wave).size(), QSize(960, 96));

    // The same bar asked for again does nothing at all.
    seen.clear();
    cache.request(clip, 80);
    EXPECT_EQ(cache.pendingCount(), 0);
    QTest::qWait(200);
    EXPECT_TRUE(seen.empty());

    // Another window on the same project finds the pictures fresh: the same files, not written again.
    const QDateTime waveMade = QFileInfo(wave).lastModified();
    const QDateTime firstMade = QFileInfo(localFile(frames[0])).lastModified();
    ClipMediaCache reopened;
    reopened.setProjectFolder(project);
    reopened.request(clip, 80);
    ASSERT_TRUE(waitUntil([&] { return settled(reopened, clip.id); }, std::chrono::seconds(30)));
    EXPECT_EQ(reopened.stripFrames(clip.id), frames);
    EXPECT_EQ(reopened.waveform(clip.id), cache.waveform(clip.id));
    EXPECT_EQ(QFileInfo(wave).lastModified(), waveMade);
    EXPECT_EQ(QFileInfo(localFile(frames[0])).lastModified(), firstMade);

    // A re-recorded source is new work, and the pictures made again come under new URLs so that views
    // holding the old ones load them afresh.
    QFile source(QDir(project).filePath(clip.sourceVideoPath));
    ASSERT_TRUE(source.open(QIODevice::ReadWrite));
    ASSERT_TRUE(
        source.setFileTime(QDateTime::currentDateTime().addSecs(5), QFileDevice::FileModificationTime));
    source.close();
    reopened.request(clip, 80);
    ASSERT_TRUE(waitUntil(
        [&] { return settled(reopened, clip.id) && reopened.waveform(clip.id) != cache.waveform(clip.id); },
        std::chrono::seconds(30)));
    const QStringList remade = reopened.stripFrames(clip.id);
    ASSERT_EQ(remade.size(), frames.size());
    for (int i = 0; i < remade.size(); ++i) {
        EXPECT_NE(remade[i], frames[i]);
        EXPECT_EQ(localFile(remade[i]), localFile(frames[i]));
    }
}

TEST_F(ClipMediaCacheTest, ANewerRequestOrAnotherProjectDropsTheWorkUnderWay) {
    const Clip clip = clipOf(QStringLiteral("media/long.mov"), 120);
    ClipMediaCache cache;
    cache.setProjectFolder(project);
    qsizetype most = 0;
    bool second = false;
    QObject::connect(&cache, &ClipMediaCache::clipMediaChanged, [&](const QUuid& id) {
        if (second)
            most = std::max(most, cache.stripFrames(id).size());
    });
    // 24 frames and 19200 buckets asked for, then at once 3 frames and 480 buckets (a bar of 240 pixels).
    cache.request(clip, 80);
    second = true;
    cache.request(clip, 2);
    ASSERT_TRUE(waitUntil([&] { return settled(cache, clip.id); }, std::chrono::seconds(60)));
    EXPECT_EQ(cache.stripFrames(clip.id).size(), 3);
    EXPECT_LE(most, 3) << "frames of the cancelled strip reached the bar";
    const QString strip =
        QDir(project).filePath(QStringLiteral("thumbnails/clip-%1-strip").arg(upper(clip.id)));
    EXPECT_EQ(QDir(strip).entryList(QDir::Files).size(), 3);
    EXPECT_EQ(QImage(localFile(cache.waveform(clip.id))).width(), 480);

    // Another project: what was shown goes, and the old project's work never lands in the new one.
    QTemporaryDir other;
    const Clip wide = clipOf(QStringLiteral("media/long.mov"), 120);
    cache.request(wide, 80);
    ASSERT_TRUE(waitUntil([&] { return !cache.stripFrames(wide.id).isEmpty(); }, std::chrono::seconds(30)));
    bool cleared = false;
    QObject::connect(&cache, &ClipMediaCache::clipMediaChanged, [&](const QUuid& id) {
        if (id == wide.id)
            cleared = cache.stripFrames(id).isEmpty() && cache.waveform(id).isEmpty();
    });
    cache.setProjectFolder(other.path());
    EXPECT_TRUE(cleared);
    QTest::qWait(1500);
    EXPECT_TRUE(cache.stripFrames(wide.id).isEmpty());
    EXPECT_TRUE(cache.waveform(wide.id).isEmpty());
    EXPECT_TRUE(cache.stripFrames(clip.id).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(other.filePath(QStringLiteral("thumbnails"))));
    // Without a project folder nothing is asked for.
    cache.setProjectFolder(QString());
    cache.request(clip, 80);
    EXPECT_EQ(cache.pendingCount(), 0);
}

TEST_F(ClipMediaCacheTest, TheWindowsThreadKeepsTurningWhileALongClipIsMade) {
    const Clip clip = clipOf(QStringLiteral("media/long.mov"), 120);
    auto cache = std::make_unique<ClipMediaCache>();
    cache->setProjectFolder(project);
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    QTimer ticker;
    ticker.setInterval(10);
    QObject::connect(&ticker, &QTimer::timeout,
                     [&] { longestGap = std::max(longestGap, sinceTick.restart()); });
    qint64 firstFrameAt = -1;
    QElapsedTimer clock;
    QObject::connect(cache.get(), &ClipMediaCache::clipMediaChanged, [&](const QUuid& id) {
        if (firstFrameAt < 0 && !cache->stripFrames(id).isEmpty())
            firstFrameAt = clock.elapsed();
    });
    clock.start();
    sinceTick.start();
    ticker.start();
    cache->request(clip, 80);
    ASSERT_TRUE(waitUntil([&] { return settled(*cache, clip.id); }, std::chrono::seconds(90)));
    const qint64 total = clock.elapsed();
    ticker.stop();
    EXPECT_EQ(cache->stripFrames(clip.id).size(), 24);
    // The first frame shows long before the whole is done, and no tick of the window's loop waited on
    // the work (a loaded machine may delay one by a scheduler's slice, not by a decode).
    EXPECT_LT(firstFrameAt, total / 2);
    EXPECT_LT(longestGap, 250) << "the main thread stalled for " << longestGap << " ms of " << total;

    // Dropping the cache in the middle of a clip stops and joins its work.
    QDir(QDir(project).filePath(QStringLiteral("thumbnails"))).removeRecursively();
    const Clip again = clipOf(QStringLiteral("media/long.mov"), 120);
    cache->request(again, 80);
    ASSERT_TRUE(waitUntil([&] { return !cache->stripFrames(again.id).isEmpty(); }, std::chrono::seconds(30)));
    cache.reset();
    const QString strip =
        QDir(project).filePath(QStringLiteral("thumbnails/clip-%1-strip").arg(upper(again.id)));
    const auto left = QDir(strip).entryList(QDir::Files).size();
    QTest::qWait(300);
    EXPECT_EQ(QDir(strip).entryList(QDir::Files).size(), left) << "work went on after the cache was gone";
}
