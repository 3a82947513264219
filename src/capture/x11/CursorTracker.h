#pragma once

#include "capture/CursorTrack.h"
#include "capture/SourceMapping.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QSocketNotifier;

namespace orvane {

class TelemetryJournal;
class X11Connection;

// The polling stand-in for the tap's motion: asks the X server where the pointer is at a fixed rate,
// moving or not. Ticks come from a timerfd, which keeps 1/120 s exactly where a millisecond timer
// cannot. A tick never waits for the server: it sends its query and picks up the previous tick's answer,
// so each sample costs one wake-up. Main thread only.
class CursorTracker {
public:
    CursorTracker(Rect sourceFrameInGlobal, Size sourceSize, int sampleRate = 120,
                  QByteArray displayName = {});
    ~CursorTracker();
    CursorTracker(const CursorTracker&) = delete;
    CursorTracker& operator=(const CursorTracker&) = delete;

    // Empties the track and starts sampling; without an X server nothing is sampled.
    void start();
    CursorTrack stop();
    bool isRunning() const { return m_startTime.has_value(); }
    std::size_t sampleCount() const { return m_samples.size(); }
    // Hands what was gathered since `done` to the journal and moves `done` on: how a recording's telemetry
    // reaches the disk while it runs.
    void copyToJournal(std::size_t& samplesDone, TelemetryJournal& journal) const;

    int sampleRate() const { return m_sampleRate; }

private:
    class Listener;
    struct FileDescriptor {
        int fd = -1;
        FileDescriptor() = default;
        explicit FileDescriptor(int f)
            : fd(f) {}
        FileDescriptor(FileDescriptor&& o) noexcept
            : fd(std::exchange(o.fd, -1)) {}
        FileDescriptor& operator=(FileDescriptor&& o) noexcept;
        ~FileDescriptor();
    };

    void tick();
    void answer(std::uint64_t tickIndex, std::optional<Point> position);

    SourceMapping m_mapping;
    int m_sampleRate;
    QByteArray m_displayName;
    std::optional<std::chrono::steady_clock::time_point> m_startTime;
    std::vector<CursorSample> m_samples;

    // Teardown order: the notifiers go before what they watch.
    std::unique_ptr<X11Connection> m_connection;
    std::unique_ptr<Listener> m_listener;
    FileDescriptor m_timer;
    std::unique_ptr<QSocketNotifier> m_timerNotifier;
    std::vector<ProjectTime> m_tickTimes; // ticks whose position is still being asked, oldest first
    std::size_t m_tickHead = 0;
    std::uint64_t m_firstTickIndex = 0; // the query token of m_tickTimes[0]
};

} // namespace orvane
