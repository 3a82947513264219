#pragma once

#include "project/MediaTime.h"

#include <QString>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace orvane {

class MediaWriter;

// One screen image as the stream delivers it: 32-bit pixels, bytes B, G, R and an undefined fourth. Null
// pixels stand for an idle tick with nothing new to show.
struct VideoSample {
    const std::uint8_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
    MediaTime time;
};

// Takes the stream's samples and feeds the movie writer: the session starts at the first video frame,
// audio that comes before it waits (up to 60 buffers) and goes in first, and nothing ever waits for the
// encoder: a frame or buffer the writer has no room for is dropped and counted.
//
// Output types: 0 the screen, 1 system audio, 2 the microphone; each arrives on a thread of its own.
// Locks: sessionLock guards hasStartedSession, the pending audio and isFinished, and is let go before any
// append; videoLock covers the video append and finishing the video track; audioLock covers both audio
// tracks. No two of them are ever held together.
class StreamOutput {
public:
    static constexpr std::size_t maxPendingAudioBuffers = 60;

    enum class OutputType { screen = 0, audio = 1, microphone = 2 };

    // The writer's state in the numbers the log has always shown.
    enum class WriterStatus { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

    struct Statistics {
        std::int64_t samplesSeen = 0;
        std::int64_t framesAppended = 0;
        std::int64_t framesDropped = 0;
        std::array<std::int64_t, 2> audioBuffersAppended{};
        std::array<std::int64_t, 2> audioBuffersDropped{};
        std::int64_t pendingAudioDropped = 0;
        std::optional<MediaTime> sessionStart; // the first video frame's time
    };

    // The tracks are the writer's audio track numbers, absent when that sound is not recorded.
    StreamOutput(std::shared_ptr<MediaWriter> writer, std::optional<int> systemAudioTrack,
                 std::optional<int> micTrack);
    ~StreamOutput();
    StreamOutput(const StreamOutput&) = delete;
    StreamOutput& operator=(const StreamOutput&) = delete;

    // On the video queue. The pixels are copied before this returns.
    void handleVideo(const VideoSample& sample);
    // On the audio or microphone queue: interleaved stereo float at 48 kHz, copied before this returns.
    void handleAudio(OutputType type, std::span<const float> samples, MediaTime time);

    // No more samples are taken; every track is marked finished.
    void finishWriting();

    WriterStatus writerStatus() const;
    const std::shared_ptr<MediaWriter>& writer() const { return m_writer; }
    Statistics statistics() const;

private:
    struct PendingAudio {
        OutputType type = OutputType::audio;
        MediaTime time;
        std::vector<float> samples;
    };

    std::int64_t countSample(OutputType type, const VideoSample* video, bool valid);
    void appendVideo(const VideoSample& sample, std::int64_t count);
    void appendAudio(OutputType type, std::span<const float> samples, MediaTime time);

    const std::shared_ptr<MediaWriter> m_writer;
    std::atomic<std::int64_t> m_debugFrameCount{0};

    mutable std::mutex m_sessionLock; // guards the three below
    bool m_hasStartedSession = false;
    std::vector<PendingAudio> m_pendingAudioBuffers; // preallocated slots; m_pendingCount in use
    std::size_t m_pendingCount = 0;
    bool m_isFinished = false;
    std::optional<MediaTime> m_sessionStart;

    std::mutex m_videoLock; // guards the video track
    bool m_videoFinished = false;

    std::mutex m_audioLock; // guards both audio tracks
    std::optional<int> m_systemAudioTrack;
    std::optional<int> m_micTrack;

    std::atomic<std::int64_t> m_framesAppended{0};
    std::atomic<std::int64_t> m_framesDropped{0};
    std::array<std::atomic<std::int64_t>, 2> m_audioAppended{};
    std::array<std::atomic<std::int64_t>, 2> m_audioDropped{};
    std::atomic<std::int64_t> m_pendingDropped{0};
};

} // namespace orvane
