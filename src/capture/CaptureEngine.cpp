#include "CaptureEngine.h"

#include "capture/CameraRecorder.h"
#include "capture/TelemetryFiles.h"
#include "capture/TelemetrySession.h"
#include "capture/wayland/PortalScreenCast.h"
#include "capture/wayland/RememberedSources.h"
#include "capture/wayland/StreamCursorTracker.h"
#include "capture/x11/X11ContentQuery.h"
#include "media/MediaWriter.h"
#include "support/Log.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTimer>
#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace orvane {

namespace {

constexpr const char* tag = "CaptureEngine";
constexpr double frameRate = 60;

using Failure = tl::unexpected<CaptureEngineError>;

Failure failure(CaptureEngineError::Kind kind) {
    return Failure(CaptureEngineError::of(kind));
}

// What start needs to know from the X server, asked in one go off the main thread.
struct ServerFacts {
    tl::expected<ShareableContent, QString> content;
    bool inputTapAvailable = false;
};

SerialExecutor& discoveryExecutor() {
    static SerialExecutor executor(QStringLiteral("tech.velvetcomet.orvane.screen.capture.sources"));
    return executor;
}

// How the pixels come off the X server, for the log: a whole display is read through shared memory, a
// single window from its own off-screen copy.
QString captureMethod(const CaptureTarget& target, bool portal) {
    if (portal)
        return QStringLiteral("PipeWire screen cast");
    return target.kind == CaptureTarget::Kind::display ? QStringLiteral("XCB SHM capture")
                                                       : QStringLiteral("Composite window capture");
}

QDBusConnection portalBus(const CaptureEnvironment& environment) {
    return PortalScreenCast::connectionFor(environment.portalBusAddress);
}

CaptureEngineError portalFailure(const PortalScreenCast::Error& error) {
    switch (error.kind) {
    case PortalScreenCast::Error::Kind::unavailable:
        return CaptureEngineError::system(
            QStringLiteral("No screen cast portal answers in this Wayland session (%1). Install the "
                           "desktop's xdg-desktop-portal backend.")
                .arg(error.detail));
    case PortalScreenCast::Error::Kind::cancelled:
        return CaptureEngineError::of(CaptureEngineError::Kind::permissionDenied);
    case PortalScreenCast::Error::Kind::failed:
        break;
    }
    return CaptureEngineError::streamFailedToStart(error.detail);
}

// H.264 in 4:2:0 needs even sides: an odd window loses its last column or row.
int evenFloor(double side) {
    return int(side) & ~1;
}

} // namespace

CaptureEngine::CaptureEngine(CaptureEnvironment environment)
    : CaptureEngine(std::move(environment), Options{}) {}

CaptureEngine::CaptureEngine(CaptureEnvironment environment, Options options)
    : m_environment(std::move(environment))
    , m_options(std::move(options))
    , m_control(QStringLiteral("tech.velvetcomet.orvane.screen.capture.control")) {}

CaptureEngine::~CaptureEngine() {
    // A recording still running when its engine goes: stop the threads before the objects they feed.
    if (m_stream)
        m_stream->stopCapture();
    if (m_telemetry)
        m_telemetry->stop();
}

QCoro::Task<tl::expected<std::vector<CaptureSource>, CaptureEngineError>>
CaptureEngine::discoverSources(CaptureEnvironment environment) {
    if (environment.session == CaptureEnvironment::Session::wayland) {
        auto discovering = discoverPortalSources(std::move(environment));
        auto sources = co_await discovering;
        co_return sources;
    }
    auto asking = discoveryExecutor().submit(
        [display = environment.displayName] { return X11ContentQuery::query(display); });
    const tl::expected<ShareableContent, QString> content = co_await asking;
    if (!content)
        co_return Failure(CaptureEngineError::system(content.error()));
    co_return SourceCatalog::sources(*content, environment.own);
}

QString CaptureEngine::chooseInDialogTitle() {
    return QStringLiteral("Choose in the desktop\u2019s dialog\u2026");
}

