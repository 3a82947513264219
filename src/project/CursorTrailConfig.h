#pragma once

#include "JsonFwd.h"
#include "RGBAColor.h"

namespace orvane {

// Particles left behind the moving cursor. `trailLength` is how long a particle lives, in frames at 60
// a second, and `trailWidth` in pixels sets how far they scatter.
struct CursorTrailConfig {
    bool isEnabled = false;
    int trailLength = 15;
    double trailWidth = 4;
    RGBAColor color = RGBAColor{0.7, 0.38, 1, 0.7};
    bool fadeOut = true;
    bool glow = true;

    static constexpr CursorTrailConfig defaults() { return {}; }

    bool operator==(const CursorTrailConfig&) const = default;
};

void fromJson(const JsonIn& in, CursorTrailConfig& out);
JsonValue toJson(const CursorTrailConfig& value);

} // namespace orvane
