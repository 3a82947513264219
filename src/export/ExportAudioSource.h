#pragma once

#include "ExporterError.h"
#include "project/Clip.h"
#include "speech/NoiseSuppressor.h"

#include <QString>

#include <tl/expected.hpp>

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace orvane {

class AudioReader;
struct VoiceActivitySegment;

// The audio of one exported clip, as a stream of 48 kHz stereo float that the exporter interleaves with
// its video: the first source track passed along, or the mix of the system and microphone tracks with
// their volumes, ducking and the microphone's clean-up, all computed here.
class ExportAudioSource {
public:
    enum class Route { none, passthrough, mix };

    // Which route the clip's settings ask for: mix when any of the audio settings is not plain.
    static bool needsMix(const AudioConfig& audio);
    static tl::expected<std::unique_ptr<ExportAudioSource>, ExporterError>
    open(const QString& sourcePath, const AudioConfig& audio, bool includeAudio);
    ~ExportAudioSource();

    Route route() const { return m_route; }
    bool hasAudio() const { return m_route != Route::none; }
    int sourceTrackCount() const { return m_trackCount; }
    const std::vector<VoiceActivitySegment>& duckingSegments() const { return m_speech; }

    // The next block of up to `maxFrames` frames starting at `position()`; empty at the end.
    tl::expected<std::span<const float>, ExporterError> read(std::size_t maxFrames);
    std::int64_t position() const { return m_position; }

    // The system track's gain at `seconds` with ducking under speech: 0.25 inside each speech interval,
    // with 0.1 s linear ramps down before its start (not before zero) and up after its end.
    static double duckingGain(const std::vector<VoiceActivitySegment>& speech, double seconds);

private:
    ExportAudioSource() = default;
    // Fills `buffer` with up to `frames` frames from `reader`, zeros past its end; frames delivered.
    tl::expected<std::size_t, ExporterError> pull(AudioReader& reader, std::vector<float>& pending,
                                                  std::vector<float>& buffer, std::size_t frames);

    Route m_route = Route::none;
    int m_trackCount = 0;
    AudioConfig m_config;
    std::unique_ptr<AudioReader> m_system;
    std::unique_ptr<AudioReader> m_mic;
    std::optional<NoiseSuppressor::Chain> m_cleanUp;
    std::vector<VoiceActivitySegment> m_speech;
    std::vector<float> m_systemPending, m_micPending; // samples read but not yet used
    std::vector<float> m_systemBlock, m_micBlock, m_out;
    bool m_systemEnded = false;
    bool m_micEnded = false;
    std::int64_t m_position = 0;
};

} // namespace orvane
