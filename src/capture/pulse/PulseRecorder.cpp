#include "PulseRecorder.h"

#include "capture/CaptureClock.h"
#include "support/Log.h"

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/introspect.h>
#include <pulse/stream.h>
#include <pulse/thread-mainloop.h>
#include <pulse/timeval.h>

#include <thread>

namespace orvane {

namespace {

constexpr pa_sample_spec captureSpec{PA_SAMPLE_FLOAT32LE, AudioClockFollower::sampleRate,
                                     AudioClockFollower::channels};
// Chunks of 10 ms: small enough that the stamps are fine-grained, large enough to cost nothing.
constexpr std::chrono::microseconds fragment{10'000};

} // namespace

PulseRecorder::PulseRecorder(Device device, QByteArray server, QByteArray threadName, Handler handler)
    : m_device(device)
    , m_server(std::move(server))
    , m_threadName(std::move(threadName))
    , m_handler(std::move(handler)) {}

PulseRecorder::~PulseRecorder() {
    stop();
}

QString PulseRecorder::contextError() const {
    return QString::fromUtf8(pa_strerror(m_context ? pa_context_errno(m_context.get()) : PA_ERR_UNKNOWN));
}

void PulseRecorder::onContextState(pa_context*, void* self) {
    pa_threaded_mainloop_signal(static_cast<PulseRecorder*>(self)->m_mainloop.get(), 0);
}

void PulseRecorder::onStreamState(pa_stream* stream, void* self) {
    auto* recorder = static_cast<PulseRecorder*>(self);
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if ((state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) && recorder->m_chunks > 0)
        // The sound server went away or took the device: the recording goes on without this sound.
        log::warning("CaptureEngine", QStringLiteral("stream stopped with error: PulseAudio: %1")
                                          .arg(QString::fromUtf8(
                                              pa_strerror(pa_context_errno(pa_stream_get_context(stream))))));
    pa_threaded_mainloop_signal(recorder->m_mainloop.get(), 0);
}

void PulseRecorder::onReadable(pa_stream*, std::size_t, void* self) {
    static_cast<PulseRecorder*>(self)->readAvailable();
}

tl::expected<void, QString> PulseRecorder::waitFor(const std::function<bool()>& done,
                                                   std::chrono::steady_clock::time_point deadline,
                                                   const char* what) {
    while (true) {
        {
            pulse::MainloopLock lock(m_mainloop.get());
            if (done())
                return {};
            if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context.get())))
                return tl::unexpected(QStringLiteral("PulseAudio: %1").arg(contextError()));
            if (m_stream && !PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream.get())))
                return tl::unexpected(QStringLiteral("PulseAudio: %1").arg(contextError()));
        }
        if (std::chrono::steady_clock::now() > deadline)
            return tl::unexpected(QStringLiteral("PulseAudio: no answer while %1").arg(QLatin1String(what)));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

