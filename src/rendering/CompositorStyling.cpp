// Compositor: background, rounded mask, shadow and perspective.
#include "Compositor.h"
#include "ImageOps.h"
#include "Wallpapers.h"

#include <QImageReader>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvane {

namespace {
const RGBAColor unreadableImageColor{0.08, 0.08, 0.1, 1};
const RGBAColor blurredWithoutSourceColor{0.05, 0.05, 0.08, 1};
} // namespace

Image Compositor::renderBackground(const BackgroundStyle& style) {
    // Held through the file read too: a second frame asking for the same new background waits for it
    // rather than reading the file again.
    std::lock_guard lock(m_cacheLock);
    // Compared in place: building a key would copy the style's stops on every frame.
    if (m_backgroundCacheKey && m_backgroundCache && m_backgroundCacheKey->style == style &&
        m_backgroundCacheKey->size == m_canvasSize) {
        ++m_statistics.backgroundHits;
        return *m_backgroundCache;
    }
    ++m_statistics.backgroundMisses;
    const Rect canvas{0, 0, double(m_width), double(m_height)};
    Image image;
    if (const auto* solid = std::get_if<BackgroundStyle::Solid>(&style.value)) {
        image = imageops::solid(canvas, solid->color);
    } else if (const auto* gradient = std::get_if<BackgroundStyle::Gradient>(&style.value)) {
        image = renderGradient(gradient->fill);
    } else if (const auto* wallpaper = std::get_if<BackgroundStyle::Wallpaper>(&style.value)) {
        const QString path = Wallpapers::path(wallpaper->name);
        image = path.isEmpty() ? Image() : loadBackgroundFile(path);
        if (image.isNull())
            image = imageops::solid(canvas, unreadableImageColor);
    } else if (const auto* custom = std::get_if<BackgroundStyle::CustomImage>(&style.value)) {
        // The bookmark of a picked file is its absolute path in UTF-8.
        image = loadBackgroundFile(QString::fromUtf8(custom->bookmark));
        if (image.isNull())
            image = imageops::solid(canvas, unreadableImageColor);
    } else {
        // A blurred extension needs a source; it comes here only for a clip without one.
        image = imageops::solid(canvas, blurredWithoutSourceColor);
    }
    m_backgroundCache = image;
    m_backgroundCacheKey = BackgroundCacheKey{style, m_canvasSize};
    return image;
}

Image Compositor::renderGradient(const GradientFill& fill) const {
    const Rect canvas{0, 0, double(m_width), double(m_height)};
    if (fill.stops.size() < 2) {
        if (fill.stops.empty())
            return imageops::solid(canvas, RGBAColor::black());
        const RGBAColor& c = fill.stops.front().color;
        return imageops::solid(canvas, RGBAColor{c.r, c.g, c.b, 1});
    }
    // Only the ends count: stops between them, locations and alphas are ignored.
    const RGBAColor& first = fill.stops.front().color;
    const RGBAColor& last = fill.stops.back().color;
    const double a = fill.angleDegrees * M_PI / 180;
    const double half = std::max(m_canvasSize.width, m_canvasSize.height) / 2;
    const double dx = std::sin(a) * half;
    const double dy = -std::cos(a) * half;
    const Point centre{m_canvasSize.width / 2, m_canvasSize.height / 2};
    Image image = imageops::linearGradient(
        canvas, Point{centre.x - dx, centre.y - dy}, Point{centre.x + dx, centre.y + dy},
        RGBAColor{first.r, first.g, first.b, 1}, RGBAColor{last.r, last.g, last.b, 1});
    return image.isNull() ? imageops::solid(canvas, RGBAColor::black()) : image;
}

AffineTransform Compositor::scaleToFill(Size image, Size target) {
    const double sx = image.width >= 1 ? target.width / image.width : target.width;
    const double sy = image.height >= 1 ? target.height / image.height : target.height;
    const double s = std::max(sx, sy);
    return AffineTransform::scale(s, s).translatedBy((target.width - s * image.width) / 2 / s,
                                                     (target.height - s * image.height) / 2 / s);
}

