#include "media/AudioReader.h"

#include "MediaTestSupport.h"
#include "common/AllocationCounter.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace orvane;
using namespace orvane::test;

namespace {

struct Decoded {
    std::vector<float> left, right;
    std::int64_t firstFrame = -1;
    bool contiguous = true;
};

Decoded readAll(AudioReader& reader) {
    Decoded d;
    std::int64_t expected = -1;
    while (true) {
        auto chunk = reader.next();
        EXPECT_TRUE(chunk);
        if (!chunk || !*chunk)
            break;
        if (d.firstFrame < 0)
            d.firstFrame = (*chunk)->firstFrame;
        if (expected >= 0 && (*chunk)->firstFrame != expected)
            d.contiguous = false;
        expected = (*chunk)->firstFrame + std::int64_t((*chunk)->frameCount());
        for (std::size_t i = 0; i < (*chunk)->frameCount(); ++i) {
            d.left.push_back((*chunk)->samples[2 * i]);
            d.right.push_back((*chunk)->samples[2 * i + 1]);
        }
    }
    return d;
}

// Frequency from rising zero crossings over the middle of the signal.
double frequencyOf(const std::vector<float>& s) {
    const std::size_t from = s.size() / 4, to = s.size() * 3 / 4;
    int crossings = 0;
    std::size_t first = 0, last = 0;
    for (std::size_t i = from + 1; i < to; ++i)
        if (s[i - 1] < 0 && s[i] >= 0) {
            if (crossings == 0)
                first = i;
            last = i;
            ++crossings;
        }
    return crossings > 1 ? (crossings - 1) * 48000.0 / double(last - first) : 0;
}

float peakOf(const std::vector<float>& s) {
    float peak = 0;
    for (float v : s)
        peak = std::max(peak, std::abs(v));
    return peak;
}

class AudioReaderTest : public ::testing::Test {
protected:
    QTemporaryDir m_dir;
};

} // namespace

TEST_F(AudioReaderTest, AnyRateAndLayoutBecomes48kHzStereoAtTheSameLevelAndPitch) {
    ORVANE_REQUIRE_FFMPEG();
    struct Case {
        const char* name;
        QStringList args;
        float peak;
    };
    const auto tone = [](const char* source) {
        return QStringList{QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                           QString::fromLatin1(source)};
    };
    const Case cases[] = {
        // 16-bit mono at 44.1 kHz: copied to both sides at full level.
        {"mono.wav",
         tone("aevalsrc=0.5*sin(2*PI*1000*t):s=44100:d=1") +
             QStringList{QStringLiteral("-c:a"), QStringLiteral("pcm_s16le")},
         0.5f},
        // AAC stereo at 32 kHz in an MP4.
        {"stereo.m4a",
         tone("aevalsrc=0.5*sin(2*PI*1000*t)|0.5*sin(2*PI*1000*t):s=32000:d=1") +
             QStringList{QStringLiteral("-c:a"), QStringLiteral("aac"), QStringLiteral("-b:a"),
                         QStringLiteral("256k")},
         0.5f},
        // FLAC 96 kHz 5.1: mixed down.
        {"surround.flac", tone("aevalsrc=0.5*sin(2*PI*1000*t):c=5.1:s=96000:d=1"), 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString file = m_dir.filePath(QString::fromLatin1(c.name));
        ASSERT_TRUE(ffmpegMake(c.args, file));
        auto reader = AudioReader::open(file);
        ASSERT_TRUE(reader) << reader.error().description.toStdString();
        const Decoded d = readAll(**reader);
        EXPECT_TRUE(d.contiguous);
        EXPECT_NEAR(d.firstFrame, 0, 2);
        // AAC's last frame is padded, and the padding is not trimmed on reading.
        EXPECT_GE(d.left.size(), 47990u);
        EXPECT_LE(d.left.size(), 48000u + 3100u);
        EXPECT_NEAR(frequencyOf(d.left), 1000, 2);
        EXPECT_EQ(d.left, d.right);
        if (c.peak > 0)
            EXPECT_NEAR(peakOf(d.left), c.peak, 0.03f);
        else
            EXPECT_GT(peakOf(d.left), 0.2f);
    }
}

TEST_F(AudioReaderTest, SeekAndEndTimeCutAtExactSamples) {
    ORVANE_REQUIRE_FFMPEG();
    const QString file = m_dir.filePath(QStringLiteral("tone.m4a"));
    ASSERT_TRUE(ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("sine=frequency=440:sample_rate=44100:duration=2"),
                            QStringLiteral("-c:a"), QStringLiteral("aac")},
                           file));
    auto reader = AudioReader::open(file);
    ASSERT_TRUE(reader);
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE((*reader)->seek(0.5));
        (*reader)->setEndTime(0.75);
        const Decoded d = readAll(**reader);
        EXPECT_EQ(d.firstFrame, 24000);
        EXPECT_EQ(d.left.size(), 12000u);
        EXPECT_TRUE(d.contiguous);
        EXPECT_NEAR(frequencyOf(d.left), 440, 2);
    }
    // Back to the start, to the end of the file.
    (*reader)->setEndTime(std::nullopt);
    ASSERT_TRUE((*reader)->seek(0));
    const Decoded all = readAll(**reader);
    EXPECT_EQ(all.firstFrame, 0);
    EXPECT_NEAR(double(all.left.size()), 96000, 1100);
}

