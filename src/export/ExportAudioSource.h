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
    // Source tracks that feed the result: the first alone when passed along, every readable one when mixed.
    int mixedTrackCount() const { return int(m_tracks.size()); }
    const std::vector<VoiceActivitySegment>& duckingSegments() const { return m_speech; }

    // The next block of up to `maxFrames` frames starting at `position()`; empty at the end. Valid until
    // the next call.
    tl::expected<std::span<const float>, ExporterError> read(std::size_t maxFrames);
    std::int64_t position() const { return m_position; }

    // The system track's gain at `seconds` with ducking under speech: 0.25 inside each speech interval,
    // with 0.1 s linear ramps down before its start (not before zero) and up after its end.
    static double duckingGain(const std::vector<VoiceActivitySegment>& speech, double seconds);

private:
    // One source track: the first is the system sound, the others microphones.
    struct Track {
        std::unique_ptr<AudioReader> reader;
        std::optional<NoiseSuppressor::Chain> cleanUp;
        std::vector<float> pending; // the reader's last chunk, used up to `pendingUsed`
        std::size_t pendingUsed = 0;
        std::vector<float> block;
        std::size_t frames = 0; // in `block` from the last read
        bool ended = false;
    };

    ExportAudioSource() = default;
    // Fills the track's block with up to `frames` frames, zeros past its end.
    tl::expected<void, ExporterError> pull(Track& track, std::size_t frames);

    Route m_route = Route::none;
    int m_trackCount = 0;
    AudioConfig m_config;
    std::vector<Track> m_tracks;
    std::vector<VoiceActivitySegment> m_speech;
    std::vector<float> m_out;
    std::int64_t m_position = 0;
};

} // namespace orvane
