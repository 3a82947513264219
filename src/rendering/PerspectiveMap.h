#pragma once

#include "project/Geometry.h"

namespace orvane {

// Carries a canvas point (y up) from the flat picture to where the perspective tilt put it: bilinear
// between the four warped corners. It approximates the projective warp closely enough for a cursor.
struct PerspectiveMap {
    Rect source; // the flat picture's rectangle, y up
    Point topLeft;
    Point topRight;
    Point bottomLeft;
    Point bottomRight;

    Point operator()(Point p) const {
        const double u = (p.x - source.minX()) / std::max(source.width, 1.0);
        const double v = (p.y - source.minY()) / std::max(source.height, 1.0);
        const Point bottom = bottomLeft * (1 - u) + bottomRight * u;
        const Point top = topLeft * (1 - u) + topRight * u;
        return bottom * (1 - v) + top * v;
    }
    bool operator==(const PerspectiveMap&) const = default;
};

} // namespace orvane
