// Speech intervals of a microphone track: the envelope and its segments on RMS values worked out by
// hand, the merge rule, and the whole analysis over real files with known bursts.
#include "direction/AudioAnalyzer.h"

#include "media/MediaTestSupport.h"
#include "speech/AudioTestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <numbers>

namespace orvane {
namespace {

using Segments = std::vector<VoiceActivitySegment>;

std::vector<double> windows(std::initializer_list<std::pair<int, double>> runs) {
    std::vector<double> rms;
    for (auto [count, value] : runs)
        rms.insert(rms.end(), std::size_t(count), value);
    return rms;
}

void expectSegments(const Segments& actual, const Segments& expected, double levelTolerance = 1e-6) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i].start, expected[i].start, 1e-9) << "segment " << i;
        EXPECT_NEAR(actual[i].end, expected[i].end, 1e-9) << "segment " << i;
        EXPECT_NEAR(actual[i].level, expected[i].level, levelTolerance) << "segment " << i;
    }
}

TEST(AudioAnalyzerEnvelope, opensAboveTheThresholdAndClosesAfterTheRelease) {
    // Silence, and a level whose envelope creeps up to the threshold without passing it.
    EXPECT_TRUE(AudioAnalyzer::segmentsFromWindowRMS(windows({{50, 0.0}})).empty());
    EXPECT_TRUE(AudioAnalyzer::segmentsFromWindowRMS(windows({{200, 0.05}})).empty());

    // 0.2 from window 10 to 29: the 20 ms attack passes 0.05 at once; the 300 ms release takes nine
    // hops to fall to 0.05 or below (0.2 * 0.8465^9 = 0.0447), so it closes at window 38.
    expectSegments(AudioAnalyzer::segmentsFromWindowRMS(windows({{10, 0.0}, {20, 0.2}, {30, 0.0}})),
                   {{0.5, 38 * 0.05 + 0.1, 0.2}}, 1e-9);

    // One window: 0.06 lifts the envelope to 0.0551, which opens and closes at the next window; 0.054
    // lifts it to 0.0496, which opens nothing.
    expectSegments(AudioAnalyzer::segmentsFromWindowRMS(windows({{4, 0.0}, {1, 0.06}, {10, 0.0}})),
                   {{0.2, 5 * 0.05 + 0.1, 0.06 * 0.9179150013761012}});
    EXPECT_TRUE(AudioAnalyzer::segmentsFromWindowRMS(windows({{4, 0.0}, {1, 0.054}, {10, 0.0}})).empty());

    // Still open at the end: it ends one window after the last hop; the level is held at 1.
    expectSegments(AudioAnalyzer::segmentsFromWindowRMS(windows({{2, 0.0}, {3, 3.0}})),
                   {{0.1, 5 * 0.05 + 0.1, 1.0}});

    // Two bursts far enough apart stay two segments: merging is for the caller.
    const auto two =
        AudioAnalyzer::segmentsFromWindowRMS(windows({{20, 0.3}, {30, 0.0}, {20, 0.3}, {30, 0.0}}));
    ASSERT_EQ(two.size(), 2u);
    EXPECT_DOUBLE_EQ(two[0].start, 0.0);
    EXPECT_DOUBLE_EQ(two[1].start, 2.5);
    EXPECT_LT(two[0].end, two[1].start);
}

