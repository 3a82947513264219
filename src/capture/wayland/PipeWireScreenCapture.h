#pragma once

#include "capture/StreamOutput.h"
#include "capture/wayland/PipeWireStream.h"

#include <QString>

#include <tl/expected.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvane {

// The screen half of a capture stream on Wayland: the portal's PipeWire node read by PipeWireStream,
// each frame copied on PipeWire's thread into one of `queueDepth` pooled buffers as B, G, R, x (the order
// the writer takes) and stamped with its arrival on the capture clock; "capture.video" hands each to the
// handler and returns its buffer. PipeWire's thread never waits for the handler: with every buffer taken,
// the frame is dropped and counted. Frames closer together than `minimumFrameInterval` are skipped.
//
// start and stop are blocking and belong to one controlling thread; statistics() may be read anywhere.
class PipeWireScreenCapture {
public:
    struct Configuration {
        int remoteFd = -1;
        std::uint32_t nodeId = 0;
        std::chrono::nanoseconds minimumFrameInterval{1'000'000'000 / 60};
        int queueDepth = 8;
        // On PipeWire's thread: the cursor of each frame that carries one, at the frame's time.
        std::function<void(const PipeWireStream::Cursor&, MediaTime)> onCursor;
        // On PipeWire's thread, once: the source went away while capturing.
        std::function<void(const QString&)> onEnded;
    };

    struct Statistics {
        std::int64_t framesReceived = 0;  // frames PipeWire handed over
        std::int64_t framesDelivered = 0; // images handed to the handler
        std::int64_t framesDropped = 0;   // no free buffer
        std::int64_t framesSkipped = 0;   // closer than the minimum interval to the last one kept
        std::int64_t sourceGaps = 0;      // frames the source numbered but never sent
    };

    using Handler = std::function<void(const VideoSample&)>;

    PipeWireScreenCapture(Configuration configuration, Handler handler);
    ~PipeWireScreenCapture();
    PipeWireScreenCapture(const PipeWireScreenCapture&) = delete;
    PipeWireScreenCapture& operator=(const PipeWireScreenCapture&) = delete;

    // Connects to the node and starts delivering; returns once the first image was in, or with the reason
    // none came within `timeout`.
    tl::expected<void, QString> start(std::chrono::milliseconds timeout);
    // Stops reading, delivers what was already read, and joins the delivery thread.
    void stop();

    Statistics statistics() const;

private:
    struct Buffer {
        std::vector<std::uint8_t> pixels;
        int width = 0;
        int height = 0;
        MediaTime time;
    };

    void onFrame(const PipeWireStream::Frame& frame);
    void deliverLoop();

    Configuration m_configuration;
    Handler m_handler;
    std::unique_ptr<PipeWireStream> m_stream;
    std::thread m_deliverThread;

    mutable std::mutex m_lock; // guards everything below
    std::condition_variable m_changed;
    std::vector<Buffer> m_buffers;
    std::vector<int> m_free;
    std::deque<int> m_ready;
    bool m_stopping = false;
    std::int64_t m_lastKeptNs = 0;
    std::optional<std::uint64_t> m_lastSequence;
    QString m_endReason;
    Statistics m_statistics;
};

} // namespace orvane
