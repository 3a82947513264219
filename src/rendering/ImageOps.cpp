#include "ImageOps.h"

#include "PixelKernels.h"
#include "Resampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvane::imageops {

namespace {

constexpr double snap = 1e-6;

int floorSnapped(double v) {
    return int(std::floor(v + snap));
}
int ceilSnapped(double v) {
    return int(std::ceil(v - snap));
}
bool isWhole(double v) {
    return std::abs(v - std::round(v)) < snap;
}

// Whole canvas pixels around a rectangle, as an extent.
Rect pixelBounds(const Rect& r) {
    const int x0 = floorSnapped(r.minX());
    const int y0 = floorSnapped(r.minY());
    const int x1 = ceilSnapped(r.maxX());
    const int y1 = ceilSnapped(r.maxY());
    return {double(x0), double(y0), double(std::max(0, x1 - x0)), double(std::max(0, y1 - y0))};
}

Image allocateOver(const Rect& bounds, PixelFormat format = PixelFormat::bgra8Premultiplied) {
    Image image = Image::allocate(int(bounds.width), int(bounds.height), format);
    image.setOrigin(bounds.origin());
    return image;
}

// Reads an image at a canvas point (pixel centres at .5), bilinear, zero outside its extent. Gray images
// give their value in every channel.
struct Sampler {
    const Image& image;

    void read(double canvasX, double canvasY, float out[4]) const {
        out[0] = out[1] = out[2] = out[3] = 0;
        if (image.isNull())
            return;
        const double u = canvasX - image.origin().x - 0.5;
        const double v = image.origin().y + image.height() - canvasY - 0.5;
        const double fu = std::floor(u);
        const double fv = std::floor(v);
        const int x = int(fu);
        const int y = int(fv);
        const float wx = float(u - fu);
        const float wy = float(v - fv);
        const float w[4] = {(1 - wx) * (1 - wy), wx * (1 - wy), (1 - wx) * wy, wx * wy};
        const int xs[4] = {x, x + 1, x, x + 1};
        const int ys[4] = {y, y, y + 1, y + 1};
        const bool gray = image.format() == PixelFormat::gray8;
        for (int k = 0; k < 4; ++k) {
            if (w[k] == 0 || xs[k] < 0 || ys[k] < 0 || xs[k] >= image.width() || ys[k] >= image.height())
                continue;
            const std::uint8_t* p = image.constRow(ys[k]) + (gray ? xs[k] : 4 * xs[k]);
            for (int c = 0; c < 4; ++c)
                out[c] += w[k] * (gray ? p[0] : p[c]);
        }
    }
};

} // namespace

Image cropped(const Image& image, const Rect& rect) {
    if (image.isNull())
        return image;
    const Point o = image.origin();
    const double left = rect.minX() - o.x;
    const double right = rect.maxX() - o.x;
    const double top = o.y + image.height() - rect.maxY();
    const double bottom = o.y + image.height() - rect.minY();
    const int x0 = floorSnapped(left);
    const int y0 = floorSnapped(top);
    return image.pixelView(x0, y0, ceilSnapped(right) - x0, ceilSnapped(bottom) - y0);
}

void compositeOver(Image& canvas, const Image& top, Resampler* resampler) {
    if (canvas.isNull() || top.isNull() || top.format() != PixelFormat::bgra8Premultiplied ||
        canvas.format() != PixelFormat::bgra8Premultiplied)
        return;
    // Where top's top-left corner lies in the canvas's own pixel grid, y down.
    const double dx = top.origin().x - canvas.origin().x;
    const double dy = (canvas.origin().y + canvas.height()) - (top.origin().y + top.height());
    if (!isWhole(dx) || !isWhole(dy)) {
        thread_local Resampler shared;
        Resampler& r = resampler ? *resampler : shared;
        r.draw(canvas, top, Rect{0, 0, double(top.width()), double(top.height())},
               Rect{dx, dy, double(top.width()), double(top.height())});
        return;
    }
    const int ox = int(std::lround(dx));
    const int oy = int(std::lround(dy));
    const int x0 = std::max(0, ox);
    const int x1 = std::min(canvas.width(), ox + top.width());
    const int y0 = std::max(0, oy);
    const int y1 = std::min(canvas.height(), oy + top.height());
    if (x0 >= x1 || y0 >= y1)
        return;
    const PixelKernels& kernels = pixelKernels();
    for (int y = y0; y < y1; ++y) {
        const std::uint8_t* src = top.constRow(y - oy) + std::ptrdiff_t(x0 - ox) * 4;
        std::uint8_t* dst = canvas.row(y) + std::ptrdiff_t(x0) * 4;
        if (top.isOpaque())
            std::memcpy(dst, src, std::size_t(x1 - x0) * 4);
        else
            kernels.blendOver(dst, src, x1 - x0);
    }
}

