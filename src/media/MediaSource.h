#pragma once

#include "media/FFmpegPtr.h"
#include "media/MediaError.h"
#include "project/MediaTime.h"

#include <QString>

#include <tl/expected.hpp>

#include <chrono>
#include <memory>

namespace orvane::ff {

// One opened media file and, once asked, the decoder of one of its streams: the demux-and-decode loop that
// the probe and both readers share. Private to the media library.
//
// Not thread-safe: one thread at a time, which may change between calls.
class MediaSource {
public:
    // Refuses, with a MediaError and before FFmpeg sees it, a missing path, a folder, anything that is not a
    // regular file (a FIFO would block a read for ever) and an empty file.
    static tl::expected<std::unique_ptr<MediaSource>, MediaError> open(const QString& path);
    ~MediaSource();

    AVFormatContext* format() const { return m_format.get(); }
    // The n-th stream of a type (0 = the first video stream), or -1.
    int streamIndex(AVMediaType type, int nth) const;

    // Opens the decoder of a stream; threads 0 lets FFmpeg choose, 1 decodes on the calling thread only.
    tl::expected<void, MediaError> openDecoder(int streamIndex, int threads);
    AVCodecContext* decoder() const { return m_decoder.get(); }
    AVStream* stream() const { return m_stream; }

    // The next decoded frame of the stream; false after the last one. A damaged packet is skipped, as
    // players do. A file that stops in the middle of its data (a recording cut off by a crash) ends here
    // after its last readable frame, and `endedEarly` turns true.
    tl::expected<bool, MediaError> decode(AVFrame* frame);
    bool endedEarly() const { return m_endedEarly; }

    // Moves to the last key frame at or before `seconds` (file time, as in `timeOf`) and empties the decoder.
    tl::expected<void, MediaError> seek(double seconds);

    // The time of a frame of the decoder's stream, counted from the start of the file: every stream of the
    // file shares that zero, so audio and video stay in step.
    MediaTime timeOf(const AVFrame* frame) const;
    std::int64_t streamTicks(double seconds) const;

private:
    MediaSource() = default;
    static int interrupted(void* self);

    InputFormatPtr m_format;
    CodecContextPtr m_decoder;
    PacketPtr m_packet;
    AVStream* m_stream = nullptr;
    std::int64_t m_startTicks = 0; // the file's start time, in the stream's ticks
    AVRational m_timeBase{1, 1};
    bool m_flushing = false;
    bool m_endedEarly = false;
    // Guards the blocking calls against a source that never answers.
    std::chrono::steady_clock::time_point m_deadline;
};

} // namespace orvane::ff