QCoro::Task<tl::expected<std::vector<CaptureSource>, CaptureEngineError>>
CaptureEngine::discoverPortalSources(CaptureEnvironment environment) {
    PortalScreenCast portal(portalBus(environment));
    auto asking = portal.capabilities();
    const auto capabilities = co_await asking;
    if (!capabilities)
        co_return Failure(portalFailure(capabilities.error()));
    const bool embedsCursor =
        PortalScreenCast::preferredCursorMode(capabilities->cursorModes) != PortalScreenCast::cursorMetadata;
    std::vector<CaptureSource> sources;
    const RememberedSources memory(environment.rememberedSourcesPath);
    for (const RememberedSource& remembered : memory.sources()) {
        const bool offered = (remembered.kind == CaptureSource::Kind::window ? PortalScreenCast::window
                                                                             : PortalScreenCast::monitor) &
                             capabilities->sourceTypes;
        if (offered)
            sources.push_back(remembered.asSource());
    }
    // The desktop's dialog is where the user picks: the portal lists nothing before it is asked.
    const QString cursorNote =
        embedsCursor ? QStringLiteral(" \u00b7 this desktop records the cursor in the picture") : QString();
    for (const auto& [type, kind, id, what] :
         {std::tuple{PortalScreenCast::monitor, CaptureSource::Kind::display,
                     RememberedSources::chooseDisplayID, QStringLiteral("A display")},
          std::tuple{PortalScreenCast::window, CaptureSource::Kind::window, RememberedSources::chooseWindowID,
                     QStringLiteral("A window")}}) {
        if (!(capabilities->sourceTypes & type))
            continue;
        CaptureSource source;
        source.id = QString::fromLatin1(id);
        source.kind = kind;
        source.title = chooseInDialogTitle();
        source.subtitle = what + cursorNote;
        sources.push_back(std::move(source));
    }
    // Displays first, as on X11; the order within each kind stays.
    std::stable_partition(sources.begin(), sources.end(),
                          [](const CaptureSource& s) { return s.kind == CaptureSource::Kind::display; });
    co_return sources;
}

QCoro::Task<tl::expected<CaptureTarget, CaptureEngineError>>
CaptureEngine::startPortal(CaptureSource source, CaptureStream::Configuration& configuration) {
    RememberedSources memory(m_environment.rememberedSourcesPath);
    const std::optional<RememberedSource> remembered = memory.find(source.id);
    const bool choosing = source.id == QLatin1String(RememberedSources::chooseDisplayID) ||
                          source.id == QLatin1String(RememberedSources::chooseWindowID);
    if (!remembered && !choosing)
        co_return failure(CaptureEngineError::Kind::sourceNotFound);
    const CaptureSource::Kind kind = remembered ? remembered->kind : source.kind;

    m_portal = std::make_unique<PortalScreenCast>(portalBus(m_environment));
    auto asking = m_portal->capabilities();
    const auto capabilities = co_await asking;
    if (!capabilities)
        co_return Failure(portalFailure(capabilities.error()));
    PortalScreenCast::Options options;
    options.sourceTypes =
        kind == CaptureSource::Kind::window ? PortalScreenCast::window : PortalScreenCast::monitor;
    options.cursorMode = PortalScreenCast::preferredCursorMode(capabilities->cursorModes);
    if (remembered)
        options.restoreToken = remembered->restoreToken;
    auto starting = m_portal->start(options);
    auto started = co_await starting;
    if (!started)
        co_return Failure(portalFailure(started.error()));
    if (started->streams.empty())
        co_return Failure(
            CaptureEngineError::streamFailedToStart(QStringLiteral("The portal started no stream.")));
    const PortalScreenCast::Stream& stream = started->streams.front();
    std::optional<QSize> size = stream.size;
    if (!size && remembered)
        size = QSize(int(remembered->pixelSize.width), int(remembered->pixelSize.height));
    if (!size || size->width() < 2 || size->height() < 2)
        co_return Failure(CaptureEngineError::streamFailedToStart(
            QStringLiteral("The portal did not say the size of the chosen source.")));

    // A token is good for one start: the portal hands a new one each time, and the old one is spent.
    RememberedSource kept;
    kept.id = remembered ? remembered->id
                         : QString::fromLatin1(RememberedSources::idPrefix) +
                               QUuid::createUuid().toString(QUuid::WithoutBraces);
    kept.kind = kind;
    kept.pixelSize = {double(size->width()), double(size->height())};
    kept.cursorInPicture = started->cursorMode == PortalScreenCast::cursorEmbedded;
    kept.lastUsed = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
    if (started->restoreToken) {
        kept.restoreToken = *started->restoreToken;
        memory.remember(kept);
    } else if (remembered) {
        memory.forget(remembered->id);
    }

    m_cursorInPicture = kept.cursorInPicture;
    const int width = evenFloor(size->width());
    const int height = evenFloor(size->height());
    CaptureTarget target;
    target.kind = CaptureTarget::Kind::display;
    target.frameInGlobal = Rect::fromOriginSize({0, 0}, Size{double(width), double(height)});
    target.pixelSize = {double(width), double(height)};
    m_pipeWireRemote = started->remote;
    m_streamCursor = std::make_shared<StreamCursorTracker>(
        Size{double(size->width()), double(size->height())}, target.pixelSize);
    CaptureStream::Configuration::PipeWireSource pipeWire;
    pipeWire.remoteFd = m_pipeWireRemote.fileDescriptor();
    pipeWire.nodeId = stream.nodeId;
    pipeWire.onCursor = [cursor = m_streamCursor](const PipeWireStream::Cursor& c, MediaTime time) {
        cursor->receive(c, time);
    };
    pipeWire.onEnded = [this, context = m_mainThreadContext.get()](const QString& reason) {
        QMetaObject::invokeMethod(
            context, [this, reason] { noteSourceEnded(reason); }, Qt::QueuedConnection);
    };
    configuration.pipeWire = std::move(pipeWire);
    co_return target;
}

