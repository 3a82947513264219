#pragma once

#include "Image.h"
#include "media/VideoFrame.h"

namespace orvane {

// A decoded frame as a compositor image, without a copy: both are premultiplied BGRA with aligned rows.
// The image keeps the frame alive, so its buffer goes back to the decoder's pool only when the last
// image handle goes. Marked opaque: decoded video has no alpha to blend.
Image imageFromVideoFrame(const VideoFrame& frame);

} // namespace orvane
