#pragma once

#include <QSize>
#include <QString>

namespace orvane {

// One frame of a movie as a small JPEG: the card of a recent project on the welcome screen. Never fails
// loudly: a card without a picture is better than an error.
class ThumbnailGenerator {
public:
    // The frame on screen at `atSecond` (held inside the movie: a time past its end takes the frame
    // 0.05 s before the end), turned upright, scaled down to fit `targetSize` with its proportions kept,
    // written to `destination` as JPEG at quality 82 with the destination's folder made first. False when
    // the source is missing or unreadable or the file cannot be written. Blocking: call it off the main
    // thread.
    static bool generate(const QString& source, double atSecond, QSize targetSize,
                         const QString& destination);

    static constexpr int jpegQuality = 82;
};

} // namespace orvane
