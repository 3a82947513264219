#include "AppState.h"

#include "TerminationRace.h"
#include "support/Log.h"

#include <QDir>
#include <QStandardPaths>

namespace orvane {

namespace {
AppState* sharedInstance = nullptr;
}

AppState::AppState()
    : AppState(Services{UserDefaults::standard(), RecentProjectsStore::shared(), Clock::system()}) {}

AppState::AppState(Services services)
    : m_defaults(services.defaults)
    , m_recents(services.recents)
    , m_clock(services.clock) {
    sharedInstance = this;
    m_exportQueueController.attach(m_exportQueue);
    // Menu titles follow the stack through this counter.
    for (auto signal : {&UndoManager::didUndo, &UndoManager::didRedo, &UndoManager::didCloseUndoGroup,
                        &UndoManager::willCloseUndoGroup, &UndoManager::checkpoint})
        connect(&m_undoManager, signal, this, &AppState::bumpUndoStackVersion);
}

AppState::~AppState() {
    if (sharedInstance == this)
        sharedInstance = nullptr;
}

AppState* AppState::shared() {
    return sharedInstance;
}

void AppState::bumpUndoStackVersion() {
    ++m_undoStackVersion;
    Q_EMIT undoStackVersionChanged();
}

void AppState::setPermissions(const PermissionsState& permissions) {
    if (permissions == m_permissions)
        return;
    m_permissions = permissions;
    Q_EMIT permissionsChanged();
}

void AppState::setRecordingPhase(const RecordingPhase& phase) {
    if (phase == m_recordingPhase)
        return;
    m_recordingPhase = phase;
    Q_EMIT recordingPhaseChanged();
}

void AppState::setScreen(AppScreen screen) {
    if (screen == m_screen)
        return;
    m_screen = screen;
    Q_EMIT screenChanged();
}

void AppState::setLastError(std::optional<AppError> error) {
    if (error == m_lastError)
        return;
    m_lastError = std::move(error);
    Q_EMIT lastErrorChanged();
}

void AppState::setIsExporting(bool exporting) {
    if (exporting == m_isExporting)
        return;
    m_isExporting = exporting;
    Q_EMIT isExportingChanged();
}

void AppState::setIsImporting(bool importing) {
    if (importing == m_isImporting)
        return;
    m_isImporting = importing;
    Q_EMIT isImportingChanged();
}

void AppState::requestSaveAcknowledgement() {
    ++m_saveAcknowledgementNonce;
    Q_EMIT saveAcknowledgementNonceChanged();
}

QString AppState::moviesDirectory() {
    const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return movies.isEmpty() ? QDir::homePath() : movies;
}

QString AppState::recordingsRootDirectory() const {
    const QString stored = m_defaults.string(QString::fromLatin1(recordingSaveDirectoryKey));
    return stored.isEmpty() ? defaultRecordingsRootDirectory() : stored;
}

QString AppState::defaultRecordingsRootDirectory() {
    return QDir(moviesDirectory()).filePath(QStringLiteral("Orvane Screen"));
}

void AppState::setRecordingsRootDirectory(const QString& path) {
    m_defaults.setValue(QString::fromLatin1(recordingSaveDirectoryKey), path);
}

AppState::TerminateReply AppState::applicationShouldTerminate(std::function<void(bool)> reply) {
    if (m_currentBundle)
        (void)m_currentBundle->flushPendingSave(); // an error here must not hold up quitting
    // A countdown has nothing to keep yet.
    cancelCountdown();
    if (!isRecording())
        return TerminateReply::now;

    replyOnceWhenDone(
        m_clock, terminationTimeoutSeconds, [this] { return stopCapture(); }, std::move(reply),
        [] {
            log::warning("AppDelegate", QStringLiteral("stopCapture exceeded 8s timeout — force-replying"));
        });
    return TerminateReply::later;
}

} // namespace orvane
