// Compositor: the cursor and the click rings.
#include "Compositor.h"
#include "CursorRenderer.h"
#include "ImageOps.h"
#include "capture/CursorSmoothing.h"

#include <QPainter>

#include <cmath>

namespace orvane {

namespace {

// A small tilt in the direction of travel: measured from straight up, 0.18 of the heading, at most 6
// degrees either way; none while the cursor barely moves.
double cursorTilt(const CursorTrack& track, ProjectTime t) {
    const std::optional<Point> v = CursorSmoothing::velocity(track, t);
    if (!v || !(std::hypot(v->x, v->y) > 4))
        return 0;
    const double heading = std::atan2(v->x, -v->y) * 180 / M_PI;
    return std::clamp(heading * 0.18, -6.0, 6.0);
}

bool isFinite(Point p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

} // namespace

void Compositor::drawCursor(Image& canvas, const Clip& clip, ProjectTime time, const CursorTrack& cursor,
                            const FrameLayout& layout, const std::optional<PerspectiveMap>& warp) {
    const std::optional<Point> sample = CursorSmoothing::sample(cursor, time);
    if (!sample)
        return;
    Point at = layout.map(*sample);
    if (warp)
        at = (*warp)(at);
    const CursorStyle& style = clip.cursor;
    const double rotation = style.rotationEnabled ? cursorTilt(cursor, time) : 0.0;
    // Canvas pixels: neither the zoom nor the canvas size scales the cursor.
    const double size = style.scale * 36;
    if (!isFinite(at) || !std::isfinite(size))
        return;

    const CursorCacheKey key{style.shape, truncatedKey(2 * size), colorHash(style.color),
                             truncatedKey(2 * rotation)};
    Image image;
    {
        std::lock_guard lock(m_cacheLock);
        if (const Image* hit = m_cursorCache.find(key)) {
            ++m_statistics.cursorHits;
            image = *hit;
        } else {
            ++m_statistics.cursorMisses;
        }
    }
    if (image.isNull()) {
        // Drawn, or fetched from the process-wide cache, outside this compositor's lock.
        std::optional<Image> drawn = CursorRenderer::render(style.shape, size, style.color, rotation);
        if (!drawn)
            return;
        image = std::move(*drawn);
        std::lock_guard lock(m_cacheLock);
        m_cursorCache.insert(key, image);
    }
    // The hot spot is a fraction of the padded, rotated bitmap, not of the shape's box.
    const Point hot = CursorRenderer::hotspot(style.shape);
    const double iw = image.width();
    const double ih = image.height();
    image.setOrigin({at.x - hot.x * iw, at.y - (1 - hot.y) * ih});
    imageops::compositeOver(canvas, image, &m_resampler);
}

void Compositor::drawRipples(Image& canvas, const Clip& clip, ProjectTime time, const EventTrack& events,
                             const FrameLayout& layout) {
    const ClickRippleStyle& style = clip.cursor.clickRipple;
    ClickRippleEngine::ripples(events, time, style, m_ripples);
    for (const ActiveRipple& ripple : m_ripples) {
        // Through the point map only: the ring follows the picture but keeps its canvas size.
        const Point at = layout.map(Point{ripple.originX, ripple.originY});
        if (!isFinite(at))
            continue;
        Image ring = ringCircle(ripple.radius, style.thickness,
                                RGBAColor{style.color.r, style.color.g, style.color.b, ripple.opacity});
        if (ring.isNull())
            continue;
        ring.setOrigin({at.x - ripple.radius, at.y - ripple.radius});
        imageops::compositeOver(canvas, ring, &m_resampler);
    }
}

Image Compositor::ringCircle(double outerRadius, double thickness, const RGBAColor& color) {
    const RingCacheKey key{truncatedKey(2 * outerRadius), truncatedKey(2 * thickness),
                           truncatedKey(color.r * 255),   truncatedKey(color.g * 255),
                           truncatedKey(color.b * 255),   truncatedKey(color.a * 255)};
    {
        std::lock_guard lock(m_cacheLock);
        if (const Image* hit = m_ringCache.find(key)) {
            ++m_statistics.ringHits;
            return *hit;
        }
        ++m_statistics.ringMisses;
    }
    const std::int64_t side = std::max<std::int64_t>(truncatedKey(2 * outerRadius), 1);
    if (side > (1 << 14))
        return {};
    Image ring = Image::cleared(int(side), int(side));
    if (ring.isNull())
        return ring; // a clear image would be drawn: nothing
    {
        QImage target = ring.paintableView();
        QPainter painter(&target);
        painter.setRenderHint(QPainter::Antialiasing);
        QPen pen(QColor::fromRgbF(float(std::clamp(color.r, 0.0, 1.0)), float(std::clamp(color.g, 0.0, 1.0)),
                                  float(std::clamp(color.b, 0.0, 1.0)), float(std::clamp(color.a, 0.0, 1.0))),
                 thickness);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        const double inset = thickness / 2;
        painter.drawEllipse(QRectF(inset, inset, double(side) - thickness, double(side) - thickness));
    }
    std::lock_guard lock(m_cacheLock);
    m_ringCache.insert(key, ring);
    return ring;
}

} // namespace orvane
