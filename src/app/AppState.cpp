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

namespace {

// The observable fields' one rule: a change is told, the same value again is not.
template <class T, class U>
bool assign(T& field, U&& value) {
    if (field == value)
        return false;
    field = std::forward<U>(value);
    return true;
}

} // namespace

void AppState::setPermissions(const PermissionsState& permissions) {
    if (assign(m_permissions, permissions))
        Q_EMIT permissionsChanged();
}

void AppState::setRecordingPhase(const RecordingPhase& phase) {
    if (assign(m_recordingPhase, phase))
        Q_EMIT recordingPhaseChanged();
}

void AppState::setScreen(AppScreen screen) {
    if (assign(m_screen, screen))
        Q_EMIT screenChanged();
}

void AppState::setLastError(std::optional<AppError> error) {
    if (assign(m_lastError, std::move(error)))
        Q_EMIT lastErrorChanged();
}

void AppState::setIsExporting(bool exporting) {
    if (assign(m_isExporting, exporting))
        Q_EMIT isExportingChanged();
}

void AppState::setIsImporting(bool importing) {
    if (assign(m_isImporting, importing))
        Q_EMIT isImportingChanged();
}

void AppState::setIncludesMicrophone(bool on) {
    if (assign(m_includesMicrophone, on))
        Q_EMIT includesChanged();
}

void AppState::setIncludesSystemAudio(bool on) {
    if (assign(m_includesSystemAudio, on))
        Q_EMIT includesChanged();
}

void AppState::setIncludesCamera(bool on) {
    if (assign(m_includesCamera, on))
        Q_EMIT includesChanged();
}

void AppState::setAvailableSources(std::vector<CaptureSource> sources) {
    if (assign(m_availableSources, std::move(sources)))
        Q_EMIT availableSourcesChanged();
}

void AppState::setSelectedSourceID(const QString& id) {
    if (assign(m_selectedSourceID, id))
        Q_EMIT selectedSourceIDChanged();
}

void AppState::setCurrentBundle(std::shared_ptr<ProjectBundle> bundle) {
    if (bundle == m_currentBundle)
        return;
    // Steps hold whole projects of the project they were made in; they must not reach another one.
    if (m_currentBundle)
        m_undoManager.removeAllActions();
    m_currentBundle = std::move(bundle);
    Q_EMIT currentBundleChanged();
}

void AppState::requestSaveAcknowledgement() {
    ++m_saveAcknowledgementNonce;
    Q_EMIT saveAcknowledgementNonceChanged();
}

void AppState::requestExport() {
    ++m_exportRequestNonce;
    Q_EMIT exportRequestNonceChanged();
}

void AppState::requestShortcutsSheet() {
    ++m_shortcutsSheetRequestNonce;
    Q_EMIT shortcutsSheetRequestNonceChanged();
}

void AppState::requestHelpSheet() {
    ++m_helpSheetRequestNonce;
    Q_EMIT helpSheetRequestNonceChanged();
}

void AppState::requestAutoZoomRetry() {
    ++m_autoZoomRetryNonce;
    Q_EMIT autoZoomRetryNonceChanged();
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
    if (path == m_defaults.string(QString::fromLatin1(recordingSaveDirectoryKey)))
        return;
    m_defaults.setValue(QString::fromLatin1(recordingSaveDirectoryKey), path);
    // The window shows the folder; the loopback API can change it too.
    Q_EMIT recordingsRootDirectoryChanged();
}

AppState::TerminateReply AppState::applicationShouldTerminate(std::function<void(bool)> reply) {
    if (m_currentBundle)
        (void)m_currentBundle->flushPendingSave(); // an error here must not hold up quitting
    // A countdown counts as recording here: its stop finds no started engine and ends at once, and the
    // countdown, no longer counting, never starts one.
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
