#include "AudioReader.h"

#include "FFmpegPtr.h"
#include "MediaSource.h"

#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace orvane {

namespace {
// A source timestamp further than this from where the previous frame ended is taken literally: the
// distance is filled with silence or the overlap dropped. Closer ones are the wobble of the source's clock.
constexpr double timestampTolerance = 0.02;
// Silence is handed out from one buffer of zeros of this many frames.
constexpr std::size_t silenceChunkFrames = 4800;
} // namespace

// The decoder's frame, the resampler, the output buffer and the clock. The resampler is made at the first
// frame, again whenever the input format changes, and after a seek.
struct AudioReader::Resampler {
    ff::FramePtr frame{av_frame_alloc()};
    ff::SwrPtr swr;
    int inRate = 0;
    int inFormat = -1;
    AVChannelLayout inLayout{};    // as given to the resampler
    AVChannelLayout frameLayout{}; // as the decoder states it, perhaps without channel names
    std::vector<float> out;
    std::vector<float> zeros;
    std::size_t outFrames = 0;      // converted frames waiting in `out`
    std::int64_t position = 0;      // clock position of the next frame handed out
    std::int64_t silence = 0;       // frames of silence to hand out before `out`
    std::int64_t dropFront = 0;     // frames still to drop from the front of the output
    std::optional<double> inputEnd; // source time where the previous decoded frame ended
    bool flushed = false;

    ~Resampler() {
        av_channel_layout_uninit(&inLayout);
        av_channel_layout_uninit(&frameLayout);
    }

    bool matches(const AVFrame* f) const {
        return swr && f->sample_rate == inRate && f->format == inFormat &&
               av_channel_layout_compare(&f->ch_layout, &frameLayout) == 0;
    }