Image Compositor::loadBackgroundFile(const QString& path) const {
    if (path.isEmpty())
        return {};
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage file = reader.read();
    if (file.isNull())
        return {};
    Image picture = Image::fromQImage(file);
    if (picture.isNull())
        return {};
    const bool opaque = picture.isOpaque();
    // Edge pixels extend outward, so the canvas border gets no soft, half-clear seam.
    const Image filled = imageops::transformed(
        picture, scaleToFill(Size{double(picture.width()), double(picture.height())}, m_canvasSize),
        imageops::Outside::extend);
    const Image view = imageops::cropped(filled, Rect{0, 0, double(m_width), double(m_height)});
    // A compact copy of exactly the canvas, not a view that pins the overflow.
    Image out = Image::cleared(m_width, m_height);
    if (out.isNull() || view.isNull())
        return {};
    const int dx = int(std::lround(view.origin().x));
    const int dy = int(std::lround(m_height - (view.origin().y + view.height())));
    for (int y = 0; y < view.height(); ++y) {
        const int row = y + dy;
        if (row < 0 || row >= m_height)
            continue;
        const int x0 = std::max(0, dx);
        const int x1 = std::min(m_width, dx + view.width());
        if (x1 > x0)
            std::memcpy(out.row(row) + std::ptrdiff_t(x0) * 4, view.constRow(y) + std::ptrdiff_t(x0 - dx) * 4,
                        std::size_t(x1 - x0) * 4);
    }
    out.setOpaque(opaque);
    return out;
}

void Compositor::drawBlurredExtension(Image& canvas, const Image& source, double blurRadius) {
    if (!source.isOpaque())
        canvas.fill(0);
    if (!source.isNull()) {
        const Size size{double(source.width()), double(source.height())};
        const AffineTransform fill = scaleToFill(size, m_canvasSize);
        const Rect placedUp = fill.apply(Rect{0, 0, size.width, size.height});
        const Rect placed{placedUp.minX(), m_height - placedUp.maxY(), placedUp.width, placedUp.height};
        m_resampler.draw(canvas, source, Rect{0, 0, size.width, size.height}, placed);
    }
    // The filter's edges are not clamped: toward the canvas's border the blur fades, as it always has.
    const Image blurred =
        imageops::gaussianBlur(canvas, std::max(blurRadius, 10.0), imageops::BlurEdges::transparent);
    const Image view = imageops::cropped(blurred, Rect{0, 0, double(m_width), double(m_height)});
    if (view.width() != m_width || view.height() != m_height)
        return;
    for (int y = 0; y < m_height; ++y)
        std::memcpy(canvas.row(y), view.constRow(y), std::size_t(m_width) * 4);
}

CoverageMask Compositor::roundedCornerMask(const Rect& rect, double radius) {
    const MaskCacheKey key{truncatedKey(rect.width), truncatedKey(rect.height), truncatedKey(radius)};
    {
        std::lock_guard lock(m_cacheLock);
        if (const CoverageMask* hit = m_maskCache.find(key)) {
            ++m_statistics.maskHits;
            return *hit;
        }
        ++m_statistics.maskMisses;
    }
    if (key.width < 1 || key.height < 1 || key.width > (1 << 15) || key.height > (1 << 15))
        return {};
    Image bitmap = Image::cleared(int(key.width), int(key.height), PixelFormat::gray8);
    if (bitmap.isNull())
        return {};
    {
        // The rectangle keeps its fractional size and stands on the bitmap's bottom edge, the corner the
        // mask is placed by; a fraction of a pixel beyond the bitmap at the top and right is cut.
        QImage target = bitmap.paintableView();
        QPainter painter(&target);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath path;
        path.addRoundedRect(QRectF(0, double(key.height) - rect.height, rect.width, rect.height), radius,
                            radius);
        painter.fillPath(path, Qt::white);
    }
    CoverageMask mask(std::move(bitmap));
    std::lock_guard lock(m_cacheLock);
    m_maskCache.insert(key, mask);
    return mask;
}

Image Compositor::applyRoundedCorners(const Image& image, const Rect& rect, double radius) {
    if (radius <= 0)
        return image;
    const CoverageMask mask = roundedCornerMask(rect, radius);
    if (mask.isNull())
        return image;
    return imageops::blendWithMask(image, Image(), mask.image().translated(rect.minX(), rect.minY()));
}

