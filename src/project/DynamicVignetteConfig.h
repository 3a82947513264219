#pragma once

#include "JsonFwd.h"

namespace orvane {

// Darkens the frame's edges; with `followsCursor` the bright centre moves with the cursor.
struct DynamicVignetteConfig {
    bool isEnabled = false;
    double intensity = 0.6;
    double radius = 0.4;
    bool followsCursor = true;

    static constexpr DynamicVignetteConfig defaults() { return {}; }

    bool operator==(const DynamicVignetteConfig&) const = default;
};

void fromJson(const JsonIn& in, DynamicVignetteConfig& out);
JsonValue toJson(const DynamicVignetteConfig& value);

} // namespace orvane
