#include "CursorRenderer.h"

#include "ImageOps.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <mutex>
#include <unordered_map>

namespace orvane {

namespace {

std::int64_t roundKey(double v) {
    // Keys come from sizes, colours and angles; anything not finite or absurd is pinned rather than cast.
    if (!std::isfinite(v))
        return 0;
    return std::llround(std::clamp(v, -1e15, 1e15));
}

struct CacheKeyHash {
    std::size_t operator()(const CursorRenderer::CacheKey& k) const noexcept {
        std::uint64_t h = std::uint64_t(k.shape) * 0x9E3779B97F4A7C15ull;
        for (std::int64_t v : {k.sizeQuant, k.r, k.g, k.b, k.a, k.rotationQuant})
            h = (h ^ std::uint64_t(v)) * 0x100000001B3ull + (h >> 29);
        return std::size_t(h);
    }
};

struct ProcessCache {
    ProcessCache() { (void)ImagePool::shared(); } // the pool must outlive the cached images
    std::mutex cursorCacheLock;                   // guards `images`
    std::unordered_map<CursorRenderer::CacheKey, Image, CacheKeyHash> images;
};

ProcessCache& processCache() {
    static ProcessCache cache;
    return cache;
}

using Box = QRectF;

// A rectangle in the unit box, scaled to the shape's box of side s.
QRectF unit(double s, double x, double y, double w, double h) {
    return {x * s, y * s, w * s, h * s};
}

void addRounded(QPainterPath& p, double s, double x, double y, double w, double h, double rx, double ry) {
    p.addRoundedRect(unit(s, x, y, w, h), rx * s, ry * s);
}

void addPolygon(QPainterPath& p, double s, std::initializer_list<QPointF> points) {
    QPolygonF polygon;
    for (const QPointF& q : points)
        polygon << QPointF(q.x() * s, q.y() * s);
    p.addPolygon(polygon);
    p.closeSubpath();
}

QPainterPath shapePath(CursorShape shape, double s) {
    QPainterPath p;
    p.setFillRule(Qt::WindingFill);
    switch (shape) {
    case CursorShape::arrow:
        addPolygon(
            p, s,
            {{0.08, 0.06}, {0.08, 0.78}, {0.28, 0.6}, {0.44, 0.92}, {0.56, 0.86}, {0.4, 0.56}, {0.62, 0.5}});
        break;
    case CursorShape::hand:
        addRounded(p, s, 0.22, 0.45, 0.5, 0.48, 0.1, 0.1);
        addRounded(p, s, 0.36, 0.05, 0.16, 0.48, 0.08, 0.08);
        addRounded(p, s, 0.12, 0.55, 0.16, 0.24, 0.08, 0.08);
        break;
    case CursorShape::iBeam:
        p.addRect(unit(s, 0.44, 0.15, 0.12, 0.7));
        addPolygon(p, s,
                   {{0.26, 0.08},
                    {0.74, 0.08},
                    {0.74, 0.22},
                    {0.58, 0.22},
                    {0.58, 0.15},
                    {0.42, 0.15},
                    {0.42, 0.22},
                    {0.26, 0.22}});
        addPolygon(p, s,
                   {{0.26, 0.78},
                    {0.42, 0.78},
                    {0.42, 0.85},
                    {0.58, 0.85},
                    {0.58, 0.78},
                    {0.74, 0.78},
                    {0.74, 0.92},
                    {0.26, 0.92}});
        break;
    case CursorShape::crosshair:
        p.addRect(unit(s, 0.05, 0.5 - 0.05, 0.9, 0.1));
        p.addRect(unit(s, 0.5 - 0.05, 0.05, 0.1, 0.9));
        break;
    case CursorShape::openHand:
        addRounded(p, s, 0.14, 0.45, 0.72, 0.5, 0.14, 0.14);
        for (int k = 0; k < 4; ++k)
            addRounded(p, s, 0.2 + k * 0.16, 0.06, 0.13, 0.42, 0.065, 0.065);
        addRounded(p, s, 0.04, 0.58, 0.14, 0.28, 0.07, 0.07);
        break;
    case CursorShape::closedHand:
        addRounded(p, s, 0.16, 0.28, 0.68, 0.66, 0.18, 0.18);
        p.addEllipse(unit(s, 0.25, 0.18, 0.18, 0.22));
        p.addEllipse(unit(s, 0.48, 0.18, 0.18, 0.22));
        addRounded(p, s, 0.04, 0.45, 0.16, 0.26, 0.08, 0.08);
        break;
    case CursorShape::resizeH:
        p.addRect(unit(s, 0.18, 0.42, 0.64, 0.16));
        addPolygon(p, s, {{0.04, 0.5}, {0.22, 0.3}, {0.22, 0.7}});
        addPolygon(p, s, {{0.96, 0.5}, {0.78, 0.3}, {0.78, 0.7}});
        break;
    case CursorShape::resizeV:
        p.addRect(unit(s, 0.42, 0.18, 0.16, 0.64));
        addPolygon(p, s, {{0.5, 0.04}, {0.3, 0.22}, {0.7, 0.22}});
        addPolygon(p, s, {{0.5, 0.96}, {0.3, 0.78}, {0.7, 0.78}});
        break;
    case CursorShape::resizeDiagonal:
        addPolygon(p, s, {{0.12, 0.32}, {0.68, 0.88}, {0.88, 0.68}, {0.32, 0.12}});
        addPolygon(p, s, {{0.05, 0.05}, {0.32, 0.1}, {0.1, 0.32}});
        addPolygon(p, s, {{0.95, 0.95}, {0.68, 0.9}, {0.9, 0.68}});
        break;
    case CursorShape::wait:
        p.addEllipse(QPointF(0.5 * s, 0.5 * s), 0.42 * s, 0.42 * s);
        break;
    }
    return p;
}

QColor toQColor(const RGBAColor& c) {
    return QColor::fromRgbF(float(std::clamp(c.r, 0.0, 1.0)), float(std::clamp(c.g, 0.0, 1.0)),
                            float(std::clamp(c.b, 0.0, 1.0)), float(std::clamp(c.a, 0.0, 1.0)));
}

// Sets up the shape's box: origin at the bitmap's centre, turned clockwise by `degrees`, then moved so
// that the box (0, 0, s, s) is centred, y down.
void enterBox(QPainter& painter, int side, double s, double degrees) {
    painter.translate(side / 2.0, side / 2.0);
    painter.rotate(degrees);
    painter.translate(-s / 2, -s / 2);
}

} // namespace

CursorRenderer::CacheKey CursorRenderer::CacheKey::make(CursorShape shape, double size,
                                                        const RGBAColor& color, double rotation) {
    return {shape,
            roundKey(2 * size),
            roundKey(color.r * 255),
            roundKey(color.g * 255),
            roundKey(color.b * 255),
            roundKey(color.a * 255),
            roundKey(2 * rotation)};
}

Point CursorRenderer::hotspot(CursorShape shape) {
    switch (shape) {
    case CursorShape::arrow:
        return {0.08, 0.06};
    case CursorShape::hand:
        return {0.4, 0.1};
    default:
        return {0.5, 0.5};
    }
}

std::optional<Image> CursorRenderer::render(CursorShape shape, double size, const RGBAColor& color,
                                            double rotation) {
    const CacheKey key = CacheKey::make(shape, size, color, rotation);
    ProcessCache& cache = processCache();
    {
        std::lock_guard lock(cache.cursorCacheLock);
        const auto it = cache.images.find(key);
        if (it != cache.images.end())
            return it->second;
    }
    std::optional<Image> image = renderUncached(shape, size, color, rotation);
    if (!image)
        return image;
    std::lock_guard lock(cache.cursorCacheLock);
    cache.images.insert_or_assign(key, *image);
    // At the bound one entry goes, whichever the table lists first: no age order is kept.
    if (cache.images.size() >= cacheBound)
        cache.images.erase(cache.images.begin());
    return image;
}

std::optional<Image> CursorRenderer::renderUncached(CursorShape shape, double size, const RGBAColor& color,
                                                    double rotation) {
    if (!std::isfinite(size) || !std::isfinite(rotation) || size > 4096)
        return std::nullopt;
    const double s = std::max(std::ceil(size), 4.0);
    const double pad = std::max(s * 0.22, 4.0);
    const int side = int(s + 2 * pad);
    const QPainterPath path = shapePath(shape, s);

    // The fill alone first: its alpha, blurred and moved down, is the shadow.
    Image fill = Image::cleared(side, side);
    if (fill.isNull())
        return std::nullopt;
    {
        QImage target = fill.paintableView();
        QPainter painter(&target);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        enterBox(painter, side, s, rotation);
        painter.fillPath(path, toQColor(color));
    }

    Image out = Image::cleared(side, side);
    Image alpha = Image::cleared(side, side, PixelFormat::gray8);
    if (out.isNull() || alpha.isNull())
        return std::nullopt;
    for (int y = 0; y < side; ++y) {
        const std::uint8_t* f = fill.constRow(y);
        std::uint8_t* a = alpha.row(y);
        for (int x = 0; x < side; ++x)
            a[x] = std::uint8_t(std::lround(f[4 * x + 3] * 0.45));
    }
    // Blur 0.1 s is a deviation of half that; the shadow falls 0.04 s down the screen whatever the
    // rotation, and its blur is pulled back inside the bitmap, where the padding leaves it room.
    const Image blurred = imageops::gaussianBlur(alpha, 0.05 * s, imageops::BlurEdges::transparent);
    const int drop = int(std::lround(0.04 * s));
    const int grow = (blurred.width() - side) / 2;
    for (int y = 0; y < side; ++y) {
        const int sy = y - drop + grow;
        if (sy < 0 || sy >= blurred.height())
            continue;
        const std::uint8_t* b = blurred.constRow(sy) + grow;
        std::uint8_t* o = out.row(y);
        for (int x = 0; x < side; ++x)
            o[4 * x + 3] = b[x];
    }
    imageops::compositeOver(out, fill);

    const double luminance = 0.299 * color.r + 0.587 * color.g + 0.114 * color.b;
    const double outlineGray = luminance > 0.5 ? 0.0 : 1.0;
    const QColor outline =
        QColor::fromRgbF(float(outlineGray), float(outlineGray), float(outlineGray), 0.85f);
    {
        QImage target = out.paintableView();
        QPainter painter(&target);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        enterBox(painter, side, s, rotation);
        QPen pen(outline, std::max(0.045 * s, 1.0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter.strokePath(path, pen);
        if (shape == CursorShape::wait) {
            const QColor quarters[4] = {
                QColor::fromRgbF(1, 0.32f, 0.28f, 0.9f), QColor::fromRgbF(1, 0.74f, 0.2f, 0.9f),
                QColor::fromRgbF(0.15f, 0.78f, 0.25f, 0.9f), QColor::fromRgbF(0.2f, 0.5f, 1, 0.9f)};
            const double r = 0.4 * s;
            const QRectF disc(0.5 * s - r, 0.5 * s - r, 2 * r, 2 * r);
            for (int k = 0; k < 4; ++k) {
                // A quarter turn each, clockwise on the screen from three o'clock.
                QPainterPath quarter;
                quarter.moveTo(disc.center());
                quarter.arcTo(disc, -90.0 * k, -90.0);
                quarter.closeSubpath();
                painter.fillPath(quarter, quarters[k]);
            }
        }
        if (shape == CursorShape::crosshair)
            painter.fillPath(
                [&] {
                    QPainterPath dot;
                    dot.addEllipse(unit(s, 0.47, 0.47, 0.06, 0.06));
                    return dot;
                }(),
                outline);
    }
    return out;
}

void CursorRenderer::clearCache() {
    ProcessCache& cache = processCache();
    std::lock_guard lock(cache.cursorCacheLock);
    cache.images.clear();
}

std::size_t CursorRenderer::cacheCount() {
    ProcessCache& cache = processCache();
    std::lock_guard lock(cache.cursorCacheLock);
    return cache.images.size();
}

} // namespace orvane
