#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvane {

// The samples of one audio track between the thread that appends them and the encoder: a ring of
// interleaved float plus the gaps to fill with silence, so that each sample lands at the time it was
// stamped with. A chunk that starts later than the previous one ended (by more than `jitterFrames`) leaves
// a gap of silence; one that starts earlier loses its overlapping head. Private to the media library.
//
// Not synchronized: the owner locks around every call. Nothing allocates after construction.
class AudioQueue {
public:
    AudioQueue(int channels, std::size_t capacityFrames, std::int64_t jitterFrames);

    enum class Push { accepted, full, dropped };
    // `startFrame` is the chunk's position on the track's clock, in frames from the start of the track.
    // Nothing is taken when the ring has no room for the chunk (`full`); a chunk entirely before the
    // queue's position is `dropped`.
    Push push(std::span<const float> interleaved, std::int64_t startFrame);

    // Frames ready to pop, silence included.
    std::int64_t available() const;
    std::size_t freeFrames() const { return m_capacity - m_count; }
    std::size_t capacityFrames() const { return m_capacity; }
    // The clock position just after the last queued frame: where a contiguous next chunk starts.
    std::int64_t endFrame() const { return m_end; }
    bool hasStarted() const { return m_started; }

    // Writes up to `frames` frames into one plane per channel (planar float, as AAC wants it), queued samples
    // and silence in clock order; gives the number written.
    std::size_t pop(float* const* planes, std::size_t frames);

private:
    struct Gap {
        std::uint64_t beforeSample; // the gap comes before the ring sample with this running number
        std::int64_t frames;
    };

    int m_channels;
    std::size_t m_capacity;
    std::int64_t m_jitter;
    std::vector<float> m_ring;
    std::size_t m_read = 0; // frame index of the oldest queued frame
    std::size_t m_count = 0;
    std::uint64_t m_pushedSamples = 0; // running numbers of ring frames ever pushed
    std::uint64_t m_poppedSamples = 0;
    std::array<Gap, 32> m_gaps{};
    std::size_t m_gapHead = 0;
    std::size_t m_gapCount = 0;
    std::int64_t m_silence = 0; // frames of silence in m_gaps, all together
    std::int64_t m_end = 0;
    bool m_started = false;
};

} // namespace orvane
