#pragma once

#include "capture/CursorTrack.h"
#include "capture/EventTrack.h"
#include "capture/SourceMapping.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace orvane {

class TelemetryJournal;
class X11Connection;
class XkbKeyboard;

// The preferred collector: XInput2 raw events on the root window, heard for every master device
// whichever window has the pointer or the focus, and never grabbed or altered. Motion (dragging too)
// appends cursor samples; presses, releases, wheel steps and keys append input events, stamped with the
// server's own event time. Raw events carry no position: each batch of events read together asks the
// server where the pointer is, without waiting, and the batch waits for that answer, which keeps the
// tracks in arrival order. Under steady input events are read in short batches rather than one by one,
// which is what keeps a 1,000 Hz mouse cheap.
//
// Lives on the main thread: start, stop and the event handling run there. sampleLock guards the two
// arrays so that counts can be read from other threads.
class MouseTracker {
public:
    struct Tracks {
        CursorTrack cursor;
        EventTrack events;
    };

    // `displayName` picks the X display; empty means $DISPLAY.
    MouseTracker(Rect sourceFrameInGlobal, Size sourceSize, bool captureKeystrokes,
                 QByteArray displayName = {});
    ~MouseTracker();
    MouseTracker(const MouseTracker&) = delete;
    MouseTracker& operator=(const MouseTracker&) = delete;

    // Empties both tracks and starts listening. False when there is no X server or it lacks XInput 2.2;
    // the start time then stays set, and the caller falls back to the polling pair.
    bool start();
    // Stops listening after taking in every event the server had sent, and returns what was gathered.
    Tracks stop();
    bool isRunning() const { return m_connection != nullptr; }

    std::size_t sampleCount() const;
    std::size_t eventCount() const;
    // Hands what was gathered since `done` to the journal and moves `done` on: how a recording's telemetry
    // reaches the disk while it runs.
    void copyToJournal(std::size_t& samplesDone, std::size_t& eventsDone, TelemetryJournal& journal) const;

    const Rect& sourceFrameInGlobal() const { return m_mapping.sourceFrameInGlobal; }
    const Size& sourceSize() const { return m_mapping.sourceSize; }
    bool captureKeystrokes() const { return m_captureKeystrokes; }

private:
    class Listener;
    struct Pending;

    void receive(Pending entry);
    void askForPositions();
    void answer(std::uint64_t query, std::optional<Point> position);
    void resolveReady();
    Point placeInBatch(std::size_t motionsBefore, std::size_t motions, Point end) const;
    ProjectTime now() const;
    ProjectTime eventTime(std::uint32_t serverTime) const;
    void probeServerClock(X11Connection& connection);

    SourceMapping m_mapping;
    bool m_captureKeystrokes;
    QByteArray m_displayName;
    std::optional<std::chrono::steady_clock::time_point> m_startTime;

    mutable std::mutex m_sampleLock; // guards m_cursorSamples and m_inputEvents
    std::vector<CursorSample> m_cursorSamples;
    std::vector<InputEvent> m_inputEvents;

    // Main thread only. Declared in teardown order: the listener goes before the connection it watches.
    std::unique_ptr<X11Connection> m_connection;
    std::unique_ptr<XkbKeyboard> m_keyboard;
    std::unique_ptr<Listener> m_listener;
    std::uint8_t m_xinputOpcode = 0;
    std::vector<Pending> m_pending; // events waiting for a position, in arrival order
    std::size_t m_pendingHead = 0;
    std::uint64_t m_nextQuery = 1;
    std::optional<Point> m_lastPosition;
    std::optional<Point> m_anchor; // where the previous batch left the pointer
    // A server timestamp and the track time it corresponds to; without it events are stamped on arrival.
    struct ServerClock {
        std::uint32_t serverTime;
        ProjectTime localTime;
    };
    std::optional<ServerClock> m_serverClock;
};

} // namespace orvane
