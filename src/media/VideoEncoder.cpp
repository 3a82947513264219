#include "VideoEncoder.h"

#include "PixelConversion.h"
#include "support/Log.h"

#include <QStringList>

#include <cmath>

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/opt.h>
}

namespace orvane::ff {

namespace {

const char* softwareEncoderName(VideoCodec codec) {
    switch (codec) {
    case VideoCodec::hevc:
        return "libx265";
    case VideoCodec::prores422:
        return "prores_ks";
    case VideoCodec::h264:
        break;
    }
    return "libx264";
}

std::vector<const char*> hardwareEncoderNames(VideoCodec codec) {
    switch (codec) {
    case VideoCodec::h264:
        return {"h264_vaapi", "h264_nvenc"};
    case VideoCodec::hevc:
        return {"hevc_vaapi", "hevc_nvenc"};
    case VideoCodec::prores422:
        break;
    }
    return {};
}

bool isVaapi(const AVCodec* codec) {
    return QByteArray(codec->name).endsWith("_vaapi");
}

} // namespace

VideoEncoder::~VideoEncoder() = default;

QString VideoEncoder::name() const {
    return QString::fromUtf8(m_ctx->codec->name);
}

tl::expected<std::unique_ptr<VideoEncoder>, MediaError>
VideoEncoder::open(const VideoEncoderSettings& settings, bool globalHeader) {
    if (settings.width <= 0 || settings.height <= 0 || settings.timescale <= 0 || !(settings.frameRate > 0))
        return tl::unexpected(
            MediaError::media(MediaError::invalidSettings,
                              QStringLiteral("The video size, clock or frame rate is not valid.")));
    // 4:2:0 needs even sizes.
    if (settings.codec != VideoCodec::prores422 && (settings.width % 2 || settings.height % 2))
        return tl::unexpected(MediaError::media(
            MediaError::invalidSettings, QStringLiteral("H.264 and HEVC need an even width and height.")));

    QStringList failures;
    if (settings.preferHardware) {
        for (const char* name : hardwareEncoderNames(settings.codec)) {
            const AVCodec* codec = avcodec_find_encoder_by_name(name);
            if (!codec) {
                failures << QStringLiteral("%1: not built in").arg(QString::fromLatin1(name));
                continue;
            }
            auto opened = tryOpen(codec, settings, globalHeader);
            if (opened)
                return opened;
            failures << QStringLiteral("%1: %2").arg(QString::fromLatin1(name), opened.error().description);
        }
    }
    const char* fallback = softwareEncoderName(settings.codec);
    const AVCodec* codec = avcodec_find_encoder_by_name(fallback);
    if (!codec)
        return tl::unexpected(MediaError::media(
            MediaError::invalidSettings,
            QStringLiteral("The encoder %1 is not available.").arg(QString::fromLatin1(fallback))));
    if (settings.preferHardware)
        log::info("MediaWriter",
                  QStringLiteral("hardware encoder unavailable (%1), using %2")
                      .arg(failures.join(QStringLiteral("; ")), QString::fromLatin1(fallback)));
    return tryOpen(codec, settings, globalHeader);
}

tl::expected<std::unique_ptr<VideoEncoder>, MediaError>
VideoEncoder::tryOpen(const AVCodec* codec, const VideoEncoderSettings& s, bool globalHeader) {
    std::unique_ptr<VideoEncoder> enc(new VideoEncoder);
    enc->m_ctx.reset(avcodec_alloc_context3(codec));
    AVCodecContext* ctx = enc->m_ctx.get();
    if (!ctx)
        return tl::unexpected(
            MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the video encoder")));
    ctx->width = s.width;
    ctx->height = s.height;
    ctx->time_base = AVRational{1, s.timescale};
    ctx->framerate = av_d2q(s.frameRate, 100000);
    ctx->gop_size =
        s.keyframeInterval > 0 ? s.keyframeInterval : std::max(1, int(std::lround(s.frameRate * 2)));
    ctx->thread_count = s.threads;
    ctx->sample_aspect_ratio = AVRational{1, 1};
    // BGRA goes through libyuv's BT.601 limited-range matrix; say so, so readers convert back the same way.
    ctx->colorspace = AVCOL_SPC_SMPTE170M;
    ctx->color_range = AVCOL_RANGE_MPEG;
    ctx->color_primaries = AVCOL_PRI_BT709;
    ctx->color_trc = AVCOL_TRC_BT709;
    if (s.bitRate)
        ctx->bit_rate = *s.bitRate;
    if (globalHeader)
        ctx->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (s.realTime)
        ctx->max_b_frames = 0;

    Dictionary options;
    const QByteArray name(codec->name);
    const QByteArray preset = s.preset.toUtf8();
    if (name == "libx264" || name == "libx265") {
        enc->m_swFormat = AV_PIX_FMT_YUV420P;
        options.set("preset", preset.constData());
        if (!s.bitRate)
            options.set("crf", (long long)s.quality);
        if (s.realTime)
            options.set("tune", "zerolatency");
        if (name == "libx265") {
            options.set("x265-params", "log-level=error");
            // Players that follow Apple's rules only accept HEVC tagged "hvc1" (parameter sets in the
            // header).
            enc->m_codecTag = MKTAG('h', 'v', 'c', '1');
        }
    } else if (name == "prores_ks") {
        enc->m_swFormat = AV_PIX_FMT_YUV422P10LE;
        // ProRes 422 proper ("apcn"); left alone the encoder picks HQ for 10-bit 4:2:2. The name "profile"
        // in an options dictionary would reach the generic codec option first, so set the encoder's own.
        av_opt_set(ctx->priv_data, "profile", "standard", 0);
        options.set("vendor", "apl0");
    } else if (name.endsWith("_nvenc")) {
        enc->m_swFormat = AV_PIX_FMT_YUV420P;
        options.set("preset", "p4");
        if (!s.bitRate) {
            options.set("rc", "vbr");
            options.set("cq", (long long)s.quality);
        }
        if (name == "hevc_nvenc")
            enc->m_codecTag = MKTAG('h', 'v', 'c', '1');
    } else if (isVaapi(codec)) {
        enc->m_swFormat = AV_PIX_FMT_NV12;
        AVBufferRef* device = nullptr;
        int r = av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0);
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Opening a VAAPI device")));
        enc->m_hwDevice.reset(device);
        enc->m_hwFrames.reset(av_hwframe_ctx_alloc(device));
        if (!enc->m_hwFrames)
            return tl::unexpected(
                MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening VAAPI frames")));
        auto* frames = reinterpret_cast<AVHWFramesContext*>(enc->m_hwFrames->data);
        frames->format = AV_PIX_FMT_VAAPI;
        frames->sw_format = AV_PIX_FMT_NV12;
        frames->width = s.width;
        frames->height = s.height;
        frames->initial_pool_size = 20;
        r = av_hwframe_ctx_init(enc->m_hwFrames.get());
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Opening VAAPI frames")));
        ctx->hw_frames_ctx = av_buffer_ref(enc->m_hwFrames.get());
        enc->m_hwFrame.reset(av_frame_alloc());
        if (name == "hevc_vaapi")
            enc->m_codecTag = MKTAG('h', 'v', 'c', '1');
    }
    ctx->pix_fmt = enc->m_hwFrames ? AV_PIX_FMT_VAAPI : enc->m_swFormat;

    const int r = avcodec_open2(ctx, codec, options.address());
    if (r < 0)
        return tl::unexpected(
            MediaError::ffmpeg(r, QStringLiteral("Opening the %1 encoder").arg(QString::fromUtf8(name))));
    if (enc->m_swFormat == AV_PIX_FMT_YUV422P10LE) {
        enc->m_sws.reset(sws_getContext(s.width, s.height, AV_PIX_FMT_BGRA, s.width, s.height,
                                        AV_PIX_FMT_YUV422P10LE, SWS_BILINEAR, nullptr, nullptr, nullptr));
        if (!enc->m_sws)
            return tl::unexpected(MediaError::media(
                MediaError::invalidSettings, QStringLiteral("No conversion to 10-bit 4:2:2 is available.")));
    }
    return enc;
}

AVFrame* VideoEncoder::writableFrame() {
    for (auto& f : m_frames)
        if (av_frame_is_writable(f.get()))
            return f.get();
    // Every frame is still referenced inside the encoder (frame threads, look-ahead): add one. This happens
    // a few times at the start, then the set stays as it is.
    FramePtr frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->format = m_swFormat;
    frame->width = m_ctx->width;
    frame->height = m_ctx->height;
    if (av_frame_get_buffer(frame.get(), 64) < 0)
        return nullptr;
    m_frames.push_back(std::move(frame));
    return m_frames.back().get();
}

bool VideoEncoder::convert(const VideoFrame& src, AVFrame* dst) {
    if (src.width() != dst->width || src.height() != dst->height)
        return false;
    switch (m_swFormat) {
    case AV_PIX_FMT_YUV420P:
        convertBgraToI420(src, dst->data[0], dst->linesize[0], dst->data[1], dst->linesize[1], dst->data[2],
                          dst->linesize[2]);
        return true;
    case AV_PIX_FMT_NV12:
        convertBgraToNv12(src, dst->data[0], dst->linesize[0], dst->data[1], dst->linesize[1]);
        return true;
    default: {
        const std::uint8_t* planes[4] = {src.data(), nullptr, nullptr, nullptr};
        const int strides[4] = {src.stride(), 0, 0, 0};
        return sws_scale(m_sws.get(), planes, strides, 0, src.height(), dst->data, dst->linesize) > 0;
    }
    }
}

tl::expected<void, MediaError> VideoEncoder::send(const VideoFrame* frame, std::int64_t pts) {
    if (!frame) {
        const int r = avcodec_send_frame(m_ctx.get(), nullptr);
        if (r < 0 && r != AVERROR_EOF)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Finishing the video")));
        return {};
    }
    AVFrame* sw = writableFrame();
    if (!sw)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Preparing a video frame")));
    if (!convert(*frame, sw))
        return tl::unexpected(MediaError::media(MediaError::invalidSettings,
                                                QStringLiteral("A frame's size differs from the video's.")));
    sw->pts = pts;
    AVFrame* toSend = sw;
    if (m_hwFrames) {
        AVFrame* hw = m_hwFrame.get();
        av_frame_unref(hw);
        int r = av_hwframe_get_buffer(m_hwFrames.get(), hw, 0);
        if (r >= 0)
            r = av_hwframe_transfer_data(hw, sw, 0);
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Uploading a frame to the GPU")));
        hw->pts = pts;
        toSend = hw;
    }
    const int r = avcodec_send_frame(m_ctx.get(), toSend);
    if (m_hwFrames)
        av_frame_unref(m_hwFrame.get());
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Encoding a video frame")));
    return {};
}

tl::expected<bool, MediaError> VideoEncoder::receive(AVPacket* packet) {
    const int r = avcodec_receive_packet(m_ctx.get(), packet);
    if (r == 0)
        return true;
    if (r == AVERROR(EAGAIN) || r == AVERROR_EOF)
        return false;
    return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Encoding video")));
}

} // namespace orvane::ff
