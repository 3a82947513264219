// The recording flow: from the start button (or the API) through the countdown and the capture engine to
// a new clip on the timeline.
#include "RecordingController.h"

#include "AppState.h"
#include "capture/PermissionsManager.h"
#include "direction/ManualZoomKeyframes.h"
#include "support/Clock.h"
#include "support/Log.h"
#include "support/UserDefaults.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTimer>
#include <QDesktopServices>
#include <QFile>
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

RecordingController::RecordingController(AppState& app, UserDefaults& defaults, Clock& clock)
    : m_app(app)
    , m_defaults(defaults)
    , m_clock(clock) {}

RecordingController::~RecordingController() = default;

void RecordingController::setCaptureEnvironment(CaptureEnvironment environment) {
    m_soundEffects.setServer(environment.pulseServer);
    m_environment = std::move(environment);
}

void RecordingController::dropEngine() {
    if (m_engine)
        m_lastWarnings = m_engine->warnings();
    m_engine.reset();
}

const CaptureSource* RecordingController::selectedSource() const {
    const QString& id = m_app.selectedSourceID();
    if (id.isEmpty())
        return nullptr;
    for (const CaptureSource& source : m_app.availableSources())
        if (source.id == id)
            return &source;
    return nullptr;
}

QCoro::Task<void> RecordingController::refreshPermissions() {
    // The checks take seconds when a server doesn't answer; the application may be gone by then.
    const QPointer<RecordingController> self(this);
    const CaptureEnvironment environment = m_environment;
    auto checking = QtConcurrent::run([environment] { return PermissionsManager::check(environment); });
    const CapturePermissions found = co_await checking;
    if (!self)
        co_return;
    m_app.setPermissions({statusFrom(found.screenRecording), statusFrom(found.camera),
                          statusFrom(found.microphone), statusFrom(found.accessibility)});
}

QCoro::Task<void> RecordingController::checkPermissionsOnLaunch() {
    const QPointer<RecordingController> self(this);
    auto permissions = refreshPermissions();
    co_await permissions;
    if (!self)
        co_return;
    auto sources = refreshSources();
    co_await sources;
}

QCoro::Task<tl::expected<void, Error>> RecordingController::refreshSources() {
    const QPointer<RecordingController> self(this);
    auto discovering = CaptureEngine::discoverSources(m_environment);
    auto discovered = co_await discovering;
    if (!self)
        co_return tl::unexpected(
            Error::make(QStringLiteral("OrvaneScreen.App"), 1, QStringLiteral("the application has gone")));
    if (!discovered) {
        m_app.setAvailableSources({});
        co_return tl::unexpected(discovered.error().toError());
    }
    m_app.setAvailableSources(std::move(*discovered));
    co_return tl::expected<void, Error>{};
}

QCoro::Task<void> RecordingController::apiRefreshSources() {
    auto refreshing = refreshSources();
    const auto refreshed = co_await refreshing;
    if (!refreshed)
        log::warning("API", QStringLiteral("discoverSources failed: ") + refreshed.error().description);
}

