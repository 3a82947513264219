#pragma once

#include "AppTypes.h"
#include "ExportController.h"
#include "ImportController.h"
#include "ImportError.h"
#include "ProjectController.h"
#include "RecordingController.h"
#include "RecordingHUDPresenter.h"
#include "UndoManager.h"
#include "capture/CaptureEngine.h"
#include "capture/CaptureSource.h"
#include "export/ExportQueue.h"
#include "project/ProjectBundle.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/Error.h"
#include "support/UserDefaults.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

#include <tl/expected.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

// The one application object. Every door (views, menus, the agent, the loopback API, the command line)
// acts through it. It holds the observable state; the work of recording, importing, exporting and
// opening projects lies in one controller each, to which the operations below forward. Main thread
// only; observers hear of every change through the signals below.
class AppState : public QObject {
    Q_OBJECT
public:
    static constexpr int levelsOfUndo = 50;
    static constexpr const char* recordingSaveDirectoryKey = "recordingSaveDirectory";
    static constexpr double terminationTimeoutSeconds = 8.0;

    struct Services {
        UserDefaults& defaults;
        RecentProjectsStore& recents;
        Clock& clock;
    };

    AppState();
    explicit AppState(Services services);
    ~AppState() override;

    // The process-wide instance, set by the constructor.
    static AppState* shared();
    // The settings store this state was made with: the server reads the origins it lets in from it.
    UserDefaults& defaults() const { return m_defaults; }

    // ---- state --------------------------------------------------------------------------------------
    UndoManager& undoManager() { return m_undoManager; }
    const UndoManager& undoManager() const { return m_undoManager; }
    int undoStackVersion() const { return m_undoStackVersion; }
    const std::shared_ptr<ProjectBundle>& currentBundle() const { return m_currentBundle; }
    const PermissionsState& permissions() const { return m_permissions; }
    void setPermissions(const PermissionsState& permissions);
    const RecordingPhase& recordingPhase() const { return m_recordingPhase; }
    void setRecordingPhase(const RecordingPhase& phase);
    AppScreen screen() const { return m_screen; }
    void setScreen(AppScreen screen);
    const std::optional<AppError>& lastError() const { return m_lastError; }
    void setLastError(std::optional<AppError> error);
    bool isExporting() const { return m_isExporting; }
    void setIsExporting(bool exporting);
    bool isImporting() const { return m_isImporting; }
    void setIsImporting(bool importing);
    bool includesMicrophone() const { return m_includesMicrophone; }
    bool includesSystemAudio() const { return m_includesSystemAudio; }
    bool includesCamera() const { return m_includesCamera; }
    void setIncludesMicrophone(bool on);
    void setIncludesSystemAudio(bool on);
    void setIncludesCamera(bool on);
    const std::vector<CaptureSource>& availableSources() const { return m_availableSources; }
    void setAvailableSources(std::vector<CaptureSource> sources);
    const QString& selectedSourceID() const { return m_selectedSourceID; }
    void setSelectedSourceID(const QString& id);
    // The engine of the recording being started, running or stopped; absent otherwise.
    const std::shared_ptr<CaptureEngine>& captureEngine() const { return m_recording.captureEngine(); }

    // Request counters: raised by one to ask a view for a one-shot reaction.
    int saveAcknowledgementNonce() const { return m_saveAcknowledgementNonce; }
    void requestSaveAcknowledgement();
    int exportRequestNonce() const { return m_exportRequestNonce; }
    void requestExport();
    int shortcutsSheetRequestNonce() const { return m_shortcutsSheetRequestNonce; }
    void requestShortcutsSheet();
    int helpSheetRequestNonce() const { return m_helpSheetRequestNonce; }
    void requestHelpSheet();
    int autoZoomRetryNonce() const { return m_autoZoomRetryNonce; }
    void requestAutoZoomRetry();

    bool isRecording() const { return m_recordingPhase.isCountingDown() || m_recordingPhase.isRecording(); }
    bool canStartRecording() const {
        return !isRecording() && !m_isExporting &&
               m_permissions.screenRecording == PermissionsState::Status::granted;
    }

