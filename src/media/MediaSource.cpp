#include "MediaSource.h"

#include "support/Log.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <mutex>

extern "C" {
#include <libavutil/log.h>
}

namespace orvane::ff {

namespace {

constexpr auto openTimeLimit = std::chrono::seconds(20);
constexpr auto readTimeLimit = std::chrono::seconds(20);

void forwardLog(void* avcl, int level, const char* format, va_list args) {
    if (level > AV_LOG_ERROR)
        return;
    static int printPrefix = 1;
    char line[1024];
    // FFmpeg calls this from its own threads too; the prefix state is FFmpeg's convention, not ours.
    static std::mutex lineLock;
    std::lock_guard lock(lineLock);
    av_log_format_line2(avcl, level, format, args, line, sizeof line, &printPrefix);
    QString text = QString::fromUtf8(line).trimmed();
    if (!text.isEmpty())
        log::warning("FFmpeg", text);
}

} // namespace

void installLogForwarding() {
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_level(AV_LOG_ERROR);
        av_log_set_callback(forwardLog);
    });
}

tl::expected<std::unique_ptr<MediaSource>, MediaError> MediaSource::open(const QString& path) {
    installLogForwarding();
    const QFileInfo info(path);
    std::error_code ec;
    const std::filesystem::path fsPath(path.toStdString());
    const auto status = std::filesystem::status(fsPath, ec);
    if (path.isEmpty() || ec || !std::filesystem::exists(status))
        return tl::unexpected(MediaError::media(MediaError::fileNotFound,
                                                QStringLiteral("No file exists at \"%1\".").arg(path)));
    if (std::filesystem::is_directory(status))
        return tl::unexpected(
            MediaError::media(MediaError::notAFile,
                              QStringLiteral("\"%1\" is a folder, not a media file.").arg(info.fileName())));
    if (!std::filesystem::is_regular_file(status))
        return tl::unexpected(MediaError::media(
            MediaError::notAFile, QStringLiteral("\"%1\" is not a regular file.").arg(info.fileName())));
    if (info.size() == 0)
        return tl::unexpected(
            MediaError::media(MediaError::unsupportedMedia, QStringLiteral("The file is empty.")));

    std::unique_ptr<MediaSource> source(new MediaSource);
    AVFormatContext* raw = avformat_alloc_context();
    if (!raw)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the file")));
    raw->interrupt_callback = {&MediaSource::interrupted, source.get()};
    source->m_deadline = std::chrono::steady_clock::now() + openTimeLimit;
    // On failure avformat_open_input frees the context itself.
    int r = avformat_open_input(&raw, QFile::encodeName(path).constData(), nullptr, nullptr);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Opening the file as media")));
    source->m_format.reset(raw);
    r = avformat_find_stream_info(raw, nullptr);
    if (r < 0)
        return tl::unexpected(
            MediaError::ffmpeg(r, QStringLiteral("Reading the media's stream information")));
    source->m_packet.reset(av_packet_alloc());
    if (!source->m_packet)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the file")));
    return source;
}

MediaSource::~MediaSource() = default;

int MediaSource::interrupted(void* self) {
    return std::chrono::steady_clock::now() > static_cast<MediaSource*>(self)->m_deadline ? 1 : 0;
}

int MediaSource::streamIndex(AVMediaType type, int nth) const {
    int seen = 0;
    for (unsigned i = 0; i < m_format->nb_streams; ++i) {
        const AVStream* st = m_format->streams[i];
        if (st->codecpar->codec_type != type)
            continue;
        // Cover art is stored as a video stream of one picture; it is not a video track.
        if (type == AVMEDIA_TYPE_VIDEO && (st->disposition & AV_DISPOSITION_ATTACHED_PIC))
            continue;
        if (seen++ == nth)
            return int(i);
    }
    return -1;
}

