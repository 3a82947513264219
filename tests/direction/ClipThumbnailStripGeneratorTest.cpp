// The clip bar's filmstrip: which frames, at what size and turn, and when the folder is made again.
#include "direction/ClipThumbnailStripGenerator.h"

#include "media/MediaTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace orvane;
using namespace orvane::test;

namespace {

using Strip = ClipThumbnailStripGenerator;

void ageBy(const QString& path, int seconds) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QFileInfo(path).lastModified().addSecs(-seconds),
                                 QFileDevice::FileModificationTime));
}

QStringList fileNames(const QStringList& paths) {
    QStringList names;
    for (const QString& path : paths)
        names << QFileInfo(path).fileName();
    return names;
}

} // namespace

TEST(ClipThumbnailStripGenerator, CountsAndTimesSpreadAcrossTheBarAndTheMovie) {
    EXPECT_EQ(Strip::recommendedFrameCount(100), 3);
    EXPECT_EQ(Strip::recommendedFrameCount(240), 3);
    EXPECT_EQ(Strip::recommendedFrameCount(241), 4);
    EXPECT_EQ(Strip::recommendedFrameCount(800), 10);
    EXPECT_EQ(Strip::recommendedFrameCount(5000), 24);
    EXPECT_EQ(Strip::recommendedFrameCount(0), 3);

    const auto near = [](const std::vector<double>& got, const std::vector<double>& expected) {
        ASSERT_EQ(got.size(), expected.size());
        for (std::size_t i = 0; i < got.size(); ++i)
            EXPECT_NEAR(got[i], expected[i], 1e-9) << "time " << i;
    };
    near(Strip::sampleTimes(10, 4), {1.24375, 3.73125, 6.21875, 8.70625});
    // Shorter than the end margin: the times are spread over the margin itself.
    near(Strip::sampleTimes(0.04, 2), {0.0125, 0.0375});
    near(Strip::sampleTimes(7, 1), {3.5});
    EXPECT_TRUE(Strip::sampleTimes(10, 0).empty());
    EXPECT_TRUE(Strip::sampleTimes(0, 4).empty());
    EXPECT_TRUE(Strip::sampleTimes(std::nan(""), 4).empty());
}

TEST(ClipThumbnailStripGenerator, TakesAFrameWithinTheToleranceBeforeEachTimeAndReportsEachAsWritten) {
    QTemporaryDir dir;
    // Every frame its own colour, one key frame at the start: the frame taken tells how far the reader went.
    const QString movie = dir.filePath(QStringLiteral("colours.mov"));
    constexpr int frameCount = 90; // 3 s at 30 fps
    ASSERT_TRUE(writeTestMovie(movie, smallVideoSettings(), frameCount, 30).has_value());

    const QString folder = dir.filePath(QStringLiteral("thumbnails/clip-A-strip"));
    std::vector<int> reported;
    const QStringList frames = Strip::generate(movie, folder, 3, {}, [&](int index, const QString& path) {
        EXPECT_TRUE(QFile::exists(path)); // told only once the file is whole
        reported.push_back(index);
    });
    ASSERT_EQ(fileNames(frames), (QStringList{QStringLiteral("frame-00.jpg"), QStringLiteral("frame-01.jpg"),
                                              QStringLiteral("frame-02.jpg")}));
    EXPECT_EQ(reported, (std::vector<int>{0, 1, 2}));
    const auto times = Strip::sampleTimes(3.0, 3);
    for (int i = 0; i < 3; ++i) {
        const QImage image(frames[i]);
        ASSERT_EQ(image.size(), QSize(320, 240)) << "a small movie is not enlarged";
        const int shown = frameIndexOf(image.pixel(160, 120), frameCount);
        const double t = times[std::size_t(i)];
        // The first frame within the tolerance: the reader stops there rather than decoding on to the time.
        EXPECT_EQ(shown, int(std::ceil((t - Strip::timeTolerance) * 30 - 1e-9))) << "frame " << i;
    }

    // Already made and fresh: given back without a frame written.
    reported.clear();
    EXPECT_EQ(
        Strip::generate(movie, folder, 3, {}, [&](int index, const QString&) { reported.push_back(index); }),
        frames);
    EXPECT_TRUE(reported.empty());

    // Stopped after the first frame: the rest is never written, and the short set is made again next time.
    std::stop_source stop;
    const QStringList cut = Strip::generate(movie, folder, 5, stop.get_token(),
                                            [&](int, const QString&) { stop.request_stop(); });
    EXPECT_EQ(fileNames(cut), QStringList{QStringLiteral("frame-00.jpg")});
    EXPECT_TRUE(Strip::cachedFrames(folder, 5).isEmpty());
    EXPECT_EQ(Strip::generate(movie, folder, 5).size(), 5);
    EXPECT_EQ(Strip::cachedFrames(folder, 5).size(), 5);
}