    tl::expected<void, MediaError> setUp(const AVFrame* f) {
        swr.reset();
        av_channel_layout_uninit(&inLayout);
        av_channel_layout_uninit(&frameLayout);
        av_channel_layout_copy(&frameLayout, &f->ch_layout);
        if (f->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
            av_channel_layout_default(&inLayout, f->ch_layout.nb_channels);
        else
            av_channel_layout_copy(&inLayout, &f->ch_layout);
        AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
        SwrContext* raw = nullptr;
        int r = swr_alloc_set_opts2(&raw, &stereo, AV_SAMPLE_FMT_FLT, sampleRate, &inLayout,
                                    AVSampleFormat(f->format), f->sample_rate, 0, nullptr);
        swr.reset(raw);
        if (r < 0 || !raw)
            return tl::unexpected(
                MediaError::ffmpeg(r < 0 ? r : AVERROR(ENOMEM), QStringLiteral("Setting up the resampler")));
        if (inLayout.nb_channels == 1) {
            // FFmpeg's default puts mono 3 dB down on each side; a listener expects it as loud as it was.
            const double both[2] = {1.0, 1.0};
            swr_set_matrix(raw, both, 1);
        }
        r = swr_init(raw);
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Setting up the resampler")));
        inRate = f->sample_rate;
        inFormat = f->format;
        return {};
    }

    void reserve(int frames) {
        const auto needed = std::size_t(frames) * channels;
        if (out.size() < needed)
            out.resize(needed);
    }

    // Takes `dropFront` off the converted frames in `out`.
    void applyDrop() {
        const auto n = std::size_t(std::min<std::int64_t>(dropFront, std::int64_t(outFrames)));
        if (n == 0)
            return;
        std::copy(out.begin() + std::ptrdiff_t(n * channels),
                  out.begin() + std::ptrdiff_t(outFrames * channels), out.begin());
        outFrames -= n;
        dropFront -= std::int64_t(n);
    }
};

AudioReader::AudioReader() = default;
AudioReader::~AudioReader() = default;

tl::expected<std::unique_ptr<AudioReader>, MediaError> AudioReader::open(const QString& path,
                                                                         AudioReaderOptions options) {
    auto source = ff::MediaSource::open(path);
    if (!source)
        return tl::unexpected(source.error());
    const int index = (*source)->streamIndex(AVMEDIA_TYPE_AUDIO, options.track);
    if (index < 0)
        return tl::unexpected(
            MediaError::media(MediaError::noAudioTrack, QStringLiteral("The file contains no audio track.")));
    if (auto opened = (*source)->openDecoder(index, 1); !opened)
        return tl::unexpected(opened.error());
    std::unique_ptr<AudioReader> reader(new AudioReader);
    reader->m_source = std::move(*source);
    reader->m_resampler = std::make_unique<Resampler>();
    if (!reader->m_resampler->frame)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the reader")));
    // Enough for a second of output, which covers any decoder's frame; grown only for stranger files.
    reader->m_resampler->reserve(sampleRate);
    reader->m_resampler->zeros.assign(silenceChunkFrames * channels, 0.0f);
    return reader;
}

int AudioReader::sourceSampleRate() const {
    return m_source->stream()->codecpar->sample_rate;
}

int AudioReader::sourceChannels() const {
    return m_source->stream()->codecpar->ch_layout.nb_channels;
}

double AudioReader::duration() const {
    const AVStream* st = m_source->stream();
    if (st->duration != AV_NOPTS_VALUE && st->duration > 0)
        return st->duration * av_q2d(st->time_base);
    const AVFormatContext* fmt = m_source->format();
    return fmt->duration != AV_NOPTS_VALUE && fmt->duration > 0 ? double(fmt->duration) / AV_TIME_BASE : 0.0;
}

bool AudioReader::endedEarly() const {
    return m_source->endedEarly();
}

tl::expected<bool, MediaError> AudioReader::convertNext() {
    Resampler& rs = *m_resampler;
    while (!rs.flushed) {
        AVFrame* f = rs.frame.get();
        av_frame_unref(f);
        auto got = m_source->decode(f);
        if (!got)
            return tl::unexpected(got.error());
        if (!*got) {
            // What the resampler still holds comes out after the last frame.
            rs.flushed = true;
            if (!rs.swr)
                return false;
            auto* dst = reinterpret_cast<std::uint8_t*>(rs.out.data());
            const int n = swr_convert(rs.swr.get(), &dst, int(rs.out.size() / channels), nullptr, 0);
            rs.outFrames = std::size_t(std::max(n, 0));
            rs.applyDrop();
            return rs.outFrames > 0;
        }
        if (f->nb_samples <= 0 || f->sample_rate <= 0)
            continue;
        const double start = m_source->timeOf(f).seconds();
        if (!rs.matches(f)) {
            // The resampler's history belongs to the old format; samples it still holds are lost with it.
            if (auto ready = rs.setUp(f); !ready)
                return tl::unexpected(ready.error());
            if (!rs.inputEnd)
                rs.position = std::llround(start * sampleRate);
        }
        if (rs.inputEnd) {
            const double drift = start - *rs.inputEnd;
            if (drift > timestampTolerance)
                rs.silence += std::llround(drift * sampleRate);
            else if (drift < -timestampTolerance)
                rs.dropFront += std::llround(-drift * sampleRate);
        }
        rs.inputEnd = start + double(f->nb_samples) / f->sample_rate;
        rs.reserve(swr_get_out_samples(rs.swr.get(), f->nb_samples));
        auto* dst = reinterpret_cast<std::uint8_t*>(rs.out.data());
        const int n = swr_convert(rs.swr.get(), &dst, int(rs.out.size() / channels),
                                  const_cast<const std::uint8_t**>(f->extended_data), f->nb_samples);
        if (n < 0)
            return tl::unexpected(MediaError::ffmpeg(n, QStringLiteral("Resampling")));
        rs.outFrames = std::size_t(n);
        rs.applyDrop();
        if (rs.outFrames > 0 || rs.silence > 0)
            return true;
    }
    return false;
}

tl::expected<std::optional<AudioChunk>, MediaError> AudioReader::next() {
    Resampler& rs = *m_resampler;
    while (!m_atEnd) {
        const float* data = nullptr;
        std::size_t frames = 0;
        if (rs.silence > 0) {
            frames = std::size_t(std::min<std::int64_t>(rs.silence, std::int64_t(silenceChunkFrames)));
            rs.silence -= std::int64_t(frames);
            data = rs.zeros.data();
        } else if (rs.outFrames > 0) {
            frames = rs.outFrames;
            rs.outFrames = 0;
            data = rs.out.data();
        } else {
            auto got = convertNext();
            if (!got)
                return tl::unexpected(got.error());
            if (!*got)
                m_atEnd = true;
            continue;
        }
        std::int64_t first = rs.position;
        std::int64_t last = rs.position + std::int64_t(frames); // one past
        rs.position = last;
        const std::int64_t runStart = first;
        if (m_startFrame)
            first = std::max(first, *m_startFrame);
        if (m_endFrame && last >= *m_endFrame) {
            last = std::min(last, *m_endFrame);
            m_atEnd = true;
        }
        if (last <= first)
            continue;
        m_startFrame.reset();
        const auto offset = std::size_t(first - runStart) * channels;
        return AudioChunk{std::span<const float>(data + offset, std::size_t(last - first) * channels), first};
    }
    return std::nullopt;
}

tl::expected<void, MediaError> AudioReader::seek(double seconds) {
    if (auto moved = m_source->seek(seconds); !moved)
        return moved;
    // A fresh resampler takes the first timestamp after the seek as its start, without filling the distance
    // from where it was.
    Resampler& rs = *m_resampler;
    rs.swr.reset();
    rs.flushed = false;
    rs.inputEnd.reset();
    rs.outFrames = 0;
    rs.silence = 0;
    rs.dropFront = 0;
    m_atEnd = false;
    m_startFrame = std::llround(seconds * sampleRate);
    return {};
}

void AudioReader::setEndTime(std::optional<double> seconds) {
    if (seconds)
        m_endFrame = std::llround(*seconds * sampleRate);
    else
        m_endFrame.reset();
}

} // namespace orvane
