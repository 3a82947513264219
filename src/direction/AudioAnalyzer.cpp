#include "AudioAnalyzer.h"

#include "media/AssetProbe.h"
#include "media/AudioReader.h"

#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <optional>

namespace orvane {

namespace {
constexpr double hopSeconds = 0.05;
constexpr double windowSeconds = 0.1;
constexpr double attack = 0.9179150013761012;   // 1 - e^-2.5: 20 ms at this hop
constexpr double release = 0.15351827510938598; // 1 - e^(-1/6): 300 ms
} // namespace

std::vector<VoiceActivitySegment> AudioAnalyzer::analyzeMicTrack(const QString& path, int trackIndex) {
    if (trackIndex < 0 || !QFileInfo::exists(path))
        return {};
    const auto info = probeAsset(path);
    if (!info || trackIndex >= int(info->audioTracks.size()))
        return {};
    auto reader = AudioReader::open(path, {trackIndex});
    if (!reader)
        return {};

    // The reader gives 48 kHz stereo: windows of 4800 frames every 2400 are the same 0.1 s and 0.05 s,
    // over the mono mix. A window is two hops back to back, so only the sums of squares of the last two
    // hops are kept, and one RMS value per hop: an hour of audio costs little memory.
    const std::size_t window = std::size_t(AudioReader::sampleRate * windowSeconds);
    const std::size_t hop = window / 2;
    std::vector<double> rms;
    std::optional<double> previousHop;
    double hopSum = 0;
    std::size_t hopFill = 0;
    std::size_t frames = 0;
    while (true) {
        auto chunk = (*reader)->next();
        if (!chunk)
            return {};
        if (!*chunk)
            break;
        const auto samples = (*chunk)->samples;
        frames += samples.size() / 2;
        for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
            const double mono = (double(samples[i]) + double(samples[i + 1])) * 0.5;
            hopSum += mono * mono;
            if (++hopFill < hop)
                continue;
            if (previousHop)
                rms.push_back(std::sqrt((*previousHop + hopSum) / double(window)));
            previousHop = hopSum;
            hopSum = 0;
            hopFill = 0;
        }
    }
    if (frames < 2 * window || rms.empty())
        return {};
    return segmentsFromWindowRMS(rms);
}

std::vector<VoiceActivitySegment> AudioAnalyzer::segmentsFromWindowRMS(const std::vector<double>& rms) {
    std::vector<VoiceActivitySegment> segments;
    double envelope = 0;
    std::optional<VoiceActivitySegment> open;
    for (std::size_t i = 0; i < rms.size(); ++i) {
        envelope += (rms[i] - envelope) * (envelope < rms[i] ? attack : release);
        if (!open) {
            if (envelope > speechThreshold)
                open = VoiceActivitySegment{double(i) * hopSeconds, 0, envelope};
        } else if (envelope > speechThreshold) {
            open->level = std::max(open->level, envelope);
        } else {
            open->end = double(i) * hopSeconds + windowSeconds;
            open->level = std::min(open->level, 1.0);
            segments.push_back(*open);
            open.reset();
        }
    }
    if (open) {
        open->end = double(rms.size()) * hopSeconds + windowSeconds;
        open->level = std::min(open->level, 1.0);
        segments.push_back(*open);
    }
    return segments;
}

std::vector<VoiceActivitySegment>
AudioAnalyzer::mergeSegments(const std::vector<VoiceActivitySegment>& segments, double maxGapSeconds) {
    if (segments.size() < 2)
        return segments;
    std::vector<VoiceActivitySegment> merged;
    VoiceActivitySegment current = segments.front();
    for (std::size_t i = 1; i < segments.size(); ++i) {
        const VoiceActivitySegment& next = segments[i];
        if (next.start - current.end < maxGapSeconds) {
            current.end = std::max(current.end, next.end);
            current.level = std::max(current.level, next.level);
        } else {
            merged.push_back(current);
            current = next;
        }
    }
    merged.push_back(current);
    return merged;
}

} // namespace orvane
