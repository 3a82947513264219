#include "VideoFrameImage.h"

namespace orvane {

Image imageFromVideoFrame(const VideoFrame& frame) {
    // The frame handle is a counted reference: this copy is what the image holds on to.
    auto* keep = new VideoFrame(frame);
    Image image = Image::wrap(
        const_cast<std::uint8_t*>(keep->data()), keep->width(), keep->height(), keep->stride(),
        PixelFormat::bgra8Premultiplied, [](void* context) { delete static_cast<VideoFrame*>(context); },
        keep);
    image.setOpaque(true);
    return image;
}

} // namespace orvane
