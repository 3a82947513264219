#pragma once

#include <QString>

#include <vector>

namespace orvane {

struct VoiceActivitySegment {
    double start = 0; // seconds
    double end = 0;
    double level = 0; // the envelope's peak, 0 to 1

    bool operator==(const VoiceActivitySegment&) const = default;
};

// Where someone speaks in a microphone track: an RMS envelope with a quick attack and a slow release,
// over 0.1 s windows every 0.05 s. Stateless; blocking, so callers run it off the main thread.
class AudioAnalyzer {
public:
    static constexpr double speechThreshold = 0.05;

    // The speech intervals of the file's audio track `trackIndex`; empty for a missing file, a bad index,
    // a failed reader or less than two windows' worth (0.2 s) of audio.
    static std::vector<VoiceActivitySegment> analyzeMicTrack(const QString& path, int trackIndex);
    // The envelope and segmentation on RMS values already computed, one per hop.
    static std::vector<VoiceActivitySegment> segmentsFromWindowRMS(const std::vector<double>& rms);
    static std::vector<VoiceActivitySegment> mergeSegments(const std::vector<VoiceActivitySegment>& segments,
                                                           double maxGapSeconds);
};

} // namespace orvane
