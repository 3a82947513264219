#include "Compositor.h"

#include "ChromeRenderer.h"
#include "ImageOps.h"
#include "PixelKernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvane {

namespace {

int canvasPixels(double v) {
    return std::isfinite(v) ? std::clamp(int(std::lround(v)), 1, 1 << 15) : 1;
}

Rect unite(const Rect& a, const Rect& b) {
    const double x0 = std::min(a.minX(), b.minX());
    const double y0 = std::min(a.minY(), b.minY());
    return {x0, y0, std::max(a.maxX(), b.maxX()) - x0, std::max(a.maxY(), b.maxY()) - y0};
}

// Whole pixels around a rectangle.
Rect pixelBounds(const Rect& r) {
    const double x0 = std::floor(r.minX() + 1e-6);
    const double y0 = std::floor(r.minY() + 1e-6);
    return {x0, y0, std::ceil(r.maxX() - 1e-6) - x0, std::ceil(r.maxY() - 1e-6) - y0};
}

} // namespace

// The picture of stages 7 to 10: which source pixels, where they land, through which mask.
struct Compositor::Picture {
    Rect source; // S, in the source's own rows: the y-up crop's flip cancels against the row order
    Rect placed; // the fitted crop on the canvas, y up
    Rect frame;  // Cy, which the mask and the shadow follow
    CoverageMask mask;

    void draw(Resampler& resampler, Image& target, const Image& sourceImage) const {
        const double top = target.origin().y + target.height();
        const Rect dst{placed.minX() - target.origin().x, top - placed.maxY(), placed.width, placed.height};
        MaskPlacement placement;
        if (!mask.isNull()) {
            // The mask sits on the frame's bottom-left corner, so a fraction of a pixel it lacks in height
            // is missing at the top.
            placement = {&mask, frame.minX() - target.origin().x, top - (frame.minY() + mask.height())};
        }
        resampler.draw(target, sourceImage, source, dst, placement);
    }
};

Compositor::Compositor(Size canvasSize)
    : m_canvasSize(canvasSize)
    , m_width(canvasPixels(canvasSize.width))
    , m_height(canvasPixels(canvasSize.height)) {}

Compositor::CacheStatistics Compositor::cacheStatistics() const {
    std::lock_guard lock(m_cacheLock);
    CacheStatistics s = m_statistics;
    s.maskEntries = m_maskCache.size();
    s.cursorEntries = m_cursorCache.size();
    s.ringEntries = m_ringCache.size();
    s.shadowEntries = m_shadowCache.size();
    s.solidCircleEntries = m_solidCircleCache.size();
    return s;
}

