#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

namespace orvane {

// The preview's clock and its sound. At 1x with a sound server and an audio track, the clip's sound plays
// through a PulseAudio stream and the clock is the position the listener hears: samples written minus the
// stream's latency. Otherwise (no server, no audio, or any other rate, reverse included) the same clock runs
// on the monotonic wall clock, silently: shuttled sound would only be noise, and it keeps one path for the
// video to follow.
//
// Thread-safety: `position`, `usesSoundServer` and `isRunning` may be called from any thread; the rest from
// one thread (the preview's main thread). No call waits for the sound server: the stream lives on the
// "preview-audio" thread, which connects, writes and flushes. `clockLock` guards the clock's state and the
// commands; it is never held while writing to the server.
class PreviewAudioOutput {
public:
    // `server` as libpulse takes it; empty for the default (PULSE_SERVER, then the user's daemon).
    explicit PreviewAudioOutput(QByteArray server = {});
    ~PreviewAudioOutput();
    PreviewAudioOutput(const PreviewAudioOutput&) = delete;
    PreviewAudioOutput& operator=(const PreviewAudioOutput&) = delete;

    // The movie or sound file to play from; none plays nothing and runs on the wall clock.
    void setSource(std::optional<QString> path);
    // Starts the clock at `seconds` moving at `rate` per second.
    void start(double seconds, double rate);
    // Freezes the clock where it stands and silences the stream.
    void stop();
    // Moves a stopped clock.
    void setPosition(double seconds);

    double position() const;
    double rate() const;
    bool isRunning() const;
    // The last start plays through the sound server (false until its first samples are written).
    bool usesSoundServer() const;

private:
    using SteadyClock = std::chrono::steady_clock;
    double positionLocked(SteadyClock::time_point now) const;
    bool wantsSoundLocked() const;
    void fallBackToWallClockLocked();
    void run();

    const QByteArray m_server;

    mutable std::mutex m_clockLock; // guards everything below up to m_thread
    std::condition_variable m_wake;
    std::optional<QString> m_source;
    std::uint64_t m_sourceGeneration = 0;
    std::uint64_t m_generation = 0; // each start, stop and move
    bool m_running = false;
    bool m_quit = false;
    bool m_sourceUnplayable = false; // no audio track in the source
    bool m_serverMissing = false;    // no sound server answered; not tried again
    double m_from = 0;
    double m_rate = 0;
    SteadyClock::time_point m_startedAt;
    // Filled by the audio thread for the current generation: the stream's clock, with when it was read.
    bool m_streaming = false;
    double m_writtenSeconds = 0;
    double m_latencySeconds = 0;
    SteadyClock::time_point m_stampedAt;
    mutable double m_lastReported = 0; // keeps the audible clock from stepping back between reads

    std::thread m_thread;
};

} // namespace orvane
