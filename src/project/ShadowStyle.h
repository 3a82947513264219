#pragma once

#include "JsonFwd.h"
#include "RGBAColor.h"

namespace orvane {

// A drop shadow. The presets differ in size and strength; `none` keeps the size of `premium` and only
// drops the opacity, so turning a shadow back on gives a usable one.
struct ShadowStyle {
    RGBAColor color = RGBAColor::black();
    double radius = 60;
    double offsetX = 0;
    double offsetY = 24;
    double opacity = 0.45;

    static constexpr ShadowStyle none() { return {RGBAColor::black(), 60, 0, 24, 0}; }
    static constexpr ShadowStyle subtle() { return {RGBAColor::black(), 20, 0, 8, 0.25}; }
    static constexpr ShadowStyle premium() { return {RGBAColor::black(), 60, 0, 24, 0.45}; }
    static constexpr ShadowStyle dramatic() { return {RGBAColor::black(), 100, 0, 40, 0.65}; }

    bool operator==(const ShadowStyle&) const = default;
};

void fromJson(const JsonIn& in, ShadowStyle& out);
JsonValue toJson(const ShadowStyle& value);

} // namespace orvane
