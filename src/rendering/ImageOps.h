#pragma once

#include "AffineTransform.h"
#include "Image.h"
#include "project/Geometry.h"
#include "project/RGBAColor.h"

#include <array>
#include <optional>

namespace orvane {

class Resampler;

// The operations the compositor's stages are made of. Each takes images with extents in canvas pixels
// (origin bottom left, y up) and returns a new image, leaving its inputs alone, except compositeOver,
// which draws into a canvas. None reports an error: an input it can't work on comes back as it was.
namespace imageops {

// The part of `rect` inside the image, widened to whole pixels of the image's grid; shares the pixels.
Image cropped(const Image& image, const Rect& rect);

// What a warp reads beyond an image's edge: clear, which gives soft edges, or the edge pixels extended,
// for pictures that must stay opaque to their border, such as a background filling the canvas.
enum class Outside { clear, extend };

// Bilinear resampling through the map, with 2 by 2 box levels first where it shrinks below one half.
// The result covers the whole pixels around the mapped extent. A pure translation moves the extent and
// touches no pixel.
Image transformed(const Image& image, const AffineTransform& transform, Outside outside = Outside::clear);

// `top` source-over onto `canvas`, each where its extent lies; a fractional offset between the two is
// resampled bilinearly. `resampler` may be given to keep its scratch rows between frames.
void compositeOver(Image& canvas, const Image& top, Resampler* resampler = nullptr);

// Per pixel: `input` where the mask is white, `background` where it is black, mixed in between. The
// result has the input's extent; a null background counts as clear, and the mask (gray8) is zero
// outside its extent.
Image blendWithMask(const Image& input, const Image& background, const Image& mask);

// A colour over whole pixels of `extent`.
Image solid(const Rect& extent, const RGBAColor& color);

// color0 at p0 and before it, color1 at p1 and beyond, linear in between along p0 to p1 (y-up points),
// over whole pixels of `extent`.
Image linearGradient(const Rect& extent, Point p0, Point p1, const RGBAColor& color0,
                     const RGBAColor& color1);

enum class BlurEdges {
    transparent, // outside the image is clear; the result grows by three sigma on every side
    clamp,       // the edge pixels continue outward; the result keeps the extent
};
// Gaussian blur with standard deviation `sigma` pixels (what the platform filter calls its radius).
// Below sigma 3 the kernel is exact. From 3 up, three box passes per axis with widths chosen for the
// same variance stand in, and from 8 up a colour image is blurred at a size reduced by whole octaves
// (down by 2 by 2 boxes, back up bilinearly, their variance taken off the blur). Either way a step edge
// stays within 3/255 (1.2% of the step) of the true Gaussian, plus a level of rounding, and the work per
// pixel does not grow with sigma.
Image gaussianBlur(const Image& image, double sigma, BlurEdges edges);

// Projective warp taking the corners of `from` (by default the image's extent) to the four points (y up),
// bilinear; the result covers the whole pixels around them and is clear outside the quadrilateral.
Image perspectiveWarp(const Image& image, Point topLeft, Point topRight, Point bottomLeft, Point bottomRight,
                      std::optional<Rect> from = std::nullopt);

// Per unpremultiplied pixel: (r, g, b, a) = (R . v, G . v, B . v, A . v) + bias, clamped to 0...1.
struct ColorMatrix {
    std::array<float, 4> r{1, 0, 0, 0};
    std::array<float, 4> g{0, 1, 0, 0};
    std::array<float, 4> b{0, 0, 1, 0};
    std::array<float, 4> a{0, 0, 0, 1};
    std::array<float, 4> bias{0, 0, 0, 0};
};
Image colorMatrix(const Image& image, const ColorMatrix& matrix);

} // namespace imageops

} // namespace orvane
