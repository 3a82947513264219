#pragma once

#include "project/BackgroundStyle.h"
#include "project/CursorStyle.h"
#include "project/Geometry.h"
#include "project/RGBAColor.h"

#include <cmath>
#include <cstdint>
#include <functional>

namespace orvane {

// Whole-number keys of the compositor's bitmap caches. Doubles become integers by truncation toward zero,
// so sizes and angles share a bitmap within half or whole units. A value that is not finite, or too large
// for 64 bits, is pinned to the nearest representable key instead of reaching the conversion.
inline std::int64_t truncatedKey(double v) {
    if (!std::isfinite(v))
        return 0;
    return std::int64_t(std::clamp(v, -9.0e18, 9.0e18));
}

// One colour packed as (r << 24) | (g << 16) | (b << 8) | a, each channel times 255, truncated.
inline std::int64_t colorHash(const RGBAColor& c) {
    return (truncatedKey(c.r * 255) << 24) | (truncatedKey(c.g * 255) << 16) |
           (truncatedKey(c.b * 255) << 8) | truncatedKey(c.a * 255);
}

struct MaskCacheKey {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t radius = 0;
    bool operator==(const MaskCacheKey&) const = default;
};

struct CursorCacheKey {
    CursorShape shape = CursorShape::arrow;
    std::int64_t sizeX2 = 0;
    std::int64_t colorHash = 0;
    std::int64_t rotationX2 = 0;
    bool operator==(const CursorCacheKey&) const = default;
};

struct RingCacheKey {
    std::int64_t outerRadius = 0; // twice the radius
    std::int64_t thickness = 0;   // twice the thickness
    std::int64_t r = 0;
    std::int64_t g = 0;
    std::int64_t b = 0;
    std::int64_t a = 0;
    bool operator==(const RingCacheKey&) const = default;
};

struct ShadowCacheKey {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t radius = 0;
    std::int64_t cornerRadius = 0;
    std::int64_t opacity = 0; // times 100
    bool operator==(const ShadowCacheKey&) const = default;
};

struct SolidCircleCacheKey {
    std::int64_t radiusX2 = 0;
    std::int64_t colorHash = 0;
    bool operator==(const SolidCircleCacheKey&) const = default;
};

struct BackgroundCacheKey {
    BackgroundStyle style;
    Size size;
    bool operator==(const BackgroundCacheKey&) const = default;
};

// Field-by-field hashing of the keys above.
struct CacheKeyHash {
    static std::size_t mix(std::initializer_list<std::int64_t> fields) {
        std::uint64_t h = 0xCBF29CE484222325ull;
        for (std::int64_t v : fields)
            h = (h ^ std::uint64_t(v)) * 0x100000001B3ull + (h >> 31);
        return std::size_t(h);
    }
    std::size_t operator()(const MaskCacheKey& k) const noexcept {
        return mix({k.width, k.height, k.radius});
    }
    std::size_t operator()(const CursorCacheKey& k) const noexcept {
        return mix({std::int64_t(k.shape), k.sizeX2, k.colorHash, k.rotationX2});
    }
    std::size_t operator()(const RingCacheKey& k) const noexcept {
        return mix({k.outerRadius, k.thickness, k.r, k.g, k.b, k.a});
    }
    std::size_t operator()(const ShadowCacheKey& k) const noexcept {
        return mix({k.width, k.height, k.radius, k.cornerRadius, k.opacity});
    }
    std::size_t operator()(const SolidCircleCacheKey& k) const noexcept {
        return mix({k.radiusX2, k.colorHash});
    }
};

} // namespace orvane
