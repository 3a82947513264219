#pragma once

#include "Geometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>

namespace orvane {

// Interpolation rules of every value a keyframe can hold. `t` is never clamped: values outside 0...1
// extrapolate, which is how the spring easing overshoots its target.
inline double lerp(double a, double b, double t) {
    return a + (b - a) * t;
}
inline float lerp(float a, float b, double t) {
    return a + (b - a) * static_cast<float>(t);
}
inline Point lerp(Point a, Point b, double t) {
    return {lerp(a.x, b.x, t), lerp(a.y, b.y, t)};
}
inline NormalizedPoint lerp(const NormalizedPoint& a, const NormalizedPoint& b, double t) {
    return {lerp(a.x, b.x, t), lerp(a.y, b.y, t)};
}
inline NormalizedRect lerp(const NormalizedRect& a, const NormalizedRect& b, double t) {
    return {lerp(a.x, b.x, t), lerp(a.y, b.y, t), lerp(a.width, b.width, t), lerp(a.height, b.height, t)};
}
using Float4 = std::array<float, 4>;
inline Float4 lerp(const Float4& a, const Float4& b, double t) {
    return {lerp(a[0], b[0], t), lerp(a[1], b[1], t), lerp(a[2], b[2], t), lerp(a[3], b[3], t)};
}

template <class T>
concept Lerpable = std::equality_comparable<T> && requires(const T& a, const T& b, double t) {
    { lerp(a, b, t) } -> std::same_as<T>;
};

// min(max(x, lo), hi): when the bounds cross, `hi` wins.
template <class T>
constexpr T clamp(T x, T lo, T hi) {
    return std::min(std::max(x, lo), hi);
}

// Polynomial smooth minimum: equal to min(a, b) when they are at least `k` apart, rounded below it
// when they are closer.
inline double smoothMin(double a, double b, double k) {
    const double h = std::max(k - std::abs(a - b), 0.0) / k;
    return std::min(a, b) - h * h * k * 0.25;
}

} // namespace orvane
