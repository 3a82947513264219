#pragma once

#include "project/MediaTime.h"

#include <chrono>

namespace orvane {

// The one clock of a recording: video frames, audio buffers and telemetry are all stamped from the
// monotonic clock (CLOCK_MONOTONIC, which std::chrono::steady_clock reads on Linux and which PulseAudio's
// timing also uses), so nothing has to be translated between clocks and nothing drifts apart.
namespace captureClock {

using Clock = std::chrono::steady_clock;

// Timestamps in microseconds: fine enough for 48 kHz audio placement, and the int32 timescale holds it.
constexpr std::int32_t timescale = 1'000'000;

inline MediaTime toMediaTime(Clock::time_point t) {
    return {std::chrono::duration_cast<std::chrono::microseconds>(t.time_since_epoch()).count(), timescale};
}
inline MediaTime fromSeconds(double seconds) {
    return MediaTime::fromSeconds(seconds, timescale);
}
inline double seconds(Clock::time_point t) {
    return std::chrono::duration<double>(t.time_since_epoch()).count();
}
inline MediaTime now() {
    return toMediaTime(Clock::now());
}
inline double nowSeconds() {
    return seconds(Clock::now());
}

} // namespace captureClock

} // namespace orvane
