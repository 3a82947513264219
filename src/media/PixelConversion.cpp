#include "PixelConversion.h"

#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <libyuv/planar_functions.h>

namespace orvane {

namespace {

const libyuv::YuvConstants* constantsFor(YuvMatrix matrix, bool fullRange) {
    switch (matrix) {
    case YuvMatrix::bt709:
        return fullRange ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
    case YuvMatrix::bt2020:
        return fullRange ? &libyuv::kYuvV2020Constants : &libyuv::kYuv2020Constants;
    case YuvMatrix::bt601:
        break;
    }
    return fullRange ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
}

} // namespace

bool convertToBgra(const PlanarPicture& src, VideoFrame& dst) {
    if (dst.isNull() || dst.width() != src.width || dst.height() != src.height)
        return false;
    const auto* k = constantsFor(src.matrix, src.fullRange);
    const int w = src.width, h = src.height;
    int r = -1;
    switch (src.format) {
    case PlanarFormat::i420:
        r = libyuv::I420ToARGBMatrix(src.planes[0], src.strides[0], src.planes[1], src.strides[1],
                                     src.planes[2], src.strides[2], dst.data(), dst.stride(), k, w, h);
        break;
    case PlanarFormat::nv12:
        r = libyuv::NV12ToARGBMatrix(src.planes[0], src.strides[0], src.planes[1], src.strides[1], dst.data(),
                                     dst.stride(), k, w, h);
        break;
    case PlanarFormat::i422:
        r = libyuv::I422ToARGBMatrix(src.planes[0], src.strides[0], src.planes[1], src.strides[1],
                                     src.planes[2], src.strides[2], dst.data(), dst.stride(), k, w, h);
        break;
    case PlanarFormat::i444:
        r = libyuv::I444ToARGBMatrix(src.planes[0], src.strides[0], src.planes[1], src.strides[1],
                                     src.planes[2], src.strides[2], dst.data(), dst.stride(), k, w, h);
        break;
    case PlanarFormat::i010:
        // libyuv counts 16-bit strides in samples.
        r = libyuv::I010ToARGBMatrix(
            reinterpret_cast<const std::uint16_t*>(src.planes[0]), src.strides[0] / 2,
            reinterpret_cast<const std::uint16_t*>(src.planes[1]), src.strides[1] / 2,
            reinterpret_cast<const std::uint16_t*>(src.planes[2]), src.strides[2] / 2, dst.data(),
            dst.stride(), k, w, h);
        break;
    case PlanarFormat::bgra:
        r = libyuv::ARGBCopy(src.planes[0], src.strides[0], dst.data(), dst.stride(), w, h);
        break;
    }
    return r == 0;
}

void convertBgraToI420(const VideoFrame& src, std::uint8_t* y, int yStride, std::uint8_t* u, int uStride,
                       std::uint8_t* v, int vStride) {
    libyuv::ARGBToI420(src.data(), src.stride(), y, yStride, u, uStride, v, vStride, src.width(),
                       src.height());
}

void convertBgraToNv12(const VideoFrame& src, std::uint8_t* y, int yStride, std::uint8_t* uv, int uvStride) {
    libyuv::ARGBToNV12(src.data(), src.stride(), y, yStride, uv, uvStride, src.width(), src.height());
}

} // namespace orvane
