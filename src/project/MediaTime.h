#pragma once

#include <cmath>
#include <cstdint>

namespace orvane {

// A media timestamp as a rational number of seconds: value / timescale. Rational rather than a double so
// that frame times written on a 1/600 clock come back out of a file exactly.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = 1;

    static MediaTime fromSeconds(double seconds, std::int32_t timescale = 90000) {
        return {std::llround(seconds * timescale), timescale};
    }
    double seconds() const { return timescale > 0 ? double(value) / double(timescale) : 0.0; }
    // The same instant on another clock, rounded to the nearest tick (halves away from zero).
    MediaTime rescaled(std::int32_t to) const;

    bool operator==(const MediaTime&) const = default;
};

struct MediaTimeRange {
    MediaTime start;
    MediaTime duration;
    bool operator==(const MediaTimeRange&) const = default;
};

// Compares instants, not representations: 1/2 and 300/600 are the same time. Negative, zero or positive.
int compare(MediaTime a, MediaTime b);

} // namespace orvane
