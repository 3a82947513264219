#pragma once

#include "JsonFwd.h"
#include "RGBAColor.h"

namespace orvane {

// A soft light around the cursor. Off by default, with the size of a small light ready for when it is
// switched on.
struct SpotlightStyle {
    bool isEnabled = false;
    RGBAColor color{1, 1, 1, 0.15};
    double radius = 60;
    double falloff = 0.6;

    static constexpr SpotlightStyle none() { return {}; }
    static constexpr SpotlightStyle subtle() { return {true, RGBAColor{1, 1, 1, 0.15}, 80, 0.6}; }

    bool operator==(const SpotlightStyle&) const = default;
};

void fromJson(const JsonIn& in, SpotlightStyle& out);
JsonValue toJson(const SpotlightStyle& value);

} // namespace orvane