void CaptureEngine::noteSourceEnded(const QString& reason) {
    if (m_state != State::running || m_sourceEnded)
        return;
    m_sourceEnded = reason;
    log::warning(tag, QStringLiteral("The recorded source ended: ") + reason);
    if (m_sourceEndedHandler)
        m_sourceEndedHandler(reason);
}

QCoro::Task<tl::expected<CaptureSource, CaptureEngineError>>
CaptureEngine::findSource(QString id, CaptureEnvironment environment) {
    auto discovering = discoverSources(environment);
    const auto sources = co_await discovering;
    if (!sources)
        co_return Failure(sources.error());
    for (const CaptureSource& source : *sources)
        if (id.isEmpty() ? source.kind == CaptureSource::Kind::display : source.id == id)
            co_return source;
    co_return failure(CaptureEngineError::Kind::sourceNotFound);
}

QCoro::Task<tl::expected<void, CaptureEngineError>>
CaptureEngine::start(CaptureSource source, std::shared_ptr<ProjectBundle> bundle, bool includesMicrophone,
                     bool includesSystemAudio, std::shared_ptr<CameraRecorder> camera) {
    if (m_state != State::idle)
        co_return failure(CaptureEngineError::Kind::alreadyRunning);
    if (!bundle)
        co_return failure(CaptureEngineError::Kind::invalidConfiguration);
    m_state = State::starting;
    // Every way out below leaves the engine idle again unless the recording runs.
    struct BackToIdle {
        CaptureEngine* engine;
        ~BackToIdle() {
            if (engine->m_state == State::starting)
                engine->m_state = State::idle;
        }
    } backToIdle{this};

    const bool portal = m_environment.session == CaptureEnvironment::Session::wayland;
    CaptureStream::Configuration configuration;
    CaptureTarget target;
    bool inputTapAvailable = true;
    m_sourceEnded.reset();
    m_cursorInPicture = false;
    if (portal) {
        auto asking = startPortal(source, configuration);
        const auto started = co_await asking;
        if (!started) {
            dropCaptureObjects();
            co_return Failure(started.error());
        }
        target = *started;
    } else {
        auto asking = m_control.submit([display = m_environment.displayName] {
            return ServerFacts{X11ContentQuery::query(display), X11ContentQuery::hasXInput2(display)};
        });
        const ServerFacts facts = co_await asking;
        if (!facts.content)
            co_return Failure(CaptureEngineError::system(facts.content.error()));
        const auto resolved = SourceCatalog::resolve(source, *facts.content);
        if (!resolved)
            co_return Failure(resolved.error());
        target = *resolved;
        inputTapAvailable = facts.inputTapAvailable;
    }
    const int width = evenFloor(target.pixelSize.width);
    const int height = evenFloor(target.pixelSize.height);
    if (width < 2 || height < 2) {
        dropCaptureObjects();
        co_return failure(CaptureEngineError::Kind::invalidConfiguration);
    }
    target.pixelSize = {double(width), double(height)};
    target.frameInGlobal.width = width;
    target.frameInGlobal.height = height;
    m_frameSize = target.pixelSize;

    configuration.displayName = m_environment.displayName;
    configuration.pulseServer = m_environment.pulseServer;
    configuration.target = target;
    configuration.width = width;
    configuration.height = height;
    configuration.minimumFrameInterval = std::chrono::nanoseconds(std::int64_t(1e9 / frameRate));
    configuration.queueDepth = 8;
    configuration.showsCursor = false;
    configuration.capturesAudio = includesSystemAudio;
    configuration.sampleRate = 48000;
    configuration.channelCount = 2;
    configuration.excludesCurrentProcessAudio = true;
    configuration.captureMicrophone = includesMicrophone;

    const ClipMediaPaths paths = bundle->newClipMediaPaths(QUuid::createUuid());
    const QString folder = QFileInfo(paths.videoPath).absolutePath();
    if (!QDir().mkpath(folder)) {
        dropCaptureObjects();
        co_return Failure(
            CaptureEngineError::system(QStringLiteral("Cannot create the folder \"%1\".").arg(folder)));
    }
    m_videoURL = paths.videoPath;
    m_videoRelative = paths.videoRelative;
    m_cursorURL = paths.cursorPath;
    m_cursorRelative = paths.cursorRelative;
    m_eventsURL = paths.eventsPath;
    m_eventsRelative = paths.eventsRelative;
    m_audioURL.reset();
    m_audioRelative.reset();
    m_cameraURL.reset();
    m_cameraRelative.reset();
    if (camera) {
        m_cameraURL = paths.cameraPath;
        m_cameraRelative = paths.cameraRelative;
        auto starting = camera->start(QString(), paths.cameraPath);
        const auto cameraStarted = co_await starting;
        if (!cameraStarted) {
            log::warning(tag, QStringLiteral("camera failed to start: ") + cameraStarted.error());
            m_cameraURL.reset();
            m_cameraRelative.reset();
        }
    }

    m_warnings.clear();
    const bool wantsSound = includesSystemAudio || includesMicrophone;
    auto opening = openAndStart(paths.videoPath, configuration, includesSystemAudio, includesMicrophone);
    tl::expected<void, QString> started = co_await opening;
    if (!started && wantsSound) {
        // The sound is worth less than the recording: without a sound server (or with one that cannot
        // give us the device) record the screen alone and say so, rather than record nothing.
        const QString reason = started.error();
        auto openingSilent = openAndStart(paths.videoPath, configuration, false, false);
        started = co_await openingSilent;
        if (started) {
            m_warnings << QStringLiteral("Recording without sound: ") + reason;
            log::warning(tag, m_warnings.back());
        }
    }
    if (!started) {
        dropCaptureObjects();
        co_return Failure(CaptureEngineError::streamFailedToStart(started.error()));
    }

    // X11 asks no one's leave for the input tap; it only needs XInput 2 to be there. On Wayland the
    // input devices decide, when they are opened.
    TelemetrySession::Options telemetry{target.frameInGlobal, target.pixelSize, m_environment.displayName,
                                        inputTapAvailable, paths.telemetryJournalPath};
    telemetry.streamCursor = m_streamCursor;
    telemetry.inputDeviceDirectory = m_environment.inputDeviceDirectory;
    m_telemetry = std::make_unique<TelemetrySession>(std::move(telemetry));
    m_journalURL = paths.telemetryJournalPath;
    log::info(tag, captureMethod(target, portal) + QStringLiteral(" started successfully"));
    m_telemetry->start();
    if (!m_telemetry->inputUnavailableReason().isEmpty())
        m_warnings << m_telemetry->inputUnavailableReason();
    if (m_cursorInPicture)
        m_warnings << QStringLiteral(
            "This desktop draws the cursor into the recording; it is not drawn again.");
    m_startedAt = QDateTime::currentDateTimeUtc();
    m_startedClock = std::chrono::steady_clock::now();
    m_lastStatistics.reset();
    m_state = State::running;
    co_return tl::expected<void, CaptureEngineError>{};
}

