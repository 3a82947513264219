#include "capture/AudioClockFollower.h"

#include "PulseTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

using namespace orvane;

namespace {

// A device whose crystal runs `ppm` fast or slow against the capture clock, read in 10 ms chunks whose
// stamps wobble by up to `jitter` seconds, as a server's latency reports do.
struct SimulatedDevice {
    double ppm = 0;
    double jitter = 0.003;
    double start = 1000.0;
    std::int64_t frames = 0;
    std::mt19937 random{7};

    double trueTime(std::int64_t frame) const { return start + double(frame) / (48000.0 * (1 + ppm * 1e-6)); }
    double stamp() {
        std::uniform_real_distribution<double> wobble(-jitter, jitter);
        return trueTime(frames) + wobble(random);
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
    std::vector<float> chunk(480 * 2);
    for (int i = 0; i < 480; ++i)
        chunk[std::size_t(i) * 2] = chunk[std::size_t(i) * 2 + 1] =
            float(0.5 * std::sin(2 * std::numbers::pi * 1000 * i / 48000.0));
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
        feed(follower, device, 600, out);
        // Ten minutes in, the next input frame lands where the clock says it was captured. Trusting the
        // nominal rate would be off by ppm * 600 s: 0.18 s at 300 ppm.
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

TEST(AudioClockFollowerTest, JumpsOverLostSamplesInsteadOfBendingThem) {
    AudioClockFollower follower;
    SimulatedDevice device;
    Emitted out;
    feed(follower, device, 2, out);
    const double beforeGap = out.expectedNext;
    // The server loses 300 ms: the next chunk's stamp is that much later than its position says.
    device.start += 0.3;
    Emitted after;
    feed(follower, device, 2, after);
    EXPECT_EQ(follower.resyncCount(), 1);
    EXPECT_NEAR(after.firstTime - beforeGap, 0.3, 0.01);
    EXPECT_LT(std::abs(follower.nextInputOutputTime() - device.trueTime(device.frames)), 0.0015);
}

} // namespace
