#pragma once

#include <cstdint>

namespace orvane {

// The per-pixel loops of the hot paths, as a table of functions: a portable reference and, where the
// processor has them, faster variants picked once at start. Every variant gives the same bytes as the
// reference (the tests hold them to it). Pixels are premultiplied 4-byte colour with alpha in byte 3;
// the loops never look at the order of the three colour bytes.
struct PixelKernels {
    const char* name;

    // Vertical half of a bilinear step: out[i] = (a[i] * (256 - f) + b[i] * f) >> 1 for every byte i of
    // the two rows, f in 0...256. The 15-bit results keep the fraction for the horizontal half.
    void (*lerpRows)(const std::uint8_t* a, const std::uint8_t* b, std::uint16_t* out, int bytes, int f);

    // Horizontal half: output pixel j mixes the 15-bit pixels at in + 4 * index[j] and the one after it,
    // with weight[j] (0...256) on the second; rounded to 8 bits. The pixel after the last indexed one must
    // be readable.
    void (*lerpColumns)(const std::uint16_t* in, const std::int32_t* index, const std::int16_t* weight,
                        std::uint8_t* out, int n);

    // Source over: dst = src + dst * (255 - src alpha) / 255, rounded.
    void (*blendOver)(std::uint8_t* dst, const std::uint8_t* src, int n);

    // Source over with the source first scaled by a coverage byte per pixel.
    void (*blendOverCoverage)(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* coverage,
                              int n);

    // Black with the given alpha per pixel, source-over dst: the colour scales by (255 - alpha) / 255 and
    // the alpha becomes alpha + dst alpha * (255 - alpha) / 255. Shadows.
    void (*darken)(std::uint8_t* dst, const std::uint8_t* alpha, int n);

    // 2 by 2 box: output pixel i is the rounded mean of pixels 2i and 2i + 1 of both input rows.
    void (*halve)(const std::uint8_t* row0, const std::uint8_t* row1, std::uint8_t* out, int n);
};

// The fastest table this processor runs, chosen on first use.
const PixelKernels& pixelKernels();
// The reference table.
const PixelKernels& scalarPixelKernels();
// The AVX2 table, or null when the build or the processor lacks it.
const PixelKernels* avx2PixelKernels();

// x / 255 rounded to nearest, exact for 0 <= x <= 255 * 255.
inline std::uint32_t divideBy255(std::uint32_t x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

} // namespace orvane