    // The folder for new projects: "recordingSaveDirectory" when set and not empty, else
    // Movies/Orvane Screen (home when the system names no Movies folder).
    QString recordingsRootDirectory() const;
    void setRecordingsRootDirectory(const QString& path);
    static QString moviesDirectory();
    static QString defaultRecordingsRootDirectory();

    // ---- projects -----------------------------------------------------------------------------------
    tl::expected<std::shared_ptr<ProjectBundle>, Error> createProject(const QString& name, int width,
                                                                      int height, int frameRate) {
        return m_projects.createProject(name, width, height, frameRate);
    }
    tl::expected<std::shared_ptr<ProjectBundle>, Error>
    createProjectAt(const QString& folder, int width = 1920, int height = 1080, int frameRate = 60) {
        return m_projects.createProjectAt(folder, width, height, frameRate);
    }
    // The open project, or a new "Recording <date>" one for a recording or an import to land in.
    tl::expected<std::shared_ptr<ProjectBundle>, Error> ensureBundle() { return m_projects.ensureBundle(); }
    // On failure sets lastError with "Browse…" and "Open in Finder" and keeps the current project. A
    // project holding recordings that no clip refers to opens with an offer to recover them.
    bool openProject(const QString& path) { return m_projects.openProject(path); }
    // What the Browse action runs; the desktop build shows the open panel here.
    void setOpenPanelHandler(std::function<void()> handler) {
        m_projects.setOpenPanelHandler(std::move(handler));
    }
    void openProject() { m_projects.openProject(); }
    static QString filteredProjectName(const QString& name) {
        return ProjectController::filteredProjectName(name);
    }
    // Brings back, as clips, the recordings of the open project that a crash kept from their stop; how
    // many came back.
    QCoro::Task<int> recoverRecordings() { return m_projects.recoverRecordings(); }
    // Replaces the open project; the projects controller's, and the undo stack goes with the old one.
    void setCurrentBundle(std::shared_ptr<ProjectBundle> bundle);

    // ---- export -------------------------------------------------------------------------------------
    ExportQueue& exportQueue() { return m_exportQueue; }
    ExportQueueController& exportQueueController() { return m_exportQueueController; }
    // Enqueues the open project and answers at once with the file the job will write. Preset and codec
    // are loose texts ("4k", "vertical", "hevc", "ProRes", ...); anything unknown means web1080 and H.264.
    tl::expected<QString, Error> apiExport(const QString& preset, const QString& codec,
                                           const std::optional<QString>& outputPath) {
        return m_export.apiExport(preset, codec, outputPath);
    }

    // ---- import and the sample project --------------------------------------------------------------
    static const QStringList& supportedVideoExtensions() { // "mov", "mp4", "m4v", "mkv"
        return ImportController::supportedVideoExtensions();
    }
    static const QStringList& supportedAudioExtensions() { // "mp3", "m4a", "wav", "aiff", "aif", "flac"
        return ImportController::supportedAudioExtensions();
    }
    // Copies one file into the project's media folder and appends a clip after everything on the
    // timeline; makes a project first when none is open. Reading and copying happen off the main thread.
    QCoro::Task<tl::expected<void, ImportError>> importVideo(QString path) {
        return m_import.importVideo(std::move(path));
    }
    QCoro::Task<tl::expected<void, ImportError>> importAudio(QString path) {
        return m_import.importAudio(std::move(path));
    }
    // In order, one at a time; the first failure ends the list and goes to lastError.
    QCoro::Task<void> importVideos(QStringList paths) { return m_import.importVideos(std::move(paths)); }
    QCoro::Task<void> importAudios(QStringList paths) { return m_import.importAudios(std::move(paths)); }
    AppError makeImportError(const QString& path, const ImportError& error, bool isAudio) {
        return m_import.makeImportError(path, error, isAudio);
    }
    // What "Choose a different file" runs; the desktop build shows the import panels here.
    void setImportPanelHandler(std::function<void(bool audio)> handler) {
        m_import.setImportPanelHandler(std::move(handler));
    }
    // The open panel for movies or sound files (nothing without a window).
    void presentImportVideoPanel() { m_import.presentImportPanel(false); }
    void presentImportAudioPanel() { m_import.presentImportPanel(true); }

