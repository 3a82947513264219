#pragma once

#include "media/FFmpegPtr.h"
#include "media/PixelConversion.h"
#include "media/VideoFrame.h"

#include <optional>

namespace orvane::ff {

// Decoded AVFrames to BGRA: libyuv for the layouts it reads, swscale (one cached context) for the rest,
// with alpha premultiplied for layouts that carry it. Private to the media library.
class FrameConverter {
public:
    // The frame as planes libyuv reads, or nothing when its layout has no fast path (or carries alpha).
    static std::optional<PlanarPicture> planesOf(const AVFrame* frame);
    // The YUV matrix for a frame: the tagged one, else BT.709 for HD sizes and BT.601 below, which is what
    // players assume of untagged files.
    static YuvMatrix matrixOf(const AVFrame* frame);

    // `dst` must have the frame's size.
    bool toBgra(const AVFrame* frame, VideoFrame& dst);

private:
    SwsPtr m_sws;
    int m_swsFormat = -1;
    int m_swsWidth = 0;
    int m_swsHeight = 0;
    int m_swsColorspace = -1;
    int m_swsRange = -1;
};

} // namespace orvane::ff