QCoro::Task<void> RecordingController::beginCapture() {
    if (!m_app.canStartRecording())
        co_return;
    const CaptureSource* found = selectedSource();
    if (!found) {
        AppError error;
        error.title = tr("No source selected");
        error.message = tr("Choose a display, window or application to record.");
        error.recoveryActions.push_back({tr("Pick a source"), [self = QPointer<RecordingController>(this)] {
                                             if (self)
                                                 self->m_app.setScreen(AppScreen::sourcePicker);
                                         }});
        m_app.setLastError(std::move(error));
        co_return;
    }
    const CaptureSource source = *found;

    m_app.setRecordingPhase(RecordingPhase::countingDown(countdownSeconds));
    m_app.setScreen(AppScreen::recording);
    const auto bundle = m_app.ensureBundle();
    if (!bundle) {
        failStart(bundle.error().description);
        co_return;
    }
    // The engine is made before the countdown so that a cancel can tell this start from a later one: a
    // start whose engine is no longer the current one has been abandoned.
    const auto engine = std::make_shared<CaptureEngine>(m_environment, m_options);
    m_engine = engine;
    m_lastWarnings.clear();
    const auto abandoned = [this, engine] {
        return !m_app.recordingPhase().isCountingDown() || m_engine != engine;
    };

    for (int remaining = countdownSeconds; remaining >= 1; --remaining) {
        if (abandoned())
            co_return;
        m_app.setRecordingPhase(RecordingPhase::countingDown(remaining));
        auto tick = QCoro::sleepFor(m_countdownTick);
        co_await tick;
    }
    if (abandoned())
        co_return;
    playRecordingSound(true);

    auto starting = engine->start(source, *bundle, m_app.includesMicrophone(), m_app.includesSystemAudio());
    const auto started = co_await starting;
    if (!started) {
        if (m_engine == engine)
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
    watchSourceEnd(engine);
    m_app.setRecordingPhase(RecordingPhase::recording(m_clock.now()));
    if (auto* hud = m_app.recordingHUD())
        hud->show();
    log::info("Recording", QStringLiteral("recording started on source: ") + source.id);
}

void RecordingController::watchSourceEnd(const std::shared_ptr<CaptureEngine>& engine) {
    // A window closed or an output unplugged on Wayland: the recording ends as if Stop was pressed, and
    // keeps everything up to that moment.
    engine->setSourceEndedHandler([self = QPointer<RecordingController>(this),
                                   weak = std::weak_ptr<CaptureEngine>(engine)](const QString& reason) {
        if (!self || self->m_engine != weak.lock() || !self->m_app.recordingPhase().isRecording())
            return;
        log::info("Recording", QStringLiteral("source ended, stopping: ") + reason);
        self->stopCapture();
    });
}

void RecordingController::failStart(const QString& message) {
    m_app.setRecordingPhase(RecordingPhase::idle());
    m_app.setScreen(AppScreen::sourcePicker);
    dropEngine();

    AppError error;
    error.title = tr("Couldn't start recording");
    error.message = message;
    error.recoveryActions.push_back({tr("Try again"), [self = QPointer<RecordingController>(this)] {
                                         if (self)
                                             self->beginCapture();
                                     }});
    error.recoveryActions.push_back({tr("Change source"), [self = QPointer<RecordingController>(this)] {
                                         if (self)
                                             self->m_app.setScreen(AppScreen::sourcePicker);
                                     }});
    if (looksLikePermissionProblem(message))
        error.recoveryActions.push_back({tr("Open System Settings"), &openSystemSettings});
    m_app.setLastError(std::move(error));
}

void RecordingController::playRecordingSound(bool starting) {
    if (!m_defaults.boolean(QString::fromLatin1(SoundEffects::enabledKey), true))
        return;
    if (starting)
        m_soundEffects.playStart();
    else
        m_soundEffects.playStop();
}

void RecordingController::cancelCountdown() {
    if (!m_app.recordingPhase().isCountingDown())
        return;
    m_app.setRecordingPhase(RecordingPhase::idle());
    dropEngine();
    m_app.setScreen(AppScreen::sourcePicker);
}

QCoro::Task<void> RecordingController::stopCapture() {
    if (!m_engine)
        co_return;
    // Our own reference: a start that races this stop can't take the engine away under us.
    const std::shared_ptr<CaptureEngine> engine = m_engine;
    m_app.setRecordingPhase(RecordingPhase::stopping());
    playRecordingSound(false);
    // The main window comes back at once and shows the finalising state while the engine stops.
    if (auto* hud = m_app.recordingHUD())
        hud->hide();

    auto stopping = engine->stop();
    const auto stopped = co_await stopping;
    if (!stopped) {
        dropEngine();
        m_app.setRecordingPhase(RecordingPhase::idle());
        m_app.setScreen(AppScreen::editor);
        AppError error;
        error.title = tr("Couldn't stop recording");
        error.message = stopped.error().message();
        if (m_app.currentBundle()) {
            const QString media = m_app.currentBundle()->mediaDirectory();
            error.recoveryActions.push_back({tr("Open Recording in Finder"), [media] {
                                                 QDesktopServices::openUrl(QUrl::fromLocalFile(media));
                                             }});
        }
        m_app.setLastError(std::move(error));
        co_return;
    }

    const CaptureResult& result = *stopped;
    if (result.videoRelativePath.isEmpty() || !QFileInfo::exists(result.videoURL)) {
        dropEngine();
        m_app.setRecordingPhase(RecordingPhase::idle());
        AppError error;
        error.title = tr("Recording failed");
        error.message = tr("The recording produced no video file. Please try again.");
        error.recoveryActions.push_back({tr("Try again"), [self = QPointer<RecordingController>(this)] {
                                             if (self)
                                                 self->beginCapture();
                                         }});
        m_app.setLastError(std::move(error));
        co_return;
    }
    if (m_app.currentBundle())
        appendRecording(result);
    dropEngine();
    m_app.setRecordingPhase(RecordingPhase::idle());
    m_app.setScreen(AppScreen::editor);
}

QCoro::Task<void> RecordingController::discardCapture() {
    if (!m_engine || !m_app.recordingPhase().isRecording())
        co_return;
    const std::shared_ptr<CaptureEngine> engine = m_engine;
    m_app.setRecordingPhase(RecordingPhase::stopping());
    if (auto* hud = m_app.recordingHUD())
        hud->hide();
    auto stopping = engine->stop();
    const auto stopped = co_await stopping;
    if (stopped) {
        // The user threw this take away: its files go too, or the next opening would offer to recover it.
        for (const QString& file :
             {stopped->videoURL, stopped->audioURL.value_or(QString()), stopped->cursorURL,
              stopped->eventsURL, stopped->cameraURL.value_or(QString())})
            if (!file.isEmpty())
                QFile::remove(file);
        log::info("Recording", QStringLiteral("recording discarded"));
    } else {
        log::warning("Recording", QStringLiteral("discarded recording did not stop cleanly: ") +
                                      stopped.error().message());
    }
    dropEngine();
    m_app.setRecordingPhase(RecordingPhase::idle());
    m_app.setScreen(AppScreen::sourcePicker);
}

void RecordingController::appendRecording(const CaptureResult& result) {
    m_app.currentBundle()->update(
        [&](Project& project) { project.timeline.clips.push_back(makeRecordingClip(project, result)); });
}

Clip RecordingController::makeRecordingClip(const Project& project, const CaptureResult& result) {
    // Only the user's own marks become zoom keyframes; auto-zoom is something the user asks for.
    KeyframeTrack<NormalizedRect> zoom;
    if (!result.manualZoomEvents.empty())
        zoom = ManualZoomKeyframes::generate(result.manualZoomEvents, result.frameSize,
                                             project.defaultAutoZoom, result.duration);
    const auto nonEmpty = [](const QString& path) {
        return path.isEmpty() ? std::nullopt : std::optional<QString>(path);
    };
    Clip clip = project.makeClip(QStringLiteral("Recording %1").arg(project.timeline.clips.size() + 1),
                                 result.duration, result.frameSize);
    clip.trackIndex = 0;
    clip.sourceVideoPath = result.videoRelativePath;
    clip.sourceAudioPath = result.audioRelativePath;
    clip.sourceCursorPath = nonEmpty(result.cursorRelativePath);
    clip.sourceEventsPath = nonEmpty(result.eventsRelativePath);
    clip.sourceCameraPath = result.cameraRelativePath;
    clip.camera = CameraOverlay();
    clip.camera.isEnabled = result.cameraRelativePath.has_value();
    clip.zoomTrack = std::move(zoom);
    clip.audio = AudioConfig{1.0, 1.0, true, true};
    // The pointer is already in the picture: drawing ours over it would show two.
    if (result.cursorInPicture)
        clip.cursor.isVisible = false;
    return clip;
}

void RecordingController::apiBeginCaptureNoCountdown() {
    if (m_app.isRecording() || m_app.isExporting() ||
        m_app.permissions().screenRecording != PermissionsState::Status::granted)
        return;
    if (const CaptureSource* found = selectedSource())
        apiStartCapture(*found);
}

QCoro::Task<void> RecordingController::apiStartCapture(CaptureSource source) {
    const auto fail = [this](const QString& description) {
        m_app.setRecordingPhase(RecordingPhase::idle());
        m_app.setScreen(AppScreen::editor);
        dropEngine();
        log::warning("API", QStringLiteral("Recording start failed: ") + description);
    };
    if (!m_app.currentBundle()) {
        const auto created = m_app.createProject(QStringLiteral("Recording"), 1920, 1080, 60);
        if (!created) {
            fail(created.error().description);
            co_return;
        }
    }
    const std::shared_ptr<ProjectBundle> bundle = m_app.currentBundle();
    const auto engine = std::make_shared<CaptureEngine>(m_environment, m_options);
    m_engine = engine;
    m_lastWarnings.clear();
    m_app.setRecordingPhase(RecordingPhase::recording(m_clock.now()));
    m_app.setScreen(AppScreen::recording);
    auto starting = engine->start(source, bundle, m_app.includesMicrophone(), m_app.includesSystemAudio());
    const auto started = co_await starting;
    if (!started) {
        if (m_engine == engine)
            fail(started.error().message());
        co_return;
    }
    watchSourceEnd(engine);
    log::info("API", QStringLiteral("Recording started on source: ") + source.id);
}

QCoro::Task<void> RecordingController::recordOnboardingSample() {
    auto refreshingPermissions = refreshPermissions();
    co_await refreshingPermissions;
    auto refreshingSources = refreshSources();
    co_await refreshingSources;
    if (m_app.permissions().screenRecording != PermissionsState::Status::granted ||
        m_app.availableSources().empty()) {
        auto opening = m_app.openSampleProject();
        co_await opening;
        co_return;
    }
    const auto display =
        std::find_if(m_app.availableSources().begin(), m_app.availableSources().end(),
                     [](const CaptureSource& s) { return s.kind == CaptureSource::Kind::display; });
    m_app.setSelectedSourceID(
        display != m_app.availableSources().end() ? display->id : m_app.availableSources().front().id);
    m_app.setIncludesMicrophone(false);
    m_app.setIncludesSystemAudio(false);
    m_app.setIncludesCamera(false);
    // The stop is timed from now, so with the countdown the sample lasts about five and a half seconds.
    QTimer::singleShot(std::chrono::milliseconds(8500), this, [this] {
        if (m_app.isRecording())
            stopCapture();
    });
    auto beginning = beginCapture();
    co_await beginning;
}

} // namespace orvane
