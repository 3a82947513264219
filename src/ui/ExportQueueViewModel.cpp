#include "ExportQueueViewModel.h"

#include "AppViewModel.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QScreen>

namespace orvane {

ExportQueueViewModel::ExportQueueViewModel(AppViewModel& app, QObject* parent)
    : QObject(parent)
    , m_app(&app)
    , m_queue(app.appState().exportQueue())
    , m_controller(app.appState().exportQueueController())
    , m_jobs(m_queue) {
    connect(&m_controller, &ExportQueueController::visibilityChanged, this,
            &ExportQueueViewModel::panelChanged);
    connect(&m_controller, &ExportQueueController::pinnedChanged, this, &ExportQueueViewModel::panelChanged);
    connect(&m_queue, &ExportQueue::jobsChanged, this, &ExportQueueViewModel::jobsChanged);
}

ExportQueueViewModel* ExportQueueViewModel::create(QQmlEngine* engine, QJSEngine*) {
    Q_ASSERT(AppViewModel::current());
    // The engine owns it: it goes with the engine, before the application it serves.
    return new ExportQueueViewModel(*AppViewModel::current(), engine);
}

bool ExportQueueViewModel::isPanelVisible() const {
    return m_controller.isVisible();
}

bool ExportQueueViewModel::isPinned() const {
    return m_controller.isPinned();
}

int ExportQueueViewModel::activeCount() const {
    return m_queue.pendingCount() + (m_queue.runningJob() ? 1 : 0);
}

bool ExportQueueViewModel::hasFinishedJobs() const {
    const auto& jobs = m_queue.jobs();
    return std::any_of(jobs.begin(), jobs.end(),
                       [](const ExportQueue::Job& j) { return j.state.isFinished(); });
}

double ExportQueueViewModel::aggregateProgress() const {
    return m_queue.aggregateProgress();
}

void ExportQueueViewModel::togglePanel() {
    if (m_controller.isVisible())
        m_controller.hide(true);
    else
        m_controller.show();
}

void ExportQueueViewModel::hidePanel() {
    // The close button means it, pinned or not.
    m_controller.hide(true);
}

void ExportQueueViewModel::togglePin() {
    m_controller.togglePin();
}

void ExportQueueViewModel::cancel(const QString& jobId) {
    m_queue.cancel(QUuid::fromString(jobId));
}

void ExportQueueViewModel::clearFinished() {
    m_queue.clearFinished();
}

void ExportQueueViewModel::reveal(const QString& path) {
    if (m_app && !path.isEmpty())
        m_app->revealInFileManager(path);
}

QPoint ExportQueueViewModel::panelPosition(const QRect& available, int width) {
    return {available.x() + available.width() - panelMargin - width, available.y() + panelMargin};
}

QPoint ExportQueueViewModel::panelPosition(int width) const {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return panelPosition(screen ? screen->availableGeometry() : QRect(0, 0, 1440, 900), width);
}

} // namespace orvane
