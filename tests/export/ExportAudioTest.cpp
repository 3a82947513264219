// The audio of an export, measured in the files it writes: which tracks reach the result, their
// volumes, the system track ducked while the microphone speaks, and the microphone cleaned up.
#include "ExportTestSupport.h"
#include "common/AllocationCounter.h"
#include "direction/AudioAnalyzer.h"
#include "export/ExportAudioSource.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

class ExportAudioTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!test::haveTool("ffmpeg") || !test::haveTool("ffprobe"))
            return;
        s_bundle = std::make_unique<QTemporaryDir>();
        QDir(s_bundle->path()).mkpath(QStringLiteral("media"));
        // A steady system tone, and a microphone that speaks from 1 s to 2 s.
        s_made = test::makeMovieWithTracks(s_bundle->filePath(QStringLiteral("media/speech.mov")), 4,
                                           {QStringLiteral("0.3*sin(2*PI*440*t)"),
                                            QStringLiteral("0.5*sin(2*PI*1000*t)*between(t\\,1\\,2)")}) &&
                 // A microphone with rumble and presence under a silent system track.
                 test::makeMovieWithTracks(
                     s_bundle->filePath(QStringLiteral("media/rumble.mov")), 2,
                     {QStringLiteral("0"), QStringLiteral("0.3*sin(2*PI*40*t)+0.3*sin(2*PI*3000*t)")}) &&
                 test::makeMovieWithTracks(s_bundle->filePath(QStringLiteral("media/three.mov")), 2,
                                           {QStringLiteral("0.2*sin(2*PI*440*t)"),
                                            QStringLiteral("0.2*sin(2*PI*1000*t)"),
                                            QStringLiteral("0.2*sin(2*PI*2000*t)")}) &&
                 test::makeMovieWithTracks(s_bundle->filePath(QStringLiteral("media/one.mov")), 2,
                                           {QStringLiteral("0.3*sin(2*PI*440*t)")});
    }
    static void TearDownTestSuite() { s_bundle.reset(); }

    void SetUp() override {
        ORVANE_REQUIRE_FFMPEG();
        ASSERT_TRUE(s_made) << "the source movies could not be made";
        ASSERT_TRUE(out.isValid());
    }

    static QString bundlePath() { return s_bundle->path(); }
    static QString source(const char* name) {
        return s_bundle->filePath(QStringLiteral("media/") + QString::fromLatin1(name));
    }

    // Renders the movie with the given audio settings and gives the result's left channel.
    std::vector<float> render(const char* name, double seconds, const AudioConfig& audio) {
        Clip clip =
            test::exportClip(QStringLiteral("media/") + QString::fromLatin1(name), {160, 120}, seconds);
        clip.audio = audio;
        const QString movie = out.filePath(QStringLiteral("mixed.mp4"));
        const test::ExportRun run =
            test::runExport(test::projectWith({clip}), bundlePath(), test::smallExport(movie));
        EXPECT_TRUE(run.result) << test::describe(run).toStdString();
        EXPECT_EQ(test::streamCount(movie, QStringLiteral("a")), 1) << "mixed or not, one track comes out";
        return test::readLeftChannel(movie);
    }

    QTemporaryDir out;
    static inline std::unique_ptr<QTemporaryDir> s_bundle;
    static inline bool s_made = false;
};

TEST_F(ExportAudioTest, duckingLowersTheSystemTrackWhileTheMicrophoneSpeaks) {
    const auto mixed = render("speech.mov", 4, AudioConfig{1, 1, true, false});
    auto system = [&](double from, double to) {
        return test::toneAmplitude(test::slice(mixed, from, to), 440);
    };
    const double before = system(0.2, 0.7);
    EXPECT_NEAR(before, 0.3, 0.03);
    EXPECT_NEAR(system(1.2, 1.8) / before, 0.25, 0.03) << "a quarter of the volume under speech";
    // The speech interval ends after the analyser's release; the ramp back takes 0.1 s more.
    EXPECT_NEAR(system(3.2, 3.8) / before, 1.0, 0.05);
    // The microphone itself is in the mix, at its own volume.
    EXPECT_NEAR(test::toneAmplitude(test::slice(mixed, 1.2, 1.8), 1000), 0.5, 0.05);
    EXPECT_LT(test::toneAmplitude(test::slice(mixed, 0.2, 0.7), 1000), 0.01);
}

TEST_F(ExportAudioTest, plainSettingsPassOnlyTheFirstTrackAlong) {
    const auto passed = render("speech.mov", 4, AudioConfig{1, 1, false, false});
    const double before = test::toneAmplitude(test::slice(passed, 0.2, 0.7), 440);
    EXPECT_NEAR(before, 0.3, 0.03);
    EXPECT_NEAR(test::toneAmplitude(test::slice(passed, 1.2, 1.8), 440) / before, 1.0, 0.05) << "no ducking";
    EXPECT_LT(test::toneAmplitude(test::slice(passed, 1.2, 1.8), 1000), 0.01) << "no microphone";
}

TEST_F(ExportAudioTest, volumesScaleTheSystemTrackAndEveryMicrophoneTrack) {
    const auto mixed = render("three.mov", 2, AudioConfig{0.5, 1.5, false, false});
    const auto settled = test::slice(mixed, 0.3, 1.7);
    EXPECT_NEAR(test::toneAmplitude(settled, 440), 0.1, 0.01);
    EXPECT_NEAR(test::toneAmplitude(settled, 1000), 0.3, 0.02);
    EXPECT_NEAR(test::toneAmplitude(settled, 2000), 0.3, 0.02) << "the third track counts as a microphone";

    const auto muted = render("speech.mov", 4, AudioConfig{0, 1, false, false});
    EXPECT_LT(test::toneAmplitude(test::slice(muted, 0.2, 3.8), 440), 0.005);
    EXPECT_NEAR(test::toneAmplitude(test::slice(muted, 1.2, 1.8), 1000), 0.5, 0.05);
}

