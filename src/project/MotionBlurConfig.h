#pragma once

#include "JsonFwd.h"

#include <algorithm>

namespace orvane {

// How strongly each kind of motion smears the frame; 0 turns that kind off.
struct MotionBlurConfig {
    double cursorStrength = 0;
    double zoomStrength = 0;
    double panStrength = 0;

    static constexpr MotionBlurConfig defaults() { return {}; }
    static constexpr MotionBlurConfig glassStage() { return {0.4, 0.5, 0.3}; }

    // Negative strengths are not a reverse blur; they count as off.
    constexpr bool isEnabled() const { return std::max({cursorStrength, zoomStrength, panStrength}) > 0; }

    bool operator==(const MotionBlurConfig&) const = default;
};

void fromJson(const JsonIn& in, MotionBlurConfig& out);
JsonValue toJson(const MotionBlurConfig& value);

} // namespace orvane