Image Compositor::composeFrame(const Image& sourceImage, const Clip& clip, ProjectTime time,
                               const CursorTrack& cursor, const EventTrack& events) {
    const double W = m_canvasSize.width;
    const double H = m_canvasSize.height;

    // 1. A clip without media is its background and nothing else.
    if (clip.sourceVideoPath.isEmpty())
        return renderBackground(clip.background);

    // 2. Background.
    Image canvas = Image::allocate(m_width, m_height);
    if (canvas.isNull())
        return renderBackground(clip.background);
    if (const auto* blurred = std::get_if<BackgroundStyle::BlurredExtension>(&clip.background.value)) {
        drawBlurredExtension(canvas, sourceImage, blurred->blurRadius);
    } else {
        const Image background = renderBackground(clip.background);
        const std::size_t bytes = std::size_t(std::min(background.width(), m_width)) * 4;
        for (int y = 0; y < m_height; ++y) {
            if (y < background.height())
                std::memcpy(canvas.row(y), background.constRow(y), bytes);
            else
                std::memset(canvas.row(y), 0, std::size_t(m_width) * 4);
        }
    }

    // 3. Zoom: all camera motion is already in this one rectangle. 4. Layout.
    const NormalizedRect zoom = clip.zoomTrack.value(time, NormalizedRect::unit());
    FrameLayout layout = FrameLayout::make(clip, zoom, m_canvasSize);

    // 5. Chrome takes its bar from the content rectangle.
    std::optional<Image> chrome;
    if (!clip.frame.chrome.isNone()) {
        ChromeRenderer::Result r = ChromeRenderer::drawChrome(clip.frame.chrome, layout.content, H);
        layout.content = r.content;
        chrome = std::move(r.image);
    }

    // 6. Flip. 7. Crop: the source's own rows are y down already, so S is the crop as it stands.
    Picture picture;
    picture.frame = layout.contentUp();
    picture.source = layout.source;

    // 8. Colour grade: once grading exists it works here, on the cropped source pixels alone.

    // 9. Fit, x and y apart; a crop under a pixel counts as one, so nothing divides by zero.
    const double kx = picture.frame.width / std::max(picture.source.width, 1.0);
    const double ky = picture.frame.height / std::max(picture.source.height, 1.0);
    picture.placed = {picture.frame.minX(), picture.frame.minY(), picture.source.width * kx,
                      picture.source.height * ky};

    // 10. Rounded corners.
    if (clip.frame.cornerRadius > 0)
        picture.mask = roundedCornerMask(picture.frame, clip.frame.cornerRadius);

    // 11 to 14 need the picture as an image of its own; without them it is drawn straight onto the canvas
    // at stage 15.
    const PerspectiveStyle& tilt = clip.frame.perspective;
    const bool perspective = tilt.isEnabled && tilt.depth > 0.001;
    const bool animated = !clip.animations.isEmpty();
    const auto animation = [&](AnimatablePropertyID id, double fallback) {
        return clip.animations.value(id, time, fallback);
    };
    const double scale = animated ? animation(AnimatablePropertyID::scale, 1) : 1;
    const double rotation = animated ? animation(AnimatablePropertyID::rotation, 0) : 0;
    const double positionX = animated ? animation(AnimatablePropertyID::positionX, 0) : 0;
    const double positionY = animated ? animation(AnimatablePropertyID::positionY, 0) : 0;
    const double opacity = animated ? animation(AnimatablePropertyID::opacity, 1) : 1;
    const double blur = animated ? animation(AnimatablePropertyID::blur, 0) : 0;
    const bool moves = scale != 1 || rotation != 0 || positionX != 0 || positionY != 0;
    const bool fades = opacity < 1;
    const bool blurs = blur > 0.01;

    Rect shadowRect = picture.frame;
    std::optional<PerspectiveMap> warp;
    std::optional<Image> layer;
    Rect extent = picture.placed;
    if (perspective && chrome)
        extent = unite(extent, chrome->extent());
    const Rect bounds = pixelBounds(extent);
    Image own;
    if (perspective || moves || fades || blurs)
        own = Image::cleared(int(bounds.width), int(bounds.height));
    // Without memory for the picture's own image it is drawn flat, as if those stages were off.
    if (!own.isNull()) {
        layer = std::move(own);
        layer->setOrigin(bounds.origin());
        picture.draw(m_resampler, *layer, sourceImage);

        // 11. Perspective: chrome joins the picture first, so it tilts with it and is not laid on again.
        if (perspective) {
            if (chrome) {
                imageops::compositeOver(*layer, *chrome, &m_resampler);
                chrome.reset();
            }
            PerspectiveResult tilted = drawPerspective(*layer, picture.frame, tilt, extent);
            layer = std::move(tilted.image);
            warp = tilted.map;
            shadowRect = tilted.bounds;
        }
        // 12. Animated transform about the centre of the picture (or of its tilted bounds). The shadow and
        // chrome not yet merged stay where they are.
        if (moves) {
            const double mx = shadowRect.midX();
            const double my = shadowRect.midY();
            AffineTransform t = AffineTransform::identity().translatedBy(mx, my);
            if (scale != 1)
                t = t.scaledBy(scale, scale);
            if (rotation != 0)
                t = t.rotatedBy(rotation * M_PI / 180);
            t = t.translatedBy(-mx, -my).translatedBy(W * positionX, -H * positionY);
            layer = imageops::transformed(*layer, t);
        }
        // 13. Animated opacity.
        if (fades) {
            imageops::ColorMatrix m;
            m.a = {0, 0, 0, float(std::max(opacity, 0.0))};
            layer = imageops::colorMatrix(*layer, m);
        }
        // 14. Animated blur.
        if (blurs)
            layer = imageops::gaussianBlur(*layer, std::min(blur, 100.0), imageops::BlurEdges::transparent);
    }

    // 15. Assemble: shadow over the background, the picture over that, then the chrome.
    const ShadowStyle& shadow = clip.frame.shadow;
    if (shadow.opacity > 0) {
        const Image shade = makeShadow(shadowRect, shadow.radius, Point{shadow.offsetX, shadow.offsetY},
                                       shadow.opacity, clip.frame.cornerRadius);
        // Where an opaque picture will cover the shadow anyway, it need not be drawn.
        const Rect s{0, 0, double(sourceImage.width()), double(sourceImage.height())};
        const bool covered = !layer && sourceImage.isOpaque() && picture.source.minX() >= s.minX() &&
                             picture.source.minY() >= s.minY() && picture.source.maxX() <= s.maxX() &&
                             picture.source.maxY() <= s.maxY() && picture.source.width >= 1 &&
                             picture.source.height >= 1;
        drawShadow(canvas, shade, covered ? &layout.content : nullptr,
                   picture.mask.isNull() ? 0.0 : clip.frame.cornerRadius);
    }
    if (layer)
        imageops::compositeOver(canvas, *layer, &m_resampler);
    else
        picture.draw(m_resampler, canvas, sourceImage);
    if (chrome)
        imageops::compositeOver(canvas, *chrome, &m_resampler);

    // 16. Cursor, through the tilt when there is one. 17. Click ripples, never through the tilt.
    if (clip.cursor.isVisible)
        drawCursor(canvas, clip, time, cursor, layout, warp);
    if (clip.cursor.clickRipple.isEnabled && !events.events.empty())
        drawRipples(canvas, clip, time, events, layout);

    // 18. Camera bubble.
    if (clip.camera.isEnabled && m_currentCameraFrame)
        drawCameraOverlay(*m_currentCameraFrame, clip.camera, canvas);

    // 19 to 23, text and image overlays, captions, annotations and keystrokes, draw here once they
    // exist, in that order, unmoved by the zoom. 24 to 28, spotlight, depth of field, vignette, film look
    // and chromatic aberration, follow them over the whole canvas.

    // 29. Motion blur is the one stage that remembers the previous frame's zoom; with all its strengths
    // at zero the memory stays empty for the whole run.
    const MotionBlurConfig& motion = clip.motionBlur;
    if (motion.cursorStrength > 0 || motion.zoomStrength > 0 || motion.panStrength > 0) {
        m_previousZoomRect = zoom;
        m_previousTime = time;
    }
    return canvas;
}

