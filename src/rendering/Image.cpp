#include "Image.h"

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvane {

namespace {
int strideFor(int width, PixelFormat format) {
    const int bpp = format == PixelFormat::gray8 ? 1 : 4;
    const int a = int(ImagePool::rowAlignment);
    return (width * bpp + a - 1) / a * a;
}

std::uint8_t channel(double v) {
    return std::uint8_t(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
}
} // namespace

std::uint32_t premultipliedArgb(double r, double g, double b, double a) {
    a = std::clamp(a, 0.0, 1.0);
    const std::uint32_t A = channel(a);
    return (A << 24) | (std::uint32_t(channel(r * a)) << 16) | (std::uint32_t(channel(g * a)) << 8) |
           channel(b * a);
}

Image::Image(const Image& other)
    : m_buffer(other.m_buffer)
    , m_data(other.m_data)
    , m_width(other.m_width)
    , m_height(other.m_height)
    , m_stride(other.m_stride)
    , m_format(other.m_format)
    , m_opaque(other.m_opaque)
    , m_originX(other.m_originX)
    , m_originY(other.m_originY) {
    if (m_buffer)
        m_buffer->handles.fetch_add(1, std::memory_order_relaxed);
}

Image::Image(Image&& other) noexcept
    : m_buffer(std::exchange(other.m_buffer, nullptr))
    , m_data(std::exchange(other.m_data, nullptr))
    , m_width(std::exchange(other.m_width, 0))
    , m_height(std::exchange(other.m_height, 0))
    , m_stride(std::exchange(other.m_stride, 0))
    , m_format(other.m_format)
    , m_opaque(other.m_opaque)
    , m_originX(other.m_originX)
    , m_originY(other.m_originY) {}

Image& Image::operator=(const Image& other) {
    if (this != &other) {
        Image copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Image& Image::operator=(Image&& other) noexcept {
    if (this != &other) {
        releasePixelBuffer(m_buffer);
        m_buffer = std::exchange(other.m_buffer, nullptr);
        m_data = std::exchange(other.m_data, nullptr);
        m_width = std::exchange(other.m_width, 0);
        m_height = std::exchange(other.m_height, 0);
        m_stride = std::exchange(other.m_stride, 0);
        m_format = other.m_format;
        m_opaque = other.m_opaque;
        m_originX = other.m_originX;
        m_originY = other.m_originY;
    }
    return *this;
}

Image::~Image() {
    releasePixelBuffer(m_buffer);
}

Image Image::allocate(int width, int height, PixelFormat format) {
    Image image;
    if (width <= 0 || height <= 0)
        return image;
    const int stride = strideFor(width, format);
    PixelBuffer* buffer = ImagePool::shared().acquire(std::size_t(stride) * std::size_t(height));
    if (!buffer)
        return image;
    image.m_buffer = buffer;
    image.m_data = buffer->data;
    image.m_width = width;
    image.m_height = height;
    image.m_stride = stride;
    image.m_format = format;
    return image;
}

Image Image::cleared(int width, int height, PixelFormat format) {
    Image image = allocate(width, height, format);
    if (image)
        std::memset(image.m_data, 0, std::size_t(image.m_stride) * std::size_t(height));
    return image;
}

Image Image::wrap(std::uint8_t* data, int width, int height, int stride, PixelFormat format,
                  ReleaseFunction release, void* context) {
    Image image;
    if (!data || width <= 0 || height <= 0) {
        if (release)
            release(context);
        return image;
    }
    image.m_buffer = ImagePool::shared().wrap(data, release, context);
    image.m_data = data;
    image.m_width = width;
    image.m_height = height;
    image.m_stride = stride;
    image.m_format = format;
    return image;
}

Image Image::fromQImage(const QImage& source) {
    if (source.isNull())
        return {};
    const bool gray =
        source.format() == QImage::Format_Grayscale8 || source.format() == QImage::Format_Alpha8;
    const PixelFormat format = gray ? PixelFormat::gray8 : PixelFormat::bgra8Premultiplied;
    const QImage converted = gray ? source : source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    Image image = allocate(converted.width(), converted.height(), format);
    if (!image)
        return image;
    const std::size_t bytes = std::size_t(converted.width()) * std::size_t(image.bytesPerPixel());
    bool opaque = !gray;
    for (int y = 0; y < converted.height(); ++y) {
        std::uint8_t* row = image.m_data + std::ptrdiff_t(y) * image.m_stride;
        std::memcpy(row, converted.constScanLine(y), bytes);
        if (opaque && source.hasAlphaChannel())
            for (int x = 0; x < converted.width() && opaque; ++x)
                opaque = row[4 * x + 3] == 255;
    }
    image.m_opaque = opaque;
    return image;
}

Image Image::fromRgba(const std::uint8_t* data, int width, int height, int stride, bool premultiplied) {
    Image image = allocate(width, height);
    if (!image)
        return image;
    // libyuv names formats by a little-endian word: its "ABGR" is R, G, B, A in memory, its "ARGB" ours.
    libyuv::ABGRToARGB(data, stride, image.m_data, image.m_stride, width, height);
    if (!premultiplied)
        libyuv::ARGBAttenuate(image.m_data, image.m_stride, image.m_data, image.m_stride, width, height);
    return image;
}

Image Image::resampled(int width, int height) const {
    if (isNull() || m_format == PixelFormat::gray8 || width <= 0 || height <= 0)
        return {};
    Image image = allocate(width, height);
    if (!image)
        return image;
    // Linear filters are exact on premultiplied pixels, so no unpremultiplying around the scale.
    libyuv::ARGBScale(m_data, m_stride, m_width, m_height, image.m_data, image.m_stride, width, height,
                      libyuv::kFilterBox);
    image.m_originX = m_originX;
    image.m_originY = m_originY;
    image.m_opaque = m_opaque;
    return image;
}

std::uint8_t* Image::row(int y) {
    detach();
    return m_data + std::ptrdiff_t(y) * m_stride;
}

bool Image::isShared() const {
    return m_buffer && m_buffer->handles.load(std::memory_order_acquire) > 1;
}

void Image::detach() {
    if (!isShared())
        return;
    Image copy = allocate(m_width, m_height, m_format);
    if (!copy)
        return;
    const std::size_t bytes = std::size_t(m_width) * std::size_t(bytesPerPixel());
    for (int y = 0; y < m_height; ++y)
        std::memcpy(copy.m_data + std::ptrdiff_t(y) * copy.m_stride, constRow(y), bytes);
    copy.m_opaque = m_opaque;
    copy.m_originX = m_originX;
    copy.m_originY = m_originY;
    *this = std::move(copy);
}

Image Image::translated(double dx, double dy) const {
    Image moved(*this);
    moved.m_originX += dx;
    moved.m_originY += dy;
    return moved;
}

Image Image::pixelView(int x, int y, int width, int height) const {
    const int x0 = std::clamp(x, 0, m_width);
    const int y0 = std::clamp(y, 0, m_height);
    const int x1 = std::clamp(x + width, 0, m_width);
    const int y1 = std::clamp(y + height, 0, m_height);
    if (x1 <= x0 || y1 <= y0)
        return {};
    Image view(*this);
    view.m_data = m_data + std::ptrdiff_t(y0) * m_stride + std::ptrdiff_t(x0) * bytesPerPixel();
    view.m_width = x1 - x0;
    view.m_height = y1 - y0;
    view.m_originX = m_originX + x0;
    view.m_originY = m_originY + (m_height - y1);
    return view;
}

void Image::fill(std::uint32_t argb) {
    if (isNull())
        return;
    detach();
    if (m_format == PixelFormat::gray8) {
        fillGray(std::uint8_t(argb >> 24));
        return;
    }
    for (int y = 0; y < m_height; ++y) {
        auto* p = reinterpret_cast<std::uint32_t*>(m_data + std::ptrdiff_t(y) * m_stride);
        std::fill(p, p + m_width, argb);
    }
    m_opaque = (argb >> 24) == 255;
}

void Image::fillGray(std::uint8_t value) {
    if (isNull())
        return;
    detach();
    for (int y = 0; y < m_height; ++y)
        std::memset(m_data + std::ptrdiff_t(y) * m_stride, value, std::size_t(m_width) * bytesPerPixel());
}

std::uint32_t Image::pixel(int x, int y) const {
    if (isNull() || x < 0 || y < 0 || x >= m_width || y >= m_height)
        return 0;
    const std::uint8_t* r = constRow(y);
    if (m_format == PixelFormat::gray8)
        return 0xFF000000u | (std::uint32_t(r[x]) * 0x010101u);
    std::uint32_t v;
    std::memcpy(&v, r + std::ptrdiff_t(x) * 4, 4);
    return v;
}

QImage Image::toQImage() const {
    if (isNull())
        return {};
    const QImage::Format f =
        m_format == PixelFormat::gray8 ? QImage::Format_Grayscale8 : QImage::Format_ARGB32_Premultiplied;
    QImage out(m_width, m_height, f);
    const std::size_t bytes = std::size_t(m_width) * std::size_t(bytesPerPixel());
    for (int y = 0; y < m_height; ++y)
        std::memcpy(out.scanLine(y), constRow(y), bytes);
    return out;
}

QImage Image::paintableView() {
    if (isNull())
        return {};
    detach();
    const QImage::Format f =
        m_format == PixelFormat::gray8 ? QImage::Format_Alpha8 : QImage::Format_ARGB32_Premultiplied;
    return QImage(m_data, m_width, m_height, m_stride, f);
}

} // namespace orvane
