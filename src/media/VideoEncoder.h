#pragma once

#include "media/FFmpegPtr.h"
#include "media/MediaError.h"
#include "media/MediaWriterSettings.h"
#include "media/VideoFrame.h"

#include <QString>

#include <tl/expected.hpp>

#include <memory>
#include <vector>

namespace orvane::ff {

// One opened video encoder and the conversion from BGRA frames into what it takes: libyuv to I420 or NV12,
// swscale to 10-bit 4:2:2 for ProRes, an upload for VAAPI surfaces. Private to the media library.
//
// Not thread-safe: used by the writer's encoder thread only (and opened on the caller's).
class VideoEncoder {
public:
    // With `preferHardware`, tries the VAAPI and NVENC encoders of the codec first and falls back to the
    // software one with a log line. `globalHeader` for containers that keep parameter sets in the header.
    static tl::expected<std::unique_ptr<VideoEncoder>, MediaError> open(const VideoEncoderSettings& settings,
                                                                        bool globalHeader);
    ~VideoEncoder();

    AVCodecContext* context() const { return m_ctx.get(); }
    // FFmpeg's name of the encoder in use: "libx264", "h264_nvenc", "prores_ks", ...
    QString name() const;
    // The four-character tag the container should store, 0 for the muxer's default.
    std::uint32_t codecTag() const { return m_codecTag; }

    // Converts and sends one frame at `pts` (encoder ticks); a null frame starts the flush.
    tl::expected<void, MediaError> send(const VideoFrame* frame, std::int64_t pts);
    // Next finished packet; false when the encoder needs more input (or has flushed everything).
    tl::expected<bool, MediaError> receive(AVPacket* packet);

private:
    VideoEncoder() = default;
    static tl::expected<std::unique_ptr<VideoEncoder>, MediaError>
    tryOpen(const AVCodec* codec, const VideoEncoderSettings& settings, bool globalHeader);
    AVFrame* writableFrame();
    bool convert(const VideoFrame& src, AVFrame* dst);

    CodecContextPtr m_ctx;
    AVPixelFormat m_swFormat = AV_PIX_FMT_YUV420P;
    BufferRefPtr m_hwDevice;
    BufferRefPtr m_hwFrames;
    FramePtr m_hwFrame;
    SwsPtr m_sws;
    // Frames the encoder may still hold a reference to; one that is writable again is reused.
    std::vector<FramePtr> m_frames;
    std::uint32_t m_codecTag = 0;
};

} // namespace orvane::ff