QCoro::Task<tl::expected<CaptureResult, CaptureEngineError>> CaptureEngine::stop() {
    if (m_state != State::running || !m_stream || !m_streamOutput || !m_videoURL || !m_cursorURL ||
        !m_eventsURL)
        co_return failure(CaptureEngineError::Kind::notRunning);
    m_state = State::stopping;
    // Whatever happens from here, the engine ends idle and without its capture objects.
    struct Reset {
        CaptureEngine* engine;
        ~Reset() {
            engine->dropCaptureObjects();
            engine->m_state = State::idle;
            engine->m_startedAt.reset();
        }
    } reset{this};

    auto stopping = m_control.submit([stream = m_stream] { stream->stopCapture(); });
    co_await stopping;
    if (m_portal)
        m_portal->close();

    const TelemetryRecording telemetry = m_telemetry->stop();
    m_streamOutput->finishWriting();
    if (!m_writer)
        co_return Failure(CaptureEngineError::writerFailed(QStringLiteral("writer was already torn down")));
    auto finishing = m_control.submit([writer = m_writer] { return writer->finish(); });
    const tl::expected<void, MediaError> finished = co_await finishing;
    m_lastStatistics = Statistics{m_stream->statistics(), m_streamOutput->statistics()};
    const Statistics& counts = *m_lastStatistics;
    log::info(tag,
              QStringLiteral("Video: %1 frames written, %2 dropped before the encoder, %3 dropped by the "
                             "stream, %4 ticks missed")
                  .arg(counts.output.framesAppended)
                  .arg(counts.output.framesDropped)
                  .arg(counts.stream.screen.framesDropped)
                  .arg(counts.stream.screen.ticksMissed));
    if (!finished)
        co_return Failure(CaptureEngineError::writerFailed(finished.error().description));

    if (auto written =
            TelemetryFiles::writeTracks(telemetry.cursor, telemetry.events, *m_cursorURL, *m_eventsURL);
        !written)
        log::warning(tag, QStringLiteral("failed to write cursor/event tracks: ") + written.error());
    else if (m_journalURL)
        // The two files hold all the journal did; a journal left behind would read as a crash.
        QFile::remove(*m_journalURL);

    CaptureResult result;
    result.videoURL = *m_videoURL;
    result.audioURL = m_audioURL;
    result.cursorURL = *m_cursorURL;
    result.eventsURL = *m_eventsURL;
    result.cameraURL = m_cameraURL;
    result.videoRelativePath = m_videoRelative.value_or(QString());
    result.audioRelativePath = m_audioRelative;
    result.cursorRelativePath = m_cursorRelative.value_or(QString());
    result.eventsRelativePath = m_eventsRelative.value_or(QString());
    result.cameraRelativePath = m_cameraRelative;
    result.duration =
        ProjectTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - m_startedClock).count());
    result.frameSize = m_frameSize;
    result.manualZoomEvents = telemetry.manualZoomEvents;
    result.cursorInPicture = m_cursorInPicture;
    co_return result;
}

