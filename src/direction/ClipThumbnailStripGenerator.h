#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <stop_token>
#include <vector>

namespace orvane {

// A row of frames across a movie for its clip bar on the timeline, as JPEGs named "frame-00.jpg" and on in
// one folder per clip. The folder is a cache, fresh while every frame is at least as new as the source; a
// set cut short (a generation stopped halfway) is made again whole. Never fails loudly: a bar without a
// strip is better than an error.
//
// Stateless and reentrant; generate blocks, so callers run it off the main thread.
class ClipThumbnailStripGenerator {
public:
    static constexpr int thumbnailHeight = 144;
    // Frames are stored at twice the bar's height so they stay sharp on a high-density screen.
    static constexpr int storedHeight = 2 * thumbnailHeight;
    static constexpr int maximumFrameCount = 32;
    // A frame this close to a sample time will do: a key frame near it costs no decoding of the frames
    // that depend on it.
    static constexpr double timeTolerance = 0.4;
    static constexpr int jpegQuality = 78;

    // Told of each frame as it is written, with its number and path, on the generating thread.
    using FrameWritten = std::function<void(int index, const QString& path)>;

    // The strip of `frameCount` frames (limited to 1...32) of `source` in `folder`, made anew unless a full
    // fresh set is there, as paths in time order. A time whose frame cannot be read is passed over and its
    // number stays free. Empty when the source is missing or not a movie or the folder cannot be made; cut
    // short when `stop` is requested.
    static QStringList generate(const QString& source, const QString& folder, int frameCount,
                                std::stop_token stop = {}, const FrameWritten& frameWritten = {});

    // A frame for every 80 pixels of the bar, rounded up, 3 to 24 of them.
    static int recommendedFrameCount(double width);
    // `count` times spread evenly over the movie, each in the middle of its share, kept 0.05 s from the
    // end; a single frame is taken halfway.
    static std::vector<double> sampleTimes(double duration, int count);
    // The folder's "frame-*.jpg" files sorted by name, or nothing unless there are exactly `expecting`.
    static QStringList cachedFrames(const QString& folder, int expecting);
    // Every frame's modification date is readable and not before the source's.
    static bool isCacheFresh(const QString& source, const QStringList& frames);
    // "frame-00.jpg" for 0.
    static QString frameFileName(int index);
};

} // namespace orvane
