#include "FrameReader.h"

#include "FFmpegPtr.h"
#include "FrameConverter.h"
#include "MediaSource.h"

#include <algorithm>

namespace orvane {

namespace {
// A frame time within this of a target counts as at the target: timestamps on 1/600 or 1/90000 clocks
// rarely land on a double exactly.
constexpr double timeTolerance = 1e-6;
constexpr double forwardDecodeLimit = 2.0;
} // namespace

// The decoder's frames the reader juggles: `out` is the one being delivered, `held` the best candidate so
// far for a seek target, `pending` a frame decoded past the target and delivered next, `scratch` the
// decoder's landing place. Moving references between them copies no pixels.
struct FrameReader::Decoded {
    ff::FramePtr out{av_frame_alloc()};
    ff::FramePtr scratch{av_frame_alloc()};
    ff::FramePtr held{av_frame_alloc()};
    ff::FramePtr pending{av_frame_alloc()};
    bool hasHeld = false;
    bool hasPending = false;

    void clear() {
        av_frame_unref(out.get());
        av_frame_unref(scratch.get());
        av_frame_unref(held.get());
        av_frame_unref(pending.get());
        hasHeld = hasPending = false;
    }
};

FrameReader::FrameReader() = default;
FrameReader::~FrameReader() = default;

tl::expected<std::unique_ptr<FrameReader>, MediaError> FrameReader::open(const QString& path,
                                                                         FrameReaderOptions options) {
    auto source = ff::MediaSource::open(path);
    if (!source)
        return tl::unexpected(source.error());
    const int index = (*source)->streamIndex(AVMEDIA_TYPE_VIDEO, options.track);
    if (index < 0)
        return tl::unexpected(
            MediaError::media(MediaError::noVideoTrack, QStringLiteral("The file contains no video track.")));
    if (auto opened = (*source)->openDecoder(index, options.decoderThreads); !opened)
        return tl::unexpected(opened.error());

    std::unique_ptr<FrameReader> reader(new FrameReader);
    reader->m_source = std::move(*source);
    reader->m_converter = std::make_unique<ff::FrameConverter>();
    reader->m_frames = std::make_unique<Decoded>();
    if (!reader->m_frames->out || !reader->m_frames->scratch || !reader->m_frames->held ||
        !reader->m_frames->pending)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the reader")));
    reader->m_options = options;
    const AVCodecParameters* par = reader->m_source->stream()->codecpar;
    reader->m_pool.emplace(par->width, par->height, options.maxFramesInFlight);
    return reader;
}

int FrameReader::width() const {
    return m_source->stream()->codecpar->width;
}

int FrameReader::height() const {
    return m_source->stream()->codecpar->height;
}

double FrameReader::frameRate() const {
    const AVRational rate = m_source->stream()->avg_frame_rate;
    return rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0.0;
}

double FrameReader::duration() const {
    const AVStream* st = m_source->stream();
    if (st->duration != AV_NOPTS_VALUE && st->duration > 0)
        return st->duration * av_q2d(st->time_base);
    const AVFormatContext* fmt = m_source->format();
    return fmt->duration != AV_NOPTS_VALUE && fmt->duration > 0 ? double(fmt->duration) / AV_TIME_BASE : 0.0;
}

bool FrameReader::endedEarly() const {
    return m_source->endedEarly();
}

tl::expected<bool, MediaError> FrameReader::nextDecoded() {
    Decoded& f = *m_frames;
    av_frame_unref(f.scratch.get());
    if (f.hasPending) {
        av_frame_move_ref(f.scratch.get(), f.pending.get());
        f.hasPending = false;
        return true;
    }
    return m_source->decode(f.scratch.get());
}

bool FrameReader::reachedEnd() {
    const double t = m_source->timeOf(m_frames->out.get()).seconds();
    if (m_endTime && t >= *m_endTime - timeTolerance) {
        m_atEnd = true;
        av_frame_unref(m_frames->out.get());
        return true;
    }
    m_lastTime = t;
    return false;
}

tl::expected<bool, MediaError> FrameReader::advance() {
    Decoded& f = *m_frames;
    if (m_atEnd)
        return false;
    // A forward frameAt put the frame on screen into `held` already; otherwise `out` is spent.
    av_frame_unref(f.out.get());
    while (true) {
        auto got = nextDecoded();
        if (!got)
            return tl::unexpected(got.error());
        if (!*got) {
            // The file ended while looking for the target: the last frame is the one on screen.
            if (m_target && f.hasHeld) {
                m_target.reset();
                av_frame_move_ref(f.out.get(), f.held.get());
                f.hasHeld = false;
                return !reachedEnd();
            }
            m_atEnd = true;
            return false;
        }
        if (!m_target) {
            av_frame_move_ref(f.out.get(), f.scratch.get());
            return !reachedEnd();
        }
        const double decodedTime = m_source->timeOf(f.scratch.get()).seconds();
        if (m_targetSlack > 0 && decodedTime >= *m_target - m_targetSlack - timeTolerance) {
            m_target.reset();
            av_frame_unref(f.held.get());
            f.hasHeld = false;
            av_frame_move_ref(f.out.get(), f.scratch.get());
            return !reachedEnd();
        }
        if (decodedTime <= *m_target + timeTolerance) {
            av_frame_unref(f.held.get());
            av_frame_move_ref(f.held.get(), f.scratch.get());
            f.hasHeld = true;
            continue;
        }
        m_target.reset();
        if (f.hasHeld) {
            av_frame_move_ref(f.out.get(), f.held.get());
            f.hasHeld = false;
            av_frame_move_ref(f.pending.get(), f.scratch.get());
            f.hasPending = true;
        } else {
            av_frame_move_ref(f.out.get(), f.scratch.get());
        }
        return !reachedEnd();
    }
}

tl::expected<std::optional<VideoFrame>, MediaError> FrameReader::next() {
    auto got = advance();
    if (!got)
        return tl::unexpected(got.error());
    if (!*got)
        return std::nullopt;
    const AVFrame* decoded = m_frames->out.get();
    if (decoded->width != m_pool->width() || decoded->height != m_pool->height())
        m_pool.emplace(decoded->width, decoded->height, m_options.maxFramesInFlight);
    VideoFrame frame = m_pool->acquire();
    if (!frame)
        return tl::unexpected(MediaError::media(
            MediaError::notReady, QStringLiteral("All frames of the reader are still in use.")));
    if (!m_converter->toBgra(decoded, frame))
        return tl::unexpected(MediaError::media(
            MediaError::unsupportedMedia, QStringLiteral("The video's pixel format cannot be converted.")));
    frame.setTime(m_source->timeOf(decoded));
    return frame;
}

tl::expected<std::optional<PlanarPicture>, MediaError> FrameReader::nextPlanes() {
    auto got = advance();
    if (!got)
        return tl::unexpected(got.error());
    if (!*got)
        return std::nullopt;
    const AVFrame* decoded = m_frames->out.get();
    const MediaTime time = m_source->timeOf(decoded);
    if (auto planes = ff::FrameConverter::planesOf(decoded)) {
        planes->time = time;
        return planes;
    }
    if (m_converted.width() != decoded->width || m_converted.height() != decoded->height)
        m_converted = VideoFrame::allocate(decoded->width, decoded->height);
    if (!m_converter->toBgra(decoded, m_converted))
        return tl::unexpected(MediaError::media(
            MediaError::unsupportedMedia, QStringLiteral("The video's pixel format cannot be converted.")));
    PlanarPicture p;
    p.format = PlanarFormat::bgra;
    p.width = decoded->width;
    p.height = decoded->height;
    p.planes[0] = m_converted.data();
    p.strides[0] = m_converted.stride();
    p.time = time;
    return p;
}

tl::expected<void, MediaError> FrameReader::seek(double seconds) {
    m_frames->clear();
    m_atEnd = false;
    m_lastTime.reset();
    if (auto moved = m_source->seek(seconds); !moved)
        return moved;
    m_target = seconds;
    m_targetSlack = 0;
    return {};
}

tl::expected<void, MediaError> FrameReader::seekNear(double seconds, double tolerance) {
    if (auto moved = seek(seconds); !moved)
        return moved;
    m_targetSlack = std::max(tolerance, 0.0);
    return {};
}

void FrameReader::setEndTime(std::optional<double> seconds) {
    m_endTime = seconds;
}

tl::expected<std::optional<VideoFrame>, MediaError> FrameReader::frameAt(double seconds) {
    Decoded& f = *m_frames;
    const bool forward = m_lastTime && !m_atEnd && seconds >= *m_lastTime - timeTolerance &&
                         seconds - *m_lastTime < forwardDecodeLimit && f.out->buf[0] != nullptr;
    if (forward) {
        // The frame delivered last stays a candidate: it is still on screen if the next one starts later.
        av_frame_unref(f.held.get());
        av_frame_move_ref(f.held.get(), f.out.get());
        f.hasHeld = true;
        m_target = seconds;
        m_targetSlack = 0;
    } else if (auto moved = seek(seconds); !moved) {
        return tl::unexpected(moved.error());
    }
    return next();
}

} // namespace orvane
