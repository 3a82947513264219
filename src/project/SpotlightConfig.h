#pragma once

#include "JsonFwd.h"

namespace orvane {

// Dims everything but a soft circle, by default around the cursor. The radius is a fraction of the
// canvas width and the feather a fraction of that radius.
struct SpotlightConfig {
    bool isEnabled = false;
    double radius = 0.15;
    double dimOpacity = 0.6;
    double feather = 0.3;
    bool followsCursor = true;

    static constexpr SpotlightConfig defaults() { return {}; }

    bool operator==(const SpotlightConfig&) const = default;
};

void fromJson(const JsonIn& in, SpotlightConfig& out);
JsonValue toJson(const SpotlightConfig& value);

} // namespace orvane