    // Movies/Orvane Screen/Sample.orvanescreen, made on first use and opened.
    static QString sampleProjectDirectory() { return ProjectController::sampleProjectDirectory(); }
    QCoro::Task<void> openSampleProject() { return m_projects.openSampleProject(); }
    // The welcome project: a ten-second gradient movie with two titles and three captions.
    static QCoro::Task<tl::expected<void, Error>> materializeSampleProject(QString folder) {
        return ProjectController::materializeSampleProject(std::move(folder));
    }

    // ---- edits and undo -----------------------------------------------------------------------------
    // Mutates the open project now, saves, and registers one undo step named `name`. A mutation that
    // throws keeps its partial change and a save is due, but leaves no undo step; its error comes back.
    tl::expected<void, Error> performEdit(const QString& name, const std::function<void(Project&)>& mutate);
    // Registers the step for a gesture whose live changes were already applied and saved.
    void commitEdit(const QString& name, const Project& projectBefore);
    QString undoTitle() const;
    QString redoTitle() const;
    void undo() { m_undoManager.undo(); }
    void redo() { m_undoManager.redo(); }

    // ---- automation (the loopback API and the agent) -----------------------------------------------
    static constexpr const char* apiErrorDomain = "OrvaneScreen.API";
    static Error apiError(const QString& description) {
        return Error::make(QString::fromLatin1(apiErrorDomain), 1, description);
    }
    // Runs `mutate` on the clip in place and schedules a save: no undo step.
    tl::expected<void, Error> apiUpdateClip(const QUuid& id, const std::function<void(Clip&)>& mutate);

    // Replaces the clip's zoom track with keyframes made from its clicks; the number of keyframes.
    QCoro::Task<tl::expected<int, Error>> apiGenerateAutoZoom(QUuid clipID);

    // The loopback server, made by the start-up code once and kept for the life of the process.
    QObject* localAPIServer() const { return m_localAPIServer.get(); }
    void setLocalAPIServer(std::unique_ptr<QObject> server) { m_localAPIServer = std::move(server); }

    // ---- recording ----------------------------------------------------------------------------------
    RecordingController& recording() { return m_recording; }
    // Where capture looks (X display, PulseAudio server) and how the engine encodes. The process's own
    // servers by default; tests point these at private ones.
    void setCaptureEnvironment(CaptureEnvironment environment) {
        m_recording.setCaptureEnvironment(std::move(environment));
    }
    const CaptureEnvironment& captureEnvironment() const { return m_recording.captureEnvironment(); }
    void setCaptureEngineOptions(CaptureEngine::Options options) {
        m_recording.setCaptureEngineOptions(std::move(options));
    }
    // One countdown step; a second unless a test shortens it.
    void setCountdownTick(std::chrono::milliseconds tick) { m_recording.setCountdownTick(tick); }
    static constexpr int countdownSeconds = RecordingController::countdownSeconds;

