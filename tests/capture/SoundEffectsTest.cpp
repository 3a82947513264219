#include "capture/pulse/SoundEffects.h"

#include "CaptureTestSupport.h"
#include "capture/pulse/PulseRecorder.h"

#include <algorithm>
#include <atomic>
#include <cmath>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

// The pitch over a stretch of a sweep, from its upward zero crossings.
double pitch(const std::vector<float>& samples, double fromSeconds, double seconds) {
    const auto first = std::size_t(fromSeconds * SoundEffects::sampleRate);
    const auto last = std::size_t((fromSeconds + seconds) * SoundEffects::sampleRate);
    int crossings = 0;
    for (std::size_t i = first + 1; i < last; ++i)
        crossings += samples[i - 1] < 0 && samples[i] >= 0;
    return crossings / seconds;
}

class SoundEffectsPlayback : public test::CaptureServers {};

} // namespace

TEST(SoundEffects, TheSweepGlidesBetweenItsPitchesWithoutAClick) {
    const auto up = SoundEffects::sweep(400, 800, 0.15);
    ASSERT_EQ(up.size(), 7200u);
    EXPECT_NEAR(pitch(up, 0.005, 0.03), 440, 25); // the first 35 ms average about 440 Hz
    EXPECT_NEAR(pitch(up, 0.115, 0.03), 760, 25);
    // Fades at both ends, and no jump anywhere in between: a jump is a click.
    EXPECT_LT(std::abs(up.front()), 1e-3f);
    EXPECT_LT(std::abs(up.back()), 1e-2f);
    float largestStep = 0;
    for (std::size_t i = 1; i < up.size(); ++i)
        largestStep = std::max(largestStep, std::abs(up[i] - up[i - 1]));
    const float peak = *std::max_element(up.begin(), up.end());
    EXPECT_GT(peak, 0.3f);
    EXPECT_LT(largestStep, peak * float(2 * M_PI * 800 / 48000) * 1.1f);

    const auto down = SoundEffects::sweep(800, 400, 0.15);
    EXPECT_GT(pitch(down, 0.005, 0.03), pitch(down, 0.115, 0.03));
    EXPECT_TRUE(SoundEffects::sweep(400, 800, 0).empty());
}

TEST_F(SoundEffectsPlayback, ReachesTheSpeakersOrFailsQuietlyWithoutAServer) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    std::atomic<int> loud{0};
    PulseRecorder listener(PulseRecorder::Device::systemAudio, pulse->serverString(), "test.listen",
                           [&](std::span<const float> samples, MediaTime) {
                               loud += int(std::count_if(samples.begin(), samples.end(),
                                                         [](float v) { return std::abs(v) > 0.1f; }));
                           });
    ASSERT_TRUE(listener.start(5s).has_value());
    SoundEffects sounds(pulse->serverString());
    // An idle null sink takes a while to pass sound to a new listener: play until it is heard.
    bool played = true;
    for (int attempt = 0; attempt < 30 && loud == 0 && played; ++attempt) {
        auto playing = sounds.playStart();
        played = playing.result();
        test::processEventsUntil([&] { return loud > 0; }, 100ms);
    }
    EXPECT_TRUE(played);
    EXPECT_GT(loud.load(), 0);

    SoundEffects nowhere("unix:/nonexistent/pulse/native");
    auto silent = nowhere.playStop();
    EXPECT_FALSE(silent.result());
}
