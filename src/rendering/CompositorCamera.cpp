// Compositor: the camera bubble.
#include "Compositor.h"
#include "ImageOps.h"

#include <QPainter>

#include <cmath>

namespace orvane {

void Compositor::drawCameraOverlay(const Image& cameraImage, const CameraOverlay& config, Image& canvas) {
    const double W = m_canvasSize.width;
    const double H = m_canvasSize.height;
    const double s = config.sizeFraction * std::min(W, H);
    if (!(s >= 1) || cameraImage.isNull())
        return;
    // Removal sees the picture as the camera took it, before the mirror.
    const Image picture = applyBackgroundRemoval(cameraImage, config.backgroundRemoval);

    // The centred square, scaled to the bubble, mirrored if asked, as one resampling.
    const Rect e = picture.extent();
    const double q = std::min(e.width, e.height);
    const Rect square{e.midX() - q / 2, e.midY() - q / 2, q, q};
    const Image cropped = imageops::cropped(picture, square);
    AffineTransform t = AffineTransform::scale(s / q, s / q)
                            .after(AffineTransform::translation(-square.minX(), -square.minY()));
    if (config.mirror)
        t = AffineTransform::translation(s, 0).after(AffineTransform::scale(-1, 1)).after(t);
    Image bubble = imageops::transformed(cropped, t);

    switch (config.shape) {
    case CameraOverlay::Shape::circle:
    case CameraOverlay::Shape::hexagon:
        bubble = applyCircleMask(bubble, Size{s, s});
        break;
    case CameraOverlay::Shape::square:
        break;
    case CameraOverlay::Shape::roundedRect:
        bubble = applyRoundedCorners(bubble, Rect{0, 0, s, s}, 0.25 * s);
        break;
    }
    // `position` is the bubble's centre, from the top left.
    const Point p = config.position.denormalized(Rect{0, 0, 1, 1});
    bubble = bubble.translated(W * p.x - s / 2, H - (H * p.y - s / 2) - s);
    imageops::compositeOver(canvas, bubble, &m_resampler);
}

Image Compositor::applyBackgroundRemoval(const Image& image, CameraOverlay::BackgroundRemovalMode mode) {
    if (mode == CameraOverlay::BackgroundRemovalMode::off)
        return image;
    const std::optional<Image> mask = personSegmentationMask(image);
    if (!mask)
        return image;
    return removeBackground(image, *mask, mode);
}

Image Compositor::removeBackground(const Image& image, const Image& mask,
                                   CameraOverlay::BackgroundRemovalMode mode) {
    switch (mode) {
    case CameraOverlay::BackgroundRemovalMode::off:
        return image;
    case CameraOverlay::BackgroundRemovalMode::blur: {
        const Image blurred = imageops::gaussianBlur(image, 24, imageops::BlurEdges::clamp);
        return imageops::blendWithMask(image, blurred, mask);
    }
    case CameraOverlay::BackgroundRemovalMode::transparent:
        return imageops::blendWithMask(image, Image(), mask);
    }
    return image;
}

std::optional<Image> Compositor::personSegmentationMask(const Image&) {
    // No person segmentation model ships for this platform; without a mask, removal passes the picture
    // on unchanged.
    return std::nullopt;
}

Image Compositor::applyCircleMask(const Image& image, Size size) {
    const Image circle = solidCircle(size.width / 2, RGBAColor::white());
    if (circle.isNull())
        return image;
    return imageops::blendWithMask(image, Image(), circle.translated(image.origin().x, image.origin().y));
}

Image Compositor::solidCircle(double radius, const RGBAColor& color) {
    const SolidCircleCacheKey key{truncatedKey(2 * radius), colorHash(color)};
    {
        std::lock_guard lock(m_cacheLock);
        if (const Image* hit = m_solidCircleCache.find(key))
            return *hit;
    }
    if (key.radiusX2 < 1 || key.radiusX2 > (1 << 14))
        return {};
    Image circle = Image::cleared(int(key.radiusX2), int(key.radiusX2));
    if (circle.isNull())
        return circle;
    {
        QImage target = circle.paintableView();
        QPainter painter(&target);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(
            QColor::fromRgbF(float(std::clamp(color.r, 0.0, 1.0)), float(std::clamp(color.g, 0.0, 1.0)),
                             float(std::clamp(color.b, 0.0, 1.0)), float(std::clamp(color.a, 0.0, 1.0))));
        painter.drawEllipse(QRectF(0, 0, double(key.radiusX2), double(key.radiusX2)));
    }
    std::lock_guard lock(m_cacheLock);
    m_solidCircleCache.insert(key, circle);
    return circle;
}

} // namespace orvane
