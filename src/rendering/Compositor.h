#pragma once

#include "AffineTransform.h"
#include "BoundedCache.h"
#include "ClickRippleEngine.h"
#include "CompositorCacheKeys.h"
#include "CoverageMask.h"
#include "FrameLayout.h"
#include "Image.h"
#include "PerspectiveMap.h"
#include "Resampler.h"
#include "capture/CursorTrack.h"
#include "capture/EventTrack.h"
#include "project/Clip.h"

#include <QImage>

#include <mutex>
#include <optional>
#include <vector>

namespace orvane {

// Turns one decoded source frame and one clip at one moment into a finished canvas: background, shadow,
// the zoomed and rounded picture with its chrome, perspective and animation, the cursor, click ripples
// and the camera bubble, each stage in a fixed order. The preview, the exports and still frames all come
// through composeFrame.
//
// The canvas is drawn eagerly into one pooled buffer: the cached background is copied, the cached shadow
// darkens its rectangle, and the source is cropped, resampled and masked in one pass over the picture's
// pixels. Small cached bitmaps (cursor, rings) are blended where they land.
//
// Threads: one instance serves one thread at a time (the preview's main thread, or an export's video
// thread). `cacheLock` guards the caches and the background cache; it is never held while another stage
// that takes it runs, except that renderBackground holds it through the reading of an image file. The
// cursor stage takes `cacheLock` and CursorRenderer's own lock at different times, never both, so no lock
// order arises.
class Compositor {
public:
    explicit Compositor(Size canvasSize);
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    Size canvasSize() const { return m_canvasSize; }

    // The finished canvas: an image of W by H at the origin. `time` is on the clip's source clock; `cursor`
    // is already smoothed by the caller. Always returns an image; a stage that can't do its work passes
    // its input on. A caller that drops each frame before asking for the next lets the pool recycle it.
    Image composeFrame(const Image& sourceImage, const Clip& clip, ProjectTime time,
                       const CursorTrack& cursor, const EventTrack& events);
    // composeFrame as a still image of exactly W by H (premultiplied ARGB32); none when it can't be made.
    std::optional<QImage> renderToImage(const Image& sourceImage, const Clip& clip, ProjectTime time,
                                        const CursorTrack& cursor, const EventTrack& events);

    // The camera picture for the next frame; the caller sets it before each frame, none for no camera.
    const std::optional<Image>& currentCameraFrame() const { return m_currentCameraFrame; }
    void setCurrentCameraFrame(std::optional<Image> frame) { m_currentCameraFrame = std::move(frame); }

    // Written by the motion blur stage only, and never reset by seeking.
    std::optional<NormalizedRect> previousZoomRect() const { return m_previousZoomRect; }
    std::optional<ProjectTime> previousTime() const { return m_previousTime; }

    struct CacheStatistics {
        std::size_t maskEntries = 0;
        std::size_t cursorEntries = 0;
        std::size_t ringEntries = 0;
        std::size_t shadowEntries = 0;
        std::size_t solidCircleEntries = 0;
        std::size_t backgroundHits = 0;
        std::size_t backgroundMisses = 0;
        std::size_t maskHits = 0;
        std::size_t maskMisses = 0;
        std::size_t shadowHits = 0;
        std::size_t shadowMisses = 0;
        std::size_t cursorHits = 0;
        std::size_t cursorMisses = 0;
        std::size_t ringHits = 0;
        std::size_t ringMisses = 0;
    };
    CacheStatistics cacheStatistics() const;

    static constexpr std::size_t cursorCacheBound = 257;
    static constexpr std::size_t ringCacheBound = 129;
    static constexpr std::size_t shadowCacheBound = 65;
    static constexpr std::size_t solidCircleCacheBound = 65;

    // The stage routines, reachable for their own tests and for tools that draw one piece.

