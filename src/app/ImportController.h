#pragma once

#include "AppTypes.h"
#include "ImportError.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>

#include <tl/expected.hpp>

#include <functional>

namespace orvane {

class AppState;

// Bringing movies and sound files into the open project (or a new one) for AppState: one file becomes
// one clip after everything on the timeline. Probing and copying run off the main thread; isImporting is
// true while a file is being brought in. Main thread only.
class ImportController : public QObject {
    Q_OBJECT
public:
    explicit ImportController(AppState& app)
        : m_app(app) {}

    static const QStringList& supportedVideoExtensions();
    static const QStringList& supportedAudioExtensions();

    QCoro::Task<tl::expected<void, ImportError>> importVideo(QString path);
    QCoro::Task<tl::expected<void, ImportError>> importAudio(QString path);
    QCoro::Task<void> importVideos(QStringList paths);
    QCoro::Task<void> importAudios(QStringList paths);
    AppError makeImportError(const QString& path, const ImportError& error, bool isAudio);
    void presentImportPanel(bool audio) const {
        if (m_importPanelHandler)
            m_importPanelHandler(audio);
    }
    void setImportPanelHandler(std::function<void(bool audio)> handler) {
        m_importPanelHandler = std::move(handler);
    }

private:
    QCoro::Task<tl::expected<void, ImportError>> importFile(QString path, bool audio);
    QCoro::Task<void> importList(QStringList paths, bool audio);

    AppState& m_app;
    std::function<void(bool)> m_importPanelHandler;
};

} // namespace orvane
