#pragma once

#include "media/AudioReader.h"

#include <QFile>
#include <QString>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <vector>

namespace orvane::test {

// The whole left channel of a file's audio track, decoded to 48 kHz; empty when it can't be read.
inline std::vector<float> readLeftChannel(const QString& path, int track = 0) {
    std::vector<float> left;
    auto reader = AudioReader::open(path, {track});
    if (!reader)
        return left;
    while (true) {
        auto chunk = (*reader)->next();
        if (!chunk || !*chunk)
            break;
        const auto samples = (*chunk)->samples;
        for (std::size_t i = 0; i + 1 < samples.size(); i += 2)
            left.push_back(samples[i]);
    }
    return left;
}

// The samples from `from` to `to` seconds of a 48 kHz signal.
inline std::span<const float> slice(const std::vector<float>& signal, double from, double to) {
    const auto a = std::min(signal.size(), std::size_t(std::max(0.0, from) * 48000));
    const auto b = std::min(signal.size(), std::size_t(std::max(0.0, to) * 48000));
    return std::span<const float>(signal).subspan(a, b > a ? b - a : 0);
}

// The amplitude of the `hz` component (Goertzel over a Hann window), so one tone can be measured beside
// others. A sine of amplitude A reads about A.
inline double toneAmplitude(std::span<const float> signal, double hz, double sampleRate = 48000) {
    const std::size_t n = signal.size();
    if (n < 2)
        return 0;
    const double w = 2 * std::numbers::pi * hz / sampleRate;
    double re = 0, im = 0, windowSum = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double hann = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * double(i) / double(n - 1));
        windowSum += hann;
        re += hann * signal[i] * std::cos(w * double(i));
        im -= hann * signal[i] * std::sin(w * double(i));
    }
    return 2 * std::hypot(re, im) / windowSum;
}

// A 16-bit PCM WAV of interleaved samples: exact lengths, no encoder delay.
inline bool writeWav16(const QString& path, const std::vector<float>& samples, int channels, int rate) {
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    QByteArray data;
    for (float s : samples) {
        const qint16 v = qToLittleEndian(qint16(std::lround(std::clamp(s, -1.0f, 1.0f) * 32767)));
        data.append(reinterpret_cast<const char*>(&v), 2);
    }
    QByteArray h;
    auto u32 = [&](quint32 v) {
        v = qToLittleEndian(v);
        h.append(reinterpret_cast<const char*>(&v), 4);
    };
    auto u16 = [&](quint16 v) {
        v = qToLittleEndian(v);
        h.append(reinterpret_cast<const char*>(&v), 2);
    };
    h.append("RIFF");
    u32(quint32(36 + data.size()));
    h.append("WAVEfmt ");
    u32(16);
    u16(1);
    u16(quint16(channels));
    u32(quint32(rate));
    u32(quint32(rate * channels * 2));
    u16(quint16(channels * 2));
    u16(16);
    h.append("data");
    u32(quint32(data.size()));
    return f.write(h + data) == h.size() + data.size();
}

inline double rms(std::span<const float> signal) {
    if (signal.empty())
        return 0;
    double sum = 0;
    for (float s : signal)
        sum += double(s) * s;
    return std::sqrt(sum / double(signal.size()));
}

} // namespace orvane::test
