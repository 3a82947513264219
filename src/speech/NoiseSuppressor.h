#pragma once

#include "BiquadFilter.h"

#include <QString>

#include <tl/expected.hpp>

#include <span>
#include <vector>

namespace orvane {

struct NoiseSuppressorError {
    enum class Kind { unreadableInput, engineSetupFailed, renderFailed, writeFailed, missingInput };
    Kind kind;
    QString text;

    QString description() const;
    bool operator==(const NoiseSuppressorError&) const = default;
};

// Cleans a microphone track for export with a fixed chain and no model of noise: a high pass at 80 Hz
// takes out rumble, a low shelf of -4 dB at 200 Hz lowers the boom, a +2 dB peak at 3 kHz lifts presence.
class NoiseSuppressor {
public:
    static constexpr int blockFrames = 4096;

    // The chain as a stream, for an exporter that mixes as it goes: interleaved stereo at `sampleRate`.
    class Chain {
    public:
        explicit Chain(double sampleRate);
        void process(std::span<float> interleavedStereo);
        const std::vector<BiquadFilter>& stages() const { return m_stages; }

    private:
        std::vector<BiquadFilter> m_stages;
    };

    // Reads any audio file and writes the cleaned audio to `output` as 32-bit float WAV, 48 kHz stereo,
    // frame for frame as long as the input, in blocks of 4096 frames. `output` is replaced.
    static tl::expected<void, NoiseSuppressorError> process(const QString& input, const QString& output);
};

} // namespace orvane
