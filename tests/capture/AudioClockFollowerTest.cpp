#include "capture/AudioClockFollower.h"

#include "PulseTestSupport.h"
#include "common/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

using namespace orvane;

namespace {

// A device whose crystal runs `ppm` fast or slow against the capture clock, read in 10 ms chunks by a
// thread that is not always scheduled at once: each stamp is late by up to `jitter` seconds, and now and
// then (one chunk in `stallEvery`) by `stall`.
struct SimulatedDevice {
    double ppm = 0;
    double jitter = 0.003;
    int stallEvery = 0;
    double stall = 0;
    double start = 1000.0;
    std::int64_t frames = 0;
    std::int64_t chunks = 0;
    std::mt19937 random{7};

    double trueTime(std::int64_t frame) const { return start + double(frame) / (48000.0 * (1 + ppm * 1e-6)); }
    double stamp() {
        std::uniform_real_distribution<double> late(0, jitter);
        const bool stalled = stallEvery > 0 && ++chunks % stallEvery == 0;
        return trueTime(frames) + late(random) + (stalled ? stall : 0);
    }
};

struct Emitted {
    std::int64_t frames = 0;
    double firstTime = 0;
    double expectedNext = 0;
    double worstGap = 0;
    bool any = false;
};

void feed(AudioClockFollower& follower, SimulatedDevice& device, double seconds, Emitted& out,
          std::vector<float>* keep = nullptr) {
    // Ten whole periods of 1 kHz: every chunk is the same.
    static const std::vector<float> chunk = [] {
        std::vector<float> samples(480 * 2);
        for (int i = 0; i < 480; ++i)
            samples[std::size_t(i) * 2] = samples[std::size_t(i) * 2 + 1] =
                float(0.5 * std::sin(2 * std::numbers::pi * 1000 * i / 48000.0));
        return samples;
    }();
    const auto chunks = std::int64_t(seconds * 100);
    for (std::int64_t c = 0; c < chunks; ++c) {
        follower.push(chunk, device.stamp(), [&](std::span<const float> samples, double time) {
            if (out.any)
                out.worstGap = std::max(out.worstGap, std::abs(time - out.expectedNext));
            else
                out.firstTime = time;
            out.any = true;
            out.frames += std::int64_t(samples.size() / 2);
            out.expectedNext = time + double(samples.size() / 2) / 48000.0;
            if (keep)
                keep->insert(keep->end(), samples.begin(), samples.end());
        });
        device.frames += 480;
    }
}

TEST(AudioClockFollowerTest, FollowsTheCaptureClockNotTheDevicesCrystal) {
    for (double ppm : {-800.0, 0.0, 300.0, 2000.0}) {
        AudioClockFollower follower;
        SimulatedDevice device;
        device.ppm = ppm;
        Emitted out;
        feed(follower, device, 300, out);
        // Five minutes in, the next input frame lands where the clock says it was captured. Trusting the
        // nominal rate would be off by ppm * 300 s: 90 ms at 300 ppm.
        const double error = follower.nextInputOutputTime() - device.trueTime(device.frames);
        EXPECT_LT(std::abs(error), 0.0015) << ppm << " ppm";
        // The output runs at 48,000 samples per clock second: its stamps cover the clock time fed.
        const double covered = out.expectedNext - out.firstTime;
        EXPECT_NEAR(covered, device.trueTime(device.frames) - device.start, 0.005) << ppm << " ppm";
        // Gapless: each piece starts where the previous one ended.
        EXPECT_LT(out.worstGap, 1e-9) << ppm << " ppm";
        EXPECT_EQ(follower.resyncCount(), 0);
        // A fast crystal gives too many samples: the output is squeezed.
        EXPECT_NEAR(follower.correction(), -ppm * 1e-6, 150e-6) << ppm << " ppm";
    }
}

TEST(AudioClockFollowerTest, TheStretchLeavesTheSoundAlone) {
    AudioClockFollower follower;
    SimulatedDevice device;
    device.ppm = 500;
    Emitted out;
    std::vector<float> samples;
    feed(follower, device, 20, out, &samples);
    // The end is still a clean tone at full level, only 500 ppm higher, as the device's fast crystal made
    // it: no clicks, no second tone. A tenth of a second is short enough for the shift not to matter.
    const std::size_t window = 4800;
    const float* tail = samples.data() + samples.size() - window * 2;
    EXPECT_NEAR(test::toneLevel(tail, window, 1000), 0.5 / std::numbers::sqrt2, 0.01);
    EXPECT_LT(test::toneLevel(tail, window, 1500), 0.005);
}

TEST(AudioClockFollowerTest, LateReadsDoNotMoveTheSound) {
    // Stamps up to 30 ms late, and a 150 ms stall every two seconds: the sound stays where it was captured,
    // and no stall is taken for lost samples.
    AudioClockFollower follower;
    SimulatedDevice device;
    device.jitter = 0.03;
    device.stallEvery = 200;
    device.stall = 0.15;
    Emitted out;
    feed(follower, device, 30, out);
    // Past its start, following the clock costs no allocation.
    const test::AllocationScope scope;
    feed(follower, device, 30, out);
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_EQ(follower.resyncCount(), 0);
    EXPECT_LT(std::abs(follower.nextInputOutputTime() - device.trueTime(device.frames)), 0.002);
    EXPECT_LT(std::abs(follower.correction()), 0.0002);
}

TEST(AudioClockFollowerTest, JumpsOverLostSamplesInsteadOfBendingThem) {
    AudioClockFollower follower;
    SimulatedDevice device;
    Emitted out;
    feed(follower, device, 2, out);
    EXPECT_LT(out.worstGap, 1e-9);
    // The server loses 300 ms: from now on every stamp is that much later than its position says.
    device.start += 0.3;
    feed(follower, device, 2, out);
    EXPECT_EQ(follower.resyncCount(), 1);
    EXPECT_NEAR(out.worstGap, 0.3, 0.005);
    EXPECT_LT(std::abs(follower.nextInputOutputTime() - device.trueTime(device.frames)), 0.004);

    // A clock that goes back is followed at once.
    device.start -= 0.5;
    const double before = follower.nextInputOutputTime();
    feed(follower, device, 0.05, out);
    EXPECT_EQ(follower.resyncCount(), 2);
    EXPECT_LT(follower.nextInputOutputTime(), before);
}

} // namespace
