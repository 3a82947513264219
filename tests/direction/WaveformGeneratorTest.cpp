// The waveform's peaks, its picture and its cache, from real movies made with the ffmpeg tool.
#include "direction/WaveformGenerator.h"

#include "media/MediaTestSupport.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;

namespace {

const QColor tint(40, 200, 120);

QStringList sound(const QString& expression, double seconds) {
    return {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
            QStringLiteral("aevalsrc=%1:s=44100:d=%2").arg(expression).arg(seconds)};
}

QStringList picture(double seconds) {
    return {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
            QStringLiteral("color=c=gray:s=160x120:r=10:d=%1").arg(seconds)};
}

void ageBy(const QString& path, int seconds) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QFileInfo(path).lastModified().addSecs(-seconds),
                                 QFileDevice::FileModificationTime));
}

} // namespace

TEST(WaveformGenerator, PeaksOfSamplesTakeTheLoudestOfEachStrideAndPadWithZeros) {
    struct Case {
        std::vector<float> samples;
        int buckets;
        std::vector<float> expected;
    };
    const std::vector<Case> cases{
        // A stride of 2; the last two samples lie past the last full bucket and are not looked at.
        {{0.1f, -0.2f, 0.3f, 0.1f, -0.9f, 0.2f, 0.0f, 0.4f, 1.0f, 1.0f}, 4, {0.2f, 0.3f, 0.9f, 0.4f}},
        // Fewer samples than buckets: one a bucket, then zeros.
        {{0.5f, -0.25f, 0.75f}, 8, {0.5f, 0.25f, 0.75f, 0, 0, 0, 0, 0}},
        {{-0.5f, 0.25f, -0.75f, 0.1f}, 1, {0.75f}},
        {{0.5f}, 0, {}},
        {{}, 4, {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(WaveformGenerator::peaks(c.samples, c.buckets), c.expected)
            << c.samples.size() << " samples";
}

TEST(WaveformGenerator, PeaksOfAMovieFollowItsLoudnessNormalisedToItsOwnPeak) {
    ORVANE_REQUIRE_FFMPEG();
    QTemporaryDir dir;
    // Quiet for a second, then four times louder: the loud half reaches the top whatever its level.
    const QString rising = dir.filePath(QStringLiteral("rising.mov"));
    ASSERT_TRUE(ffmpegMake(picture(2) + sound(QStringLiteral("'if(lt(t,1),0.05,0.2)*sin(2*PI*300*t)'"), 2) +
                               QStringList{QStringLiteral("-shortest")},
                           rising));
    const auto peaks = WaveformGenerator::peaks(rising, 20);
    ASSERT_TRUE(peaks.has_value());
    ASSERT_EQ(peaks->size(), 20u);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR((*peaks)[std::size_t(i)], 0.25, 0.05) << "bucket " << i;
    for (int i = 11; i < 19; ++i)
        EXPECT_NEAR((*peaks)[std::size_t(i)], 1.0, 0.05) << "bucket " << i;

    // A silent track stays flat rather than blowing noise up to full height.
    const QString silent = dir.filePath(QStringLiteral("silent.mov"));
    ASSERT_TRUE(ffmpegMake(
        picture(1) + sound(QStringLiteral("0"), 1) + QStringList{QStringLiteral("-shortest")}, silent));
    const auto flat = WaveformGenerator::peaks(silent, 16);
    ASSERT_TRUE(flat.has_value());
    ASSERT_EQ(flat->size(), 16u);
    EXPECT_TRUE(std::all_of(flat->begin(), flat->end(), [](float p) { return p == 0; }));

    // No sound is no peaks, and not an error; a file that is no media is.
    const QString mute = dir.filePath(QStringLiteral("mute.mov"));
    ASSERT_TRUE(ffmpegMake(picture(1), mute));
    const auto none = WaveformGenerator::peaks(mute, 16);
    ASSERT_TRUE(none.has_value());
    EXPECT_TRUE(none->empty());
    QFile junk(dir.filePath(QStringLiteral("junk.mov")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write("no media here");
    junk.close();
    EXPECT_FALSE(WaveformGenerator::peaks(junk.fileName(), 16).has_value());

    std::stop_source stop;
    stop.request_stop();
    const auto stopped = WaveformGenerator::peaks(rising, 20, stop.get_token());
    ASSERT_TRUE(stopped.has_value());
    EXPECT_TRUE(stopped->empty());
}

TEST(WaveformGenerator, RenderFillsAShapeMirroredAroundTheMiddleWithATintFadingDownwards) {
    const std::vector<float> peaks{0, 1, 1, 0.5f, 2.0f, 0, -1};
    const auto image = WaveformGenerator::render(peaks, QSizeF(70, 96), tint);
    ASSERT_TRUE(image.has_value());
    ASSERT_EQ(image->size(), QSize(70, 96));
    // Column i is 10 px wide, centred at 10 i + 5. A full peak reaches a pixel from the edge.
    const QColor top = image->pixelColor(15, 2), bottom = image->pixelColor(15, 93);
    EXPECT_NEAR(top.alphaF(), 0.92, 0.03);
    EXPECT_NEAR(bottom.alphaF(), 0.3, 0.03);
    EXPECT_NEAR(top.redF(), tint.redF(), 0.02);
    EXPECT_NEAR(top.greenF(), tint.greenF(), 0.02);
    EXPECT_LT(image->pixelColor(15, 0).alphaF(), 0.1); // the last row stays clear
    // Half a peak reaches a quarter of the height either side of the middle, and is symmetrical.
    EXPECT_GT(image->pixelColor(35, 48 - 20).alpha(), 0);
    EXPECT_EQ(image->pixelColor(35, 48 - 28).alpha(), 0);
    EXPECT_EQ(image->pixelColor(35, 48 + 28).alpha(), 0);
    EXPECT_GT(image->pixelColor(35, 48 + 20).alpha(), 0);
    // Peaks above 1 are held at 1 and negative ones at 0: nothing outside the frame, nothing drawn.
    EXPECT_GT(image->pixelColor(45, 5).alpha(), 0);
    EXPECT_EQ(image->pixelColor(45, 0).alpha(), 0);
    EXPECT_EQ(image->pixelColor(65, 30).alpha(), 0);
    EXPECT_EQ(image->pixelColor(65, 66).alpha(), 0);

    // All zeros draw no more than a line at the middle.
    const auto flat = WaveformGenerator::render(std::vector<float>(8, 0), QSizeF(8, 96), tint);
    ASSERT_TRUE(flat.has_value());
    for (int y = 0; y < 96; ++y) {
        if (std::abs(y - 48) <= 1)
            continue;
        for (int x = 0; x < 8; ++x)
            ASSERT_EQ(flat->pixelColor(x, y).alpha(), 0) << x << "," << y;
    }

    // Ten minutes at the timeline's width: every column drawn, to the last.
    const auto wide = WaveformGenerator::render(std::vector<float>(96000, 0.5f), QSizeF(96000, 96), tint);
    ASSERT_TRUE(wide.has_value());
    for (const int x : {0, 48000, 95998}) {
        EXPECT_NEAR(wide->pixelColor(x, 48 - 20).alpha(), 188, 3) << x;
        EXPECT_NEAR(wide->pixelColor(x, 48 + 20).alpha(), 122, 3) << x;
        EXPECT_EQ(wide->pixelColor(x, 48 - 28).alpha(), 0) << x;
    }

    EXPECT_FALSE(WaveformGenerator::render({}, QSizeF(8, 96), tint).has_value());
    EXPECT_FALSE(WaveformGenerator::render(peaks, QSizeF(0, 96), tint).has_value());
    EXPECT_FALSE(WaveformGenerator::render(peaks, QSizeF(70, -1), tint).has_value());
}

TEST(WaveformGenerator, GenerateWritesOnceAndAgainOnlyWhenTheSourceIsNewer) {
    ORVANE_REQUIRE_FFMPEG();
    QTemporaryDir dir;
    const QString movie = dir.filePath(QStringLiteral("take.mov"));
    ASSERT_TRUE(ffmpegMake(picture(1) + sound(QStringLiteral("0.5*sin(2*PI*440*t)"), 1) +
                               QStringList{QStringLiteral("-shortest")},
                           movie));
    ageBy(movie, 60);
    const QString wave = dir.filePath(QStringLiteral("thumbnails/clip-A-wave.png"));

    EXPECT_FALSE(WaveformGenerator::isCacheFresh(movie, wave));
    ASSERT_EQ(WaveformGenerator::generate(movie, wave, 300, tint), std::optional<QString>(wave));
    EXPECT_EQ(QImage(wave).size(), QSize(300, WaveformGenerator::renderHeight));
    EXPECT_TRUE(QImage(wave).hasAlphaChannel());
    EXPECT_TRUE(WaveformGenerator::isCacheFresh(movie, wave));

    // Fresh: given back as it is, whatever the size asked for.
    const QDateTime made = QFileInfo(wave).lastModified();
    ASSERT_EQ(WaveformGenerator::generate(movie, wave, 50, tint), std::optional<QString>(wave));
    EXPECT_EQ(QFileInfo(wave).lastModified(), made);
    EXPECT_EQ(QImage(wave).width(), 300);

    // A newer source makes it again; fewer than eight buckets are eight.
    ageBy(wave, 120);
    EXPECT_FALSE(WaveformGenerator::isCacheFresh(movie, wave));
    ASSERT_EQ(WaveformGenerator::generate(movie, wave, 3, tint), std::optional<QString>(wave));
    EXPECT_EQ(QImage(wave).width(), WaveformGenerator::minimumBucketCount);

    // No sound, no source or a stop request: nothing is written.
    const QString mute = dir.filePath(QStringLiteral("mute.mov"));
    ASSERT_TRUE(ffmpegMake(picture(1), mute));
    const QString muteWave = dir.filePath(QStringLiteral("thumbnails/mute-wave.png"));
    EXPECT_FALSE(WaveformGenerator::generate(mute, muteWave, 100, tint).has_value());
    EXPECT_FALSE(WaveformGenerator::generate(dir.filePath(QStringLiteral("gone.mov")), muteWave, 100, tint));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(WaveformGenerator::generate(movie, muteWave, 100, tint, stop.get_token()).has_value());
    EXPECT_FALSE(QFile::exists(muteWave));
    // A destination under a file cannot be written.
    EXPECT_FALSE(WaveformGenerator::generate(movie, movie + QStringLiteral("/wave.png"), 100, tint));
}
