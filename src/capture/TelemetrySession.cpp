#include "TelemetrySession.h"

#include "TelemetryFiles.h"
#include "TelemetryJournal.h"
#include "support/Log.h"
#include "wayland/EvdevInputMonitor.h"
#include "wayland/StreamCursorTracker.h"
#include "x11/CursorTracker.h"
#include "x11/EventMonitor.h"
#include "x11/ManualZoomHotkey.h"
#include "x11/MouseTracker.h"
#include "x11/X11Connection.h"

#include <QCoro/QCoroTimer>

namespace orvane {

namespace {
constexpr int fallbackSampleRate = 120;
constexpr const char* tag = "CaptureEngine";
} // namespace

TelemetrySession::TelemetrySession(Options options)
    : m_options(std::move(options)) {
    const auto& o = m_options;
    m_journalTimer.setInterval(journalInterval);
    QObject::connect(&m_journalTimer, &QTimer::timeout, [this] { writeJournal(false); });
    if (o.streamCursor) {
        if (o.inputTapAllowed)
            m_evdev = std::make_unique<EvdevInputMonitor>(
                o.inputDeviceDirectory, [cursor = o.streamCursor] { return cursor->lastPosition(); });
        else
            m_inputUnavailableReason = EvdevInputMonitor::permissionHelp(o.inputDeviceDirectory);
        return;
    }
    if (o.inputTapAllowed) {
        m_mouseTracker =
            std::make_unique<MouseTracker>(o.sourceFrameInGlobal, o.sourceSize, true, o.displayName);
    } else {
        m_cursorTracker = std::make_unique<CursorTracker>(o.sourceFrameInGlobal, o.sourceSize,
                                                          fallbackSampleRate, o.displayName);
        m_eventMonitor =
            std::make_unique<EventMonitor>(o.sourceFrameInGlobal, o.sourceSize, true, o.displayName);
    }
    m_hotkey = std::make_unique<ManualZoomHotkey>(o.sourceFrameInGlobal, o.sourceSize, o.displayName);
}

TelemetrySession::~TelemetrySession() = default;

void TelemetrySession::start() {
    const auto& o = m_options;
    m_samplesJournaled = m_eventsJournaled = m_marksJournaled = 0;
    m_journalFailed = false;
    m_journal.reset();
    if (!o.journalPath.isEmpty()) {
        if (auto created = TelemetryJournal::create(o.journalPath, o.sourceSize)) {
            m_journal = std::move(*created);
            m_journalTimer.start();
        } else {
            // Recording goes on: the tracks are still written whole at the stop.
            log::warning(tag, QStringLiteral("telemetry journal not written: ") + created.error());
        }
    }
    if (o.streamCursor) {
        o.streamCursor->start();
        if (m_evdev && !m_evdev->start()) {
            m_inputUnavailableReason = m_evdev->unavailableReason();
            m_evdev.reset();
        }
        if (!m_inputUnavailableReason.isEmpty())
            log::warning(tag, m_inputUnavailableReason);
        log::info(tag, QStringLiteral("Cursor from the screen stream%1")
                           .arg(m_evdev ? QStringLiteral(", input from the devices") : QString()));
    } else if (m_mouseTracker) {
        if (m_mouseTracker->start()) {
            log::info(tag, QStringLiteral("MouseTracker (XInput2 tap) started successfully"));
        } else {
            log::info(tag,
                      QStringLiteral("MouseTracker failed, falling back to CursorTracker + EventMonitor"));
            m_mouseTracker.reset();
            m_cursorTracker = std::make_unique<CursorTracker>(o.sourceFrameInGlobal, o.sourceSize,
                                                              fallbackSampleRate, o.displayName);
            m_eventMonitor =
                std::make_unique<EventMonitor>(o.sourceFrameInGlobal, o.sourceSize, true, o.displayName);
            m_cursorTracker->start();
            m_eventMonitor->start();
        }
    } else {
        log::info(tag, QStringLiteral("Using CursorTracker + EventMonitor (no XInput2)"));
        m_cursorTracker->start();
        m_eventMonitor->start();
    }
    if (m_hotkey)
        m_hotkey->start();
}

void TelemetrySession::writeJournal(bool wait) {
    if (!m_journal)
        return;
    if (m_options.streamCursor) {
        m_options.streamCursor->copyToJournal(m_samplesJournaled, *m_journal);
        if (m_evdev)
            m_evdev->copyToJournal(m_eventsJournaled, *m_journal);
    } else if (m_mouseTracker) {
        m_mouseTracker->copyToJournal(m_samplesJournaled, m_eventsJournaled, *m_journal);
    } else {
        if (m_cursorTracker)
            m_cursorTracker->copyToJournal(m_samplesJournaled, *m_journal);
        if (m_eventMonitor)
            m_eventMonitor->copyToJournal(m_eventsJournaled, *m_journal);
    }
    if (m_hotkey) {
        const std::vector<ManualZoomEvent>& marks = m_hotkey->events();
        for (; m_marksJournaled < marks.size(); ++m_marksJournaled)
            m_journal->append(marks[m_marksJournaled]);
    }
    // Between ticks the journal's own thread writes: the collectors never wait for the disk. Either
    // way a failed write shows in error(), the first one that happened.
    if (wait)
        (void)m_journal->flush();
    else
        m_journal->commit();
    if (const std::optional<QString> error = m_journal->error(); error && !m_journalFailed) {
        m_journalFailed = true; // said once; a full disk would otherwise say it twice a second
        log::warning(tag, QStringLiteral("telemetry journal not written: ") + *error);
    }
}

TelemetryRecording TelemetrySession::stop() {
    TelemetryRecording recording;
    if (m_options.streamCursor) {
        recording.cursor = m_options.streamCursor->stop();
        if (m_evdev)
            recording.events = m_evdev->stop();
    } else if (m_mouseTracker) {
        auto tracks = m_mouseTracker->stop();
        recording.cursor = std::move(tracks.cursor);
        recording.events = std::move(tracks.events);
    } else {
        if (m_cursorTracker)
            recording.cursor = m_cursorTracker->stop();
        if (m_eventMonitor)
            recording.events = m_eventMonitor->stop();
    }
    if (m_hotkey)
        recording.manualZoomEvents = m_hotkey->stop();
    // The journal keeps everything until the two files are written; whoever writes them removes it.
    m_journalTimer.stop();
    writeJournal(true);
    m_journal.reset();
    log::info(tag, QStringLiteral("%1 stopped: %2 cursor samples, %3 events")
                       .arg(m_mouseTracker           ? QStringLiteral("MouseTracker")
                            : m_options.streamCursor ? QStringLiteral("Stream cursor")
                                                     : QStringLiteral("Trackers"))
                       .arg(recording.cursor.samples.size())
                       .arg(recording.events.events.size()));
    return recording;
}

std::optional<Rect> TelemetrySession::displayFrame(const QByteArray& displayName) {
    const auto connection = X11Connection::open(displayName);
    if (!connection)
        return std::nullopt;
    return Rect::fromOriginSize({0, 0}, connection->rootSize());
}

QCoro::Task<tl::expected<TelemetryRecording, QString>>
TelemetrySession::recordDisplay(std::chrono::milliseconds duration, QString cursorPath, QString eventsPath,
                                QByteArray displayName) {
    const auto frame = displayFrame(displayName);
    if (!frame) {
        const QString name =
            displayName.isEmpty() ? qEnvironmentVariable("DISPLAY") : QString::fromUtf8(displayName);
        co_return tl::unexpected(QStringLiteral("cannot open the X display \"%1\"").arg(name));
    }
    TelemetrySession session({*frame, frame->size(), displayName});
    session.start();
    // Awaited as a named task: GCC 12 may destroy temporaries of an awaited full-expression twice.
    auto collecting = QCoro::sleepFor(duration);
    co_await collecting;
    TelemetryRecording recording = session.stop();
    if (auto written =
            TelemetryFiles::writeTracks(recording.cursor, recording.events, cursorPath, eventsPath);
        !written) {
        log::warning(tag, QStringLiteral("failed to write cursor/event tracks: ") + written.error());
        co_return tl::unexpected(written.error());
    }
    co_return recording;
}

} // namespace orvane
