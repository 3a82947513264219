#include "PipeWireScreenCapture.h"

#include "capture/CaptureClock.h"
#include "support/Log.h"

#include <libyuv.h>
#include <pthread.h>

#include <algorithm>

namespace orvane {

PipeWireScreenCapture::PipeWireScreenCapture(Configuration configuration, Handler handler)
    : m_configuration(std::move(configuration))
    , m_handler(std::move(handler)) {
    m_buffers.resize(std::size_t(std::max(2, m_configuration.queueDepth)));
    for (int i = int(m_buffers.size()) - 1; i >= 0; --i)
        m_free.push_back(i);
}

PipeWireScreenCapture::~PipeWireScreenCapture() {
    stop();
}

void PipeWireScreenCapture::onFrame(const PipeWireStream::Frame& frame) {
    const MediaTime time{frame.arrivalNs / 1000, captureClock::timescale};
    if (frame.cursor && m_configuration.onCursor)
        m_configuration.onCursor(*frame.cursor, time);

    int index = -1;
    {
        const std::lock_guard lock(m_lock);
        ++m_statistics.framesReceived;
        if (m_lastSequence && frame.sequence > *m_lastSequence + 1)
            m_statistics.sourceGaps += std::int64_t(frame.sequence - *m_lastSequence - 1);
        m_lastSequence = frame.sequence;
        if (m_stopping)
            return;
        if (m_lastKeptNs != 0 &&
            frame.arrivalNs - m_lastKeptNs < m_configuration.minimumFrameInterval.count()) {
            ++m_statistics.framesSkipped;
            return;
        }
        if (m_free.empty()) {
            ++m_statistics.framesDropped;
            return;
        }
        index = m_free.back();
        m_free.pop_back();
        m_lastKeptNs = frame.arrivalNs;
    }

    // The copy runs outside the lock: the buffer is ours until it is queued.
    Buffer& buffer = m_buffers[std::size_t(index)];
    const std::size_t bytes = std::size_t(frame.width) * std::size_t(frame.height) * 4;
    if (buffer.pixels.size() != bytes)
        buffer.pixels.resize(bytes); // only when the size changes, never per frame
    buffer.width = frame.width;
    buffer.height = frame.height;
    buffer.time = time;
    const int stride = frame.width * 4;
    switch (frame.order) {
    case PipeWireStream::PixelOrder::bgrx:
    case PipeWireStream::PixelOrder::bgra:
        libyuv::CopyPlane(frame.pixels, frame.stride, buffer.pixels.data(), stride, stride, frame.height);
        break;
    case PipeWireStream::PixelOrder::rgbx:
    case PipeWireStream::PixelOrder::rgba:
        // R, G, B, x in memory is libyuv's ABGR; its ARGB is B, G, R, x in memory.
        libyuv::ABGRToARGB(frame.pixels, frame.stride, buffer.pixels.data(), stride, frame.width,
                           frame.height);
        break;
    }
    {
        const std::lock_guard lock(m_lock);
        m_ready.push_back(index);
    }
    m_changed.notify_all();
}

tl::expected<void, QString> PipeWireScreenCapture::start(std::chrono::milliseconds timeout) {
    PipeWireStream::Options options;
    options.remoteFd = m_configuration.remoteFd;
    options.nodeId = m_configuration.nodeId;
    options.onFrame = [this](const PipeWireStream::Frame& frame) {
        onFrame(frame);
    };
    options.onEnded = [this](const QString& why) {
        {
            const std::lock_guard lock(m_lock);
            m_endReason = why;
        }
        m_changed.notify_all();
        if (m_configuration.onEnded)
            m_configuration.onEnded(why);
    };
    m_deliverThread = std::thread([this] { deliverLoop(); });
    auto stream = PipeWireStream::open(std::move(options));
    if (!stream) {
        stop();
        return tl::make_unexpected(stream.error());
    }
    m_stream = std::move(*stream);

    std::unique_lock lock(m_lock);
    const bool started = m_changed.wait_for(lock, timeout, [this] {
        return m_statistics.framesDelivered > 0 || !m_ready.empty() || !m_endReason.isEmpty();
    });
    const QString ended = m_endReason;
    lock.unlock();
    if (started && ended.isEmpty())
        return {};
    stop();
    return tl::make_unexpected(ended.isEmpty() ? QStringLiteral("no picture came from the screen cast")
                                               : ended);
}

void PipeWireScreenCapture::deliverLoop() {
    pthread_setname_np(pthread_self(), "capture.video");
    std::unique_lock lock(m_lock);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopping || !m_ready.empty(); });
        if (m_ready.empty()) {
            if (m_stopping)
                return;
            continue;
        }
        const int index = m_ready.front();
        m_ready.pop_front();
        lock.unlock();
        const Buffer& buffer = m_buffers[std::size_t(index)];
        m_handler(
            VideoSample{buffer.pixels.data(), buffer.width, buffer.height, buffer.width * 4, buffer.time});
        lock.lock();
        ++m_statistics.framesDelivered;
        m_free.push_back(index);
        m_changed.notify_all();
    }
}

void PipeWireScreenCapture::stop() {
    // The stream first: no frame arrives after this, so what is ready is all there will be.
    if (m_stream) {
        m_stream->stop();
        m_stream.reset();
    }
    {
        const std::lock_guard lock(m_lock);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_deliverThread.joinable())
        m_deliverThread.join();
}

PipeWireScreenCapture::Statistics PipeWireScreenCapture::statistics() const {
    const std::lock_guard lock(m_lock);
    return m_statistics;
}

} // namespace orvane