    // Reads the permissions off the system into `permissions`.
    QCoro::Task<void> refreshPermissions() { return m_recording.refreshPermissions(); }
    // What start-up and every activation run: the permissions, then the sources (empty when discovery
    // fails, without an error).
    QCoro::Task<void> checkPermissionsOnLaunch() { return m_recording.checkPermissionsOnLaunch(); }
    // Discovers the sources into `availableSources`; a failure leaves the list empty and comes back.
    QCoro::Task<tl::expected<void, Error>> refreshSources() { return m_recording.refreshSources(); }
    // The full start: countdown, engine start; failures go to lastError with their recovery actions.
    QCoro::Task<void> beginCapture() { return m_recording.beginCapture(); }
    void cancelCountdown() { m_recording.cancelCountdown(); }
    // Stops the engine and appends the recording to the open project as a new clip.
    QCoro::Task<void> stopCapture() { return m_recording.stopCapture(); }
    // Stops the recording under way and keeps nothing of it.
    QCoro::Task<void> discardCapture() { return m_recording.discardCapture(); }
    // The first-run sample: records the first display for about five seconds, or opens the sample
    // project when recording isn't possible.
    QCoro::Task<void> recordOnboardingSample() { return m_recording.recordOnboardingSample(); }
    // The automation start: no countdown, no lastError; the outcome shows in isRecording.
    void apiBeginCaptureNoCountdown() { m_recording.apiBeginCaptureNoCountdown(); }
    QCoro::Task<void> apiRefreshSources() { return m_recording.apiRefreshSources(); }
    // What the current (or last) recording started without, such as its sound.
    QStringList recordingWarnings() const { return m_recording.warnings(); }
    // Brings the main window to the front; with no window (the command line) it does nothing.
    void showWindow() {
        if (m_showWindowHandler)
            m_showWindowHandler();
    }
    void setShowWindowHandler(std::function<void()> handler) { m_showWindowHandler = std::move(handler); }
    // The floating control shown while a recording runs; none by default (the command line has none).
    void setRecordingHUD(RecordingHUDPresenter* hud) { m_recordingHUD = hud; }
    RecordingHUDPresenter* recordingHUD() const { return m_recordingHUD; }

    // ---- termination --------------------------------------------------------------------------------
    enum class TerminateReply { now, later };
    // Flushes the open project; when a recording runs, stops it and answers later through `reply`,
    // exactly once: when the stop ends or after 8 seconds, whichever comes first.
    TerminateReply applicationShouldTerminate(std::function<void(bool)> reply);

Q_SIGNALS:
    void undoStackVersionChanged();
    void currentBundleChanged();
    void permissionsChanged();
    void recordingPhaseChanged();
    void screenChanged();
    void lastErrorChanged();
    void isExportingChanged();
    void isImportingChanged();
    void saveAcknowledgementNonceChanged();
    void exportRequestNonceChanged();
    void shortcutsSheetRequestNonceChanged();
    void helpSheetRequestNonceChanged();
    void autoZoomRetryNonceChanged();
    void availableSourcesChanged();
    void selectedSourceIDChanged();
    void includesChanged();
    void recordingsRootDirectoryChanged();

private:
    void applyProjectSnapshot(const Project& snapshot, const Project& redoSnapshot, const QString& name,
                              const QUuid& projectID);
    void registerSnapshotStep(const Project& before, const Project& after, const QString& name);
    void bumpUndoStackVersion();

    UserDefaults& m_defaults;
    RecentProjectsStore& m_recents;
    Clock& m_clock;

    UndoManager m_undoManager{levelsOfUndo};
    int m_undoStackVersion = 0;
    std::shared_ptr<ProjectBundle> m_currentBundle;
    PermissionsState m_permissions;
    RecordingPhase m_recordingPhase = RecordingPhase::idle();
    bool m_includesMicrophone = true;
    bool m_includesSystemAudio = true;
    bool m_includesCamera = false;
    AppScreen m_screen = AppScreen::welcome;
    std::optional<AppError> m_lastError;
    bool m_isExporting = false;
    bool m_isImporting = false;
    int m_saveAcknowledgementNonce = 0;
    int m_exportRequestNonce = 0;
    int m_shortcutsSheetRequestNonce = 0;
    int m_helpSheetRequestNonce = 0;
    int m_autoZoomRetryNonce = 0;
    RecordingHUDPresenter* m_recordingHUD = nullptr;
    std::function<void()> m_showWindowHandler;
    std::unique_ptr<QObject> m_localAPIServer;
    ExportQueue m_exportQueue;
    std::vector<CaptureSource> m_availableSources;
    QString m_selectedSourceID;
    ExportQueueController m_exportQueueController{m_clock};
    // The controllers come last: they are made with the state above and go first.
    ProjectController m_projects{*this, m_recents, m_clock};
    RecordingController m_recording{*this, m_defaults, m_clock};
    ImportController m_import{*this};
    ExportController m_export{*this, m_exportQueue};
};

} // namespace orvane
