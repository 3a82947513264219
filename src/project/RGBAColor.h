#pragma once

#include "Lerp.h"

#include <QStringView>

#include <optional>

namespace orvane {

// Straight (not premultiplied) alpha, each channel meant in 0...1.
struct RGBAColor {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;

    static constexpr RGBAColor black() { return {0, 0, 0, 1}; }
    static constexpr RGBAColor white() { return {1, 1, 1, 1}; }
    static constexpr RGBAColor clear() { return {0, 0, 0, 0}; }

    // "#RRGGBB", "RRGGBB" or "RRGGBBAA"; any other form gives none.
    static std::optional<RGBAColor> fromHex(QStringView hex);

    // The four channels as the render pipeline takes them.
    Float4 simd() const { return {float(r), float(g), float(b), float(a)}; }

    bool operator==(const RGBAColor&) const = default;
};

inline RGBAColor lerp(const RGBAColor& x, const RGBAColor& y, double t) {
    return {lerp(x.r, y.r, t), lerp(x.g, y.g, t), lerp(x.b, y.b, t), lerp(x.a, y.a, t)};
}

} // namespace orvane

#include "JsonFwd.h"

namespace orvane {
void fromJson(const JsonIn& in, RGBAColor& out);
JsonValue toJson(const RGBAColor& value);
} // namespace orvane
