#include "StreamOutput.h"

#include "media/MediaWriter.h"
#include "support/Log.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace orvane {

namespace {

constexpr const char* tag = "CaptureEngine";
constexpr std::uint32_t opaque = 0xff000000u;
// 'BGRA' as the four characters and number that the first frame's log line shows.
constexpr std::uint32_t bgraFourCC = 0x42475241u;
// A pending buffer holds this much without growing: more than the stream ever hands over at once.
constexpr std::size_t pendingSlotFloats = 48000 / 10 * 2;

// One row of screen pixels into a frame row, with alpha made opaque: the server leaves the fourth byte
// undefined, and the frames are premultiplied.
void copyRowOpaque(const std::uint8_t* src, std::uint8_t* dst, int pixels) {
    int x = 0;
#ifdef __SSE2__
    const __m128i alpha = _mm_set1_epi32(int(opaque));
    for (; x + 4 <= pixels; x += 4) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x * 4));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x * 4), _mm_or_si128(v, alpha));
    }
#endif
    for (; x < pixels; ++x) {
        std::uint32_t p;
        std::memcpy(&p, src + x * 4, 4);
        p |= opaque;
        std::memcpy(dst + x * 4, &p, 4);
    }
}

void fillOpaqueBlack(std::uint8_t* dst, int pixels) {
    for (int x = 0; x < pixels; ++x)
        std::memcpy(dst + x * 4, &opaque, 4);
}

