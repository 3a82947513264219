#pragma once

#include "capture/CaptureEngineError.h"
#include "capture/CaptureEnvironment.h"
#include "capture/CaptureResult.h"
#include "capture/CaptureSource.h"
#include "capture/CaptureStream.h"
#include "capture/StreamOutput.h"
#include "project/Geometry.h"
#include "project/ProjectBundle.h"
#include "support/SerialExecutor.h"

#include <QCoro/QCoroTask>
#include <QDBusUnixFileDescriptor>
#include <QDateTime>
#include <QObject>
#include <QStringList>

#include <tl/expected.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

class CameraRecorder;
class MediaWriter;
class PortalScreenCast;
class StreamCursorTracker;
class TelemetrySession;

// How the engine encodes and how long it waits.
struct CaptureEngineOptions {
    // The encoder's speed and quality: x264's preset and constant-quality factor. A live encoder must keep
    // well ahead of 60 frames a second on a machine that is doing other work too.
    QString encoderPreset = QStringLiteral("superfast");
    int quality = 23;
    // Seconds between fragments that reach the disk.
    double fragmentInterval = 1.0;
    // How long the stream may take to deliver its first image and open its sound.
    std::chrono::milliseconds streamStartTimeout{5000};
};

// Records one source into a project folder: a QuickTime movie with the screen as H.264 and up to two AAC
// tracks (the system's sound first, the microphone second), the cursor and event files, and the camera's
// movie when a camera is given. One engine serves one recording at a time; stop() resets it, so it can
// start again.
//
// The movie is fragmented: a fragment reaches the disk at least every second, so a process that is killed
// mid-recording leaves a movie that plays up to its last second. Video frames, audio buffers and the
// telemetry are all stamped from the monotonic clock, and audio is made to follow that clock.
//
// Main thread only; start and stop are coroutines whose waits release the main thread, and everything
// that blocks (asking the X server, opening and finishing the writer, starting and stopping the stream)
// runs on the engine's own serial executor "tech.velvetcomet.orvane.screen.capture.control". The engine
// must outlive a start or stop that is under way. Dropping an engine that is recording stops its threads
// and leaves the movie as it stands (playable, being fragmented) and the telemetry in its journal, from
// which a recovery makes the two files.
//
// On Wayland the screen comes from the desktop's portal: the sources are those chosen before (their
// restore tokens start them without asking) and the entries that open the desktop's dialog; the pointer
// comes with the frames, and clicks from the input devices. A source that goes away while recording (its
// window closed, its output unplugged) ends the recording: sourceEnded() says why, the handler given to
// setSourceEndedHandler hears it on the main thread, and stop() keeps the movie as it stands.
//
// When the sound cannot be had (no sound server answers, or it refuses the device) the screen is
// recorded alone and warnings() says why: a recording without its sound beats no recording.
class CaptureEngine {
public:
    using Options = CaptureEngineOptions;

    struct Statistics {
        CaptureStream::Statistics stream;
        StreamOutput::Statistics output;
    };

    explicit CaptureEngine(CaptureEnvironment environment = CaptureEnvironment::fromSystem());
    CaptureEngine(CaptureEnvironment environment, Options options);
    ~CaptureEngine();
    CaptureEngine(const CaptureEngine&) = delete;
    CaptureEngine& operator=(const CaptureEngine&) = delete;

    // Displays, then windows, then applications, as the picker lists them. No X server is the system's
    // error, passed on. On Wayland: the sources chosen before, most recent first, then one entry per kind
    // the portal offers that opens the desktop's dialog; no portal is the system's error.
    static QCoro::Task<tl::expected<std::vector<CaptureSource>, CaptureEngineError>>
    discoverSources(CaptureEnvironment environment = CaptureEnvironment::fromSystem());

    QCoro::Task<tl::expected<void, CaptureEngineError>>
    start(CaptureSource source, std::shared_ptr<ProjectBundle> bundle, bool includesMicrophone,
          bool includesSystemAudio, std::shared_ptr<CameraRecorder> camera = nullptr);
    QCoro::Task<tl::expected<CaptureResult, CaptureEngineError>> stop();

