#include "BiquadFilter.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace orvane {

namespace {
// The cookbook's alpha for a bandwidth in octaves between the -3 dB points (the band's edges for a peak).
double bandwidthAlpha(double w0, double octaves) {
    return std::sin(w0) * std::sinh(std::numbers::ln2 / 2 * octaves * w0 / std::sin(w0));
}
} // namespace

BiquadFilter::BiquadFilter(double b0, double b1, double b2, double a0, double a1, double a2,
                           double sampleRate)
    : m_b0(b0 / a0)
    , m_b1(b1 / a0)
    , m_b2(b2 / a0)
    , m_a1(a1 / a0)
    , m_a2(a2 / a0)
    , m_sampleRate(sampleRate) {}

BiquadFilter BiquadFilter::highPass(double sampleRate, double frequency) {
    const double w0 = 2 * std::numbers::pi * frequency / sampleRate;
    // Q = 1/sqrt(2). A narrower band would peak just above the corner and lift the low end this stage is
    // there to take out.
    const double alpha = std::sin(w0) / std::numbers::sqrt2;
    const double c = std::cos(w0);
    return BiquadFilter((1 + c) / 2, -(1 + c), (1 + c) / 2, 1 + alpha, -2 * c, 1 - alpha, sampleRate);
}

BiquadFilter BiquadFilter::lowShelf(double sampleRate, double frequency, double gainDB) {
    // Shelf slope 1: the steepest slope without overshoot.
    const double a = std::pow(10.0, gainDB / 40);
    const double w0 = 2 * std::numbers::pi * frequency / sampleRate;
    const double c = std::cos(w0);
    const double alpha = std::sin(w0) / 2 * std::sqrt(2.0);
    const double root = 2 * std::sqrt(a) * alpha;
    return BiquadFilter(a * ((a + 1) - (a - 1) * c + root), 2 * a * ((a - 1) - (a + 1) * c),
                        a * ((a + 1) - (a - 1) * c - root), (a + 1) + (a - 1) * c + root,
                        -2 * ((a - 1) + (a + 1) * c), (a + 1) + (a - 1) * c - root, sampleRate);
}

BiquadFilter BiquadFilter::peaking(double sampleRate, double frequency, double bandwidthOctaves,
                                   double gainDB) {
    const double a = std::pow(10.0, gainDB / 40);
    const double w0 = 2 * std::numbers::pi * frequency / sampleRate;
    const double alpha = bandwidthAlpha(w0, bandwidthOctaves);
    const double c = std::cos(w0);
    return BiquadFilter(1 + alpha * a, -2 * c, 1 - alpha * a, 1 + alpha / a, -2 * c, 1 - alpha / a,
                        sampleRate);
}

void BiquadFilter::process(std::span<float> samples) {
    const std::size_t frames = samples.size() / 2;
    for (int ch = 0; ch < 2; ++ch) {
        double z1 = m_state[ch][0];
        double z2 = m_state[ch][1];
        for (std::size_t i = 0; i < frames; ++i) {
            float& s = samples[i * 2 + std::size_t(ch)];
            const double x = s;
            const double y = m_b0 * x + z1;
            z1 = m_b1 * x - m_a1 * y + z2;
            z2 = m_b2 * x - m_a2 * y;
            s = float(y);
        }
        m_state[ch] = {z1, z2};
    }
}

double BiquadFilter::magnitudeAt(double frequency) const {
    const std::complex<double> z = std::polar(1.0, -2 * std::numbers::pi * frequency / m_sampleRate);
    const std::complex<double> numerator = m_b0 + m_b1 * z + m_b2 * z * z;
    const std::complex<double> denominator = 1.0 + m_a1 * z + m_a2 * z * z;
    return std::abs(numerator / denominator);
}

} // namespace orvane