QString boolText(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace

StreamOutput::StreamOutput(std::shared_ptr<MediaWriter> writer, std::optional<int> systemAudioTrack,
                           std::optional<int> micTrack)
    : m_writer(std::move(writer))
    , m_pendingAudioBuffers(maxPendingAudioBuffers)
    , m_systemAudioTrack(systemAudioTrack)
    , m_micTrack(micTrack) {
    for (auto& pending : m_pendingAudioBuffers)
        pending.samples.reserve(pendingSlotFloats);
}

StreamOutput::~StreamOutput() = default;

StreamOutput::WriterStatus StreamOutput::writerStatus() const {
    if (!m_writer)
        return WriterStatus::unknown;
    if (const auto error = m_writer->error())
        return error->is(MediaError::cancelled) ? WriterStatus::cancelled : WriterStatus::failed;
    return WriterStatus::writing;
}

std::int64_t StreamOutput::countSample(OutputType type, const VideoSample* video, bool valid) {
    const std::int64_t count = ++m_debugFrameCount;
    if (count < 4 || count % 300 == 0) {
        QString line =
            QStringLiteral("Frame #%1 type=%2 valid=%3").arg(count).arg(int(type)).arg(boolText(valid));
        if (count == 1 && video && video->pixels) {
            const char fourCC[] = {char(bgraFourCC >> 24), char(bgraFourCC >> 16), char(bgraFourCC >> 8),
                                   char(bgraFourCC), 0};
            line += QStringLiteral(" pb=%1x%2 fmt=%3(%4)")
                        .arg(video->width)
                        .arg(video->height)
                        .arg(QLatin1String(fourCC))
                        .arg(bgraFourCC);
        }
        log::info(tag, line);
    }
    return count;
}

void StreamOutput::handleVideo(const VideoSample& sample) {
    const bool valid = sample.width > 0 && sample.height > 0;
    const std::int64_t count = countSample(OutputType::screen, &sample, valid);
    if (!valid)
        return;
    {
        std::unique_lock lock(m_sessionLock);
        if (!m_writer || m_isFinished)
            return;
        if (const WriterStatus status = writerStatus(); status != WriterStatus::writing) {
            if (count < 4) {
                const auto error = m_writer->error();
                log::info(tag, QStringLiteral("Writer not in writing state: %1 error: %2")
                                   .arg(int(status))
                                   .arg(error ? error->description : QStringLiteral("none")));
            }
            return;
        }
        if (!m_hasStartedSession) {
            // The first frame: the movie starts here, and the sound that came before goes in ahead of it,
            // in arrival order. Sound that arrives while that is being handed over still queues behind it,
            // so the session counts as started only once the queue is empty.
            m_writer->startSession(sample.time);
            m_sessionStart = sample.time;
            std::size_t handedOver = 0;
            while (handedOver < m_pendingCount) {
                const std::size_t upTo = m_pendingCount;
                lock.unlock();
                // Slots below m_pendingCount are written only before they are counted: read them unlocked.
                for (std::size_t i = handedOver; i < upTo; ++i) {
                    const PendingAudio& p = m_pendingAudioBuffers[i];
                    appendAudio(p.type, p.samples, p.time);
                }
                handedOver = upTo;
                lock.lock();
                if (m_isFinished)
                    return;
            }
            m_pendingCount = 0;
            m_hasStartedSession = true;
        }
    }
    appendVideo(sample, count);
}

void StreamOutput::appendVideo(const VideoSample& sample, std::int64_t count) {
    std::lock_guard lock(m_videoLock);
    if (m_videoFinished || !sample.pixels || !m_writer->isReadyForVideo()) {
        ++m_framesDropped;
        if (count < 6)
            log::info(tag, QStringLiteral("Frame #%1 DROPPED").arg(count));
        return;
    }
    // The stream's buffers are few; its pixels go into a frame of the writer's own at once.
    VideoFrame frame = m_writer->framePool().acquire();
    const bool direct = frame.isNull();
    if (direct) {
        const FramePool& pool = m_writer->framePool();
        frame = VideoFrame::allocate(pool.width(), pool.height());
    }
    const int rows = std::min(sample.height, frame.height());
    const int columns = std::min(sample.width, frame.width());
    for (int y = 0; y < rows; ++y) {
        std::uint8_t* dst = frame.row(y);
        copyRowOpaque(sample.pixels + std::ptrdiff_t(y) * sample.stride, dst, columns);
        if (columns < frame.width())
            fillOpaqueBlack(dst + columns * 4, frame.width() - columns);
    }
    for (int y = rows; y < frame.height(); ++y)
        fillOpaqueBlack(frame.row(y), frame.width());
    frame.setTime(sample.time);
    const auto appended = m_writer->appendVideo(frame, sample.time);
    if (appended)
        ++m_framesAppended;
    else
        ++m_framesDropped;
    if (count < 6) {
        const QString status = QString::number(int(writerStatus()));
        if (direct)
            log::info(tag, QStringLiteral("Direct append frame #%1: %2, writer status: %3")
                               .arg(count)
                               .arg(boolText(bool(appended)), status));
        else
            log::info(tag, QStringLiteral("Appended frame #%1: %2, writer status: %3")
                               .arg(count)
                               .arg(boolText(bool(appended)), status));
    }
}

void StreamOutput::handleAudio(OutputType type, std::span<const float> samples, MediaTime time) {
    const bool valid = !samples.empty();
    countSample(type, nullptr, valid);
    if (!valid || type == OutputType::screen)
        return;
    {
        std::lock_guard lock(m_sessionLock);
        if (!m_writer || m_isFinished || writerStatus() != WriterStatus::writing)
            return;
        if (!m_hasStartedSession) {
            if (m_pendingCount < m_pendingAudioBuffers.size()) {
                PendingAudio& slot = m_pendingAudioBuffers[m_pendingCount++];
                slot.type = type;
                slot.time = time;
                slot.samples.assign(samples.begin(), samples.end());
            } else {
                ++m_pendingDropped;
            }
            return;
        }
    }
    appendAudio(type, samples, time);
}

void StreamOutput::appendAudio(OutputType type, std::span<const float> samples, MediaTime time) {
    std::lock_guard lock(m_audioLock);
    const std::size_t index = type == OutputType::audio ? 0 : 1;
    std::optional<int>& track = type == OutputType::audio ? m_systemAudioTrack : m_micTrack;
    if (writerStatus() != WriterStatus::writing || !track || !m_writer->isReadyForAudio(*track)) {
        ++m_audioDropped[index];
        return;
    }
    const auto appended = m_writer->appendAudio(*track, samples, time);
    if (appended) {
        ++m_audioAppended[index];
        return;
    }
    ++m_audioDropped[index];
    if (const auto error = m_writer->error()) {
        const QString text = error->description.isEmpty() ? QStringLiteral("unknown") : error->description;
        if (type == OutputType::audio)
            log::warning(tag, QStringLiteral("Audio append failed writer: %1. Disabling audio.").arg(text));
        else
            log::warning(tag, QStringLiteral("Mic append failed writer: %1. Disabling mic.").arg(text));
        track.reset();
    }
}

void StreamOutput::finishWriting() {
    {
        std::lock_guard lock(m_sessionLock);
        m_isFinished = true;
        m_pendingCount = 0;
    }
    {
        std::lock_guard lock(m_videoLock);
        m_videoFinished = true;
        if (m_writer)
            m_writer->markVideoFinished();
    }
    {
        std::lock_guard lock(m_audioLock);
        if (m_writer) {
            if (m_systemAudioTrack)
                m_writer->markAudioFinished(*m_systemAudioTrack);
            if (m_micTrack)
                m_writer->markAudioFinished(*m_micTrack);
        }
    }
}

StreamOutput::Statistics StreamOutput::statistics() const {
    Statistics s;
    s.samplesSeen = m_debugFrameCount.load();
    s.framesAppended = m_framesAppended.load();
    s.framesDropped = m_framesDropped.load();
    for (std::size_t i = 0; i < 2; ++i) {
        s.audioBuffersAppended[i] = m_audioAppended[i].load();
        s.audioBuffersDropped[i] = m_audioDropped[i].load();
    }
    s.pendingAudioDropped = m_pendingDropped.load();
    std::lock_guard lock(m_sessionLock);
    s.sessionStart = m_sessionStart;
    return s;
}

} // namespace orvane
