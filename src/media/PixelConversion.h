#pragma once

#include "media/VideoFrame.h"

#include <cstdint>

namespace orvane {

enum class YuvMatrix { bt601, bt709, bt2020 };

// Layouts a decoder hands out that the libyuv fast paths read directly. `bgra` is a VideoFrame-like single
// plane, used when a decoder's own format has no fast path and the reader converted it already.
enum class PlanarFormat { i420, nv12, i422, i444, i010, bgra };

// A view of a decoded picture in its decoder's own planes, free of FFmpeg types. Planes of i010 hold
// 16-bit little-endian samples with 10 significant bits; strides are in bytes.
struct PlanarPicture {
    PlanarFormat format = PlanarFormat::i420;
    int width = 0;
    int height = 0;
    const std::uint8_t* planes[3] = {nullptr, nullptr, nullptr};
    int strides[3] = {0, 0, 0};
    YuvMatrix matrix = YuvMatrix::bt601;
    bool fullRange = false;
    MediaTime time;
};

// Converts a picture into `dst`, which must have the picture's size. False when it does not.
bool convertToBgra(const PlanarPicture& src, VideoFrame& dst);

// BGRA to 4:2:0 with the BT.601 limited-range matrix: the matrix libyuv's fastest encoders use, and the one
// MediaWriter tags its files with. Alpha is dropped (frames going to an encoder are opaque).
void convertBgraToI420(const VideoFrame& src, std::uint8_t* y, int yStride, std::uint8_t* u, int uStride,
                       std::uint8_t* v, int vStride);
void convertBgraToNv12(const VideoFrame& src, std::uint8_t* y, int yStride, std::uint8_t* uv, int uvStride);

} // namespace orvane
