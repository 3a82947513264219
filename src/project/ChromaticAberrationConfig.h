#pragma once

#include "JsonFwd.h"

namespace orvane {

// Splits the colour channels apart by `strength` pixels, by default only while the camera zooms, where
// it reads as lens motion rather than as a fault.
struct ChromaticAberrationConfig {
    bool isEnabled = false;
    double strength = 3;
    bool onlyDuringZoom = true;

    static constexpr ChromaticAberrationConfig defaults() { return {}; }

    bool operator==(const ChromaticAberrationConfig&) const = default;
};

void fromJson(const JsonIn& in, ChromaticAberrationConfig& out);
JsonValue toJson(const ChromaticAberrationConfig& value);

} // namespace orvane
