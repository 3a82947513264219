#pragma once

#include "media/FramePool.h"
#include "media/MediaError.h"
#include "media/MediaWriterSettings.h"
#include "media/VideoFrame.h"
#include "project/MediaTime.h"

#include <QString>

#include <tl/expected.hpp>

#include <memory>
#include <optional>
#include <span>
#include <stop_token>

namespace orvane {

// Writes a MOV or MP4 file: one optional video track (H.264, HEVC tagged "hvc1", or ProRes 422) from BGRA
// frames, and any number of AAC tracks from interleaved float PCM, each sample at the time it is stamped
// with.
//
// Encoding runs on an internal thread ("media-writer"): append* only queue the frame or the samples and
// return, so a capture callback never waits for the encoder. The queues are bounded; isReadyForVideo /
// isReadyForAudio say whether the next append fits, and an append that does not fit fails with `notReady`
// and changes nothing. The first failure of the encoder or the file is kept: from then on every append and
// finish() return it, and the isReady* calls say false.
//
// Times: the session starts at startSession's time (else at the first appended time); everything is written
// relative to it, and what lies before it is trimmed. Video times must increase. Audio that starts later
// than the previous chunk ended leaves silence, audio that overlaps loses its head.
//
// Thread-safety: appends, the isReady* and waitUntilReady* calls, the mark*Finished calls and error() may be
// called from any threads at once. finish() and cancel() are for one thread, after the last append. The
// writer has one lock, queueLock; it is never held while encoding, writing the file, or calling back into the
// caller.
class MediaWriter {
public:
    // Opens the encoders and the file and writes its header. An existing file at `path` is replaced.
    static tl::expected<std::unique_ptr<MediaWriter>, MediaError> create(const QString& path,
                                                                         const MediaWriterSettings& settings);
    // Without finish(): stops the encoder and closes the file as it stands (a fragmented file stays
    // playable).
    ~MediaWriter();

    const MediaWriterSettings& settings() const;
    // The encoder actually used, after any hardware fallback: "libx264", "h264_vaapi", ...
    QString videoEncoderName() const;

    // Frames of the video size, for callers that draw or copy straight into the frames they append. At most
    // the queue depth plus two are out at once; acquire() gives a null frame beyond that.
    FramePool& framePool();

    void startSession(MediaTime sourceTime);

    bool isReadyForVideo() const;
    bool isReadyForAudio(int track) const;
    // Block until the matching isReady* call would say true, or it can no longer turn true (the writer
    // failed or was cancelled, the track is finished or does not exist), or `stop` is requested; then
    // return what isReady* says. For producers that may wait for the encoder, unlike a capture callback.
    bool waitUntilReadyForVideo(std::stop_token stop = {}) const;
    bool waitUntilReadyForAudio(int track, std::stop_token stop = {}) const;
    // The frame is kept (not copied) until it is encoded: do not draw into it after appending.
    tl::expected<void, MediaError> appendVideo(const VideoFrame& frame, MediaTime time);
    // `samples` is interleaved float at the track's rate and channel count; it is copied.
    tl::expected<void, MediaError> appendAudio(int track, std::span<const float> samples, MediaTime time);

    void markVideoFinished();
    void markAudioFinished(int track);

    // Marks every track finished, waits for the encoder to drain, writes the index and closes the file.
    tl::expected<void, MediaError> finish();
    // Stops without finishing and deletes the file.
    void cancel();

    std::optional<MediaError> error() const;

private:
    struct State;
    explicit MediaWriter(std::unique_ptr<State> state);
    std::unique_ptr<State> d;
};

} // namespace orvane