tl::expected<void, MediaError> MediaSource::openDecoder(int index, int threads) {
    if (index < 0 || unsigned(index) >= m_format->nb_streams)
        return tl::unexpected(
            MediaError::media(MediaError::invalidSettings, QStringLiteral("No such track.")));
    AVStream* st = m_format->streams[index];
    const AVCodec* codec = avcodec_find_decoder(st->codecpar->codec_id);
    if (!codec)
        return tl::unexpected(
            MediaError::media(MediaError::unsupportedMedia,
                              QStringLiteral("No decoder for the codec \"%1\".")
                                  .arg(QString::fromUtf8(avcodec_get_name(st->codecpar->codec_id)))));
    CodecContextPtr ctx(avcodec_alloc_context3(codec));
    if (!ctx)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the decoder")));
    int r = avcodec_parameters_to_context(ctx.get(), st->codecpar);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Opening the decoder")));
    ctx->pkt_timebase = st->time_base;
    ctx->thread_count = threads;
    r = avcodec_open2(ctx.get(), codec, nullptr);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Opening the decoder")));
    m_decoder = std::move(ctx);
    m_stream = st;
    m_timeBase = st->time_base;
    m_startTicks = m_format->start_time != AV_NOPTS_VALUE
                       ? av_rescale_q(m_format->start_time, AV_TIME_BASE_Q, m_timeBase)
                       : 0;
    m_flushing = false;
    return {};
}

tl::expected<bool, MediaError> MediaSource::decode(AVFrame* frame) {
    m_deadline = std::chrono::steady_clock::now() + readTimeLimit;
    AVPacket* pkt = m_packet.get();
    while (true) {
        int r = avcodec_receive_frame(m_decoder.get(), frame);
        if (r == 0)
            return true;
        if (r == AVERROR_EOF)
            return false;
        if (r != AVERROR(EAGAIN) && r != AVERROR_INVALIDDATA)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Decoding")));
        if (m_flushing && r == AVERROR(EAGAIN))
            return false;

        r = av_read_frame(m_format.get(), pkt);
        if (r == AVERROR_EOF || r == AVERROR_INVALIDDATA || r == AVERROR(EIO)) {
            if (r != AVERROR_EOF && !m_endedEarly) {
                m_endedEarly = true;
                log::warning(
                    "MediaSource",
                    MediaError::ffmpeg(r, QStringLiteral("Reading past the last complete data")).description);
            }
            m_flushing = true;
            avcodec_send_packet(m_decoder.get(), nullptr);
            continue;
        }
        if (r == AVERROR_EXIT)
            return tl::unexpected(
                MediaError::media(MediaError::timedOut, QStringLiteral("Reading the file took too long.")));
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Reading the file")));
        if (pkt->stream_index != m_stream->index) {
            av_packet_unref(pkt);
            continue;
        }
        r = avcodec_send_packet(m_decoder.get(), pkt);
        av_packet_unref(pkt);
        if (r < 0 && r != AVERROR_INVALIDDATA && r != AVERROR(EAGAIN))
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Decoding")));
    }
}

tl::expected<void, MediaError> MediaSource::seek(double seconds) {
    m_deadline = std::chrono::steady_clock::now() + readTimeLimit;
    const std::int64_t ts = streamTicks(seconds);
    int r = avformat_seek_file(m_format.get(), m_stream->index, INT64_MIN, ts, ts, 0);
    if (r < 0)
        r = av_seek_frame(m_format.get(), m_stream->index, ts, AVSEEK_FLAG_BACKWARD);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Seeking")));
    avcodec_flush_buffers(m_decoder.get());
    m_flushing = false;
    return {};
}

MediaTime MediaSource::timeOf(const AVFrame* frame) const {
    std::int64_t pts = frame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE)
        pts = frame->pts != AV_NOPTS_VALUE ? frame->pts : m_startTicks;
    pts -= m_startTicks;
    if (m_timeBase.num == 1 && m_timeBase.den <= INT32_MAX)
        return {pts, std::int32_t(m_timeBase.den)};
    return {av_rescale_q(pts, m_timeBase, AVRational{1, 90000}), 90000};
}

std::int64_t MediaSource::streamTicks(double seconds) const {
    return std::llround(seconds * m_timeBase.den / m_timeBase.num) + m_startTicks;
}

} // namespace orvane::ff