TEST(AudioAnalyzerMerge, joinsSegmentsWhoseGapIsBelowTheLimit) {
    EXPECT_TRUE(AudioAnalyzer::mergeSegments({}, 0.5).empty());
    const Segments one{{1, 2, 0.3}};
    EXPECT_EQ(AudioAnalyzer::mergeSegments(one, 10), one);

    struct Case {
        const char* name;
        Segments in;
        double maxGap;
        Segments out;
    };
    const Case cases[] = {
        {"gap below the limit", {{0, 1, 0.2}, {1.25, 2, 0.5}}, 0.5, {{0, 2, 0.5}}},
        {"gap equal to the limit", {{0, 1, 0.2}, {1.5, 2, 0.5}}, 0.5, {{0, 1, 0.2}, {1.5, 2, 0.5}}},
        {"overlap", {{0, 1.5, 0.7}, {1, 2, 0.5}}, 0.0, {{0, 2, 0.7}}},
        {"contained keeps the larger end", {{0, 3, 0.1}, {1, 2, 0.9}}, 0.5, {{0, 3, 0.9}}},
        {"a chain, then one apart",
         {{0, 1, 0.1}, {1.25, 2, 0.2}, {2.25, 3, 0.3}, {5, 6, 0.4}},
         0.5,
         {{0, 3, 0.3}, {5, 6, 0.4}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(AudioAnalyzer::mergeSegments(c.in, c.maxGap), c.out);
    }
}

class AudioAnalyzerFile : public ::testing::Test {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_FFMPEG();
        ASSERT_TRUE(dir.isValid());
    }
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
    QTemporaryDir dir;
};

TEST_F(AudioAnalyzerFile, findsTheBurstsOfTheChosenTrack) {
    // Track 0 a steady quiet tone, track 1 two bursts of speech-like tone, as PCM so that the edges fall
    // exactly on the 0.05 s hops.
    const QString movie = path("two-tracks.mov");
    ASSERT_TRUE(test::ffmpegMake(
        {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral("aevalsrc=0.2*sin(2*PI*440*t):s=48000:d=3.5"), QStringLiteral("-f"),
         QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral(
             "aevalsrc=0.5*sin(2*PI*1000*t)*(between(t\\,0.5\\,1)+between(t\\,2\\,2.5)):s=48000:d=3.5"),
         QStringLiteral("-map"), QStringLiteral("0"), QStringLiteral("-map"), QStringLiteral("1"),
         QStringLiteral("-c:a"), QStringLiteral("pcm_s16le")},
        movie));

    // Each burst reaches half of the window before its start (start - 0.05) and, after its end, the
    // release needs twelve hops from the tone's RMS of 0.354.
    const double toneRMS = 0.5 / std::numbers::sqrt2;
    expectSegments(AudioAnalyzer::analyzeMicTrack(movie, 1), {{0.45, 1.65, toneRMS}, {1.95, 3.15, toneRMS}},
                   0.01);

    // The steady track is one segment from the start, still open at the end: 69 windows in 3.5 s.
    expectSegments(AudioAnalyzer::analyzeMicTrack(movie, 0),
                   {{0.0, 69 * 0.05 + 0.1, 0.2 / std::numbers::sqrt2}}, 0.01);

    EXPECT_TRUE(AudioAnalyzer::analyzeMicTrack(movie, 2).empty());
    EXPECT_TRUE(AudioAnalyzer::analyzeMicTrack(movie, -1).empty());
}

TEST_F(AudioAnalyzerFile, givesNothingForTooLittleAudioOrNoAudioAtAll) {
    auto tone = [](int frames) {
        std::vector<float> s(std::size_t(frames) * 2);
        for (int i = 0; i < frames; ++i)
            s[2 * std::size_t(i)] = s[2 * std::size_t(i) + 1] =
                float(0.5 * std::sin(2 * std::numbers::pi * 1000 * i / 48000.0));
        return s;
    };
    // 0.15 s holds two overlapping windows but not two windows' worth of audio; 0.2 s does.
    ASSERT_TRUE(test::writeWav16(path("short.wav"), tone(7200), 2, 48000));
    EXPECT_TRUE(AudioAnalyzer::analyzeMicTrack(path("short.wav"), 0).empty());
    ASSERT_TRUE(test::writeWav16(path("enough.wav"), tone(9600), 2, 48000));
    expectSegments(AudioAnalyzer::analyzeMicTrack(path("enough.wav"), 0),
                   {{0.0, 3 * 0.05 + 0.1, 0.5 / std::numbers::sqrt2}}, 0.01);

    EXPECT_TRUE(AudioAnalyzer::analyzeMicTrack(path("missing.wav"), 0).empty());
    QFile text(path("notes.txt"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("not audio");
    text.close();
    EXPECT_TRUE(AudioAnalyzer::analyzeMicTrack(path("notes.txt"), 0).empty());

    // A movie without sound.
    ASSERT_TRUE(
        test::ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                          QStringLiteral("color=c=red:s=64x48:d=1"), QStringLiteral("-c:v"),
                          QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast")},
                         path("silent.mov")));
    EXPECT_TRUE(AudioAnalyzer::analyzeMicTrack(path("silent.mov"), 0).empty());
}

} // namespace
} // namespace orvane
