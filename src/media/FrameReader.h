#pragma once

#include "media/FramePool.h"
#include "media/MediaError.h"
#include "media/PixelConversion.h"
#include "media/VideoFrame.h"

#include <QString>

#include <tl/expected.hpp>

#include <memory>
#include <optional>

namespace orvane {

namespace ff {
class MediaSource;
class FrameConverter;
} // namespace ff

struct FrameReaderOptions {
    int track = 0;          // the n-th video track of the file
    int decoderThreads = 0; // 0: FFmpeg's choice; 1: decode on the calling thread only
    // Output frames alive at once; 0 for no limit. With a limit, `next` fails with notReady while the
    // caller holds that many.
    std::size_t maxFramesInFlight = 0;
};

// Decodes one video track into frames, in presentation order, each with its time counted from the start of
// the file. `next` gives premultiplied BGRA frames from a pool of the reader's own (libyuv converts the usual
// layouts, swscale the others); `nextPlanes` gives the decoder's own planes for callers with a YUV path.
// Frames are not rotated: the track's rotation is in probeAsset's VideoTrackInfo.
//
// Not thread-safe: one thread at a time. Frames it returned may go to any thread and outlive the reader.
// In steady state, reading allocates nothing of its own: output buffers come back to the pool.
class FrameReader {
public:
    static tl::expected<std::unique_ptr<FrameReader>, MediaError> open(const QString& path,
                                                                       FrameReaderOptions options = {});
    ~FrameReader();

    int width() const;
    int height() const;
    double frameRate() const; // average frames per second; 0 when unknown
    double duration() const;  // seconds of the track, else of the file

    // The next frame, or nullopt after the last one (or at the end time).
    tl::expected<std::optional<VideoFrame>, MediaError> next();
    // The next frame as planes, valid until the next call of any reading method. A layout without a fast
    // path comes converted, as a single `bgra` plane.
    tl::expected<std::optional<PlanarPicture>, MediaError> nextPlanes();

    // After a seek, the first frame delivered is the one on screen at `seconds`: the last frame that starts
    // at or before it, or the first frame when `seconds` lies before it. Then the frames after it follow.
    tl::expected<void, MediaError> seek(double seconds);
    // Like seek, but any frame within `tolerance` before `seconds` will do: the first frame delivered is the
    // first one that starts at or after `seconds - tolerance` (so a key frame just before the time ends the
    // search without decoding past it), or the last frame when the file ends first. For previews that want
    // a frame near a time cheaply rather than the exact one.
    tl::expected<void, MediaError> seekNear(double seconds, double tolerance);
    // Frames that start at or after `seconds` are not delivered; nullopt reads to the end. A clip's
    // sourceIn..sourceOut is `seek(sourceIn)`, `setEndTime(sourceOut)`, then `next` until nullopt.
    void setEndTime(std::optional<double> seconds);
    // The frame on screen at `seconds`. Moving forward by less than two seconds decodes onwards from the
    // current position; anything else seeks. For stills and scrubbing.
    tl::expected<std::optional<VideoFrame>, MediaError> frameAt(double seconds);

    // The file stopped in the middle of its data; frames up to the break were delivered.
    bool endedEarly() const;

private:
    struct Decoded;
    FrameReader();
    tl::expected<bool, MediaError> advance();
    tl::expected<bool, MediaError> nextDecoded();
    bool reachedEnd();

    std::unique_ptr<ff::MediaSource> m_source;
    std::unique_ptr<ff::FrameConverter> m_converter;
    std::unique_ptr<Decoded> m_frames;
    std::optional<FramePool> m_pool;
    VideoFrame m_converted; // the bgra plane behind nextPlanes for layouts without a fast path
    FrameReaderOptions m_options;
    std::optional<double> m_target;
    double m_targetSlack = 0; // how far before m_target a frame may start and still be delivered
    std::optional<double> m_endTime;
    std::optional<double> m_lastTime; // of the frame last delivered
    bool m_atEnd = false;
};

} // namespace orvane
