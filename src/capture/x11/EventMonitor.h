#pragma once

#include "capture/EventTrack.h"
#include "capture/SourceMapping.h"

#include <QByteArray>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

class TelemetryJournal;

// The stand-in for the tap's clicks, wheel and keys when XInput 2 cannot be used: the X RECORD
// extension hands over a copy of every core button and key event, whichever client it is meant for,
// without grabbing anything. Read on the main thread's event loop. Main thread only.
class EventMonitor {
public:
    EventMonitor(Rect sourceFrameInGlobal, Size sourceSize, bool captureKeystrokes,
                 QByteArray displayName = {});
    ~EventMonitor();
    EventMonitor(const EventMonitor&) = delete;
    EventMonitor& operator=(const EventMonitor&) = delete;

    // Empties the track and starts listening. A server that refuses recording leaves it listening to
    // nothing (monitorCount() is then 0); that is not an error.
    void start();
    // Takes in every event recorded before this call, stops listening and returns the track.
    EventTrack stop();
    bool isRunning() const { return m_startTime.has_value(); }
    std::size_t monitorCount() const { return m_recording ? 1 : 0; }
    std::size_t eventCount() const { return m_events.size(); }
    // Hands what was gathered since `done` to the journal and moves `done` on: how a recording's telemetry
    // reaches the disk while it runs.
    void copyToJournal(std::size_t& eventsDone, TelemetryJournal& journal) const;

private:
    class Recording;

    // One core event in its wire form, as RECORD delivers it.
    void handle(const unsigned char* wireEvent);

    SourceMapping m_mapping;
    bool m_captureKeystrokes;
    QByteArray m_displayName;
    std::optional<std::chrono::steady_clock::time_point> m_startTime;
    std::vector<InputEvent> m_events;
    std::unique_ptr<Recording> m_recording;
};

} // namespace orvane
