#pragma once

#include "capture/SourceCatalog.h"
#include "capture/StreamOutput.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvane {

class X11FrameGrabber;

// The screen half of a capture stream on X11. Two threads: "capture.grab" reads the source on a fixed
// schedule of the capture clock into one of `queueDepth` shared buffers and stamps each image with the
// middle of its round trip to the server; "capture.video" hands each image to the handler (which copies it)
// and returns its buffer. Grabbing never waits for the handler: when all buffers are still taken, that tick's
// frame is dropped. A tick that comes too late (the machine stalled) is skipped, not caught up in a burst.
//
// start and stop are blocking and belong to one controlling thread; statistics() may be read anywhere.
// bufferLock guards the free and ready lists between the two threads and is never held while grabbing
// or handling.
class X11ScreenCapture {
public:
    struct Configuration {
        QByteArray displayName;
        CaptureTarget target;
        int width = 0;
        int height = 0;
        std::chrono::nanoseconds minimumFrameInterval{1'000'000'000 / 60};
        int queueDepth = 8;
    };

    struct Statistics {
        std::int64_t ticks = 0;           // scheduled grabs that ran
        std::int64_t framesDelivered = 0; // images handed to the handler
        std::int64_t framesDropped = 0;   // no free buffer at the tick
        std::int64_t ticksMissed = 0;     // ticks skipped because the thread woke up too late
        std::int64_t idleTicks = 0;       // nothing to read (a window off the screen)
        double grabSeconds = 0;           // time spent waiting for images, all together
    };

    using Handler = std::function<void(const VideoSample&)>;

    X11ScreenCapture(Configuration configuration, Handler handler);
    ~X11ScreenCapture();
    X11ScreenCapture(const X11ScreenCapture&) = delete;
    X11ScreenCapture& operator=(const X11ScreenCapture&) = delete;

    // Opens the source and starts both threads; returns once the first image was read, or with the
    // reason none could be within `timeout`.
    tl::expected<void, QString> start(std::chrono::milliseconds timeout);
    // Stops grabbing, delivers what was already read, and joins both threads.
    void stop();

    Statistics statistics() const;

private:
    struct Ready {
        int buffer = 0;
        VideoSample sample;
    };

    void grabLoop();
    void deliverLoop();

    Configuration m_configuration;
    Handler m_handler;
    std::unique_ptr<X11FrameGrabber> m_grabber;
    std::thread m_grabThread;
    std::thread m_deliverThread;
    std::atomic<bool> m_stopRequested{false};

    mutable std::mutex m_bufferLock; // guards everything down to m_startFailure
    std::condition_variable m_readyChanged;
    std::vector<int> m_freeBuffers; // a stack, never larger than the buffer count
    std::vector<Ready> m_ready;     // a ring of the buffer count
    std::size_t m_readyHead = 0;
    std::size_t m_readyCount = 0;
    bool m_grabberDone = false;
    bool m_firstFrame = false;
    bool m_stopReported = false;
    std::optional<QString> m_lastFailure;

    std::atomic<std::int64_t> m_ticks{0};
    std::atomic<std::int64_t> m_delivered{0};
    std::atomic<std::int64_t> m_dropped{0};
    std::atomic<std::int64_t> m_missed{0};
    std::atomic<std::int64_t> m_idle{0};
    std::atomic<std::int64_t> m_grabNanoseconds{0};
};

} // namespace orvane