tl::expected<QString, QString> PulseRecorder::findSource(std::chrono::steady_clock::time_point deadline) {
    struct Lookup {
        pa_threaded_mainloop* mainloop = nullptr;
        bool serverDone = false;
        bool sinkDone = false;
        QByteArray defaultSink, defaultSource, monitor;
    } lookup;
    lookup.mainloop = m_mainloop.get();
    pulse::OperationPtr operation;
    // An answer that comes after we gave up must not reach `lookup`, which lives on this stack.
    struct Forget {
        pa_threaded_mainloop* mainloop;
        pulse::OperationPtr& operation;
        ~Forget() {
            pulse::MainloopLock lock(mainloop);
            if (operation && pa_operation_get_state(operation.get()) == PA_OPERATION_RUNNING)
                pa_operation_cancel(operation.get());
            operation.reset();
        }
    } forget{m_mainloop.get(), operation};
    {
        pulse::MainloopLock lock(m_mainloop.get());
        operation.reset(pa_context_get_server_info(
            m_context.get(),
            [](pa_context*, const pa_server_info* info, void* data) {
                auto* l = static_cast<Lookup*>(data);
                if (info) {
                    l->defaultSink = info->default_sink_name ? info->default_sink_name : "";
                    l->defaultSource = info->default_source_name ? info->default_source_name : "";
                }
                l->serverDone = true;
                pa_threaded_mainloop_signal(l->mainloop, 0);
            },
            &lookup));
    }
    if (auto done = waitFor([&] { return lookup.serverDone; }, deadline, "asking for the defaults"); !done)
        return tl::unexpected(done.error());
    if (m_device == Device::microphone) {
        if (lookup.defaultSource.isEmpty())
            return tl::unexpected(QStringLiteral("PulseAudio has no default source."));
        return QString::fromUtf8(lookup.defaultSource);
    }
    if (lookup.defaultSink.isEmpty())
        return tl::unexpected(QStringLiteral("PulseAudio has no default sink."));
    {
        pulse::MainloopLock lock(m_mainloop.get());
        operation.reset();
        operation.reset(pa_context_get_sink_info_by_name(
            m_context.get(), lookup.defaultSink.constData(),
            [](pa_context*, const pa_sink_info* info, int eol, void* data) {
                auto* l = static_cast<Lookup*>(data);
                if (info && info->monitor_source_name)
                    l->monitor = info->monitor_source_name;
                if (eol != 0) {
                    l->sinkDone = true;
                    pa_threaded_mainloop_signal(l->mainloop, 0);
                }
            },
            &lookup));
    }
    if (auto done = waitFor([&] { return lookup.sinkDone; }, deadline, "asking for the sink's monitor");
        !done)
        return tl::unexpected(done.error());
    if (lookup.monitor.isEmpty())
        return tl::unexpected(QStringLiteral("The default sink \"%1\" has no monitor.")
                                  .arg(QString::fromUtf8(lookup.defaultSink)));
    return QString::fromUtf8(lookup.monitor);
}

