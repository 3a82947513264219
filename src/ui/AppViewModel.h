#pragma once

#include "FileManagerReveal.h"
#include "PortalSavePanel.h"
#include "app/AppState.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <optional>

class QQmlEngine;
class QJSEngine;

namespace orvane {

class RecentProjectsStore;
class UserDefaults;

// AppState as the views see it: its fields as properties with change signals, its operations as
// invokable methods. Holds no rules of its own beyond turning values into what QML can bind to and the
// alert's copy of the error (the alert keeps showing the error it opened with while lastError moves on).
class AppViewModel : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(App)
    QML_SINGLETON
    QML_UNCREATABLE("made by the application")

    Q_PROPERTY(QString screen READ screen NOTIFY screenChanged)
    Q_PROPERTY(bool onboardingCompleted READ onboardingCompleted NOTIFY onboardingCompletedChanged)
    Q_PROPERTY(QString phase READ phase NOTIFY recordingPhaseChanged)
    Q_PROPERTY(int countdownValue READ countdownValue NOTIFY recordingPhaseChanged)
    Q_PROPERTY(QDateTime recordingStartedAt READ recordingStartedAt NOTIFY recordingPhaseChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY recordingPhaseChanged)
    Q_PROPERTY(bool canStartRecording READ canStartRecording NOTIFY canStartRecordingChanged)
    Q_PROPERTY(bool screenRecordingGranted READ screenRecordingGranted NOTIFY permissionsChanged)
    Q_PROPERTY(QString microphonePermission READ microphonePermission NOTIFY permissionsChanged)
    Q_PROPERTY(QString cameraPermission READ cameraPermission NOTIFY permissionsChanged)
    Q_PROPERTY(QString accessibilityPermission READ accessibilityPermission NOTIFY permissionsChanged)

    Q_PROPERTY(bool errorPresented READ errorPresented NOTIFY presentedErrorChanged)
    Q_PROPERTY(QString errorTitle READ errorTitle NOTIFY presentedErrorChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY presentedErrorChanged)
    Q_PROPERTY(QStringList errorActions READ errorActions NOTIFY presentedErrorChanged)

    Q_PROPERTY(
        int saveAcknowledgementNonce READ saveAcknowledgementNonce NOTIFY saveAcknowledgementNonceChanged)
    Q_PROPERTY(int exportRequestNonce READ exportRequestNonce NOTIFY exportRequestNonceChanged)
    Q_PROPERTY(int shortcutsSheetRequestNonce READ shortcutsSheetRequestNonce NOTIFY
                   shortcutsSheetRequestNonceChanged)
    Q_PROPERTY(int helpSheetRequestNonce READ helpSheetRequestNonce NOTIFY helpSheetRequestNonceChanged)

    Q_PROPERTY(QString undoTitle READ undoTitle NOTIFY undoStackChanged)
    Q_PROPERTY(QString redoTitle READ redoTitle NOTIFY undoStackChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY undoStackChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY undoStackChanged)

    Q_PROPERTY(bool hasProject READ hasProject NOTIFY projectChanged)
    Q_PROPERTY(QString projectName READ projectName NOTIFY projectChanged)
    Q_PROPERTY(QString projectPath READ projectPath NOTIFY projectChanged)
    Q_PROPERTY(QVariantList clips READ clips NOTIFY projectChanged)

    Q_PROPERTY(bool isExporting READ isExporting NOTIFY isExportingChanged)
    Q_PROPERTY(bool isImporting READ isImporting NOTIFY isImportingChanged)
    Q_PROPERTY(QString lastExportPath READ lastExportPath NOTIFY lastExportPathChanged)
    Q_PROPERTY(double exportProgress READ exportProgress NOTIFY exportJobsChanged)
    Q_PROPERTY(QString exportStatus READ exportStatus NOTIFY exportJobsChanged)