    // Headless recording in one call: starts on `source`, records for `duration`, stops, and gives the
    // result. No camera.
    static QCoro::Task<tl::expected<CaptureResult, CaptureEngineError>>
    record(CaptureSource source, std::shared_ptr<ProjectBundle> bundle, std::chrono::milliseconds duration,
           bool includesMicrophone, bool includesSystemAudio,
           CaptureEnvironment environment = CaptureEnvironment::fromSystem(), Options options = {});
    // The source with this id among those discovered now; an empty id picks the first display.
    static QCoro::Task<tl::expected<CaptureSource, CaptureEngineError>>
    findSource(QString id, CaptureEnvironment environment = CaptureEnvironment::fromSystem());

    bool isRunning() const { return m_state == State::running; }
    const std::optional<QDateTime>& startedAt() const { return m_startedAt; }
    Size frameSize() const { return m_frameSize; }
    // The movie being written, from the moment start has made its name until stop.
    const std::optional<QString>& videoURL() const { return m_videoURL; }
    // The counts of the recording under way, or of the last one once it stopped.
    Statistics statistics() const;
    // What the last start gave up on without failing, in the words the user sees ("Recording without
    // sound: <reason>"); cleared by the next start.
    const QStringList& warnings() const { return m_warnings; }

    // Why the source stopped sending while recording; nothing while it sends.
    const std::optional<QString>& sourceEnded() const { return m_sourceEnded; }
    void setSourceEndedHandler(std::function<void(const QString&)> handler) {
        m_sourceEndedHandler = std::move(handler);
    }

    // The title of the picker's entries that open the desktop's own dialog.
    static QString chooseInDialogTitle();

private:
    enum class State { idle, starting, running, stopping };

    void dropCaptureObjects();
    static QCoro::Task<tl::expected<std::vector<CaptureSource>, CaptureEngineError>>
    discoverPortalSources(CaptureEnvironment environment);
    // Asks the portal for the source (without a dialog when it was chosen before) and fills in what the
    // stream and the telemetry need.
    QCoro::Task<tl::expected<CaptureTarget, CaptureEngineError>>
    startPortal(CaptureSource source, CaptureStream::Configuration& configuration);
    void noteSourceEnded(const QString& reason);
    // Opens the movie with the sound tracks asked for and starts the stream into it. On failure nothing
    // of it is left: no threads, no file.
    QCoro::Task<tl::expected<void, QString>> openAndStart(QString videoPath,
                                                          CaptureStream::Configuration configuration,
                                                          bool systemAudio, bool microphone);

    CaptureEnvironment m_environment;
    Options m_options;
    SerialExecutor m_control;
    State m_state = State::idle;
    std::optional<QDateTime> m_startedAt;
    std::chrono::steady_clock::time_point m_startedClock;
    Size m_frameSize;

    std::shared_ptr<MediaWriter> m_writer;
    std::shared_ptr<StreamOutput> m_streamOutput;
    std::shared_ptr<CaptureStream> m_stream;
    std::unique_ptr<TelemetrySession> m_telemetry;
    std::optional<Statistics> m_lastStatistics;
    QStringList m_warnings;

    // Wayland: the portal's session, its PipeWire remote and the pointer from the stream, while recording.
    std::unique_ptr<PortalScreenCast> m_portal;
    QDBusUnixFileDescriptor m_pipeWireRemote;
    std::shared_ptr<StreamCursorTracker> m_streamCursor;
    bool m_cursorInPicture = false;
    std::optional<QString> m_sourceEnded;
    std::function<void(const QString&)> m_sourceEndedHandler;
    // Lives on the main thread: calls queued to it from capture threads die with the engine.
    std::unique_ptr<QObject> m_mainThreadContext = std::make_unique<QObject>();

    std::optional<QString> m_videoURL, m_audioURL, m_cursorURL, m_eventsURL, m_cameraURL, m_journalURL;
    std::optional<QString> m_videoRelative, m_audioRelative, m_cursorRelative, m_eventsRelative,
        m_cameraRelative;
};

} // namespace orvane