QCoro::Task<tl::expected<CaptureResult, CaptureEngineError>>
CaptureEngine::record(CaptureSource source, std::shared_ptr<ProjectBundle> bundle,
                      std::chrono::milliseconds duration, bool includesMicrophone, bool includesSystemAudio,
                      CaptureEnvironment environment, Options options) {
    CaptureEngine engine(std::move(environment), std::move(options));
    auto starting =
        engine.start(std::move(source), std::move(bundle), includesMicrophone, includesSystemAudio);
    const auto started = co_await starting;
    if (!started)
        co_return Failure(started.error());
    // Ends early when the source goes away: what was recorded until then is kept.
    const auto until = std::chrono::steady_clock::now() + duration;
    while (!engine.sourceEnded() && std::chrono::steady_clock::now() < until) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        auto waiting =
            QCoro::sleepFor(std::clamp(left, std::chrono::milliseconds(1), std::chrono::milliseconds(50)));
        co_await waiting;
    }
    auto stopping = engine.stop();
    auto result = co_await stopping;
    co_return result;
}

CaptureEngine::Statistics CaptureEngine::statistics() const {
    if (m_stream && m_streamOutput)
        return {m_stream->statistics(), m_streamOutput->statistics()};
    return m_lastStatistics.value_or(Statistics{});
}

