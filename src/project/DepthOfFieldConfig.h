#pragma once

#include "JsonFwd.h"

namespace orvane {

// A shallow focus: a circle around the cursor stays sharp and the rest blurs. The focus radius is a
// fraction of the canvas width, the blur radius is in pixels, and `falloff` stretches the soft edge.
struct DepthOfFieldConfig {
    bool isEnabled = false;
    double focusRadius = 0.15;
    double blurRadius = 20;
    double falloff = 1.5;

    static constexpr DepthOfFieldConfig defaults() { return {}; }

    bool operator==(const DepthOfFieldConfig&) const = default;
};

void fromJson(const JsonIn& in, DepthOfFieldConfig& out);
JsonValue toJson(const DepthOfFieldConfig& value);

} // namespace orvane
