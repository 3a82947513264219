#include "FrameLayout.h"

#include <algorithm>

namespace orvane {

FrameLayout FrameLayout::make(const Clip& clip, const NormalizedRect& z, Size canvas) {
    FrameLayout l;
    l.canvas = canvas;
    l.zoom = z;
    const double sw = clip.sourceSize.width;
    const double sh = clip.sourceSize.height;
    l.source = {z.x * sw, z.y * sh, z.width * sw, z.height * sh};

    const double p = clip.frame.paddingFraction;
    const double W = canvas.width;
    const double H = canvas.height;
    l.available = {p * W, p * H, W * (1 - 2 * p), H * (1 - 2 * p)};
    const Rect& A = l.available;

    // The zoom rectangle's aspect, not the source's, shapes the picture: a zoom of another aspect changes
    // the content rectangle from frame to frame.
    const double a = l.source.width / std::max(l.source.height, 1.0);
    const double b = A.height < 1 ? A.width : A.width / A.height;
    if (b < a) {
        const double h = A.width / std::max(a, 0.0001);
        l.frame = {A.minX(), A.midY() - h / 2, A.width, h};
    } else {
        const double w = a * A.height;
        l.frame = {A.midX() - w / 2, A.minY(), w, A.height};
    }
    l.content = l.frame;
    return l;
}

} // namespace orvane
