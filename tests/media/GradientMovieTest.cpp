#include "media/GradientMovie.h"

#include "MediaTestSupport.h"
#include "media/AssetProbe.h"
#include "media/FrameReader.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;

namespace {

struct Rgb {
    int r, g, b;
};

Rgb rgbOf(std::uint32_t px) {
    return {int((px >> 16) & 0xff), int((px >> 8) & 0xff), int(px & 0xff)};
}

void expectNear(Rgb got, Rgb want, int tolerance) {
    EXPECT_NEAR(got.r, want.r, tolerance);
    EXPECT_NEAR(got.g, want.g, tolerance);
    EXPECT_NEAR(got.b, want.b, tolerance);
}

} // namespace

TEST(GradientMovie, GradientRowsFollowTheColourFormula) {
    const VideoFrame start = makeGradientFrame(Size{1280, 720}, 0);
    ASSERT_EQ(start.width(), 1280);
    // progress 0: sin 0, cos 1. Channels are truncated after scaling by 255.
    expectNear(rgbOf(start.pixel(0, 0)), {114, 71, 216}, 0);
    expectNear(rgbOf(start.pixel(1279, 719)), {242, 81, 173}, 0);
    EXPECT_EQ(start.pixel(640, 0) >> 24, 255u);
    // A quarter of the way: sin 1, cos 0.
    const VideoFrame quarter = makeGradientFrame(Size{64, 2}, 0.25);
    expectNear(rgbOf(quarter.pixel(0, 0)), {165, 45, 216}, 0);
    expectNear(rgbOf(quarter.pixel(0, 1)), {242, 107, 173}, 0);
    // Every pixel of a row is the same.
    for (int x = 0; x < 1280; x += 97)
        EXPECT_EQ(start.pixel(x, 360), start.pixel(0, 360));
    EXPECT_TRUE(makeGradientFrame(Size{0, 720}, 0).isNull());
}

// The sample movie as the sample project makes it: its properties, and the colours of its frames.
TEST(GradientMovie, SampleMovieHasTheSampleProjectsPropertiesAndColours) {
    ORVANE_REQUIRE_FFMPEG();
    QTemporaryDir dir;
    const QString movie = dir.filePath(QStringLiteral("bundle/media/sample.mov"));
    // The folder is created, and something already at the path is replaced.
    QDir().mkpath(dir.filePath(QStringLiteral("bundle/media")));
    QFile old(movie);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("stale");
    old.close();
    const auto written = writeGradientMovie(movie, Size{1280, 720}, 10, 30);
    ASSERT_TRUE(written) << written.error().description.toStdString();
    auto info = probeAsset(movie);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    EXPECT_EQ(info->brand, QStringLiteral("qt  "));
    EXPECT_TRUE(info->isPlayable);
    EXPECT_NEAR(info->duration, 10.0, 1e-3);
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_TRUE(info->audioTracks.empty());
    const VideoTrackInfo& v = info->videoTracks[0];
    EXPECT_EQ(v.codec, QStringLiteral("h264"));
    EXPECT_EQ(v.naturalSize, (Size{1280, 720}));
    EXPECT_EQ(v.frameCount, 300);
    EXPECT_NEAR(v.frameRate, 30, 1e-6);
    const QString tool = ffprobe(
        movie, QStringLiteral("stream=codec_name,width,height,r_frame_rate,nb_frames:format=format_name"));
    EXPECT_TRUE(tool.contains(QStringLiteral("codec_name=h264")));
    EXPECT_TRUE(tool.contains(QStringLiteral("nb_frames=300")));
    EXPECT_TRUE(tool.contains(QStringLiteral("r_frame_rate=30/1"))) << tool.toStdString();

    auto reader = FrameReader::open(movie);
    ASSERT_TRUE(reader);
    for (int index : {0, 150, 299}) {
        SCOPED_TRACE(index);
        auto frame = (*reader)->frameAt(index / 30.0);
        ASSERT_TRUE(frame && *frame);
        EXPECT_EQ((*frame)->time(), (MediaTime{index * 20, 600}));
        const VideoFrame want = makeGradientFrame(Size{1280, 720}, index / 299.0);
        for (int y : {0, 1, 200, 360, 718, 719})
            for (int x : {0, 640, 1279})
                expectNear(rgbOf((*frame)->pixel(x, y)), rgbOf(want.pixel(x, y)), 4);
    }
    // The first frame's top and bottom rows, as decoded from the file.
    auto first = (*reader)->frameAt(0);
    ASSERT_TRUE(first && *first);
    expectNear(rgbOf((*first)->pixel(640, 0)), {114, 71, 216}, 4);
    expectNear(rgbOf((*first)->pixel(640, 719)), {242, 81, 173}, 4);
    // The last frame is at progress 1, a full turn: the colours of the first again.
    expectNear(rgbOf(makeGradientFrame(Size{1280, 720}, 1).pixel(0, 0)), {114, 71, 216}, 1);
}

TEST(GradientMovie, AnUnwritablePathFailsWithTheSampleWritersError) {
    QTemporaryDir dir;
    const QString blocker = dir.filePath(QStringLiteral("file"));
    QFile f(blocker);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    // The parent "folder" is a file, so nothing can be created below it.
    auto result = writeGradientMovie(blocker + QStringLiteral("/sample.mov"), Size{64, 64}, 1, 30);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().domain, QStringLiteral("OrvaneScreen"));
    EXPECT_EQ(result.error().code, 100);
    EXPECT_EQ(result.error().description, QStringLiteral("Couldn't initialize sample writer."));
}
