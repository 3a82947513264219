#pragma once

#include "capture/AudioClockFollower.h"
#include "capture/pulse/PulseHandles.h"
#include "project/MediaTime.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <span>

namespace orvane {

// Records one PulseAudio source as 48 kHz stereo float in 10 ms chunks, on a threaded main loop of its own
// (named after the capture queue it stands for). Each chunk is stamped with the monotonic clock time of
// its first sample: the moment it is read, less the length of everything still waiting to be read. For a
// sink's monitor that is the moment the sink took the sound, before its own output buffer. The samples
// then go through an AudioClockFollower, so that the handler gets gapless audio whose timestamps follow
// the capture clock and not the device's crystal.
//
// start and stop are blocking and belong to one controlling thread. The handler runs on the recorder's
// thread with PulseAudio's lock held: it must be quick and must not call back into the recorder.
class PulseRecorder {
public:
    enum class Device {
        systemAudio, // the monitor of the default sink: what the speakers play
        microphone,  // the default source
    };

    struct Statistics {
        std::int64_t chunks = 0;
        std::int64_t frames = 0;
        std::int64_t holes = 0;
        int resyncs = 0;
        double correction = 0;
    };

    using Handler = std::function<void(std::span<const float> samples, MediaTime time)>;

    // `server` as PulseAudio spells it ("unix:/run/user/0/pulse/native"); empty for the default one.
    PulseRecorder(Device device, QByteArray server, QByteArray threadName, Handler handler);
    ~PulseRecorder();
    PulseRecorder(const PulseRecorder&) = delete;
    PulseRecorder& operator=(const PulseRecorder&) = delete;

    // Connects, finds the device and starts recording. Fails with the server's reason, or when nothing
    // answers within `timeout`.
    tl::expected<void, QString> start(std::chrono::milliseconds timeout);
    void stop();

    // The source being recorded, once started.
    const QString& sourceName() const { return m_sourceName; }
    Statistics statistics() const;

    // Whether a PulseAudio server accepts a connection within `timeout`.
    static bool serverAnswers(const QByteArray& server, std::chrono::milliseconds timeout);

private:
    static void onContextState(pa_context* context, void* self);
    static void onStreamState(pa_stream* stream, void* self);
    static void onReadable(pa_stream* stream, std::size_t bytes, void* self);
    void readAvailable();
    tl::expected<QString, QString> findSource(std::chrono::steady_clock::time_point deadline);
    tl::expected<void, QString> waitFor(const std::function<bool()>& done,
                                        std::chrono::steady_clock::time_point deadline, const char* what);
    QString contextError() const;

    Device m_device;
    QByteArray m_server;
    QByteArray m_threadName;
    Handler m_handler;
    QString m_sourceName;
    // Teardown order: the stream, then the context, then the loop (stop() halts the loop first).
    pulse::MainloopPtr m_mainloop;
    pulse::ContextPtr m_context;
    pulse::StreamPtr m_stream;
    std::unique_ptr<AudioClockFollower> m_follower; // the recorder's thread only

    std::atomic<std::int64_t> m_chunks{0};
    std::atomic<std::int64_t> m_frames{0};
    std::atomic<std::int64_t> m_holes{0};
    std::atomic<int> m_resyncs{0};
    std::atomic<double> m_correction{0};
};

} // namespace orvane
