#pragma once

#include "ImagePool.h"
#include "project/Geometry.h"

#include <QImage>

#include <cstdint>

namespace orvane {

enum class PixelFormat : std::uint8_t {
    // Premultiplied 8-bit colour with alpha, bytes B, G, R, A in memory: libyuv's "ARGB", the media
    // layer's frame layout, and QImage::Format_ARGB32_Premultiplied on little-endian machines, so decoded
    // frames wrap without a copy and QPainter draws straight into the pixels.
    bgra8Premultiplied,
    // One byte per pixel: masks, and shadows that are black with only an alpha.
    gray8,
};

// A premultiplied image with an extent in canvas pixels. The extent follows the compositor's model:
// origin at the bottom left, y up, so `origin()` is where the image's bottom-left corner lies. Pixels are
// stored top row first; the flip between the two happens only at the row index.
//
// An Image is a counted handle: copies share pixels, and the last handle returns the buffer to the
// ImagePool. Writing through `row()` detaches a shared image first, so an image handed to another
// owner never changes under it. Handles may be copied and dropped on any thread.
class Image {
public:
    using ReleaseFunction = PixelBuffer::ReleaseFunction;

    Image() = default;
    Image(const Image& other);
    Image(Image&& other) noexcept;
    Image& operator=(const Image& other);
    Image& operator=(Image&& other) noexcept;
    ~Image();

    // Contents undefined; a null image when the size is not positive or memory runs out.
    static Image allocate(int width, int height, PixelFormat format = PixelFormat::bgra8Premultiplied);
    // All zero: transparent, or a black mask.
    static Image cleared(int width, int height, PixelFormat format = PixelFormat::bgra8Premultiplied);
    // Pixels owned by someone else, shared without a copy; `release(context)` runs when the last handle
    // goes. A decoded BGRA frame enters the compositor this way.
    static Image wrap(std::uint8_t* data, int width, int height, int stride, PixelFormat format,
                      ReleaseFunction release, void* context);
    // Copies, converting to premultiplied BGRA, or to gray8 for a one-channel QImage.
    static Image fromQImage(const QImage& image);
    // Copies straight or premultiplied RGBA bytes (R, G, B, A in memory).
    static Image fromRgba(const std::uint8_t* data, int width, int height, int stride, bool premultiplied);

    bool isNull() const { return m_buffer == nullptr; }
    explicit operator bool() const { return m_buffer != nullptr; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int stride() const { return m_stride; }
    PixelFormat format() const { return m_format; }
    int bytesPerPixel() const { return m_format == PixelFormat::gray8 ? 1 : 4; }

    // Row `y` counted from the top.
    const std::uint8_t* constRow(int y) const { return m_data + std::ptrdiff_t(y) * m_stride; }
    // Writable row; detaches first when the pixels are shared.
    std::uint8_t* row(int y);
    bool isShared() const;
    void detach();

    Rect extent() const { return {m_originX, m_originY, double(m_width), double(m_height)}; }
    Point origin() const { return {m_originX, m_originY}; }
    void setOrigin(Point origin) {
        m_originX = origin.x;
        m_originY = origin.y;
    }
    // The same pixels placed elsewhere; no pixel work.
    Image translated(double dx, double dy) const;
    // A rectangle of this image's own pixel grid (x from the left, y from the top), clipped to it; shares
    // the pixels. Its extent is where those pixels lay in this image's extent.
    Image pixelView(int x, int y, int width, int height) const;
    // These pixels resampled to width by height into a pooled buffer, averaging boxes when shrinking so
    // that fine detail does not alias; the extent keeps its origin. A null image when either size is not
    // positive or this image is gray.
    Image resampled(int width, int height) const;

    // Set by producers that know every alpha is 255 (decoded video, backgrounds); lets the compositor
    // write instead of blend. Pixel writes through `row()` keep it as it is.
    bool isOpaque() const { return m_opaque; }
    void setOpaque(bool opaque) { m_opaque = opaque; }

    // Every pixel to one premultiplied colour (0xAARRGGBB), or every byte of a gray image to `value`.
    void fill(std::uint32_t premultipliedArgb);
    void fillGray(std::uint8_t value);

    // The pixel at (x, y), y from the top row, as premultiplied 0xAARRGGBB; a gray pixel reads as
    // 0xFF000000 | v * 0x010101. Outside the image: 0.
    std::uint32_t pixel(int x, int y) const;

    // A deep copy for files and probes: Format_ARGB32_Premultiplied or Format_Grayscale8.
    QImage toQImage() const;
    // A QImage over these very pixels, for QPainter; detaches first. Valid while this image lives and
    // is not reassigned.
    QImage paintableView();

private:
    PixelBuffer* m_buffer = nullptr;
    std::uint8_t* m_data = nullptr;
    int m_width = 0;
    int m_height = 0;
    int m_stride = 0;
    PixelFormat m_format = PixelFormat::bgra8Premultiplied;
    bool m_opaque = false;
    double m_originX = 0;
    double m_originY = 0;
};

// Premultiplies a straight colour given as 0...1 channels into 0xAARRGGBB, each channel rounded.
std::uint32_t premultipliedArgb(double r, double g, double b, double a);

} // namespace orvane
