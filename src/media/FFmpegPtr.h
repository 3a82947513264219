#pragma once

// Owning pointers for FFmpeg's C objects. Private to the media library: no public header includes this.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace orvane::ff {

struct InputFormatDeleter {
    void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
};
struct OutputFormatDeleter {
    void operator()(AVFormatContext* p) const {
        if (p->pb && !(p->oformat->flags & AVFMT_NOFILE))
            avio_closep(&p->pb);
        avformat_free_context(p);
    }
};
struct CodecContextDeleter {
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
};
struct FrameDeleter {
    void operator()(AVFrame* p) const { av_frame_free(&p); }
};
struct PacketDeleter {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwrDeleter {
    void operator()(SwrContext* p) const { swr_free(&p); }
};
struct SwsDeleter {
    void operator()(SwsContext* p) const { sws_freeContext(p); }
};
struct BufferRefDeleter {
    void operator()(AVBufferRef* p) const { av_buffer_unref(&p); }
};
struct BufferPoolDeleter {
    void operator()(AVBufferPool* p) const { av_buffer_pool_uninit(&p); }
};

using InputFormatPtr = std::unique_ptr<AVFormatContext, InputFormatDeleter>;
using OutputFormatPtr = std::unique_ptr<AVFormatContext, OutputFormatDeleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using SwrPtr = std::unique_ptr<SwrContext, SwrDeleter>;
using SwsPtr = std::unique_ptr<SwsContext, SwsDeleter>;
using BufferRefPtr = std::unique_ptr<AVBufferRef, BufferRefDeleter>;
using BufferPoolPtr = std::unique_ptr<AVBufferPool, BufferPoolDeleter>;

// An AVDictionary of options, freed on every way out; FFmpeg leaves the unused entries in it.
class Dictionary {
public:
    Dictionary() = default;
    ~Dictionary() { av_dict_free(&m_dict); }
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    void set(const char* key, const char* value) { av_dict_set(&m_dict, key, value, 0); }
    void set(const char* key, long long value) { av_dict_set_int(&m_dict, key, value, 0); }
    AVDictionary** address() { return &m_dict; }

private:
    AVDictionary* m_dict = nullptr;
};

// FFmpeg's own log goes through ours: errors only, tagged "[FFmpeg]". Idempotent.
void installLogForwarding();

} // namespace orvane::ff
