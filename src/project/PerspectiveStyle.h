#pragma once

#include "JsonFwd.h"

namespace orvane {

// A 3D tilt of the framed recording. Lenient in JSON: every key may be missing.
struct PerspectiveStyle {
    bool isEnabled = false;
    double tiltX = 0;
    double tiltY = 0;
    double depth = 0.35;

    static constexpr PerspectiveStyle defaults() { return {}; }

    bool operator==(const PerspectiveStyle&) const = default;
};

void fromJson(const JsonIn& in, PerspectiveStyle& out);
JsonValue toJson(const PerspectiveStyle& value);

} // namespace orvane
