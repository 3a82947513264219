#pragma once

#include "CursorTrack.h"
#include "EventTrack.h"
#include "ManualZoomEvent.h"
#include "project/Geometry.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>
#include <QTimer>

#include <tl/expected.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

class CursorTracker;
class EvdevInputMonitor;
class EventMonitor;
class ManualZoomHotkey;
class MouseTracker;
class StreamCursorTracker;
class TelemetryJournal;

// What the collectors gathered over one recording.
struct TelemetryRecording {
    CursorTrack cursor;
    EventTrack events;
    std::vector<ManualZoomEvent> manualZoomEvents;
};

// The telemetry collectors of one recording, chosen, started and stopped the way the capture engine
// does it: the XInput 2 tap when it starts, else the polling tracker with the RECORD monitor, and the
// manual zoom hotkey always. Keystrokes are always collected; whether they are drawn is a clip setting.
// Main thread only.
class TelemetrySession {
public:
    struct Options {
        Rect sourceFrameInGlobal; // the captured region in global points (X11: root pixels)
        Size sourceSize;          // the video's size in pixels
        QByteArray displayName;   // empty: $DISPLAY
        // X11 asks no permission for the tap; this stands for that permission where a caller must
        // refuse it, as the capture engine does when input monitoring is not allowed.
        bool inputTapAllowed = true;
        // Where what is collected goes while the recording runs, handed to the file every half second;
        // none keeps it in memory only until stop(). The journal stays after stop(): whoever writes the
        // two files from the tracks removes it.
        QString journalPath = {};
        // Wayland: the pointer as the screen stream shows it. With it, no X server is asked for anything,
        // and `inputTapAllowed` stands for reading the input devices in `inputDeviceDirectory`.
        std::shared_ptr<StreamCursorTracker> streamCursor = {};
        QString inputDeviceDirectory = QStringLiteral("/dev/input");
    };

    // Chooses the collectors; none starts before start().
    explicit TelemetrySession(Options options);
    ~TelemetrySession();
    TelemetrySession(const TelemetrySession&) = delete;
    TelemetrySession& operator=(const TelemetrySession&) = delete;

    void start();
    // Stops the collectors in order (tap or tracker and monitor, then the hotkey) and returns the tracks.
    TelemetryRecording stop();
    // After start: whether the tap is collecting (false once it fell back).
    bool usesInputTap() const { return m_mouseTracker != nullptr || m_evdev != nullptr; }
    // Why the recording has no clicks, in the user's words; empty when it has them.
    const QString& inputUnavailableReason() const { return m_inputUnavailableReason; }

    // The whole root window of a display, which spans every monitor; points are pixels on X11. Nothing
    // when no X server answers.
    static std::optional<Rect> displayFrame(const QByteArray& displayName = {});

    // Headless recording in one call: collects over the whole display for `duration` on the main
    // thread's event loop, then writes the cursor file and, if that worked, the event file. Fails with
    // the reason when the display cannot be opened or a file cannot be written.
    static QCoro::Task<tl::expected<TelemetryRecording, QString>>
    recordDisplay(std::chrono::milliseconds duration, QString cursorPath, QString eventsPath,
                  QByteArray displayName = {});

    // How often the journal takes in what was collected and hands it to the disk.
    static constexpr std::chrono::milliseconds journalInterval{500};

private:
    // Moves what the collectors gathered since the last call into the journal and commits it; with
    // `wait`, returns once it is in the file.
    void writeJournal(bool wait);

    Options m_options;
    std::unique_ptr<MouseTracker> m_mouseTracker;
    std::unique_ptr<CursorTracker> m_cursorTracker;
    std::unique_ptr<EventMonitor> m_eventMonitor;
    std::unique_ptr<ManualZoomHotkey> m_hotkey;
    std::unique_ptr<EvdevInputMonitor> m_evdev;
    QString m_inputUnavailableReason;
    std::unique_ptr<TelemetryJournal> m_journal;
    QTimer m_journalTimer;
    // How much of each collector's arrays the journal already holds.
    std::size_t m_samplesJournaled = 0, m_eventsJournaled = 0, m_marksJournaled = 0;
    bool m_journalFailed = false;
};

} // namespace orvane