tl::expected<void, QString> PulseRecorder::start(std::chrono::milliseconds timeout) {
    stop();
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    m_follower = std::make_unique<AudioClockFollower>();
    m_mainloop.reset(pa_threaded_mainloop_new());
    if (!m_mainloop)
        return tl::unexpected(QStringLiteral("PulseAudio: cannot create a main loop"));
    pa_threaded_mainloop_set_name(m_mainloop.get(), m_threadName.constData());
    m_context.reset(pa_context_new(pa_threaded_mainloop_get_api(m_mainloop.get()), "Orvane Screen"));
    if (!m_context)
        return tl::unexpected(QStringLiteral("PulseAudio: cannot create a context"));
    pa_context_set_state_callback(m_context.get(), &PulseRecorder::onContextState, this);
    if (pa_context_connect(m_context.get(), m_server.isEmpty() ? nullptr : m_server.constData(),
                           PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        const QString reason = contextError();
        stop();
        return tl::unexpected(QStringLiteral("PulseAudio: %1").arg(reason));
    }
    if (pa_threaded_mainloop_start(m_mainloop.get()) < 0)
        return tl::unexpected(QStringLiteral("PulseAudio: cannot start the main loop"));
    auto fail = [this](QString reason) {
        stop();
        return tl::unexpected(std::move(reason));
    };
    if (auto ready = waitFor([this] { return pa_context_get_state(m_context.get()) == PA_CONTEXT_READY; },
                             deadline, "connecting");
        !ready)
        return fail(ready.error());
    auto source = findSource(deadline);
    if (!source)
        return fail(source.error());
    m_sourceName = *source;
    QString refused;
    {
        pulse::MainloopLock lock(m_mainloop.get());
        m_stream.reset(pa_stream_new(m_context.get(),
                                     m_device == Device::systemAudio ? "System audio" : "Microphone",
                                     &captureSpec, nullptr));
        if (m_stream) {
            pa_stream_set_state_callback(m_stream.get(), &PulseRecorder::onStreamState, this);
            pa_stream_set_read_callback(m_stream.get(), &PulseRecorder::onReadable, this);
            pa_buffer_attr attributes{};
            attributes.maxlength = std::uint32_t(-1);
            attributes.fragsize = std::uint32_t(pa_usec_to_bytes(pa_usec_t(fragment.count()), &captureSpec));
            const QByteArray device = m_sourceName.toUtf8();
            const auto flags = PA_STREAM_ADJUST_LATENCY;
            if (pa_stream_connect_record(m_stream.get(), device.constData(), &attributes, flags) < 0)
                refused = contextError();
        } else {
            refused = contextError();
        }
    }
    // The loop's lock is let go before stopping: stop() joins the loop's thread.
    if (!refused.isEmpty())
        return fail(QStringLiteral("PulseAudio: %1").arg(refused));
    if (auto ready = waitFor([this] { return pa_stream_get_state(m_stream.get()) == PA_STREAM_READY; },
                             deadline, "opening the recording");
        !ready)
        return fail(ready.error());
    return {};
}

void PulseRecorder::stop() {
    if (m_mainloop)
        pa_threaded_mainloop_stop(m_mainloop.get());
    m_stream.reset();
    m_context.reset();
    m_mainloop.reset();
}

void PulseRecorder::readAvailable() {
    pa_stream* stream = m_stream.get();
    if (!stream)
        return;
    constexpr std::size_t frameBytes = sizeof(float) * AudioClockFollower::channels;
    while (true) {
        const std::size_t buffered = pa_stream_readable_size(stream);
        if (buffered == 0 || buffered == std::size_t(-1))
            return;
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
            return;
        if (!data) {
            // A hole: samples the server lost. The next chunk's stamp says how long it was.
            ++m_holes;
        } else if (const std::size_t frames = bytes / frameBytes; frames > 0) {
            // The chunk's first sample came in as long ago as everything still waiting for us lasts. The
            // server's own latency figures are not used: for a sink's monitor they swing by hundreds of
            // milliseconds whenever the sink changes its buffering, and interpolating them stalls.
            const double captured =
                captureClock::nowSeconds() - double(buffered / frameBytes) / AudioClockFollower::sampleRate;
            const std::span<const float> samples(static_cast<const float*>(data),
                                                 frames * AudioClockFollower::channels);
            m_follower->push(samples, captured, [this](std::span<const float> out, double time) {
                m_handler(out, captureClock::fromSeconds(time));
            });
            ++m_chunks;
            m_frames += std::int64_t(frames);
            m_resyncs = m_follower->resyncCount();
            m_correction = m_follower->correction();
        }
        pa_stream_drop(stream);
    }
}

PulseRecorder::Statistics PulseRecorder::statistics() const {
    return {m_chunks.load(), m_frames.load(), m_holes.load(), m_resyncs.load(), m_correction.load()};
}

bool PulseRecorder::serverAnswers(const QByteArray& server, std::chrono::milliseconds timeout) {
    // A probe is a recorder that connects and asks for the defaults, and records nothing.
    PulseRecorder probe(Device::microphone, server, "pulse.probe", {});
    probe.m_mainloop.reset(pa_threaded_mainloop_new());
    if (!probe.m_mainloop)
        return false;
    probe.m_context.reset(
        pa_context_new(pa_threaded_mainloop_get_api(probe.m_mainloop.get()), "Orvane Screen"));
    if (!probe.m_context)
        return false;
    pa_context_set_state_callback(probe.m_context.get(), &PulseRecorder::onContextState, &probe);
    if (pa_context_connect(probe.m_context.get(), server.isEmpty() ? nullptr : server.constData(),
                           PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return false;
    if (pa_threaded_mainloop_start(probe.m_mainloop.get()) < 0)
        return false;
    return bool(probe.waitFor([&] { return pa_context_get_state(probe.m_context.get()) == PA_CONTEXT_READY; },
                              std::chrono::steady_clock::now() + timeout, "connecting"));
}

} // namespace orvane
