#pragma once

#include "Image.h"
#include "project/CursorStyle.h"
#include "project/Geometry.h"
#include "project/RGBAColor.h"

#include <cstdint>
#include <optional>

namespace orvane {

// Draws the vector cursor shapes into small bitmaps, and keeps one cache of them for the whole process,
// so a new compositor (each export makes one) finds the cursors the preview already drew.
//
// Thread-safe: the cache has its own lock, taken only around lookups and inserts, never while drawing.
class CursorRenderer {
public:
    struct CacheKey {
        CursorShape shape = CursorShape::arrow;
        std::int64_t sizeQuant = 0; // round(2 * size)
        std::int64_t r = 0;         // round(component * 255)
        std::int64_t g = 0;
        std::int64_t b = 0;
        std::int64_t a = 0;
        std::int64_t rotationQuant = 0; // round(2 * degrees)
        static CacheKey make(CursorShape shape, double size, const RGBAColor& color, double rotation);
        bool operator==(const CacheKey&) const = default;
    };
    static constexpr std::size_t cacheBound = 257;

    // Through the process-wide cache; none when the bitmap can't be made.
    static std::optional<Image> render(CursorShape shape, double size, const RGBAColor& color,
                                       double rotation);
    // The drawing itself: a square bitmap with room around the shape for its shadow and for rotation.
    // `rotation` is in degrees, clockwise on the screen for a positive angle.
    static std::optional<Image> renderUncached(CursorShape shape, double size, const RGBAColor& color,
                                               double rotation);
    // The point of the bitmap that sits on the pointer position, as fractions of the whole bitmap from
    // its top-left corner.
    static Point hotspot(CursorShape shape);
    static void clearCache();
    static std::size_t cacheCount();
};

} // namespace orvane
