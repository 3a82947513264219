#pragma once

#include "media/MediaError.h"
#include "project/MediaTime.h"

#include <QString>

#include <tl/expected.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace orvane {

namespace ff {
class MediaSource;
}

// A run of samples from AudioReader: interleaved stereo float at 48 kHz, valid until the reader's next call.
struct AudioChunk {
    std::span<const float> samples;
    // The first sample's position on the 48 kHz clock, counted from the start of the file.
    std::int64_t firstFrame = 0;

    std::size_t frameCount() const { return samples.size() / 2; }
    MediaTime time() const { return {firstFrame, 48000}; }
};

struct AudioReaderOptions {
    int track = 0; // the n-th audio track of the file
};

// Decodes one audio track of any format, rate and layout to 48 kHz interleaved stereo float (mono is copied
// to both sides at full level, more channels are mixed down), in order and with times. Samples follow their
// timestamps: where the source leaves a gap of more than 20 ms, silence fills it; where it overlaps, the
// overlap is dropped. So position n of the output is always n / 48000 seconds into the file.
//
// Not thread-safe: one thread at a time. In steady state nothing is allocated.
class AudioReader {
public:
    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;

    static tl::expected<std::unique_ptr<AudioReader>, MediaError> open(const QString& path,
                                                                       AudioReaderOptions options = {});
    ~AudioReader();

    int sourceSampleRate() const;
    int sourceChannels() const;
    double duration() const; // seconds of the track, else of the file

    // The next chunk; nullopt after the last sample (or at the end time).
    tl::expected<std::optional<AudioChunk>, MediaError> next();
    // The next chunk starts exactly at `seconds` (or at the first sample after it, if the track starts
    // later).
    tl::expected<void, MediaError> seek(double seconds);
    // No sample at or after `seconds` is delivered; nullopt reads to the end.
    void setEndTime(std::optional<double> seconds);

    bool endedEarly() const;

private:
    struct Resampler;
    AudioReader();
    tl::expected<bool, MediaError> convertNext();

    std::unique_ptr<ff::MediaSource> m_source;
    std::unique_ptr<Resampler> m_resampler;
    std::optional<std::int64_t> m_startFrame;
    std::optional<std::int64_t> m_endFrame;
    bool m_atEnd = false;
};

} // namespace orvane
