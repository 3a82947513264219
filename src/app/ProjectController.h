#pragma once

#include "AppTypes.h"
#include "project/ProjectBundle.h"
#include "project/RecentProjectsStore.h"
#include "support/Error.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <tl/expected.hpp>

#include <functional>
#include <memory>

namespace orvane {

class AppState;
class Clock;

// Creating and opening projects for AppState, which keeps the open bundle and forwards these operations
// here. Opening a project that holds recordings no clip refers to (a recording whose process died before
// its stop) offers to recover them. Main thread only.
class ProjectController : public QObject {
    Q_OBJECT
public:
    ProjectController(AppState& app, RecentProjectsStore& recents, Clock& clock);

    tl::expected<std::shared_ptr<ProjectBundle>, Error> createProject(const QString& name, int width,
                                                                      int height, int frameRate);
    tl::expected<std::shared_ptr<ProjectBundle>, Error> ensureBundle();
    // A new project in exactly `folder` (named after it), opened.
    tl::expected<std::shared_ptr<ProjectBundle>, Error> createProjectAt(const QString& folder, int width,
                                                                        int height, int frameRate);
    bool openProject(const QString& path);
    void openProject();
    void setOpenPanelHandler(std::function<void()> handler) { m_openPanelHandler = std::move(handler); }

    static QString filteredProjectName(const QString& name);
    static QString sampleProjectDirectory();
    QCoro::Task<void> openSampleProject();
    static QCoro::Task<tl::expected<void, Error>> materializeSampleProject(QString folder);

    // Brings every unreferenced recording of the open project back as a clip, in the order they were
    // made; the number recovered. Failures go to lastError.
    QCoro::Task<int> recoverRecordings();

private:
    tl::expected<std::shared_ptr<ProjectBundle>, Error> makeBundle(const QString& folder, Project project);
    // A new project in `folder`, opened on the editor and listed among the recent ones.
    tl::expected<std::shared_ptr<ProjectBundle>, Error>
    createAndOpen(const QString& folder, const QString& name, int width, int height, int frameRate);
    void offerRecovery(const std::shared_ptr<ProjectBundle>& bundle);

    AppState& m_app;
    RecentProjectsStore& m_recents;
    Clock& m_clock;
    std::function<void()> m_openPanelHandler;
};

} // namespace orvane
