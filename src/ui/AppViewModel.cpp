#include "AppViewModel.h"

#include "project/RecentProjectsStore.h"
#include "support/Log.h"
#include "support/UserDefaults.h"

#include <QJSEngine>
#include <QQmlEngine>

namespace orvane {

namespace {

AppViewModel* currentInstance = nullptr;

QString localPath(const QString& pathOrUrl) {
    const QUrl url(pathOrUrl);
    return url.isLocalFile() ? url.toLocalFile() : pathOrUrl;
}

} // namespace

AppViewModel::AppViewModel(AppState& app, RecentProjectsStore& recents, UserDefaults& defaults,
                           QObject* parent)
    : QObject(parent)
    , m_app(app)
    , m_recents(recents)
    , m_defaults(defaults) {
    currentInstance = this;
    connect(&app, &AppState::screenChanged, this, &AppViewModel::screenChanged);
    connect(&app, &AppState::recordingPhaseChanged, this, &AppViewModel::recordingPhaseChanged);
    for (auto signal :
         {&AppState::recordingPhaseChanged, &AppState::isExportingChanged, &AppState::permissionsChanged})
        connect(&app, signal, this, &AppViewModel::canStartRecordingChanged);
    connect(&app, &AppState::permissionsChanged, this, &AppViewModel::permissionsChanged);
    connect(&app, &AppState::lastErrorChanged, this, &AppViewModel::onLastErrorChanged);
    connect(&app, &AppState::saveAcknowledgementNonceChanged, this,
            &AppViewModel::saveAcknowledgementNonceChanged);
    connect(&app, &AppState::exportRequestNonceChanged, this, &AppViewModel::exportRequestNonceChanged);
    connect(&app, &AppState::shortcutsSheetRequestNonceChanged, this,
            &AppViewModel::shortcutsSheetRequestNonceChanged);
    connect(&app, &AppState::helpSheetRequestNonceChanged, this, &AppViewModel::helpSheetRequestNonceChanged);
    connect(&app, &AppState::undoStackVersionChanged, this, &AppViewModel::undoStackChanged);
    connect(&app, &AppState::currentBundleChanged, this, [this] {
        watchBundle();
        Q_EMIT projectChanged();
        Q_EMIT undoStackChanged();
    });
    connect(&app, &AppState::isExportingChanged, this, &AppViewModel::isExportingChanged);
    connect(&app, &AppState::isImportingChanged, this, &AppViewModel::isImportingChanged);
    connect(&app, &AppState::selectedSourceIDChanged, this, &AppViewModel::selectedSourceIDChanged);
    connect(&app, &AppState::includesChanged, this, &AppViewModel::includesChanged);
    connect(&app, &AppState::recordingsRootDirectoryChanged, this,
            &AppViewModel::recordingsRootDirectoryChanged);
    connect(&app.exportQueue(), &ExportQueue::jobsChanged, this, &AppViewModel::exportJobsChanged);
    watchBundle();
    // An error raised before the window existed is still shown when it opens.
    if (app.lastError())
        m_presentedError = app.lastError();
}

AppViewModel::~AppViewModel() {
    if (currentInstance == this)
        currentInstance = nullptr;
}

AppViewModel* AppViewModel::create(QQmlEngine*, QJSEngine*) {
    Q_ASSERT(currentInstance);
    QJSEngine::setObjectOwnership(currentInstance, QJSEngine::CppOwnership);
    return currentInstance;
}

QString AppViewModel::statusName(PermissionsState::Status status) {
    switch (status) {
    case PermissionsState::Status::granted:
        return QStringLiteral("granted");
    case PermissionsState::Status::denied:
        return QStringLiteral("denied");
    case PermissionsState::Status::notDetermined:
        return QStringLiteral("notDetermined");
    case PermissionsState::Status::unknown:
        break;
    }
    return QStringLiteral("unknown");
}

AppViewModel* AppViewModel::current() {
    return currentInstance;
}

QString AppViewModel::screen() const {
    switch (m_app.screen()) {
    case AppScreen::welcome:
        return QStringLiteral("welcome");
    case AppScreen::sourcePicker:
        return QStringLiteral("sourcePicker");
    case AppScreen::recording:
        return QStringLiteral("recording");
    case AppScreen::editor:
        return QStringLiteral("editor");
    case AppScreen::exporting:
        return QStringLiteral("exporting");
    case AppScreen::live:
        return QStringLiteral("live");
    }
    return QStringLiteral("welcome");
}

bool AppViewModel::onboardingCompleted() const {
    return m_defaults.boolean(QString::fromLatin1(onboardingKey), false);
}

void AppViewModel::completeOnboarding() {
    if (onboardingCompleted())
        return;
    m_defaults.setValue(QString::fromLatin1(onboardingKey), true);
    Q_EMIT onboardingCompletedChanged();
}

void AppViewModel::resetOnboarding() {
    if (!onboardingCompleted())
        return;
    m_defaults.setValue(QString::fromLatin1(onboardingKey), false);
    Q_EMIT onboardingCompletedChanged();
}

QString AppViewModel::phase() const {
    const RecordingPhase& phase = m_app.recordingPhase();
    if (phase.isCountingDown())
        return QStringLiteral("countingDown");
    if (phase.isRecording())
        return QStringLiteral("recording");
    if (phase.isStopping())
        return QStringLiteral("stopping");
    return QStringLiteral("idle");
}

int AppViewModel::countdownValue() const {
    const auto* counting = std::get_if<RecordingPhase::CountingDown>(&m_app.recordingPhase().value);
    return counting ? counting->remaining : 0;
}

QDateTime AppViewModel::recordingStartedAt() const {
    const auto* recording = std::get_if<RecordingPhase::Recording>(&m_app.recordingPhase().value);
    return recording ? recording->startedAt : QDateTime();
}

bool AppViewModel::screenRecordingGranted() const {
    return m_app.permissions().screenRecording == PermissionsState::Status::granted;
}

QString AppViewModel::microphonePermission() const {
    return statusName(m_app.permissions().microphone);
}

QString AppViewModel::cameraPermission() const {
    return statusName(m_app.permissions().camera);
}

QString AppViewModel::accessibilityPermission() const {
    return statusName(m_app.permissions().accessibility);
}

QStringList AppViewModel::errorActions() const {
    QStringList titles;
    if (m_presentedError)
        for (const auto& action : m_presentedError->recoveryActions)
            titles << action.title;
    return titles;
}

void AppViewModel::onLastErrorChanged() {
    // Only a new error opens the alert; clearing lastError leaves an open alert to its buttons.
    if (!m_app.lastError())
        return;
    m_presentedError = m_app.lastError();
    Q_EMIT presentedErrorChanged();
}

void AppViewModel::runRecoveryAction(int index) {
    if (!m_presentedError || index < 0 || index >= int(m_presentedError->recoveryActions.size()))
        return;
    // The handler may raise a new error (Try again fails again): take the action out first, clear, run.
    const auto handler = m_presentedError->recoveryActions[size_t(index)].handler;
    const QUuid shown = m_presentedError->id;
    if (m_app.lastError() && m_app.lastError()->id == shown)
        m_app.setLastError(std::nullopt);
    m_presentedError.reset();
    Q_EMIT presentedErrorChanged();
    if (handler)
        handler();
}

void AppViewModel::dismissError() {
    if (!m_presentedError)
        return;
    if (m_app.lastError() && m_app.lastError()->id == m_presentedError->id)
        m_app.setLastError(std::nullopt);
    m_presentedError.reset();
    Q_EMIT presentedErrorChanged();
}

bool AppViewModel::canUndo() const {
    return m_app.undoManager().canUndo();
}

bool AppViewModel::canRedo() const {
    return m_app.undoManager().canRedo();
}

void AppViewModel::watchBundle() {
    disconnect(m_bundleConnection);
    if (const auto& bundle = m_app.currentBundle())
        m_bundleConnection =
            connect(bundle.get(), &ProjectBundle::projectChanged, this, &AppViewModel::projectChanged);
}

QString AppViewModel::projectName() const {
    const auto& bundle = m_app.currentBundle();
    return bundle ? bundle->project().name : QString();
}

QString AppViewModel::projectPath() const {
    const auto& bundle = m_app.currentBundle();
    return bundle ? bundle->path() : QString();
}

QVariantList AppViewModel::clips() const {
    QVariantList list;
    const auto& bundle = m_app.currentBundle();
    if (!bundle)
        return list;
    for (const Clip& clip : bundle->project().timeline.clips) {
        list.push_back(QVariantMap{
            {QStringLiteral("id"), clip.id.toString(QUuid::WithoutBraces)},
            {QStringLiteral("name"), clip.name},
            {QStringLiteral("duration"), clip.timelineDuration().seconds},
            {QStringLiteral("start"), clip.timelineStart.seconds},
            {QStringLiteral("timelineStart"), clip.timelineStart.seconds},
            {QStringLiteral("sourceIn"), clip.sourceIn.seconds},
            {QStringLiteral("sourceOut"), clip.sourceOut.seconds},
            {QStringLiteral("width"), clip.sourceSize.width},
            {QStringLiteral("height"), clip.sourceSize.height},
        });
    }
    return list;
}

void AppViewModel::setRecordingsRootDirectory(const QString& path) {
    const QString folder = localPath(path);
    if (folder == m_app.recordingsRootDirectory())
        return;
    m_app.setRecordingsRootDirectory(folder);
}

void AppViewModel::newRecording() {
    m_app.setScreen(AppScreen::sourcePicker);
}

void AppViewModel::goHome() {
    m_app.setScreen(AppScreen::welcome);
}

void AppViewModel::showLive() {
    m_app.setScreen(AppScreen::live);
}

void AppViewModel::openProject() {
    m_app.openProject();
}

void AppViewModel::openProjectAt(const QString& pathOrUrl) {
    m_app.openProject(localPath(pathOrUrl));
}

void AppViewModel::openSampleProject() {
    m_app.openSampleProject();
}

void AppViewModel::importVideo() {
    Q_EMIT importPanelRequested(false);
}

void AppViewModel::importAudio() {
    Q_EMIT importPanelRequested(true);
}

void AppViewModel::importFiles(const QList<QUrl>& urls, bool audio) {
    QStringList paths;
    for (const QUrl& url : urls)
        paths << (url.isLocalFile() ? url.toLocalFile() : url.toString());
    if (audio)
        m_app.importAudios(paths);
    else
        m_app.importVideos(paths);
}

void AppViewModel::exportProject() {
    const auto enqueued = m_app.apiExport(QStringLiteral("web1080"), QStringLiteral("h264"), std::nullopt);
    if (!enqueued) {
        AppError error;
        error.title = tr("Couldn't export");
        error.message = enqueued.error().description;
        m_app.setLastError(std::move(error));
        return;
    }
    m_lastExportPath = *enqueued;
    Q_EMIT lastExportPathChanged();
}

QString AppViewModel::exportStatus() const {
    const auto& jobs = m_app.exportQueue().jobs();
    return jobs.empty() ? QString() : ExportQueue::statusText(jobs.back());
}

void AppViewModel::revealInFileManager(const QString& path) {
    m_fileManagerReveal.reveal(localPath(path));
}

void AppViewModel::showVersionHistory() {
    // The version history sheet opens only over an open project.
    if (m_app.currentBundle())
        Q_EMIT versionHistoryRequested();
}

void AppViewModel::beginCapture() {
    m_app.beginCapture();
}

void AppViewModel::stopCapture() {
    m_app.stopCapture();
}

void AppViewModel::discardCapture() {
    m_app.discardCapture();
}

void AppViewModel::cancelCountdown() {
    m_app.cancelCountdown();
}

void AppViewModel::recordOnboardingSample() {
    m_app.recordOnboardingSample();
}

void AppViewModel::refreshPermissions() {
    m_app.checkPermissionsOnLaunch();
}

} // namespace orvane
