#pragma once

#include <array>
#include <span>

namespace orvane {

// One second-order section on interleaved stereo float, with the state carried from block to block so a
// stream can be filtered in pieces. Coefficients from the audio-EQ cookbook.
class BiquadFilter {
public:
    // Second-order Butterworth: -3 dB at `frequency` and flat above it, with no resonant bump.
    static BiquadFilter highPass(double sampleRate, double frequency);
    static BiquadFilter lowShelf(double sampleRate, double frequency, double gainDB);
    static BiquadFilter peaking(double sampleRate, double frequency, double bandwidthOctaves, double gainDB);

    void process(std::span<float> interleavedStereo);
    void reset() { m_state = {}; }
    // |H(e^jw)| at `frequency`, for tests and for showing the curve.
    double magnitudeAt(double frequency) const;

private:
    BiquadFilter(double b0, double b1, double b2, double a0, double a1, double a2, double sampleRate);

    double m_b0, m_b1, m_b2, m_a1, m_a2; // normalised by a0
    double m_sampleRate;
    // Transposed direct form II, two state values per channel.
    std::array<std::array<double, 2>, 2> m_state{};
};

} // namespace orvane
