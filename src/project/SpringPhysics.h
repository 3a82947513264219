#pragma once

#include "JsonFwd.h"

#include <cmath>
#include <numbers>

namespace orvane {

// A spring described the way motion designers tune it. Stored for the editor; the `spring` easing kind
// does not read it.
struct SpringPhysics {
    double tension = 170;
    double friction = 26;
    double mass = 1;

    static constexpr SpringPhysics defaults() { return SpringPhysics{}; }

    double response() const { return 2 * std::numbers::pi * std::sqrt(mass / tension); }
    double dampingFraction() const { return friction / (2 * std::sqrt(tension * mass)); }

    bool operator==(const SpringPhysics&) const = default;
};

void fromJson(const JsonIn& in, SpringPhysics& out);
JsonValue toJson(const SpringPhysics& value);

} // namespace orvane
