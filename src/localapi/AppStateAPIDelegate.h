#pragma once

#include "LocalAPIServer.h"
#include "LocalScreenAPIDelegate.h"
#include "app/AppState.h"

namespace orvane {

// AppState as the loopback server sees it.
class AppStateAPIDelegate : public LocalScreenAPIDelegate {
public:
    explicit AppStateAPIDelegate(AppState& app)
        : m_app(app) {}

    std::shared_ptr<ProjectBundle> currentBundle() const override { return m_app.currentBundle(); }
    bool isExporting() const override { return m_app.isExporting(); }
    bool isImporting() const override { return m_app.isImporting(); }
    bool isRecording() const override { return m_app.isRecording(); }
    AppScreen screen() const override { return m_app.screen(); }
    QString recordingsRootDirectory() const override { return m_app.recordingsRootDirectory(); }
    void setRecordingsRootDirectory(const QString& path) override { m_app.setRecordingsRootDirectory(path); }
    QString defaultRecordingsRootDirectory() const override {
        return AppState::defaultRecordingsRootDirectory();
    }

    std::vector<CaptureSource> availableSources() const override { return m_app.availableSources(); }
    QString selectedSourceID() const override { return m_app.selectedSourceID(); }
    void setSelectedSourceID(const QString& id) override { m_app.setSelectedSourceID(id); }
    void setIncludesMicrophone(bool on) override { m_app.setIncludesMicrophone(on); }
    void setIncludesSystemAudio(bool on) override { m_app.setIncludesSystemAudio(on); }
    void setIncludesCamera(bool on) override { m_app.setIncludesCamera(on); }
    QCoro::Task<void> apiRefreshSources() override { return m_app.apiRefreshSources(); }
    void apiBeginCaptureNoCountdown() override { m_app.apiBeginCaptureNoCountdown(); }
    QStringList recordingWarnings() const override { return m_app.recordingWarnings(); }
    QCoro::Task<void> stopCapture() override { return m_app.stopCapture(); }

    tl::expected<std::shared_ptr<ProjectBundle>, Error> createProject(const QString& name, int width,
                                                                      int height, int frameRate) override {
        return m_app.createProject(name, width, height, frameRate);
    }
    void openProject(const QString& path) override { m_app.openProject(path); }
    QCoro::Task<tl::expected<void, ImportError>> importVideo(QString path) override {
        return m_app.importVideo(std::move(path));
    }
    QCoro::Task<tl::expected<void, ImportError>> importAudio(QString path) override {
        return m_app.importAudio(std::move(path));
    }
    tl::expected<void, Error> apiUpdateClip(const QUuid& id,
                                            const std::function<void(Clip&)>& mutate) override {
        return m_app.apiUpdateClip(id, mutate);
    }
    QCoro::Task<tl::expected<int, Error>> apiGenerateAutoZoom(QUuid clipID) override {
        return m_app.apiGenerateAutoZoom(clipID);
    }
    tl::expected<QString, Error> apiExport(const QString& preset, const QString& codec,
                                           const std::optional<QString>& outputPath) override {
        return m_app.apiExport(preset, codec, outputPath);
    }
    ExportCounts exportCounts() const override;
    void showWindow() override { m_app.showWindow(); }

private:
    AppState& m_app;
};

// The loopback server of `app` with the delegate it asks, which lives exactly as long as the server does.
// The server reads the web origins it lets in from the settings store `app` was made with.
class AppStateAPIServer : public QObject {
public:
    explicit AppStateAPIServer(AppState& app, quint16 port = LocalAPIServer::defaultPort)
        : m_delegate(app)
        , m_server(&m_delegate, &app, app.defaults(), port) {}
    LocalAPIServer& server() { return m_server; }

private:
    AppStateAPIDelegate m_delegate;
    LocalAPIServer m_server;
};

// Makes the one loopback server for `app` if it has none, and starts it. The server reads the web origins
// it lets in from the settings store `app` was made with.
void ensureLocalAPIServer(AppState& app, quint16 port = LocalAPIServer::defaultPort);

} // namespace orvane