TEST(ClipThumbnailStripGenerator, MakesTheFolderAgainWhenShortStaleOrOfAnotherCount) {
    QTemporaryDir dir;
    const QString movie = dir.filePath(QStringLiteral("colours.mov"));
    ASSERT_TRUE(writeTestMovie(movie, smallVideoSettings(), 30, 30).has_value());
    ageBy(movie, 60);
    const QString folder = dir.filePath(QStringLiteral("strip"));
    ASSERT_EQ(Strip::generate(movie, folder, 4).size(), 4);

    // One frame lost: the whole set is made again, with a leftover of another kind swept away.
    ASSERT_TRUE(QFile::remove(QDir(folder).filePath(QStringLiteral("frame-02.jpg"))));
    QFile stray(QDir(folder).filePath(QStringLiteral("notes.txt")));
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.close();
    EXPECT_EQ(Strip::cachedFrames(folder, 4).size(), 0);
    EXPECT_EQ(Strip::cachedFrames(folder, 3).size(), 3);
    ASSERT_EQ(Strip::generate(movie, folder, 4).size(), 4);
    EXPECT_FALSE(stray.exists());

    // A source newer than one frame makes them all again.
    const QString first = QDir(folder).filePath(QStringLiteral("frame-00.jpg"));
    ageBy(first, 600);
    EXPECT_FALSE(Strip::isCacheFresh(movie, Strip::cachedFrames(folder, 4)));
    ASSERT_EQ(Strip::generate(movie, folder, 4).size(), 4);
    EXPECT_TRUE(Strip::isCacheFresh(movie, Strip::cachedFrames(folder, 4)));

    // Another count replaces the set; the count is held to 1...32.
    EXPECT_EQ(Strip::generate(movie, folder, 40).size(), Strip::maximumFrameCount);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), Strip::maximumFrameCount);
    EXPECT_EQ(fileNames(Strip::generate(movie, folder, 0)), QStringList{QStringLiteral("frame-00.jpg")});

    // Nothing to read, or a file that is no movie: nothing.
    EXPECT_TRUE(Strip::generate(dir.filePath(QStringLiteral("gone.mov")), folder, 3).isEmpty());
    QFile junk(dir.filePath(QStringLiteral("junk.mov")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("not a movie");
    junk.close();
    EXPECT_TRUE(Strip::generate(junk.fileName(), dir.filePath(QStringLiteral("junk-strip")), 3).isEmpty());
    EXPECT_TRUE(Strip::cachedFrames(dir.filePath(QStringLiteral("never")), 0).isEmpty());
}

TEST(ClipThumbnailStripGenerator, FramesStandUprightAndAtMostTwiceTheBarHigh) {
    QTemporaryDir dir;
    // A phone's portrait movie: stored 640x360, blue with a red top band, turned a quarter for display.
    const QString portrait = dir.filePath(QStringLiteral("portrait.mp4"));
    auto settings = smallVideoSettings(VideoCodec::h264, ContainerFormat::mp4, 640, 360);
    settings.video->rotationDegrees = 90;
    {
        auto writer = MediaWriter::create(portrait, settings);
        ASSERT_TRUE(writer.has_value());
        for (int i = 0; i < 15; ++i) {
            (*writer)->waitUntilReadyForVideo();
            VideoFrame frame = (*writer)->framePool().acquire();
            frame.fill(255, 0, 0, 255);
            for (int y = 0; y < 60; ++y)
                for (int x = 0; x < 640; ++x) {
                    std::uint8_t* bgra = frame.row(y) + 4 * x;
                    bgra[0] = 0, bgra[2] = 255;
                }
            ASSERT_TRUE((*writer)->appendVideo(frame, MediaTime{i * 20, 600}).has_value());
        }
        ASSERT_TRUE((*writer)->finish().has_value());
    }
    const QStringList frames = Strip::generate(portrait, dir.filePath(QStringLiteral("p")), 2);
    ASSERT_EQ(frames.size(), 2);
    const QImage upright(frames[0]);
    // 360x640 as shown, scaled to 288 high.
    EXPECT_EQ(upright.size(), QSize(162, 288));
    // A clockwise quarter turn puts the stored top band along the right side; the middle stays blue.
    const QColor centre = upright.pixelColor(81, 144);
    EXPECT_GT(centre.blue(), 180);
    EXPECT_LT(centre.red(), 80);
    const QColor side = upright.pixelColor(upright.width() - 5, 144);
    EXPECT_GT(side.red(), 180);
    EXPECT_LT(side.blue(), 80);

    const QString wide = dir.filePath(QStringLiteral("wide.mov"));
    ASSERT_TRUE(
        writeTestMovie(wide, smallVideoSettings(VideoCodec::h264, ContainerFormat::mov, 1280, 720), 10, 30)
            .has_value());
    const QStringList wideFrames = Strip::generate(wide, dir.filePath(QStringLiteral("w")), 1);
    ASSERT_EQ(wideFrames.size(), 1);
    EXPECT_EQ(QImage(wideFrames[0]).size(), QSize(512, 288));
}