QCoro::Task<tl::expected<void, QString>>
CaptureEngine::openAndStart(QString videoPath, CaptureStream::Configuration configuration, bool systemAudio,
                            bool microphone) {
    configuration.capturesAudio = systemAudio;
    configuration.captureMicrophone = microphone;
    MediaWriterSettings settings;
    settings.container = ContainerFormat::mov;
    VideoEncoderSettings video;
    video.width = configuration.width;
    video.height = configuration.height;
    video.codec = VideoCodec::h264;
    video.frameRate = frameRate;
    video.quality = m_options.quality;
    video.preset = m_options.encoderPreset;
    video.realTime = true;
    settings.video = video;
    std::optional<int> systemAudioTrack, micTrack;
    // The system's sound is the first audio track, the microphone the second.
    if (systemAudio) {
        systemAudioTrack = int(settings.audio.size());
        settings.audio.push_back(AudioEncoderSettings{});
    }
    if (microphone) {
        micTrack = int(settings.audio.size());
        settings.audio.push_back(AudioEncoderSettings{});
    }
    settings.fragmentInterval = m_options.fragmentInterval;
    auto opening =
        m_control.submit([videoPath, settings]() -> tl::expected<std::shared_ptr<MediaWriter>, MediaError> {
            auto writer = MediaWriter::create(videoPath, settings);
            if (!writer)
                return tl::unexpected(writer.error());
            return std::shared_ptr<MediaWriter>(std::move(*writer));
        });
    const auto writer = co_await opening;
    if (!writer)
        co_return tl::unexpected(writer.error().description);
    m_writer = *writer;
    m_streamOutput = std::make_shared<StreamOutput>(m_writer, systemAudioTrack, micTrack);
    m_stream = std::make_shared<CaptureStream>(configuration, m_streamOutput);

    const auto writerError = m_writer->error();
    log::info(tag, QStringLiteral("Writer startWriting: %1, status: %2, error: %3")
                       .arg(writerError ? QStringLiteral("false") : QStringLiteral("true"))
                       .arg(int(m_streamOutput->writerStatus()))
                       .arg(writerError ? writerError->description : QStringLiteral("none")));
    log::info(
        tag,
        QStringLiteral("Starting %1 on display %2 (%3x%4)%5...")
            .arg(captureMethod(configuration.target, configuration.pipeWire.has_value()))
            .arg(configuration.target.kind == CaptureTarget::Kind::display ? configuration.target.displayID
                                                                           : 0)
            .arg(configuration.width)
            .arg(configuration.height)
            .arg(systemAudio || microphone ? QStringLiteral(" with sound from PulseAudio") : QString()));
    auto startingStream = m_control.submit([stream = m_stream, timeout = m_options.streamStartTimeout] {
        return stream->startCapture(timeout);
    });
    const tl::expected<void, QString> started = co_await startingStream;
    if (!started) {
        // Nothing of a start that failed stays behind: not the threads, not a movie without frames.
        auto cancelling = m_control.submit([writer = m_writer, videoPath] {
            writer->cancel();
            QFile::remove(videoPath);
        });
        co_await cancelling;
        // The portal's session stays: a second try without sound reads the same node.
        m_stream.reset();
        m_streamOutput.reset();
        m_writer.reset();
        co_return tl::unexpected(started.error());
    }
    co_return tl::expected<void, QString>{};
}

void CaptureEngine::dropCaptureObjects() {
    m_stream.reset();
    m_streamOutput.reset();
    m_writer.reset();
    m_telemetry.reset();
    m_streamCursor.reset();
    if (m_portal)
        m_portal->close();
    m_portal.reset();
    m_pipeWireRemote = QDBusUnixFileDescriptor();
}

} // namespace orvane