Image blendWithMask(const Image& input, const Image& background, const Image& mask) {
    if (input.isNull() || input.format() != PixelFormat::bgra8Premultiplied)
        return input;
    Image out = allocateOver(input.extent());
    if (out.isNull())
        return input;
    const Sampler maskSampler{mask};
    const Sampler backgroundSampler{background};
    const double ox = input.origin().x;
    const double top = input.origin().y + input.height();
    for (int y = 0; y < input.height(); ++y) {
        const std::uint8_t* in = input.constRow(y);
        std::uint8_t* o = out.row(y);
        const double cy = top - y - 0.5;
        for (int x = 0; x < input.width(); ++x) {
            const double cx = ox + x + 0.5;
            float m[4];
            maskSampler.read(cx, cy, m);
            const float k = m[0] / 255.0f;
            float b[4] = {0, 0, 0, 0};
            if (k < 1.0f)
                backgroundSampler.read(cx, cy, b);
            for (int c = 0; c < 4; ++c)
                o[4 * x + c] =
                    std::uint8_t(std::lround(std::clamp(in[4 * x + c] * k + b[c] * (1 - k), 0.0f, 255.0f)));
        }
    }
    return out;
}

Image solid(const Rect& extent, const RGBAColor& color) {
    Image out = allocateOver(pixelBounds(extent));
    out.fill(premultipliedArgb(color.r, color.g, color.b, color.a));
    return out;
}

Image linearGradient(const Rect& extent, Point p0, Point p1, const RGBAColor& color0,
                     const RGBAColor& color1) {
    const Rect bounds = pixelBounds(extent);
    Image out = allocateOver(bounds);
    if (out.isNull())
        return out;
    const double vx = p1.x - p0.x;
    const double vy = p1.y - p0.y;
    const double length2 = vx * vx + vy * vy;
    const double c0[4] = {color0.r, color0.g, color0.b, color0.a};
    const double c1[4] = {color1.r, color1.g, color1.b, color1.a};
    bool opaque = true;
    for (int y = 0; y < out.height(); ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(out.row(y));
        const double cy = bounds.maxY() - y - 0.5;
        for (int x = 0; x < out.width(); ++x) {
            const double cx = bounds.minX() + x + 0.5;
            double t = length2 > 0 ? ((cx - p0.x) * vx + (cy - p0.y) * vy) / length2 : 0.0;
            t = std::clamp(t, 0.0, 1.0);
            double c[4];
            for (int k = 0; k < 4; ++k)
                c[k] = c0[k] + (c1[k] - c0[k]) * t;
            row[x] = premultipliedArgb(c[0], c[1], c[2], c[3]);
            opaque = opaque && (row[x] >> 24) == 255;
        }
    }
    out.setOpaque(opaque);
    return out;
}

Image colorMatrix(const Image& image, const ColorMatrix& m) {
    if (image.isNull() || image.format() != PixelFormat::bgra8Premultiplied)
        return image;
    Image out = allocateOver(image.extent());
    if (out.isNull())
        return image;
    const bool alphaScaleOnly = m.r == std::array<float, 4>{1, 0, 0, 0} &&
                                m.g == std::array<float, 4>{0, 1, 0, 0} &&
                                m.b == std::array<float, 4>{0, 0, 1, 0} && m.a[0] == 0 && m.a[1] == 0 &&
                                m.a[2] == 0 && m.bias == std::array<float, 4>{0, 0, 0, 0};
    const std::size_t bytes = std::size_t(image.width()) * 4;
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t* in = image.constRow(y);
        std::uint8_t* o = out.row(y);
        if (alphaScaleOnly) {
            // Premultiplied colour scales with its alpha, so this needs no unpremultiply.
            const std::uint32_t k = std::uint32_t(std::lround(std::clamp(m.a[3], 0.0f, 1.0f) * 255.0f));
            for (std::size_t i = 0; i < bytes; ++i)
                o[i] = std::uint8_t(divideBy255(in[i] * k));
            continue;
        }
        for (int x = 0; x < image.width(); ++x) {
            const std::uint8_t* p = in + 4 * x;
            const float a = p[3] / 255.0f;
            // Bytes are B, G, R, A; the matrix speaks of R, G, B, A.
            const float v[4] = {a > 0 ? p[2] / 255.0f / a : 0, a > 0 ? p[1] / 255.0f / a : 0,
                                a > 0 ? p[0] / 255.0f / a : 0, a};
            const auto dot = [&](const std::array<float, 4>& row, float bias) {
                return std::clamp(row[0] * v[0] + row[1] * v[1] + row[2] * v[2] + row[3] * v[3] + bias, 0.0f,
                                  1.0f);
            };
            const float r = dot(m.r, m.bias[0]);
            const float g = dot(m.g, m.bias[1]);
            const float b = dot(m.b, m.bias[2]);
            const float na = dot(m.a, m.bias[3]);
            std::uint8_t* q = o + 4 * x;
            q[0] = std::uint8_t(std::lround(b * na * 255.0f));
            q[1] = std::uint8_t(std::lround(g * na * 255.0f));
            q[2] = std::uint8_t(std::lround(r * na * 255.0f));
            q[3] = std::uint8_t(std::lround(na * 255.0f));
        }
    }
    return out;
}

} // namespace orvane::imageops