Image Compositor::makeShadow(const Rect& rect, double radius, Point offset, double opacity,
                             double cornerRadius) {
    const ShadowCacheKey key{truncatedKey(rect.width), truncatedKey(rect.height), truncatedKey(radius),
                             truncatedKey(cornerRadius), truncatedKey(opacity * 100)};
    const std::int64_t pad = truncatedKey(2 * radius + 8);
    Image shade;
    {
        std::lock_guard lock(m_cacheLock);
        if (const Image* hit = m_shadowCache.find(key)) {
            ++m_statistics.shadowHits;
            shade = *hit;
        } else {
            ++m_statistics.shadowMisses;
        }
    }
    if (shade.isNull()) {
        const std::int64_t w = key.width + 2 * pad;
        const std::int64_t h = key.height + 2 * pad;
        if (w < 1 || h < 1 || w > (1 << 15) || h > (1 << 15) || pad < 0)
            return {};
        Image bitmap = Image::cleared(int(w), int(h), PixelFormat::gray8);
        if (bitmap.isNull())
            return {};
        {
            // Alpha only: the shadow is always black.
            QImage target = bitmap.paintableView();
            QPainter painter(&target);
            painter.setRenderHint(QPainter::Antialiasing);
            QPainterPath path;
            path.addRoundedRect(QRectF(double(pad), double(h - pad) - rect.height, rect.width, rect.height),
                                cornerRadius, cornerRadius);
            painter.fillPath(path, QColor(0, 0, 0, std::clamp(int(std::lround(opacity * 255)), 0, 255)));
        }
        // The padding of 4 sigma + 8 holds all but a ten-thousandth of the blur, so it is cut back to the
        // bitmap.
        const Image blurred = imageops::gaussianBlur(bitmap, radius / 2, imageops::BlurEdges::transparent);
        const int grow = (blurred.width() - bitmap.width()) / 2;
        shade = blurred.pixelView(grow, grow, bitmap.width(), bitmap.height());
        shade.setOrigin({0, 0});
        std::lock_guard lock(m_cacheLock);
        m_shadowCache.insert(key, shade);
    }
    // A positive offsetY moves the shadow down the screen.
    return shade.translated(rect.minX() - double(pad) + offset.x, rect.minY() - double(pad) - offset.y);
}

Compositor::PerspectiveResult Compositor::drawPerspective(const Image& image, const Rect& r,
                                                          const PerspectiveStyle& style,
                                                          std::optional<Rect> extent) const {
    const double tx = std::clamp(style.tiltX, -1.0, 1.0);
    const double ty = std::clamp(style.tiltY, -1.0, 1.0);
    const double d = std::clamp(style.depth, 0.0, 1.0);
    // At most 35% of half a side, whatever the style says.
    const double a = d * std::max(tx, 0.0) * r.width * 0.5 * 0.35;
    const double b = d * std::max(-tx, 0.0) * r.width * 0.5 * 0.35;
    const double c = d * std::max(ty, 0.0) * r.height * 0.5 * 0.35;
    const double e = d * std::max(-ty, 0.0) * r.height * 0.5 * 0.35;
    const double W = m_canvasSize.width;
    const double H = m_canvasSize.height;
    // Corners off the canvas are pulled back to its edge, which reshapes the warp rather than clipping it.
    const auto inside = [&](double x, double y) {
        return Point{std::clamp(x, 0.0, W), std::clamp(y, 0.0, H)};
    };
    const Point topLeft = inside(r.minX() + a, r.maxY() - e);
    const Point topRight = inside(r.maxX() - a, r.maxY() - c);
    const Point bottomLeft = inside(r.minX() + b, r.minY() + e);
    const Point bottomRight = inside(r.maxX() - b, r.minY() + c);

    PerspectiveResult result;
    result.image = imageops::perspectiveWarp(image, topLeft, topRight, bottomLeft, bottomRight, extent);
    result.map = PerspectiveMap{r, topLeft, topRight, bottomLeft, bottomRight};
    const double x0 = std::min({topLeft.x, topRight.x, bottomLeft.x, bottomRight.x});
    const double x1 = std::max({topLeft.x, topRight.x, bottomLeft.x, bottomRight.x});
    const double y0 = std::min({topLeft.y, topRight.y, bottomLeft.y, bottomRight.y});
    const double y1 = std::max({topLeft.y, topRight.y, bottomLeft.y, bottomRight.y});
    result.bounds = {x0, y0, x1 - x0, y1 - y0};
    return result;
}

} // namespace orvane
