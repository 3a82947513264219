#pragma once

#include "CoverageMask.h"
#include "Image.h"
#include "project/Geometry.h"

#include <array>
#include <cstdint>
#include <vector>

namespace orvane {

// Draws a sub-pixel rectangle of one image into a sub-pixel rectangle of another, blending source-over:
// the crop, fit and rounded mask of the compositor's picture in one pass over the covered pixels.
//
// Filtering is bilinear with 1/256-pixel weights in both directions. Scales below one half first go down
// whole octaves through 2 by 2 box levels, built only for the source region in use, so a downscale never
// skips source pixels (no aliasing) and the bilinear step always works at a scale of at least one half.
// Edge pixels of the destination rectangle are weighed by how much of them it covers; with a mask, by the
// mask alone (bilinear, zero outside it). Where the coverage is full and the source opaque, pixels are
// written rather than blended.
//
// Not thread-safe: an instance keeps scratch rows and level buffers between calls, so that a frame loop
// of steady sizes allocates nothing.
// A coverage mask and where its top-left corner lies in destination pixels, y down.
struct MaskPlacement {
    const CoverageMask* mask = nullptr;
    double left = 0;
    double top = 0;
};

class Resampler {
public:
    // `srcRect` in the source's own pixel grid and `dstRect` in the destination's, both y down. Parts of
    // `srcRect` outside the source are not drawn: the destination keeps its pixels there.
    void draw(Image& dst, const Image& src, const Rect& srcRect, const Rect& dstRect,
              const MaskPlacement& mask = {});

    // The box level for a scale: 0 at one half and above, then one more per octave below.
    static int levelFor(double scale);

private:
    struct Axis {
        std::vector<std::int32_t> index;
        std::vector<std::int16_t> weight;
        int first = 0; // first level pixel any output uses
        int count = 0; // level pixels in use, the pixel after the last index included
    };
    void buildAxis(Axis& axis, int outBegin, int outEnd, double outOrigin, double inOrigin, double inPerOut,
                   int levelSize) const;
    const Image& prepareLevels(const Image& src, int level, int x0, int y0, int x1, int y1);
    int coverageRow(int row, int j0, int j1, const Rect& dstRect, const MaskPlacement& mask,
                    int& interiorBegin, int& interiorEnd);

    static constexpr int maxLevels = 6;
    std::array<Image, maxLevels> m_levelStorage;
    Image m_levelView;
    Axis m_columns;
    Axis m_rows;
    std::vector<std::uint16_t> m_lerped;
    std::vector<std::uint8_t> m_pixels;
    std::vector<std::uint8_t> m_coverage;
    std::vector<std::uint8_t> m_columnCoverage;
};

} // namespace orvane
