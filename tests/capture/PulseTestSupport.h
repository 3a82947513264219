#pragma once

// A private PulseAudio daemon for tests: two null sinks, "orvane_speakers" (the default sink, whose monitor
// is the system's sound) and "orvane_mic" (whose monitor is the default source, standing in for a
// microphone), in a runtime folder of its own so that parallel test processes never meet.

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

class QProcess;
struct pa_simple;

namespace orvane::test {

class PulseServer {
public:
    static constexpr const char* speakers = "orvane_speakers";
    static constexpr const char* microphone = "orvane_mic";

    // Nothing when the daemon cannot be started; the reason is in `failure`.
    static std::unique_ptr<PulseServer> start(QByteArray* failure = nullptr);
    ~PulseServer();

    // "unix:<runtime>/pulse/native", for PA_SERVER-style arguments.
    QByteArray serverString() const;

    // Plays a sine of `frequency` Hz at `amplitude` for `seconds` into `sink`, from a child process that
    // the caller owns; it starts playing within a few milliseconds.
    std::unique_ptr<QProcess> playTone(const char* sink, double frequency, double seconds,
                                       double amplitude = 0.5) const;

private:
    PulseServer() = default;
    QTemporaryDir m_runtime;
    qint64 m_pid = 0;
};

// Plays into a sink from a thread of this process: a steady tone (or silence), and on request a beep whose
// start is known on the capture clock. Writes 5 ms blocks as the sink takes them, so the sound starts
// within milliseconds.
class PulsePlayer {
public:
    PulsePlayer(const QByteArray& server, const char* sink, double toneFrequency = 0, double amplitude = 0.5);
    ~PulsePlayer();
    bool isOpen() const { return m_stream != nullptr; }

    // Mixes a beep into the next block and waits until it is written; returns the monotonic time (in
    // seconds) at which the sink takes its first sample.
    std::optional<double> beep(double frequency, double seconds, double amplitude = 0.8);

private:
    void run();

    pa_simple* m_stream = nullptr;
    double m_toneFrequency;
    double m_amplitude;
    std::atomic<bool> m_stop{false};
    std::mutex m_beepLock; // guards the four below
    double m_beepFrequency = 0;
    double m_beepAmplitude = 0;
    std::int64_t m_beepSamples = 0; // still to play; negative: asked for, not yet started
    std::optional<double> m_beepStartedAt;
    std::thread m_thread;
};

// The strength of one frequency in interleaved stereo float at 48 kHz (Goertzel on the left channel),
// as an RMS-like amplitude.
double toneLevel(const float* interleaved, std::size_t frames, double frequency);

} // namespace orvane::test
