// Gaussian blur for imageops: an exact kernel for small deviations, three box passes per axis above.
#include "ImageOps.h"
#include "PixelKernels.h"
#include "Resampler.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace orvane::imageops {

namespace {

// From sigma 3 the three-box stand-in is within 3/255 of a true Gaussian on a step edge; below it the
// widths are too coarse, and an exact kernel is cheap anyway.
constexpr double boxThreshold = 3.0;
// From here colour images are blurred at a reduced size: the work then no longer grows with the picture's
// area at full resolution, and the box and tent filters of going down and up are small next to sigma.
constexpr double reducedThreshold = 8.0;
constexpr double reducedSigma = 4.0;

Image halved(const Image& image) {
    const int w = image.width() / 2;
    const int h = image.height() / 2;
    Image out = Image::allocate(w, h);
    if (out.isNull())
        return out;
    for (int y = 0; y < h; ++y)
        pixelKernels().halve(image.constRow(2 * y), image.constRow(2 * y + 1), out.row(y), w);
    return out;
}

Image blurAtFullSize(const Image& image, double sigma, BlurEdges edges);

// Down 2^k by box levels, blurred there, and back up bilinearly. The box of width 2^k and the tent of the
// upscale add variances of (4^k - 1) / 12 and 4^k / 6, which come off the blur done at the small size.
Image blurReduced(const Image& image, double sigma, BlurEdges edges) {
    int k = 0;
    while (k < 5 && sigma / double(2 << k) >= reducedSigma && (image.width() >> (k + 1)) >= 8 &&
           (image.height() >> (k + 1)) >= 8)
        ++k;
    const double f = double(1 << k);
    // Whole blocks of 2^k: the edge pixels are repeated (or clear) out to the next multiple, so the levels
    // keep every column and the way back up is an exact factor.
    const int step = 1 << k;
    const int pw = (image.width() + step - 1) / step * step;
    const int ph = (image.height() + step - 1) / step * step;
    Image small = Image::cleared(pw, ph);
    if (small.isNull())
        return blurAtFullSize(image, sigma, edges);
    const bool extend = edges == BlurEdges::clamp;
    for (int y = 0; y < ph; ++y) {
        if (y >= image.height() && !extend)
            break;
        const std::uint8_t* from = image.constRow(std::min(y, image.height() - 1));
        std::uint8_t* to = small.row(y);
        std::memcpy(to, from, std::size_t(image.width()) * 4);
        for (int x = image.width(); extend && x < pw; ++x)
            std::memcpy(to + 4 * x, from + 4 * (image.width() - 1), 4);
    }
    for (int i = 0; i < k && !small.isNull(); ++i)
        small = halved(small);
    if (small.isNull())
        return blurAtFullSize(image, sigma, edges);
    const double variance = sigma * sigma - (f * f - 1) / 12 - f * f / 6;
    const Image blurredSmall = blurAtFullSize(small, std::sqrt(std::max(variance, 0.0)) / f, edges);

    const bool clamp = edges == BlurEdges::clamp;
    const int grow = clamp ? 0 : int(std::ceil(3.0 * sigma));
    Image out = Image::cleared(image.width() + 2 * grow, image.height() + 2 * grow);
    if (out.isNull())
        return image;
    out.setOrigin(image.origin() - Point{double(grow), double(grow)});
    const double smallGrow = (blurredSmall.width() - small.width()) / 2.0;
    thread_local Resampler upscale;
    upscale.draw(out, blurredSmall, Rect{0, 0, double(blurredSmall.width()), double(blurredSmall.height())},
                 Rect{grow - smallGrow * f, grow - smallGrow * f, blurredSmall.width() * f,
                      blurredSmall.height() * f});
    out.setOpaque(clamp && image.isOpaque());
    return out;
}

// Odd box widths whose three variances add up to sigma squared as closely as whole widths allow.
std::array<int, 3> boxWidths(double sigma) {
    constexpr int n = 3;
    const double ideal = std::sqrt(12.0 * sigma * sigma / n + 1.0);
    int lower = int(std::floor(ideal));
    if (lower % 2 == 0)
        --lower;
    const int upper = lower + 2;
    const double m =
        (12.0 * sigma * sigma - n * lower * lower - 4.0 * n * lower - 3.0 * n) / (-4.0 * lower - 4.0);
    const int smaller = int(std::lround(m));
    std::array<int, 3> widths{};
    for (int i = 0; i < n; ++i)
        widths[std::size_t(i)] = i < smaller ? lower : upper;
    return widths;
}

// Sums of up to 65280 * width, divided by width through a 32.32 reciprocal.
struct Divider {
    explicit Divider(int width)
        : reciprocal((std::uint64_t(1) << 32) / std::uint64_t(width) + 1) {}
    std::uint16_t operator()(std::uint32_t sum) const {
        return std::uint16_t((std::uint64_t(sum) * reciprocal) >> 32);
    }
    std::uint64_t reciprocal;
};

// One box pass along rows: `count` lines of `length` pixels, `channels` interleaved, lines `pitch` apart.
void boxAlongRows(const std::uint16_t* in, std::uint16_t* out, int lines, int length, int channels,
                  std::size_t pitch, int width, bool clamp) {
    const int r = (width - 1) / 2;
    const Divider divide(width);
    for (int line = 0; line < lines; ++line) {
        const std::uint16_t* src = in + pitch * std::size_t(line);
        std::uint16_t* dst = out + pitch * std::size_t(line);
        for (int c = 0; c < channels; ++c) {
            const auto at = [&](int x) -> std::uint32_t {
                if (x < 0)
                    return clamp ? src[c] : 0u;
                if (x >= length)
                    return clamp ? src[std::size_t(length - 1) * channels + c] : 0u;
                return src[std::size_t(x) * channels + c];
            };
            std::uint32_t sum = 0;
            for (int k = -r; k <= r; ++k)
                sum += at(k);
            for (int x = 0; x < length; ++x) {
                dst[std::size_t(x) * channels + c] = divide(sum);
                sum += at(x + r + 1);
                sum -= at(x - r);
            }
        }
    }
}

// One box pass down the columns, a whole row at a time so memory is read in order.
void boxAlongColumns(const std::uint16_t* in, std::uint16_t* out, int rows, std::size_t rowElements,
                     int width, bool clamp, std::vector<std::uint32_t>& sums) {
    const int r = (width - 1) / 2;
    const Divider divide(width);
    sums.assign(rowElements, 0);
    const auto row = [&](int y) -> const std::uint16_t* {
        if (y < 0)
            return clamp ? in : nullptr;
        if (y >= rows)
            return clamp ? in + rowElements * std::size_t(rows - 1) : nullptr;
        return in + rowElements * std::size_t(y);
    };
    for (int k = -r; k <= r; ++k)
        if (const std::uint16_t* p = row(k))
            for (std::size_t i = 0; i < rowElements; ++i)
                sums[i] += p[i];
    for (int y = 0; y < rows; ++y) {
        std::uint16_t* dst = out + rowElements * std::size_t(y);
        for (std::size_t i = 0; i < rowElements; ++i)
            dst[i] = divide(sums[i]);
        const std::uint16_t* entering = row(y + r + 1);
        const std::uint16_t* leaving = row(y - r);
        if (entering)
            for (std::size_t i = 0; i < rowElements; ++i)
                sums[i] += entering[i];
        if (leaving)
            for (std::size_t i = 0; i < rowElements; ++i)
                sums[i] -= leaving[i];
    }
}

} // namespace

