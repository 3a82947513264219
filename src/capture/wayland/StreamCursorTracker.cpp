#include "StreamCursorTracker.h"

#include "capture/CaptureClock.h"
#include "capture/TelemetryJournal.h"

namespace orvane {

StreamCursorTracker::StreamCursorTracker(Size streamSize, Size sourceSize)
    : m_mapping{Rect::fromOriginSize({0, 0}, streamSize), sourceSize} {}

void StreamCursorTracker::start() {
    const std::lock_guard lock(m_lock);
    m_samples.clear();
    m_last.reset();
    m_wasVisible = false;
    m_startSeconds = captureClock::nowSeconds();
}

CursorTrack StreamCursorTracker::stop() {
    const std::lock_guard lock(m_lock);
    m_startSeconds.reset();
    CursorTrack track;
    track.samples = m_samples;
    return track;
}

void StreamCursorTracker::receive(const PipeWireStream::Cursor& cursor, MediaTime frameTime) {
    const std::lock_guard lock(m_lock);
    if (!m_startSeconds)
        return;
    if (!cursor.visible) {
        m_wasVisible = false;
        return;
    }
    const Point position = m_mapping.fromPointerLocation({double(cursor.x), double(cursor.y)});
    if (m_wasVisible && m_last && *m_last == position)
        return;
    m_wasVisible = true;
    m_last = position;
    // A frame that arrived before start (queued in PipeWire) still counts from zero.
    const double seconds = std::max(0.0, frameTime.seconds() - *m_startSeconds);
    m_samples.push_back(CursorSample{ProjectTime(seconds), position.x, position.y, 0});
}

std::optional<Point> StreamCursorTracker::lastPosition() const {
    const std::lock_guard lock(m_lock);
    return m_last;
}

std::size_t StreamCursorTracker::sampleCount() const {
    const std::lock_guard lock(m_lock);
    return m_samples.size();
}

void StreamCursorTracker::copyToJournal(std::size_t& samplesDone, TelemetryJournal& journal) const {
    const std::lock_guard lock(m_lock);
    for (; samplesDone < m_samples.size(); ++samplesDone)
        journal.append(m_samples[samplesDone]);
}

} // namespace orvane
