#pragma once

#include "JsonFwd.h"

namespace orvane {

// Grain, halation and a slight colour shift that make screen footage look shot on film.
struct FilmLookConfig {
    bool isEnabled = false;
    double grainIntensity = 0.15;
    double grainSize = 2;
    double halation = 0.1;
    double colorShift = 0.05;

    static constexpr FilmLookConfig defaults() { return {}; }

    bool operator==(const FilmLookConfig&) const = default;
};

void fromJson(const JsonIn& in, FilmLookConfig& out);
JsonValue toJson(const FilmLookConfig& value);

} // namespace orvane