TEST_F(AudioReaderTest, TracksAreChosenByIndexAndTimesCountFromTheFileStart) {
    // Two tracks written by our writer: the second starts half a second late, so it begins with silence.
    const QString file = m_dir.filePath(QStringLiteral("two-tracks.mov"));
    MediaWriterSettings settings;
    settings.audio = {AudioEncoderSettings{}, AudioEncoderSettings{}};
    auto writer = MediaWriter::create(file, settings);
    ASSERT_TRUE(writer) << writer.error().description.toStdString();
    for (int at = 0; at < 48000; at += 960) {
        ASSERT_TRUE((*writer)->appendAudio(0, sine(440, at, 960), MediaTime{at, 48000}));
        ASSERT_TRUE((*writer)->appendAudio(1, sine(880, at, 960), MediaTime{24000 + at, 48000}));
    }
    ASSERT_TRUE((*writer)->finish());

    auto first = AudioReader::open(file, {.track = 0});
    auto second = AudioReader::open(file, {.track = 1});
    ASSERT_TRUE(first && second);
    const Decoded a = readAll(**first);
    const Decoded b = readAll(**second);
    EXPECT_NEAR(frequencyOf(a.left), 440, 2);
    EXPECT_NEAR(double(a.left.size()), 48000 + 512, 520);
    EXPECT_NEAR(double(b.left.size()), 72000 + 512, 520);
    std::size_t firstLoud = 0;
    while (firstLoud < b.left.size() && std::abs(b.left[firstLoud]) < 0.05f)
        ++firstLoud;
    EXPECT_NEAR(double(std::int64_t(firstLoud) + b.firstFrame), 24000, 60);
    EXPECT_FALSE(AudioReader::open(file, {.track = 2}));
}

TEST_F(AudioReaderTest, SteadyStateReadingAllocatesNothing) {
    ORVANE_REQUIRE_FFMPEG();
    const QString file = m_dir.filePath(QStringLiteral("long.wav"));
    ASSERT_TRUE(ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("sine=frequency=440:sample_rate=44100:duration=3")},
                           file));
    auto reader = AudioReader::open(file);
    ASSERT_TRUE(reader);
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE((*reader)->next());
    test::AllocationScope scope;
    for (int i = 0; i < 40; ++i) {
        auto chunk = (*reader)->next();
        ASSERT_TRUE(chunk && *chunk);
    }
    EXPECT_EQ(scope.allocations(), 0u);
}
