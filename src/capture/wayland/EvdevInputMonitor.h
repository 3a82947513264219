#pragma once

#include "capture/EventTrack.h"
#include "project/Geometry.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvane {

class TelemetryJournal;

// Clicks, wheel steps and keys on Wayland, where no client hears another's input: read from the input
// devices themselves through libevdev on a thread of its own ("capture.input"), which the user may only do
// when the system lets them read /dev/input (the "input" group). Pointer events are placed where the
// screen stream last showed the pointer. Devices are only read, never grabbed.
class EvdevInputMonitor {
public:
    using PositionSource = std::function<std::optional<Point>()>;

    EvdevInputMonitor(QString deviceDirectory, PositionSource position);
    ~EvdevInputMonitor();
    EvdevInputMonitor(const EvdevInputMonitor&) = delete;
    EvdevInputMonitor& operator=(const EvdevInputMonitor&) = delete;

    // Opens every pointer and keyboard device that can be read and starts listening. False with
    // unavailableReason() set when none can; the recording then has no clicks.
    bool start();
    EventTrack stop();
    bool isRunning() const { return m_thread.joinable(); }

    // Why nothing is heard, in the words the user sees.
    const QString& unavailableReason() const { return m_unavailableReason; }
    // The devices being read, by their names.
    const QStringList& deviceNames() const { return m_deviceNames; }

    std::size_t eventCount() const;
    void copyToJournal(std::size_t& eventsDone, TelemetryJournal& journal) const;

    // What a user must do to be allowed to read the input devices.
    static QString permissionHelp(const QString& deviceDirectory);

private:
    struct Device;
    void run();

    QString m_directory;
    PositionSource m_position;
    std::vector<std::unique_ptr<Device>> m_devices;
    QStringList m_deviceNames;
    QString m_unavailableReason;
    int m_wake = -1; // eventfd that ends the thread's poll
    std::thread m_thread;
    double m_startSeconds = 0;

    mutable std::mutex m_lock;
    std::vector<InputEvent> m_events;
};

} // namespace orvane
