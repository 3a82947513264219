#include "X11ScreenCapture.h"

#include "X11FrameGrabber.h"
#include "capture/CaptureClock.h"
#include "support/Log.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace orvane {

namespace {

// The grab and hand-over threads run ahead of everything else in the process, as interactive work does:
// a tick that wakes late is a frame taken late. Raising priority needs the right to; without it the
// threads keep the default, which only costs punctuality on a busy machine.
void raisePriority() {
    setpriority(PRIO_PROCESS, id_t(syscall(SYS_gettid)), -10);
}

void sleepUntil(captureClock::Clock::time_point t) {
    // Absolute sleeps on the monotonic clock do not accumulate the error of relative ones.
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(t.time_since_epoch()).count();
    timespec when{time_t(ns / 1'000'000'000), long(ns % 1'000'000'000)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &when, nullptr) == EINTR) {
    }
}

} // namespace

X11ScreenCapture::X11ScreenCapture(Configuration configuration, Handler handler)
    : m_configuration(std::move(configuration))
    , m_handler(std::move(handler)) {}

X11ScreenCapture::~X11ScreenCapture() {
    stop();
}

tl::expected<void, QString> X11ScreenCapture::start(std::chrono::milliseconds timeout) {
    const Configuration& config = m_configuration;
    auto grabber = X11FrameGrabber::open(config.displayName, config.target, config.width, config.height,
                                         config.queueDepth);
    if (!grabber)
        return tl::unexpected(grabber.error());
    m_grabber = std::move(*grabber);
    m_freeBuffers.clear();
    for (int i = m_grabber->bufferCount() - 1; i >= 0; --i)
        m_freeBuffers.push_back(i);
    m_ready.assign(std::size_t(m_grabber->bufferCount()), Ready{});
    m_readyHead = m_readyCount = 0;
    m_grabberDone = m_firstFrame = m_stopReported = false;
    m_lastFailure.reset();
    m_stopRequested = false;
    m_grabThread = std::thread([this] { grabLoop(); });
    m_deliverThread = std::thread([this] { deliverLoop(); });

    std::unique_lock lock(m_bufferLock);
    m_readyChanged.wait_for(lock, timeout, [this] { return m_firstFrame || m_grabberDone; });
    if (m_firstFrame)
        return {};
    const QString reason = m_lastFailure.value_or(QStringLiteral("no image could be read in time"));
    lock.unlock();
    stop();
    return tl::unexpected(reason);
}

void X11ScreenCapture::stop() {
    m_stopRequested = true;
    m_readyChanged.notify_all();
    if (m_grabThread.joinable())
        m_grabThread.join();
    if (m_deliverThread.joinable())
        m_deliverThread.join();
    m_grabber.reset();
}

void X11ScreenCapture::grabLoop() {
    pthread_setname_np(pthread_self(), "capture.grab");
    raisePriority();
    using captureClock::Clock;
    const auto period = m_configuration.minimumFrameInterval;
    auto next = Clock::now();
    while (!m_stopRequested) {
        sleepUntil(next);
        if (m_stopRequested)
            break;
        ++m_ticks;
        int buffer = -1;
        {
            std::lock_guard lock(m_bufferLock);
            if (!m_freeBuffers.empty()) {
                buffer = m_freeBuffers.back();
                m_freeBuffers.pop_back();
            }
        }
        if (buffer < 0) {
            ++m_dropped;
        } else {
            const auto asked = Clock::now();
            auto image = m_grabber->grab(buffer);
            const auto answered = Clock::now();
            m_grabNanoseconds +=
                std::chrono::duration_cast<std::chrono::nanoseconds>(answered - asked).count();
            // The server read the pixels somewhere between the question and the answer.
            const auto taken = asked + (answered - asked) / 2;
            std::lock_guard lock(m_bufferLock);
            if (image) {
                Ready& slot = m_ready[(m_readyHead + m_readyCount) % m_ready.size()];
                slot.buffer = buffer;
                slot.sample = {image->pixels, image->width, image->height, image->stride,
                               captureClock::toMediaTime(taken)};
                ++m_readyCount;
                m_firstFrame = true;
            } else {
                m_freeBuffers.push_back(buffer);
                m_lastFailure = image.error();
                ++m_idle;
                // Frames stop coming for good, but the recording is not ended by this: what was taken is
                // kept, and the engine's stop finishes the movie as usual.
                if (m_firstFrame && !m_stopReported && m_grabber->sourceIsGone()) {
                    m_stopReported = true;
                    log::warning("CaptureEngine",
                                 QStringLiteral("stream stopped with error: ") + image.error());
                }
            }
            m_readyChanged.notify_all();
        }
        next += period;
        const auto now = Clock::now();
        if (now >= next + period) {
            // Woken too late for one or more ticks: start again from the next tick still ahead.
            const auto behind = (now - next) / period;
            m_missed += behind;
            next += behind * period;
        }
    }
    std::lock_guard lock(m_bufferLock);
    m_grabberDone = true;
    m_readyChanged.notify_all();
}

void X11ScreenCapture::deliverLoop() {
    pthread_setname_np(pthread_self(), "capture.video");
    raisePriority();
    while (true) {
        Ready ready;
        {
            std::unique_lock lock(m_bufferLock);
            m_readyChanged.wait(lock, [this] { return m_readyCount > 0 || m_grabberDone; });
            if (m_readyCount == 0)
                return;
            ready = m_ready[m_readyHead];
            m_readyHead = (m_readyHead + 1) % m_ready.size();
            --m_readyCount;
        }
        m_handler(ready.sample);
        ++m_delivered;
        std::lock_guard lock(m_bufferLock);
        m_freeBuffers.push_back(ready.buffer);
    }
}

X11ScreenCapture::Statistics X11ScreenCapture::statistics() const {
    Statistics s;
    s.ticks = m_ticks.load();
    s.framesDelivered = m_delivered.load();
    s.framesDropped = m_dropped.load();
    s.ticksMissed = m_missed.load();
    s.idleTicks = m_idle.load();
    s.grabSeconds = double(m_grabNanoseconds.load()) / 1e9;
    return s;
}

} // namespace orvane
