#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace orvane {

enum class VideoCodec { h264, hevc, prores422 };
enum class ContainerFormat { mov, mp4 };

struct VideoEncoderSettings {
    int width = 0;
    int height = 0;
    VideoCodec codec = VideoCodec::h264;
    // The nominal rate: the stream's declared rate, the key-frame spacing and the length of the last frame.
    double frameRate = 60;
    // Ticks per second of the track's clock; frame times are rounded to it.
    std::int32_t timescale = 90000;
    // Bits per second; absent leaves the rate to `quality` (constant-quality coding).
    std::optional<std::int64_t> bitRate;
    // x264/x265 CRF; lower is better. ProRes ignores it.
    int quality = 20;
    // x264/x265 speed preset.
    QString preset = QStringLiteral("veryfast");
    // Live capture: no look-ahead and no B-frames, so each frame leaves the encoder at once and a killed
    // process loses the least.
    bool realTime = false;
    // Frames between key frames; 0 for two seconds' worth.
    int keyframeInterval = 0;
    // Clockwise degrees a player turns the picture by (stored as the track's display matrix).
    int rotationDegrees = 0;
    // Try h264_vaapi then h264_nvenc (hevc_* for HEVC) before the software encoder.
    bool preferHardware = false;
    // Encoder threads; 0 lets the encoder choose.
    int threads = 0;

    bool operator==(const VideoEncoderSettings&) const = default;
};

// AAC. Samples are given to the writer as interleaved float at this rate and channel count.
struct AudioEncoderSettings {
    int sampleRate = 48000;
    int channels = 2;
    std::int64_t bitRate = 192000;

    bool operator==(const AudioEncoderSettings&) const = default;
};

struct MediaWriterSettings {
    ContainerFormat container = ContainerFormat::mov;
    std::optional<VideoEncoderSettings> video;
    // One AAC track each, in this order.
    std::vector<AudioEncoderSettings> audio;
    // A fragmented movie whose fragments reach the disk at least this often (seconds). A process killed
    // mid-recording then leaves a file that plays up to its last fragment. Absent: one index at the end,
    // written by finish().
    std::optional<double> fragmentInterval;
    // Video frames waiting for the encoder before isReadyForVideo turns false.
    int videoQueueDepth = 8;
    // Seconds of audio per track waiting for the encoder before isReadyForAudio turns false.
    double audioQueueSeconds = 1.0;

    bool operator==(const MediaWriterSettings&) const = default;
};

} // namespace orvane
