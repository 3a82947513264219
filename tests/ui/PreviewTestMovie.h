#pragma once

// A movie whose every frame says which frame it is, and whose sound says which second it is, for tests and
// timing programs of the preview.

#include "media/MediaError.h"

#include <QImage>
#include <QString>

#include <tl/expected.hpp>

#include <optional>

namespace orvane::test {

struct PreviewTestMovie {
    static constexpr int codeBits = 12;

    int width = 320;
    int height = 180;
    int fps = 30;
    double seconds = 4;
    int keyframeInterval = 0; // frames; 0 for two seconds' worth
    bool audio = true;

    // H.264 in a MOV. Each frame n is `codeBits` vertical stripes across the whole picture, white for a set
    // bit of n (most significant on the left) and black for a clear one, with n written large across the
    // bottom quarter for a person looking; the sound is silence with a 1 kHz click of 10 ms at every whole
    // second.
    tl::expected<void, MediaError> write(const QString& path) const;

    // The frame number an image of a frame shows, read from its stripes along the row at a quarter of its
    // height; none when a stripe is neither dark nor light. `image` may be the whole frame or a canvas that
    // the picture fills exactly.
    static std::optional<int> readNumber(const QImage& image);
};

} // namespace orvane::test
