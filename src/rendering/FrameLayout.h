#pragma once

#include "project/Clip.h"
#include "project/Geometry.h"

namespace orvane {

// Where the picture goes on the canvas for one zoom rectangle, and how source pixels map onto it. Layout
// is y down on the canvas; `contentUp` and `map` give the y-up forms the image model speaks.
struct FrameLayout {
    Size canvas;
    NormalizedRect zoom;
    Rect source;    // the zoom rectangle in source pixels, y down
    Rect available; // the canvas less its padding
    Rect frame;     // the picture's rectangle before any chrome took its bar from it
    Rect content;   // where the picture goes; chrome may have shrunk it from `frame`

    // The padding and aspect rules; `content` starts equal to `frame`.
    static FrameLayout make(const Clip& clip, const NormalizedRect& zoom, Size canvas);

    // The content rectangle flipped to y up.
    Rect contentUp() const {
        return {content.minX(), canvas.height - content.maxY(), content.width, content.height};
    }
    // A source pixel position on the canvas, y up. Not clipped: a point outside the zoomed picture lands
    // outside the content rectangle, or off the canvas.
    Point map(Point sourcePoint) const {
        const Point p = mapTopDown(sourcePoint);
        return {p.x, canvas.height - p.y};
    }
    // The same with the origin at the top left.
    Point mapTopDown(Point sourcePoint) const {
        const double u = (sourcePoint.x - source.minX()) / source.width;
        const double v = (sourcePoint.y - source.minY()) / source.height;
        return {content.minX() + u * content.width, content.minY() + v * content.height};
    }
};

} // namespace orvane
