#include "AudioQueue.h"

#include <algorithm>

namespace orvane {

AudioQueue::AudioQueue(int channels, std::size_t capacityFrames, std::int64_t jitterFrames)
    : m_channels(channels > 0 ? channels : 1)
    , m_capacity(capacityFrames > 0 ? capacityFrames : 1)
    , m_jitter(jitterFrames)
    , m_ring(m_capacity * std::size_t(m_channels)) {}

std::int64_t AudioQueue::available() const {
    return std::int64_t(m_count) + m_silence;
}

AudioQueue::Push AudioQueue::push(std::span<const float> interleaved, std::int64_t startFrame) {
    std::size_t frames = interleaved.size() / std::size_t(m_channels);
    std::size_t skip = 0;
    std::int64_t gap = 0;
    // The first chunk starts the clock where it says, so a track that begins late starts with silence.
    const std::int64_t expected = m_started ? m_end : 0;
    const std::int64_t delta = startFrame - expected;
    if (delta > m_jitter || (!m_started && delta > 0)) {
        gap = delta;
    } else if (delta < -m_jitter || (!m_started && delta < 0)) {
        skip = std::size_t(std::min<std::int64_t>(-delta, std::int64_t(frames)));
    }
    if (skip >= frames)
        return Push::dropped;
    frames -= skip;
    if (frames > freeFrames())
        return Push::full;
    if (gap > 0 && m_gapCount == m_gaps.size())
        gap = 0; // more gaps than slots between two pops: close up rather than refuse the samples
    if (gap > 0) {
        m_gaps[(m_gapHead + m_gapCount) % m_gaps.size()] = {m_pushedSamples, gap};
        ++m_gapCount;
        m_silence += gap;
    }

    const float* src = interleaved.data() + skip * std::size_t(m_channels);
    std::size_t write = (m_read + m_count) % m_capacity;
    std::size_t left = frames;
    while (left > 0) {
        const std::size_t run = std::min(left, m_capacity - write);
        std::copy_n(src, run * std::size_t(m_channels), m_ring.data() + write * std::size_t(m_channels));
        src += run * std::size_t(m_channels);
        write = (write + run) % m_capacity;
        left -= run;
    }
    m_count += frames;
    m_pushedSamples += frames;
    m_end = expected + gap + std::int64_t(frames);
    m_started = true;
    return Push::accepted;
}

std::size_t AudioQueue::pop(float* const* planes, std::size_t frames) {
    std::size_t written = 0;
    while (written < frames) {
        if (m_gapCount > 0 && m_gaps[m_gapHead].beforeSample == m_poppedSamples) {
            Gap& g = m_gaps[m_gapHead];
            const std::size_t run =
                std::size_t(std::min<std::int64_t>(g.frames, std::int64_t(frames - written)));
            for (int c = 0; c < m_channels; ++c)
                std::fill_n(planes[c] + written, run, 0.0f);
            written += run;
            g.frames -= std::int64_t(run);
            m_silence -= std::int64_t(run);
            if (g.frames == 0) {
                m_gapHead = (m_gapHead + 1) % m_gaps.size();
                --m_gapCount;
            }
            continue;
        }
        if (m_count == 0)
            break;
        std::size_t run = std::min({frames - written, m_count, m_capacity - m_read});
        // Stop at the next gap, which sits before a later sample.
        if (m_gapCount > 0)
            run = std::min<std::size_t>(run, std::size_t(m_gaps[m_gapHead].beforeSample - m_poppedSamples));
        const float* src = m_ring.data() + m_read * std::size_t(m_channels);
        for (std::size_t i = 0; i < run; ++i)
            for (int c = 0; c < m_channels; ++c)
                planes[c][written + i] = src[i * std::size_t(m_channels) + std::size_t(c)];
        written += run;
        m_read = (m_read + run) % m_capacity;
        m_count -= run;
        m_poppedSamples += run;
    }
    return written;
}

} // namespace orvane