    Q_PROPERTY(QString selectedSourceID READ selectedSourceID WRITE setSelectedSourceID NOTIFY
                   selectedSourceIDChanged)
    Q_PROPERTY(
        bool includesMicrophone READ includesMicrophone WRITE setIncludesMicrophone NOTIFY includesChanged)
    Q_PROPERTY(
        bool includesSystemAudio READ includesSystemAudio WRITE setIncludesSystemAudio NOTIFY includesChanged)
    Q_PROPERTY(bool includesCamera READ includesCamera WRITE setIncludesCamera NOTIFY includesChanged)
    Q_PROPERTY(
        QString recordingsRootDirectory READ recordingsRootDirectory NOTIFY recordingsRootDirectoryChanged)

public:
    static constexpr const char* onboardingKey = "orvane.screen.hasCompletedOnboarding";

    AppViewModel(AppState& app, RecentProjectsStore& recents, UserDefaults& defaults,
                 QObject* parent = nullptr);
    ~AppViewModel() override;

    // The instance the QML engine hands out as the `App` singleton: the one made last.
    static AppViewModel* create(QQmlEngine*, QJSEngine*);
    // The same instance for C++ view models that QML makes (they find AppState and its stores here).
    static AppViewModel* current();
    // "granted", "denied", "notDetermined" or "unknown": a permission as the views compare it.
    static QString statusName(PermissionsState::Status status);

    AppState& appState() { return m_app; }
    // Where "show in the file manager" goes; tests point it at a bus of their own.
    FileManagerReveal& fileManagerReveal() { return m_fileManagerReveal; }
    // The desktop's save panel; tests point it at a bus of their own.
    PortalSavePanel& savePanel() { return m_savePanel; }
    RecentProjectsStore& recents() { return m_recents; }
    UserDefaults& defaults() { return m_defaults; }

    QString screen() const;
    bool onboardingCompleted() const;
    QString phase() const;
    int countdownValue() const;
    QDateTime recordingStartedAt() const;
    bool isRecording() const { return m_app.isRecording(); }
    bool canStartRecording() const { return m_app.canStartRecording(); }
    bool screenRecordingGranted() const;
    QString microphonePermission() const;
    QString cameraPermission() const;
    QString accessibilityPermission() const;

    bool errorPresented() const { return m_presentedError.has_value(); }
    QString errorTitle() const { return m_presentedError ? m_presentedError->title : QString(); }
    QString errorMessage() const { return m_presentedError ? m_presentedError->message : QString(); }
    QStringList errorActions() const;

    int saveAcknowledgementNonce() const { return m_app.saveAcknowledgementNonce(); }
    int exportRequestNonce() const { return m_app.exportRequestNonce(); }
    int shortcutsSheetRequestNonce() const { return m_app.shortcutsSheetRequestNonce(); }
    int helpSheetRequestNonce() const { return m_app.helpSheetRequestNonce(); }

    QString undoTitle() const { return m_app.undoTitle(); }
    QString redoTitle() const { return m_app.redoTitle(); }
    bool canUndo() const;
    bool canRedo() const;

    bool hasProject() const { return m_app.currentBundle() != nullptr; }
    QString projectName() const;
    QString projectPath() const;
    QVariantList clips() const;

    bool isExporting() const { return m_app.isExporting(); }
    bool isImporting() const { return m_app.isImporting(); }
    QString lastExportPath() const { return m_lastExportPath; }
    double exportProgress() const { return m_app.exportQueue().aggregateProgress(); }
    // The newest job's line ("Exporting… 42%", "Done", "Failed: ..."), empty with no job.
    QString exportStatus() const;

    QString selectedSourceID() const { return m_app.selectedSourceID(); }
    void setSelectedSourceID(const QString& id) { m_app.setSelectedSourceID(id); }
    bool includesMicrophone() const { return m_app.includesMicrophone(); }
    void setIncludesMicrophone(bool on) { m_app.setIncludesMicrophone(on); }
    bool includesSystemAudio() const { return m_app.includesSystemAudio(); }
    void setIncludesSystemAudio(bool on) { m_app.setIncludesSystemAudio(on); }
    bool includesCamera() const { return m_app.includesCamera(); }
    void setIncludesCamera(bool on) { m_app.setIncludesCamera(on); }
    QString recordingsRootDirectory() const { return m_app.recordingsRootDirectory(); }
    Q_INVOKABLE void setRecordingsRootDirectory(const QString& path);

