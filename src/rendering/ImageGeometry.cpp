// The resampling operations of imageops: affine and projective warps, through OpenCV's bilinear warps.
#include "ImageOps.h"
#include "PixelKernels.h"
#include "Resampler.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace orvane::imageops {

namespace {

constexpr double snap = 1e-6;

Rect pixelBounds(const Rect& r) {
    const int x0 = int(std::floor(r.minX() + snap));
    const int y0 = int(std::floor(r.minY() + snap));
    const int x1 = int(std::ceil(r.maxX() - snap));
    const int y1 = int(std::ceil(r.maxY() - snap));
    return {double(x0), double(y0), double(std::max(0, x1 - x0)), double(std::max(0, y1 - y0))};
}

cv::Mat matOf(const Image& image) {
    return cv::Mat(image.height(), image.width(), CV_8UC4, const_cast<std::uint8_t*>(image.constRow(0)),
                   std::size_t(image.stride()));
}

// One 2 by 2 box level below `image`, same extent.
Image halved(const Image& image) {
    const int w = image.width() / 2;
    const int h = image.height() / 2;
    Image out = Image::allocate(w, h);
    if (out.isNull())
        return out;
    for (int y = 0; y < h; ++y)
        pixelKernels().halve(image.constRow(2 * y), image.constRow(2 * y + 1), out.row(y), w);
    out.setOrigin(image.origin());
    out.setOpaque(image.isOpaque());
    return out;
}

// Box levels until the scale, multiplied by the level's size factor, is at least one half. Returns the
// factor from the level's pixels to the original's.
double prefilter(Image& image, double scale) {
    const int level = Resampler::levelFor(scale);
    double factor = 1;
    for (int l = 0; l < level && image.width() >= 2 && image.height() >= 2; ++l) {
        Image next = halved(image);
        if (next.isNull())
            break;
        image = std::move(next);
        factor *= 2;
    }
    return factor;
}

} // namespace

Image transformed(const Image& image, const AffineTransform& t, Outside outside) {
    if (image.isNull() || image.format() != PixelFormat::bgra8Premultiplied)
        return image;
    if (t.isTranslation())
        return image.translated(t.tx, t.ty);
    AffineTransform inverse;
    if (!t.inverted(inverse))
        return image;
    const Rect bounds = pixelBounds(t.apply(image.extent()));
    if (bounds.width <= 0 || bounds.height <= 0 || bounds.width * bounds.height > 1e9)
        return image;

    // The smallest scale the map applies in any direction: its smaller singular value.
    const double e = (t.a * t.a + t.b * t.b + t.c * t.c + t.d * t.d) / 2;
    const double det = std::abs(t.determinant());
    const double smallest = std::sqrt(std::max(0.0, e - std::sqrt(std::max(0.0, e * e - det * det))));
    Image source = image;
    const double factor = prefilter(source, smallest);

    // Output pixel index -> canvas -> original extent -> source level pixel index, as one affine map.
    const Rect src = image.extent();
    const auto map = [&](double i, double j) {
        const Point canvas{bounds.minX() + i + 0.5, bounds.maxY() - j - 0.5};
        const Point p = inverse.apply(canvas);
        return Point{(p.x - src.minX()) / factor - 0.5, (src.maxY() - p.y) / factor - 0.5};
    };
    const Point o = map(0, 0);
    const Point ex = map(1, 0) - o;
    const Point ey = map(0, 1) - o;
    const cv::Matx23d m(ex.x, ey.x, o.x, ex.y, ey.y, o.y);

    Image out = Image::allocate(int(bounds.width), int(bounds.height));
    if (out.isNull())
        return image;
    out.setOrigin(bounds.origin());
    cv::Mat dst = matOf(out);
    cv::warpAffine(matOf(source), dst, m, dst.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                   outside == Outside::extend ? cv::BORDER_REPLICATE : cv::BORDER_CONSTANT,
                   cv::Scalar::all(0));
    out.setOpaque(outside == Outside::extend && image.isOpaque());
    return out;
}

Image perspectiveWarp(const Image& image, Point topLeft, Point topRight, Point bottomLeft, Point bottomRight,
                      std::optional<Rect> from) {
    if (image.isNull() || image.format() != PixelFormat::bgra8Premultiplied)
        return image;
    const double x0 = std::min({topLeft.x, topRight.x, bottomLeft.x, bottomRight.x});
    const double x1 = std::max({topLeft.x, topRight.x, bottomLeft.x, bottomRight.x});
    const double y0 = std::min({topLeft.y, topRight.y, bottomLeft.y, bottomRight.y});
    const double y1 = std::max({topLeft.y, topRight.y, bottomLeft.y, bottomRight.y});
    const Rect bounds = pixelBounds(Rect{x0, y0, x1 - x0, y1 - y0});
    if (bounds.width <= 0 || bounds.height <= 0)
        return image;

    // Shrinking more than an octave along an edge goes through box levels first.
    const double w = image.width();
    const double h = image.height();
    const double scale = std::min({topLeft.distance(topRight) / w, bottomLeft.distance(bottomRight) / w,
                                   topLeft.distance(bottomLeft) / h, topRight.distance(bottomRight) / h});
    Image source = image;
    const double factor = prefilter(source, scale);

    // Continuous coordinates, y down: the corners of `from` in the level's pixels to the points inside
    // the output.
    const Rect logical = from.value_or(image.extent());
    const Rect e = image.extent();
    const auto in = [&](double x, double y) {
        return cv::Point2f(float((x - e.minX()) / factor), float((e.maxY() - y) / factor));
    };
    const auto out = [&](Point p) {
        return cv::Point2f(float(p.x - bounds.minX()), float(bounds.maxY() - p.y));
    };
    const cv::Point2f corners[4] = {in(logical.minX(), logical.maxY()), in(logical.maxX(), logical.maxY()),
                                    in(logical.minX(), logical.minY()), in(logical.maxX(), logical.minY())};
    const cv::Point2f to[4] = {out(topLeft), out(topRight), out(bottomLeft), out(bottomRight)};
    const cv::Matx33d forward = cv::Matx33d(cv::getPerspectiveTransform(corners, to));
    bool invertible = true;
    const cv::Matx33d backward = forward.inv(cv::DECOMP_LU, &invertible);
    if (!invertible)
        return image;
    // Pixel indices sit half a pixel before continuous centres.
    const cv::Matx33d toCentre(1, 0, 0.5, 0, 1, 0.5, 0, 0, 1);
    const cv::Matx33d toIndex(1, 0, -0.5, 0, 1, -0.5, 0, 0, 1);
    const cv::Matx33d m = toIndex * backward * toCentre;

    Image result = Image::allocate(int(bounds.width), int(bounds.height));
    if (result.isNull())
        return image;
    result.setOrigin(bounds.origin());
    cv::Mat dst = matOf(result);
    cv::warpPerspective(matOf(source), dst, m, dst.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                        cv::BORDER_CONSTANT, cv::Scalar::all(0));
    return result;
}

} // namespace orvane::imageops