    // The canvas-sized background of a style, cached for one style and size at a time.
    Image renderBackground(const BackgroundStyle& style);
    Image renderGradient(const GradientFill& fill) const;
    // Scale by s, then a translation in the scaled units, so the image covers the target, centred.
    static AffineTransform scaleToFill(Size image, Size target);
    // The rounded-corner mask for a rectangle's size, from the cache (never emptied).
    CoverageMask roundedCornerMask(const Rect& rect, double radius);
    // `image` masked to a rounded rectangle `rect` (y up); radius 0 or less leaves it alone.
    Image applyRoundedCorners(const Image& image, const Rect& rect, double radius);
    // The soft black shadow of a rounded rectangle (y up), alpha only, placed and cropped to the canvas.
    Image makeShadow(const Rect& rect, double radius, Point offset, double opacity, double cornerRadius);
    struct PerspectiveResult {
        Image image;
        PerspectiveMap map;
        Rect bounds; // of the four warped corners, y up
    };
    // `sourceRect` is the picture's rectangle, y up; the whole image's extent is carried to the corners
    // computed from it.
    PerspectiveResult drawPerspective(const Image& image, const Rect& sourceRect,
                                      const PerspectiveStyle& style,
                                      std::optional<Rect> extent = std::nullopt) const;
    // The camera bubble composited over `canvas`.
    void drawCameraOverlay(const Image& cameraImage, const CameraOverlay& config, Image& canvas);
    Image applyBackgroundRemoval(const Image& image, CameraOverlay::BackgroundRemovalMode mode);
    // Blur or clear what the mask leaves out; the arithmetic of background removal once a mask exists.
    static Image removeBackground(const Image& image, const Image& mask,
                                  CameraOverlay::BackgroundRemovalMode mode);
    // No person segmentation model is available on this platform: always none, so removal leaves the
    // picture as it is.
    std::optional<Image> personSegmentationMask(const Image& image);
    Image applyCircleMask(const Image& image, Size size);
    Image solidCircle(double radius, const RGBAColor& color);
    // A ring of outer radius r, stroked `thickness` wide, from the ring cache.
    Image ringCircle(double outerRadius, double thickness, const RGBAColor& color);

private:
    struct Picture;
    void drawBlurredExtension(Image& canvas, const Image& source, double blurRadius);
    void drawShadow(Image& canvas, const Image& shadow, const Rect* keepOut, double keepOutRadius);
    void drawCursor(Image& canvas, const Clip& clip, ProjectTime time, const CursorTrack& cursor,
                    const FrameLayout& layout, const std::optional<PerspectiveMap>& warp);
    void drawRipples(Image& canvas, const Clip& clip, ProjectTime time, const EventTrack& events,
                     const FrameLayout& layout);
    Image loadBackgroundFile(const QString& path) const;

    const Size m_canvasSize;
    const int m_width;
    const int m_height;

    // Guards every cache below, the background cache and its key, and the statistics.
    mutable std::mutex m_cacheLock;
    BoundedCache<MaskCacheKey, CoverageMask, CacheKeyHash> m_maskCache{0};
    BoundedCache<CursorCacheKey, Image, CacheKeyHash> m_cursorCache{cursorCacheBound};
    BoundedCache<RingCacheKey, Image, CacheKeyHash> m_ringCache{ringCacheBound};
    BoundedCache<ShadowCacheKey, Image, CacheKeyHash> m_shadowCache{shadowCacheBound};
    BoundedCache<SolidCircleCacheKey, Image, CacheKeyHash> m_solidCircleCache{solidCircleCacheBound};
    std::optional<Image> m_backgroundCache;
    std::optional<BackgroundCacheKey> m_backgroundCacheKey;
    CacheStatistics m_statistics;

    std::optional<Image> m_currentCameraFrame;
    std::optional<NormalizedRect> m_previousZoomRect;
    std::optional<ProjectTime> m_previousTime;

    // Per-frame scratch, reused so that steady frames allocate nothing.
    Resampler m_resampler;
    std::vector<ActiveRipple> m_ripples;
};

} // namespace orvane
