#include "ExportAudioSource.h"

#include "direction/AudioAnalyzer.h"
#include "media/AssetProbe.h"
#include "media/AudioReader.h"
#include "support/Log.h"

#include <algorithm>

namespace orvane {

bool ExportAudioSource::needsMix(const AudioConfig& audio) {
    return audio.systemAudioVolume != 1 || audio.micVolume != 1 || audio.ducking || audio.noiseSuppression;
}

ExportAudioSource::~ExportAudioSource() = default;

tl::expected<std::unique_ptr<ExportAudioSource>, ExporterError>
ExportAudioSource::open(const QString& sourcePath, const AudioConfig& audio, bool includeAudio) {
    std::unique_ptr<ExportAudioSource> source(new ExportAudioSource());
    source->m_config = audio;
    if (!includeAudio)
        return source;
    const auto info = probeAsset(sourcePath);
    if (!info)
        return tl::unexpected(ExporterError::reader(info.error().description));
    source->m_trackCount = int(info->audioTracks.size());
    if (source->m_trackCount == 0)
        return source; // a silent result, no error

    auto system = AudioReader::open(sourcePath, {0});
    if (!system) {
        log::warning("Exporter",
                     QStringLiteral("could not add audio reader output to reader — audio will be skipped "
                                    "for this clip"));
        return source;
    }
    source->m_system = std::move(*system);
    if (!needsMix(audio)) {
        source->m_route = Route::passthrough;
        return source;
    }
    source->m_route = Route::mix;
    if (source->m_trackCount >= 2) {
        if (auto mic = AudioReader::open(sourcePath, {1}))
            source->m_mic = std::move(*mic);
        if (audio.noiseSuppression)
            source->m_cleanUp.emplace(AudioReader::sampleRate);
        // A failed analysis simply means no ducking.
        if (audio.ducking)
            source->m_speech = AudioAnalyzer::analyzeMicTrack(sourcePath, 1);
    }
    return source;
}

double ExportAudioSource::duckingGain(const std::vector<VoiceActivitySegment>& speech, double t) {
    constexpr double ducked = 0.25;
    constexpr double ramp = 0.1;
    double gain = 1.0;
    // Overlapping intervals: the deepest duck wins.
    for (const VoiceActivitySegment& s : speech) {
        double g = 1.0;
        const double rampStart = std::max(0.0, s.start - ramp);
        if (t >= s.start && t <= s.end)
            g = ducked;
        else if (t >= rampStart && t < s.start)
            g = 1.0 + (ducked - 1.0) * ((t - rampStart) / std::max(s.start - rampStart, 1e-9));
        else if (t > s.end && t < s.end + ramp)
            g = ducked + (1.0 - ducked) * ((t - s.end) / ramp);
        gain = std::min(gain, g);
    }
    return gain;
}

tl::expected<std::size_t, ExporterError> ExportAudioSource::pull(AudioReader& reader,
                                                                 std::vector<float>& pending,
                                                                 std::vector<float>& buffer,
                                                                 std::size_t frames) {
    buffer.assign(frames * 2, 0.0f);
    std::size_t filled = 0;
    while (filled < frames) {
        if (pending.empty()) {
            auto chunk = reader.next();
            if (!chunk)
                return tl::unexpected(ExporterError::reader(chunk.error().description));
            if (!*chunk)
                break;
            pending.assign((*chunk)->samples.begin(), (*chunk)->samples.end());
        }
        const std::size_t take = std::min(frames - filled, pending.size() / 2);
        std::copy_n(pending.begin(), take * 2, buffer.begin() + std::ptrdiff_t(filled * 2));
        pending.erase(pending.begin(), pending.begin() + std::ptrdiff_t(take * 2));
        filled += take;
    }
    return filled;
}

tl::expected<std::span<const float>, ExporterError> ExportAudioSource::read(std::size_t maxFrames) {
    if (m_route == Route::none || !m_system)
        return std::span<const float>();

    auto system = m_systemEnded ? tl::expected<std::size_t, ExporterError>(0)
                                : pull(*m_system, m_systemPending, m_systemBlock, maxFrames);
    if (!system)
        return tl::unexpected(system.error());
    m_systemEnded = m_systemEnded || *system < maxFrames;
    std::size_t frames = *system;
    if (m_route == Route::passthrough) {
        m_position += std::int64_t(frames);
        return std::span<const float>(m_systemBlock.data(), frames * 2);
    }

    std::size_t micFrames = 0;
    if (m_mic && !m_micEnded) {
        auto mic = pull(*m_mic, m_micPending, m_micBlock, maxFrames);
        if (!mic)
            return tl::unexpected(mic.error());
        micFrames = *mic;
        m_micEnded = micFrames < maxFrames;
        if (m_cleanUp)
            m_cleanUp->process(std::span<float>(m_micBlock.data(), micFrames * 2));
    }
    frames = std::max(frames, micFrames);
    m_out.assign(frames * 2, 0.0f);
    const double rate = AudioReader::sampleRate;
    for (std::size_t i = 0; i < frames; ++i) {
        const double t = double(m_position + std::int64_t(i)) / rate;
        const double systemGain =
            m_config.systemAudioVolume * (m_speech.empty() ? 1.0 : duckingGain(m_speech, t));
        for (std::size_t c = 0; c < 2; ++c) {
            double v = 0;
            if (i < *system)
                v += m_systemBlock[i * 2 + c] * systemGain;
            if (i < micFrames)
                v += m_micBlock[i * 2 + c] * m_config.micVolume;
            m_out[i * 2 + c] = float(std::clamp(v, -1.0, 1.0));
        }
    }
    m_position += std::int64_t(frames);
    return std::span<const float>(m_out.data(), frames * 2);
}

} // namespace orvane
