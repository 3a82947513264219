#pragma once

#include "project/Geometry.h"

#include <QString>

#include <optional>
#include <vector>

namespace orvane {

struct VideoTrackInfo {
    int streamIndex = 0;
    QString codec;    // FFmpeg's short codec name: "h264", "hevc", "prores"
    QString codecTag; // the four characters stored in the container ("avc1", "hvc1"), empty if none
    // The stored picture, before any rotation.
    Size naturalSize;
    // Clockwise degrees to turn the picture by for display, from the track's display matrix: 0, 90, 180 or
    // 270 for the usual matrices, anything for others.
    double rotationDegrees = 0;
    // The natural size passed through the display matrix, absolute values taken: what a viewer sees. A
    // 1920x1080 track rotated by 90 degrees displays as 1080x1920.
    Size displaySize;
    double frameRate = 0;           // average frames per second; 0 when unknown
    std::optional<double> duration; // seconds
    std::optional<std::int64_t> frameCount;

    bool operator==(const VideoTrackInfo&) const = default;
};

struct AudioTrackInfo {
    int streamIndex = 0;
    QString codec;
    int sampleRate = 0;
    int channels = 0;
    std::optional<double> duration;

    bool operator==(const AudioTrackInfo&) const = default;
};

// What an importer or an exporter needs to know about a media file before reading it.
struct AssetInfo {
    QString container; // FFmpeg's demuxer name, "mov,mp4,m4a,3gp,3g2,mj2" for both MOV and MP4
    QString brand;     // the QuickTime/MP4 major brand ("qt  ", "isom"), empty for other containers
    // True when the first video track, or the first audio track of a file without video, decodes a frame.
    bool isPlayable = false;
    // Seconds; zero for a file that holds no timed data.
    double duration = 0;
    std::vector<VideoTrackInfo> videoTracks;
    std::vector<AudioTrackInfo> audioTracks;

    bool operator==(const AssetInfo&) const = default;
};

} // namespace orvane
