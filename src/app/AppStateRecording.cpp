// The recording flow: from the start button (or the API) through the countdown and the capture engine to
// a new clip on the timeline.
#include "AppState.h"
#include "capture/PermissionsManager.h"
#include "capture/x11/ManualZoomHotkey.h"
#include "support/Log.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTimer>
#include <QDesktopServices>
#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

namespace orvane {

namespace {

PermissionsState::Status statusFrom(CapturePermissions::Status status) {
    switch (status) {
    case CapturePermissions::Status::granted:
        return PermissionsState::Status::granted;
    case CapturePermissions::Status::denied:
        return PermissionsState::Status::denied;
    case CapturePermissions::Status::notDetermined:
        return PermissionsState::Status::notDetermined;
    case CapturePermissions::Status::unknown:
        break;
    }
    return PermissionsState::Status::unknown;
}

// Failures a user fixes in the system's settings rather than by trying again.
bool looksLikePermissionProblem(const QString& message) {
    const QString lower = message.toLower();
    for (const char* word : {"permission", "denied", "not authorized", "tcc"})
        if (lower.contains(QLatin1StringView(word)))
            return true;
    return false;
}

// X11 has no screen-capture privacy pane; the desktop's own settings are the nearest place where access
// to the display, the sound server or the camera is changed.
void openSystemSettings() {
    for (const char* program : {"gnome-control-center", "systemsettings", "xfce4-settings-manager"}) {
        const QString path = QStandardPaths::findExecutable(QString::fromLatin1(program));
        if (!path.isEmpty() && QProcess::startDetached(path, {}))
            return;
    }
    log::warning("Recording", QStringLiteral("no settings application found to open"));
}

} // namespace

void AppState::setIncludesMicrophone(bool on) {
    if (std::exchange(m_includesMicrophone, on) != on)
        Q_EMIT includesChanged();
}

void AppState::setIncludesSystemAudio(bool on) {
    if (std::exchange(m_includesSystemAudio, on) != on)
        Q_EMIT includesChanged();
}

void AppState::setIncludesCamera(bool on) {
    if (std::exchange(m_includesCamera, on) != on)
        Q_EMIT includesChanged();
}

void AppState::setAvailableSources(std::vector<CaptureSource> sources) {
    if (sources == m_availableSources)
        return;
    m_availableSources = std::move(sources);
    Q_EMIT availableSourcesChanged();
}

void AppState::setSelectedSourceID(const QString& id) {
    if (id == m_selectedSourceID)
        return;
    m_selectedSourceID = id;
    Q_EMIT selectedSourceIDChanged();
}

QCoro::Task<void> AppState::refreshPermissions() {
    const CaptureEnvironment environment = m_captureEnvironment;
    auto checking = QtConcurrent::run([environment] { return PermissionsManager::check(environment); });
    const CapturePermissions found = co_await checking;
    setPermissions({statusFrom(found.screenRecording), statusFrom(found.camera), statusFrom(found.microphone),
                    statusFrom(found.accessibility)});
}

QCoro::Task<void> AppState::checkPermissionsOnLaunch() {
    auto permissions = refreshPermissions();
    co_await permissions;
    auto sources = refreshSources();
    co_await sources;
}

QCoro::Task<tl::expected<void, Error>> AppState::refreshSources() {
    auto discovering = CaptureEngine::discoverSources(m_captureEnvironment);
    auto discovered = co_await discovering;
    if (!discovered) {
        setAvailableSources({});
        co_return tl::unexpected(discovered.error().toError());
    }
    setAvailableSources(std::move(*discovered));
    co_return tl::expected<void, Error>{};
}

QCoro::Task<void> AppState::apiRefreshSources() {
    auto refreshing = refreshSources();
    const auto refreshed = co_await refreshing;
    if (!refreshed)
        log::warning("API", QStringLiteral("discoverSources failed: ") + refreshed.error().description);
}

QCoro::Task<void> AppState::beginCapture() {
    if (!canStartRecording())
        co_return;
    const auto found = std::find_if(m_availableSources.begin(), m_availableSources.end(),
                                    [&](const CaptureSource& s) { return s.id == m_selectedSourceID; });
    if (m_selectedSourceID.isEmpty() || found == m_availableSources.end()) {
        AppError error;
        error.title = tr("No source selected");
        error.message = tr("Choose a display, window or application to record.");
        error.recoveryActions.push_back({tr("Pick a source"), [self = QPointer<AppState>(this)] {
                                             if (self)
                                                 self->setScreen(AppScreen::sourcePicker);
                                         }});
        setLastError(std::move(error));
        co_return;
    }
    const CaptureSource source = *found;

    setRecordingPhase(RecordingPhase::countingDown(countdownSeconds));
    setScreen(AppScreen::recording);
    const auto bundle = ensureBundle();
    if (!bundle) {
        failStart(bundle.error().description);
        co_return;
    }
    // The engine is made before the countdown so that a cancel can tell this start from a later one: a
    // start whose engine is no longer the current one has been abandoned.
    const auto engine = std::make_shared<CaptureEngine>(m_captureEnvironment, m_captureOptions);
    m_captureEngine = engine;
    const auto abandoned = [this, engine] {
        return !m_recordingPhase.isCountingDown() || m_captureEngine != engine;
    };

    for (int remaining = countdownSeconds; remaining >= 1; --remaining) {
        if (abandoned())
            co_return;
        setRecordingPhase(RecordingPhase::countingDown(remaining));
        auto tick = QCoro::sleepFor(m_countdownTick);
        co_await tick;
    }
    if (abandoned())
        co_return;
    playRecordingSound(true);

    auto starting = engine->start(source, *bundle, m_includesMicrophone, m_includesSystemAudio);
    const auto started = co_await starting;
    if (!started) {
        if (m_captureEngine == engine)
            failStart(started.error().message());
        co_return;
    }
    if (abandoned()) {
        // Cancelled while the engine was starting: nobody will stop it, so stop it here and keep no clip.
        auto stopping = engine->stop();
        co_await stopping;
        log::info("Recording", QStringLiteral("start cancelled while the engine was starting"));
        co_return;
    }
    setRecordingPhase(RecordingPhase::recording(m_clock.now()));
    log::info("Recording", QStringLiteral("recording started on source: ") + source.id);
}

void AppState::failStart(const QString& message) {
    setRecordingPhase(RecordingPhase::idle());
    setScreen(AppScreen::sourcePicker);
    m_captureEngine.reset();

    AppError error;
    error.title = tr("Couldn't start recording");
    error.message = message;
    error.recoveryActions.push_back({tr("Try again"), [self = QPointer<AppState>(this)] {
                                         if (self)
                                             self->beginCapture();
                                     }});
    error.recoveryActions.push_back({tr("Change source"), [self = QPointer<AppState>(this)] {
                                         if (self)
                                             self->setScreen(AppScreen::sourcePicker);
                                     }});
    if (looksLikePermissionProblem(message))
        error.recoveryActions.push_back({tr("Open System Settings"), &openSystemSettings});
    setLastError(std::move(error));
}

void AppState::playRecordingSound(bool starting) {
    if (!m_defaults.boolean(QString::fromLatin1(SoundEffects::enabledKey), true))
        return;
    if (starting)
        m_soundEffects.playStart();
    else
        m_soundEffects.playStop();
}

void AppState::cancelCountdown() {
    if (!m_recordingPhase.isCountingDown())
        return;
    setRecordingPhase(RecordingPhase::idle());
    m_captureEngine.reset();
    setScreen(AppScreen::sourcePicker);
}

QCoro::Task<void> AppState::stopCapture() {
    if (!m_captureEngine)
        co_return;
    // Our own reference: a start that races this stop can't take the engine away under us.
    const std::shared_ptr<CaptureEngine> engine = m_captureEngine;
    setRecordingPhase(RecordingPhase::stopping());
    playRecordingSound(false);

    auto stopping = engine->stop();
    const auto stopped = co_await stopping;
    if (!stopped) {
        m_captureEngine.reset();
        setRecordingPhase(RecordingPhase::idle());
        setScreen(AppScreen::editor);
        AppError error;
        error.title = tr("Couldn't stop recording");
        error.message = stopped.error().message();
        if (m_currentBundle) {
            const QString media = m_currentBundle->mediaDirectory();
            error.recoveryActions.push_back({tr("Open Recording in Finder"), [media] {
                                                 QDesktopServices::openUrl(QUrl::fromLocalFile(media));
                                             }});
        }
        setLastError(std::move(error));
        co_return;
    }

    const CaptureResult& result = *stopped;
    if (result.videoRelativePath.isEmpty() || !QFileInfo::exists(result.videoURL)) {
        m_captureEngine.reset();
        setRecordingPhase(RecordingPhase::idle());
        AppError error;
        error.title = tr("Recording failed");
        error.message = tr("The recording produced no video file. Please try again.");
        error.recoveryActions.push_back({tr("Try again"), [self = QPointer<AppState>(this)] {
                                             if (self)
                                                 self->beginCapture();
                                         }});
        setLastError(std::move(error));
        co_return;
    }
    if (m_currentBundle)
        appendRecording(result);
    m_captureEngine.reset();
    setRecordingPhase(RecordingPhase::idle());
    setScreen(AppScreen::editor);
}

void AppState::appendRecording(const CaptureResult& result) {
    m_currentBundle->update([&](Project& project) {
        // Only the user's own marks become zoom keyframes; auto-zoom is something the user asks for.
        KeyframeTrack<NormalizedRect> zoom;
        if (!result.manualZoomEvents.empty())
            zoom = ManualZoomHotkey::generateKeyframeTrack(result.manualZoomEvents, result.frameSize,
                                                           project.defaultAutoZoom, result.duration);
        const auto nonEmpty = [](const QString& path) {
            return path.isEmpty() ? std::nullopt : std::optional<QString>(path);
        };
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.name = QStringLiteral("Recording %1").arg(project.timeline.clips.size() + 1);
        clip.trackIndex = 0;
        clip.sourceVideoPath = result.videoRelativePath;
        clip.sourceAudioPath = result.audioRelativePath;
        clip.sourceCursorPath = nonEmpty(result.cursorRelativePath);
        clip.sourceEventsPath = nonEmpty(result.eventsRelativePath);
        clip.sourceCameraPath = result.cameraRelativePath;
        clip.sourceIn = ProjectTime::zero();
        clip.sourceOut = result.duration;
        clip.timelineStart = project.timeline.duration();
        clip.sourceSize = result.frameSize;
        clip.speed = 1.0;
        clip.background = project.defaultBackground;
        clip.frame = project.defaultFrame;
        clip.cursor = project.defaultCursor;
        clip.camera = CameraOverlay();
        clip.camera.isEnabled = result.cameraRelativePath.has_value();
        clip.zoomTrack = std::move(zoom);
        clip.autoZoom = project.defaultAutoZoom;
        clip.audio = AudioConfig{1.0, 1.0, true, true};
        project.timeline.clips.push_back(std::move(clip));
    });
}

void AppState::apiBeginCaptureNoCountdown() {
    if (isRecording() || m_isExporting ||
        m_permissions.screenRecording != PermissionsState::Status::granted || m_selectedSourceID.isEmpty())
        return;
    const auto found = std::find_if(m_availableSources.begin(), m_availableSources.end(),
                                    [&](const CaptureSource& s) { return s.id == m_selectedSourceID; });
    if (found == m_availableSources.end())
        return;
    apiStartCapture(*found);
}

QCoro::Task<void> AppState::apiStartCapture(CaptureSource source) {
    const auto fail = [this](const QString& description) {
        setRecordingPhase(RecordingPhase::idle());
        setScreen(AppScreen::editor);
        m_captureEngine.reset();
        log::warning("API", QStringLiteral("Recording start failed: ") + description);
    };
    if (!m_currentBundle) {
        const auto created = createProject(QStringLiteral("Recording"), 1920, 1080, 60);
        if (!created) {
            fail(created.error().description);
            co_return;
        }
    }
    const std::shared_ptr<ProjectBundle> bundle = m_currentBundle;
    const auto engine = std::make_shared<CaptureEngine>(m_captureEnvironment, m_captureOptions);
    m_captureEngine = engine;
    setRecordingPhase(RecordingPhase::recording(m_clock.now()));
    setScreen(AppScreen::recording);
    auto starting = engine->start(source, bundle, m_includesMicrophone, m_includesSystemAudio);
    const auto started = co_await starting;
    if (!started) {
        if (m_captureEngine == engine)
            fail(started.error().message());
        co_return;
    }
    log::info("API", QStringLiteral("Recording started on source: ") + source.title);
}

QCoro::Task<void> AppState::recordOnboardingSample() {
    auto refreshingPermissions = refreshPermissions();
    co_await refreshingPermissions;
    auto refreshingSources = refreshSources();
    co_await refreshingSources;
    if (m_permissions.screenRecording != PermissionsState::Status::granted || m_availableSources.empty()) {
        auto opening = openSampleProject();
        co_await opening;
        co_return;
    }
    const auto display =
        std::find_if(m_availableSources.begin(), m_availableSources.end(),
                     [](const CaptureSource& s) { return s.kind == CaptureSource::Kind::display; });
    setSelectedSourceID(display != m_availableSources.end() ? display->id : m_availableSources.front().id);
    setIncludesMicrophone(false);
    setIncludesSystemAudio(false);
    setIncludesCamera(false);
    // The stop is timed from now, so with the countdown the sample lasts about five and a half seconds.
    QTimer::singleShot(std::chrono::milliseconds(8500), this, [this] {
        if (isRecording())
            stopCapture();
    });
    auto beginning = beginCapture();
    co_await beginning;
}

} // namespace orvane