    // ---- screens ------------------------------------------------------------------------------------
    Q_INVOKABLE void newRecording();
    Q_INVOKABLE void goHome();
    Q_INVOKABLE void showLive();
    Q_INVOKABLE void completeOnboarding();
    Q_INVOKABLE void resetOnboarding();

    // ---- projects -----------------------------------------------------------------------------------
    // Asks the window for the open panel (openPanelRequested); the panel's choice comes back to
    // openProjectAt.
    Q_INVOKABLE void openProject();
    Q_INVOKABLE void openProjectAt(const QString& pathOrUrl);
    Q_INVOKABLE void openSampleProject();
    Q_INVOKABLE void importVideo();
    Q_INVOKABLE void importAudio();
    Q_INVOKABLE void importFiles(const QList<QUrl>& urls, bool audio);
    // The interim editor's export: the whole project at 1080p H.264 through the queue.
    Q_INVOKABLE void exportProject();
    // The file manager with the file selected, or the folder when none can select it.
    Q_INVOKABLE void revealInFileManager(const QString& path);

    // ---- recording ----------------------------------------------------------------------------------
    Q_INVOKABLE void beginCapture();
    Q_INVOKABLE void stopCapture();
    Q_INVOKABLE void cancelCountdown();
    Q_INVOKABLE void discardCapture();
    Q_INVOKABLE void recordOnboardingSample();
    Q_INVOKABLE void refreshPermissions();

    // ---- the error alert ----------------------------------------------------------------------------
    // Runs the presented error's action `index`, then clears the error.
    Q_INVOKABLE void runRecoveryAction(int index);
    Q_INVOKABLE void dismissError();

    // ---- commands -----------------------------------------------------------------------------------
    Q_INVOKABLE void requestSave() { m_app.requestSaveAcknowledgement(); }
    Q_INVOKABLE void requestExport() { m_app.requestExport(); }
    Q_INVOKABLE void requestShortcutsSheet() { m_app.requestShortcutsSheet(); }
    Q_INVOKABLE void requestHelpSheet() { m_app.requestHelpSheet(); }
    Q_INVOKABLE void showVersionHistory();
    Q_INVOKABLE void undo() { m_app.undo(); }
    Q_INVOKABLE void redo() { m_app.redo(); }
    Q_INVOKABLE void showPreferences() { Q_EMIT preferencesRequested(); }
    // The Quit command: goes through the same question as closing the window.
    Q_INVOKABLE void quit() { Q_EMIT quitRequested(); }

Q_SIGNALS:
    void screenChanged();
    void onboardingCompletedChanged();
    void recordingPhaseChanged();
    void canStartRecordingChanged();
    void permissionsChanged();
    void presentedErrorChanged();
    void saveAcknowledgementNonceChanged();
    void exportRequestNonceChanged();
    void shortcutsSheetRequestNonceChanged();
    void helpSheetRequestNonceChanged();
    void undoStackChanged();
    void projectChanged();
    void isExportingChanged();
    void isImportingChanged();
    void lastExportPathChanged();
    void exportJobsChanged();
    void selectedSourceIDChanged();
    void includesChanged();
    void recordingsRootDirectoryChanged();

    // What the window answers with a panel or a window of its own.
    void openPanelRequested();
    void importPanelRequested(bool audio);
    void preferencesRequested();
    void quitRequested();
    void versionHistoryRequested();

private:
    void onLastErrorChanged();
    void watchBundle();

    AppState& m_app;
    RecentProjectsStore& m_recents;
    UserDefaults& m_defaults;
    std::optional<AppError> m_presentedError;
    QString m_lastExportPath;
    QMetaObject::Connection m_bundleConnection;
    FileManagerReveal m_fileManagerReveal;
    PortalSavePanel m_savePanel;
};

} // namespace orvane
