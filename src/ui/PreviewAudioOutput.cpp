#include "ui/PreviewAudioOutput.h"

#include "media/AudioReader.h"
#include "support/Log.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace orvane {

namespace {

struct SimpleDeleter {
    void operator()(pa_simple* s) const { pa_simple_free(s); }
};
using SimplePtr = std::unique_ptr<pa_simple, SimpleDeleter>;

constexpr int blockFrames = 480; // 10 ms: a stop or a seek is heard within a block
constexpr double targetLatencySeconds = 0.06;

SimplePtr connectStream(const QByteArray& server) {
    pa_sample_spec spec{};
    spec.format = PA_SAMPLE_FLOAT32LE;
    spec.rate = AudioReader::sampleRate;
    spec.channels = AudioReader::channels;
    // The default buffer is two seconds: the picture would wait that long after every seek.
    pa_buffer_attr buffer{};
    buffer.maxlength = std::uint32_t(-1);
    buffer.tlength = std::uint32_t(pa_usec_to_bytes(pa_usec_t(targetLatencySeconds * 1e6), &spec));
    buffer.prebuf = std::uint32_t(-1);
    buffer.minreq = std::uint32_t(pa_usec_to_bytes(10'000, &spec));
    buffer.fragsize = std::uint32_t(-1);
    int error = 0;
    SimplePtr stream(pa_simple_new(server.isEmpty() ? nullptr : server.constData(), "Orvane Screen",
                                   PA_STREAM_PLAYBACK, nullptr, "preview", &spec, nullptr, &buffer, &error));
    if (!stream)
        log::info("Preview", QStringLiteral("no sound server for the preview, playing on the wall clock: ") +
                                 QString::fromUtf8(pa_strerror(error)));
    return stream;
}

} // namespace

PreviewAudioOutput::PreviewAudioOutput(QByteArray server)
    : m_server(std::move(server)) {
    m_thread = std::thread([this] { run(); });
    pthread_setname_np(m_thread.native_handle(), "preview-audio");
}

PreviewAudioOutput::~PreviewAudioOutput() {
    {
        std::lock_guard lock(m_clockLock);
        m_quit = true;
        ++m_generation;
    }
    m_wake.notify_all();
    m_thread.join();
}

void PreviewAudioOutput::setSource(std::optional<QString> path) {
    {
        std::lock_guard lock(m_clockLock);
        m_source = std::move(path);
        ++m_sourceGeneration;
        m_sourceUnplayable = false;
        ++m_generation;
        m_streaming = false;
    }
    m_wake.notify_all();
}

void PreviewAudioOutput::start(double seconds, double rate) {
    {
        std::lock_guard lock(m_clockLock);
        ++m_generation;
        m_running = true;
        m_from = seconds;
        m_rate = rate;
        m_startedAt = SteadyClock::now();
        m_streaming = false;
        m_lastReported = seconds;
    }
    m_wake.notify_all();
}

void PreviewAudioOutput::stop() {
    {
        std::lock_guard lock(m_clockLock);
        if (!m_running)
            return;
        m_from = positionLocked(SteadyClock::now());
        ++m_generation;
        m_running = false;
        m_streaming = false;
    }
    m_wake.notify_all();
}

void PreviewAudioOutput::setPosition(double seconds) {
    std::lock_guard lock(m_clockLock);
    if (m_running)
        return;
    m_from = seconds;
    m_lastReported = seconds;
}

double PreviewAudioOutput::position() const {
    std::lock_guard lock(m_clockLock);
    return positionLocked(SteadyClock::now());
}

double PreviewAudioOutput::rate() const {
    std::lock_guard lock(m_clockLock);
    return m_running ? m_rate : 0.0;
}

bool PreviewAudioOutput::isRunning() const {
    std::lock_guard lock(m_clockLock);
    return m_running;
}

bool PreviewAudioOutput::usesSoundServer() const {
    std::lock_guard lock(m_clockLock);
    return m_running && m_streaming;
}

bool PreviewAudioOutput::wantsSoundLocked() const {
    return m_running && m_rate == 1.0 && m_source.has_value() && !m_sourceUnplayable && !m_serverMissing;
}

double PreviewAudioOutput::positionLocked(SteadyClock::time_point now) const {
    if (!m_running)
        return m_from;
    if (m_streaming) {
        // Between two writes the listener hears on at real time, but never past what was written.
        const double sinceStamp = std::chrono::duration<double>(now - m_stampedAt).count();
        const double played = std::min(m_writtenSeconds, m_writtenSeconds - m_latencySeconds + sinceStamp);
        m_lastReported = std::max(m_lastReported, m_from + std::max(0.0, played));
        return m_lastReported;
    }
    // Sound is on its way: hold the picture until it is heard, so they start together.
    if (wantsSoundLocked())
        return m_from;
    return m_from + m_rate * std::chrono::duration<double>(now - m_startedAt).count();
}

void PreviewAudioOutput::fallBackToWallClockLocked() {
    // The wall clock takes over from where the held clock stands, with no jump.
    m_startedAt = SteadyClock::now();
}

void PreviewAudioOutput::run() {
    SimplePtr stream;
    std::unique_ptr<AudioReader> reader;
    std::uint64_t readerGeneration = ~std::uint64_t(0);
    const std::vector<float> silence(std::size_t(blockFrames) * AudioReader::channels, 0.0f);

    std::unique_lock lock(m_clockLock);
    for (;;) {
        m_wake.wait(lock, [this] { return m_quit || wantsSoundLocked(); });
        if (m_quit)
            return;
        const std::uint64_t generation = m_generation;
        const double from = m_from;
        const std::optional<QString> source = m_source;
        const std::uint64_t sourceGeneration = m_sourceGeneration;
        lock.unlock();

        if (sourceGeneration != readerGeneration) {
            readerGeneration = sourceGeneration;
            auto opened = AudioReader::open(*source);
            reader = opened ? std::move(*opened) : nullptr;
        }
        if (reader && !stream)
            stream = connectStream(m_server);
        if (!reader || !stream) {
            lock.lock();
            if (!reader && m_sourceGeneration == sourceGeneration)
                m_sourceUnplayable = true;
            if (!stream)
                m_serverMissing = true;
            fallBackToWallClockLocked();
            continue;
        }

        bool readerDone = !reader->seek(from).has_value();
        std::int64_t written = 0;
        bool current = true;
        while (current) {
            std::span<const float> samples(silence);
            if (!readerDone) {
                auto chunk = reader->next();
                if (chunk && *chunk)
                    samples = (*chunk)->samples;
                else
                    readerDone = true; // after the end, silence keeps the clock going
            }
            while (current && !samples.empty()) {
                const std::size_t count = std::min(samples.size(), silence.size());
                int error = 0;
                if (pa_simple_write(stream.get(), samples.data(), count * sizeof(float), &error) < 0) {
                    log::warning("Preview", QStringLiteral("the preview's sound stopped: ") +
                                                QString::fromUtf8(pa_strerror(error)));
                    stream.reset();
                    lock.lock();
                    m_serverMissing = true;
                    m_streaming = false;
                    fallBackToWallClockLocked();
                    lock.unlock();
                    current = false;
                    break;
                }
                written += std::int64_t(count / AudioReader::channels);
                samples = samples.subspan(count);
                const pa_usec_t latency = pa_simple_get_latency(stream.get(), &error);
                lock.lock();
                current = !m_quit && m_generation == generation;
                if (current) {
                    m_streaming = true;
                    m_writtenSeconds = double(written) / AudioReader::sampleRate;
                    m_latencySeconds = double(latency) / 1e6;
                    m_stampedAt = SteadyClock::now();
                }
                lock.unlock();
            }
        }
        if (stream) {
            int error = 0;
            pa_simple_flush(stream.get(), &error);
        }
        lock.lock();
    }
}

} // namespace orvane