TEST_F(ExportAudioTest, noiseSuppressionCutsTheMicrophonesRumbleAndKeepsItsPresence) {
    const auto raw = test::readLeftChannel(source("rumble.mov"), 1);
    const auto cleaned = render("rumble.mov", 2, AudioConfig{1, 1, false, true});
    const auto before = test::slice(raw, 0.5, 1.8);
    const auto after = test::slice(cleaned, 0.5, 1.8);
    EXPECT_NEAR(test::toneAmplitude(before, 40), 0.3, 0.03);
    EXPECT_LT(test::toneAmplitude(after, 40), 0.25 * test::toneAmplitude(before, 40));
    const double presence = test::toneAmplitude(after, 3000) / test::toneAmplitude(before, 3000);
    EXPECT_NEAR(20 * std::log10(presence), 2.0, 0.5);
}

TEST_F(ExportAudioTest, onlyDuckingWithOneTrackTakesTheMixRouteAndDucksNothing) {
    const AudioConfig duckOnly{1, 1, true, false};
    const auto opened = ExportAudioSource::open(source("one.mov"), duckOnly, true);
    ASSERT_TRUE(opened);
    EXPECT_EQ((*opened)->route(), ExportAudioSource::Route::mix);
    EXPECT_TRUE((*opened)->duckingSegments().empty());

    const auto mixed = render("one.mov", 2, duckOnly);
    EXPECT_NEAR(test::toneAmplitude(test::slice(mixed, 0.3, 1.7), 440), 0.3, 0.03);
}

TEST_F(ExportAudioTest, choosesItsRouteFromTheSettingsAndTheTracks) {
    struct Case {
        const char* movie;
        AudioConfig audio;
        bool include;
        ExportAudioSource::Route route;
        int tracks;
    };
    using R = ExportAudioSource::Route;
    for (const Case& c : {Case{"speech.mov", {1, 1, false, false}, true, R::passthrough, 1},
                          Case{"speech.mov", {1, 1, false, false}, false, R::none, 0},
                          Case{"speech.mov", AudioConfig::defaults(), false, R::none, 0},
                          Case{"speech.mov", {0.9, 1, false, false}, true, R::mix, 2},
                          Case{"speech.mov", {1, 0.9, false, false}, true, R::mix, 2},
                          Case{"speech.mov", {1, 1, false, true}, true, R::mix, 2},
                          Case{"three.mov", {1, 1, true, false}, true, R::mix, 3}}) {
        SCOPED_TRACE(testing::Message() << c.movie << " " << int(c.route));
        const auto opened = ExportAudioSource::open(source(c.movie), c.audio, c.include);
        ASSERT_TRUE(opened);
        EXPECT_EQ((*opened)->route(), c.route);
        EXPECT_EQ((*opened)->mixedTrackCount(), c.tracks);
    }
    // The speech the ducking follows: one interval around the burst.
    const auto speech = ExportAudioSource::open(source("speech.mov"), {1, 1, true, false}, true);
    ASSERT_TRUE(speech);
    const auto& segments = (*speech)->duckingSegments();
    ASSERT_EQ(segments.size(), 1u);
    EXPECT_NEAR(segments[0].start, 0.95, 0.06);
    EXPECT_GT(segments[0].end, 2.0);
}

TEST_F(ExportAudioTest, mixingBlocksAllocatesNothingOnceWarm) {
    auto opened = ExportAudioSource::open(source("speech.mov"), AudioConfig::defaults(), true);
    ASSERT_TRUE(opened);
    ExportAudioSource& audio = **opened;
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(audio.read(4800));
    const test::AllocationScope scope;
    std::size_t frames = 0;
    for (int i = 0; i < 20; ++i) {
        auto block = audio.read(4800);
        ASSERT_TRUE(block);
        frames += block->size() / 2;
    }
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_EQ(frames, 20u * 4800);
    EXPECT_EQ(audio.position(), 24 * 4800);
}

TEST(ExportDucking, rampsDownBeforeEachIntervalAndBackUpAfterIt) {
    const std::vector<VoiceActivitySegment> speech{{1.0, 2.0, 0.5}, {0.05, 0.5, 0.5}};
    struct Case {
        double t, gain;
    };
    for (const Case& c :
         {Case{0.0, 1.0}, Case{0.025, 0.625}, Case{0.05, 0.25}, Case{0.5, 0.25}, Case{0.55, 0.625},
          Case{0.6, 1.0}, Case{0.85, 1.0}, Case{0.9, 1.0}, Case{0.95, 0.625}, Case{1.5, 0.25},
          Case{2.0, 0.25}, Case{2.05, 0.625}, Case{2.2, 1.0}})
        EXPECT_NEAR(ExportAudioSource::duckingGain(speech, c.t), c.gain, 1e-9) << c.t;
    // An interval from zero has no ramp in front: it starts ducked.
    EXPECT_NEAR(ExportAudioSource::duckingGain({{0.0, 1.0, 0.5}}, 0.0), 0.25, 1e-9);
    EXPECT_EQ(ExportAudioSource::duckingGain({}, 1.0), 1.0);
}

} // namespace
} // namespace orvane