std::optional<QImage> Compositor::renderToImage(const Image& sourceImage, const Clip& clip, ProjectTime time,
                                                const CursorTrack& cursor, const EventTrack& events) {
    const Image canvas = composeFrame(sourceImage, clip, time, cursor, events);
    if (canvas.isNull())
        return std::nullopt;
    QImage out(m_width, m_height, QImage::Format_ARGB32_Premultiplied);
    if (out.isNull())
        return std::nullopt;
    out.fill(Qt::transparent);
    // The canvas's own pixels over (0, 0, W, H); a background image of another size leaves the rest clear.
    const int w = std::min(canvas.width(), m_width);
    const int h = std::min(canvas.height(), m_height);
    for (int y = 0; y < h; ++y)
        std::memcpy(out.scanLine(y), canvas.constRow(y), std::size_t(w) * 4);
    return out;
}

void Compositor::drawShadow(Image& canvas, const Image& shade, const Rect* keepOut, double keepOutRadius) {
    if (shade.isNull() || shade.format() != PixelFormat::gray8)
        return;
    // The shadow is blurred by tens of pixels; placing it on whole pixels moves no value by more than a
    // fraction of one level.
    const int left = int(std::lround(shade.origin().x));
    const int top = int(std::lround(m_height - (shade.origin().y + shade.height())));
    const int x0 = std::max(0, left);
    const int x1 = std::min(m_width, left + shade.width());
    if (x0 >= x1)
        return;

    // An opaque picture covers the content rectangle but for its rounded corners: a cross of two
    // rectangles, kept a couple of pixels inside for the soft edges.
    int wideTop = 0, wideBottom = 0, wideLeft = 0, wideRight = 0;
    int tallTop = 0, tallBottom = 0, tallLeft = 0, tallRight = 0;
    if (keepOut) {
        const Rect& k = *keepOut;
        const double radius = std::ceil(std::clamp(keepOutRadius, 0.0, std::min(k.width, k.height) / 2));
        wideTop = int(std::ceil(k.minY())) + 2;
        wideBottom = int(std::floor(k.maxY())) - 2;
        wideLeft = int(std::ceil(k.minX() + radius)) + 2;
        wideRight = int(std::floor(k.maxX() - radius)) - 2;
        tallTop = int(std::ceil(k.minY() + radius)) + 2;
        tallBottom = int(std::floor(k.maxY() - radius)) - 2;
        tallLeft = int(std::ceil(k.minX())) + 2;
        tallRight = int(std::floor(k.maxX())) - 2;
    }
    const PixelKernels& kernels = pixelKernels();
    for (int y = std::max(0, top); y < std::min(m_height, top + shade.height()); ++y) {
        const std::uint8_t* alpha = shade.constRow(y - top);
        std::uint8_t* row = canvas.row(y);
        int skipFrom = x1;
        int skipTo = x1;
        if (keepOut && y >= tallTop && y < tallBottom) {
            skipFrom = tallLeft;
            skipTo = tallRight;
        } else if (keepOut && y >= wideTop && y < wideBottom) {
            skipFrom = wideLeft;
            skipTo = wideRight;
        }
        skipFrom = std::clamp(skipFrom, x0, x1);
        skipTo = std::clamp(skipTo, skipFrom, x1);
        if (skipFrom > x0)
            kernels.darken(row + std::ptrdiff_t(x0) * 4, alpha + (x0 - left), skipFrom - x0);
        if (x1 > skipTo)
            kernels.darken(row + std::ptrdiff_t(skipTo) * 4, alpha + (skipTo - left), x1 - skipTo);
    }
}

} // namespace orvane
