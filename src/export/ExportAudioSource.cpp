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
    source->m_tracks.emplace_back().reader = std::move(*system);
    if (!needsMix(audio)) {
        source->m_route = Route::passthrough;
        return source;
    }
    source->m_route = Route::mix;
    // Every further track is a microphone at the mic volume; only the first of them is cleaned up and
    // listened to for ducking.
    for (int index = 1; index < source->m_trackCount; ++index) {
        auto mic = AudioReader::open(sourcePath, {index});
        if (!mic)
            continue;
        Track& track = source->m_tracks.emplace_back();
        track.reader = std::move(*mic);
        if (index == 1 && audio.noiseSuppression)
            track.cleanUp.emplace(AudioReader::sampleRate);
    }
    // A failed analysis simply means no ducking.
    if (audio.ducking && source->m_trackCount >= 2)
        source->m_speech = AudioAnalyzer::analyzeMicTrack(sourcePath, 1);
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

tl::expected<void, ExporterError> ExportAudioSource::pull(Track& track, std::size_t frames) {
    // The blocks keep their capacity from call to call, so steady reading allocates nothing.
    track.block.assign(frames * 2, 0.0f);
    track.frames = 0;
    while (!track.ended && track.frames < frames) {
        if (track.pendingUsed == track.pending.size()) {
            auto chunk = track.reader->next();
            if (!chunk)
                return tl::unexpected(ExporterError::reader(chunk.error().description));
            if (!*chunk) {
                track.ended = true;
                break;
            }
            track.pending.assign((*chunk)->samples.begin(), (*chunk)->samples.end());
            track.pendingUsed = 0;
        }
        const std::size_t take =
            std::min(frames - track.frames, (track.pending.size() - track.pendingUsed) / 2);
        std::copy_n(track.pending.begin() + std::ptrdiff_t(track.pendingUsed), take * 2,
                    track.block.begin() + std::ptrdiff_t(track.frames * 2));
        track.pendingUsed += take * 2;
        track.frames += take;
    }
    if (track.cleanUp && track.frames > 0)
        track.cleanUp->process(std::span<float>(track.block.data(), track.frames * 2));
    return {};
}

tl::expected<std::span<const float>, ExporterError> ExportAudioSource::read(std::size_t maxFrames) {
    if (m_route == Route::none || m_tracks.empty())
        return std::span<const float>();

    std::size_t frames = 0;
    for (Track& track : m_tracks) {
        if (auto pulled = pull(track, maxFrames); !pulled)
            return tl::unexpected(pulled.error());
        frames = std::max(frames, track.frames);
    }
    if (m_route == Route::passthrough) {
        m_position += std::int64_t(frames);
        return std::span<const float>(m_tracks.front().block.data(), frames * 2);
    }

    m_out.assign(frames * 2, 0.0f);
    const double rate = AudioReader::sampleRate;
    for (std::size_t i = 0; i < frames; ++i) {
        const double t = double(m_position + std::int64_t(i)) / rate;
        const double systemGain =
            m_config.systemAudioVolume * (m_speech.empty() ? 1.0 : duckingGain(m_speech, t));
        for (std::size_t c = 0; c < 2; ++c) {
            // Blocks are zero past a track's end, so every track can be summed over the whole block.
            double v = double(m_tracks.front().block[i * 2 + c]) * systemGain;
            for (std::size_t k = 1; k < m_tracks.size(); ++k)
                v += double(m_tracks[k].block[i * 2 + c]) * m_config.micVolume;
            m_out[i * 2 + c] = float(std::clamp(v, -1.0, 1.0));
        }
    }
    m_position += std::int64_t(frames);
    return std::span<const float>(m_out.data(), frames * 2);
}

} // namespace orvane