Image gaussianBlur(const Image& image, double sigma, BlurEdges edges) {
    if (image.isNull() || !(sigma >= 0.3) || !std::isfinite(sigma))
        return image;
    if (sigma >= reducedThreshold && image.format() == PixelFormat::bgra8Premultiplied)
        return blurReduced(image, sigma, edges);
    return blurAtFullSize(image, sigma, edges);
}

namespace {

Image blurAtFullSize(const Image& image, double sigma, BlurEdges edges) {
    if (image.isNull() || !(sigma >= 0.3) || !std::isfinite(sigma))
        return image;
    const bool gray = image.format() == PixelFormat::gray8;
    const int channels = gray ? 1 : 4;
    const bool clamp = edges == BlurEdges::clamp;
    const int grow = clamp ? 0 : int(std::ceil(3.0 * sigma));
    const int w = image.width() + 2 * grow;
    const int h = image.height() + 2 * grow;
    Image out = Image::allocate(w, h, image.format());
    if (out.isNull())
        return image;
    out.setOrigin(image.origin() - Point{double(grow), double(grow)});
    const int cvType = gray ? CV_8UC1 : CV_8UC4;

    if (sigma < boxThreshold) {
        Image padded = Image::cleared(w, h, image.format());
        if (padded.isNull())
            return image;
        const std::size_t bytes = std::size_t(image.width()) * std::size_t(channels);
        for (int y = 0; y < image.height(); ++y)
            std::memcpy(padded.row(y + grow) + std::size_t(grow) * channels, image.constRow(y), bytes);
        const cv::Mat in(h, w, cvType, padded.row(0), std::size_t(padded.stride()));
        cv::Mat dst(h, w, cvType, out.row(0), std::size_t(out.stride()));
        const int radius = int(std::ceil(3.0 * sigma));
        cv::GaussianBlur(in, dst, cv::Size(2 * radius + 1, 2 * radius + 1), sigma, sigma,
                         clamp ? cv::BORDER_REPLICATE : cv::BORDER_CONSTANT);
        return out;
    }

    // Scratch kept per thread, so a blur per frame settles into reusing it.
    thread_local std::vector<std::uint16_t> a;
    thread_local std::vector<std::uint16_t> b;
    thread_local std::vector<std::uint32_t> sums;
    const std::size_t rowElements = std::size_t(w) * std::size_t(channels);
    a.assign(rowElements * std::size_t(h), 0);
    b.resize(a.size());
    for (int y = 0; y < image.height(); ++y) {
        const std::uint8_t* src = image.constRow(y);
        std::uint16_t* dst = a.data() + rowElements * std::size_t(y + grow) + std::size_t(grow) * channels;
        for (std::size_t i = 0; i < std::size_t(image.width()) * channels; ++i)
            dst[i] = std::uint16_t(src[i] << 8);
    }
    const auto widths = boxWidths(sigma);
    for (int width : widths) {
        boxAlongRows(a.data(), b.data(), h, w, channels, rowElements, width, clamp);
        std::swap(a, b);
    }
    for (int width : widths) {
        boxAlongColumns(a.data(), b.data(), h, rowElements, width, clamp, sums);
        std::swap(a, b);
    }
    for (int y = 0; y < h; ++y) {
        const std::uint16_t* src = a.data() + rowElements * std::size_t(y);
        std::uint8_t* dst = out.row(y);
        for (std::size_t i = 0; i < rowElements; ++i)
            dst[i] = std::uint8_t(std::min<std::uint32_t>(255u, (std::uint32_t(src[i]) + 128u) >> 8));
    }
    return out;
}

} // namespace

} // namespace orvane::imageops
