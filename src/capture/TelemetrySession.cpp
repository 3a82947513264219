#include "TelemetrySession.h"

#include "TelemetryFiles.h"
#include "support/Log.h"
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
    if (m_mouseTracker) {
        if (m_mouseTracker->start()) {
            log::info(tag, QStringLiteral("MouseTracker (CGEventTap) started successfully"));
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
        log::info(tag, QStringLiteral("Using CursorTracker + EventMonitor (no accessibility)"));
        m_cursorTracker->start();
        m_eventMonitor->start();
    }
    m_hotkey->start();
}

TelemetryRecording TelemetrySession::stop() {
    TelemetryRecording recording;
    if (m_mouseTracker) {
        auto tracks = m_mouseTracker->stop();
        recording.cursor = std::move(tracks.cursor);
        recording.events = std::move(tracks.events);
    } else {
        if (m_cursorTracker)
            recording.cursor = m_cursorTracker->stop();
        if (m_eventMonitor)
            recording.events = m_eventMonitor->stop();
    }
    recording.manualZoomEvents = m_hotkey->stop();
    log::info(tag, QStringLiteral("%1 stopped: %2 cursor samples, %3 events")
                       .arg(m_mouseTracker ? QStringLiteral("MouseTracker") : QStringLiteral("Trackers"))
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
