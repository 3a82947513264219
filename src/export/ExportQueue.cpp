#include "ExportQueue.h"

#include "support/MainThread.h"

#include <QCoro/QCoroFuture>
#include <QFileInfo>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

namespace orvane {

namespace {
class ExporterRunner : public ExportQueue::Runner {
public:
    tl::expected<void, ExporterError> run(const Project& project, const QString& bundlePath,
                                          const ExportConfiguration& config,
                                          const Exporter::Progress& progress) override {
        return m_exporter.exportProject(project, bundlePath, config, progress);
    }
    void cancel() override { m_exporter.cancel(); }

private:
    Exporter m_exporter;
};
} // namespace

ExportQueue::ExportQueue(RunnerFactory factory, QObject* parent)
    : QObject(parent)
    , m_factory(factory ? std::move(factory)
                        : RunnerFactory([] { return std::make_unique<ExporterRunner>(); })) {}

ExportQueue::~ExportQueue() {
    *m_alive = false;
    for (auto& [id, runner] : m_liveExporters)
        runner->cancel();
}

QUuid ExportQueue::enqueue(std::shared_ptr<ProjectBundle> bundle, const ExportConfiguration& configuration,
                           std::optional<QString> displayName) {
    Job job;
    job.id = QUuid::createUuid();
    job.displayName = displayName.value_or(QFileInfo(configuration.outputPath).fileName());
    job.configuration = configuration;
    job.bundleName = bundle ? bundle->project().name : QString();
    job.enqueuedAt = QDateTime::currentDateTimeUtc();
    m_jobs.push_back(job);
    m_pendingBundles[job.id] = std::move(bundle);
    ++m_sessionTotal;
    Q_EMIT jobsChanged();
    startWorkerIfNeeded();
    Q_EMIT jobEnqueued(job.id);
    return job.id;
}

void ExportQueue::startWorkerIfNeeded() {
    if (m_workerRunning)
        return;
    m_workerRunning = true;
    // The worker starts on a later turn of the main loop, as a task would: whoever enqueued finishes
    // first and sees the job pending.
    QMetaObject::invokeMethod(
        this, [this] { drainLoop(); }, Qt::QueuedConnection);
}

QCoro::Task<void> ExportQueue::drainLoop() {
    const std::shared_ptr<bool> alive = m_alive;
    m_isProcessing = true;
    while (*alive) {
        const auto next = std::find_if(m_jobs.begin(), m_jobs.end(), [this](const Job& j) {
            return j.state.isPending() && !m_passedOver.contains(j.id);
        });
        if (next == m_jobs.end())
            break;
        auto running = runJob(next->id);
        co_await running;
    }
    if (!*alive)
        co_return;
    m_isProcessing = false;
    m_workerRunning = false;
    Q_EMIT drained();
}

QCoro::Task<void> ExportQueue::runJob(QUuid id) {
    const std::shared_ptr<bool> alive = m_alive;
    Job* job = findJob(id);
    if (!job)
        co_return;
    const auto bundleIt = m_pendingBundles.find(id);
    if (bundleIt == m_pendingBundles.end() || !bundleIt->second) {
        // Passed over in the state it is in; remembered so that no loop picks it again.
        m_passedOver.insert(id);
        co_return;
    }
    // The render works on a copy taken here, on the main thread: edits made meanwhile don't reach it.
    const Project project = bundleIt->second->project();
    const QString bundlePath = bundleIt->second->path();
    const ExportConfiguration config = job->configuration;
    setState(id, JobState{JobState::Running{0}});
    std::shared_ptr<Runner> runner = m_factory();
    m_liveExporters[id] = runner;

    QPointer<ExportQueue> self(this);
    auto rendering = QtConcurrent::run([runner, project, bundlePath, config, self, id, alive] {
        return runner->run(project, bundlePath, config, [self, id, alive](double value) {
            runOnMainThread([self, id, value] {
                if (self)
                    self->updateProgress(id, value);
            });
        });
    });
    const auto result = co_await rendering;
    if (!*alive)
        co_return;
    if (findJob(id)) {
        if (result)
            setState(id, JobState{JobState::Completed{config.outputPath}});
        else if (result.error().kind == ExporterError::Kind::cancelled)
            setState(id, JobState{JobState::Cancelled{}});
        else
            setState(id, JobState{JobState::Failed{result.error().description()}});
    }
    m_liveExporters.erase(id);
    m_pendingBundles.erase(id);
}

void ExportQueue::cancel(const QUuid& jobID) {
    Job* job = findJob(jobID);
    if (!job)
        return;
    if (job->state.isRunning()) {
        // The state changes when the exporter stops.
        if (auto it = m_liveExporters.find(jobID); it != m_liveExporters.end())
            it->second->cancel();
    } else if (job->state.isPending()) {
        setState(jobID, JobState{JobState::Cancelled{}});
        m_pendingBundles.erase(jobID);
    }
}

void ExportQueue::cancelAll() {
    std::vector<QUuid> ids;
    for (const Job& j : m_jobs)
        ids.push_back(j.id);
    for (const QUuid& id : ids)
        cancel(id);
}

void ExportQueue::clearFinished() {
    const auto before = m_jobs.size();
    std::erase_if(m_jobs, [](const Job& j) { return j.state.isFinished(); });
    if (m_jobs.size() != before)
        Q_EMIT jobsChanged();
}

const ExportQueue::Job* ExportQueue::job(const QUuid& id) const {
    const auto it = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const Job& j) { return j.id == id; });
    return it == m_jobs.end() ? nullptr : &*it;
}

ExportQueue::Job* ExportQueue::findJob(const QUuid& id) {
    return const_cast<Job*>(std::as_const(*this).job(id));
}

const ExportQueue::Job* ExportQueue::runningJob() const {
    const auto it =
        std::find_if(m_jobs.begin(), m_jobs.end(), [](const Job& j) { return j.state.isRunning(); });
    return it == m_jobs.end() ? nullptr : &*it;
}

int ExportQueue::pendingCount() const {
    return int(std::count_if(m_jobs.begin(), m_jobs.end(), [](const Job& j) { return j.state.isPending(); }));
}

double ExportQueue::aggregateProgress() const {
    if (m_jobs.empty())
        return 0;
    double sum = 0;
    for (const Job& j : m_jobs) {
        if (const auto* running = std::get_if<JobState::Running>(&j.state.value))
            sum += running->progress;
        else if (j.state.isFinished())
            sum += 1;
    }
    return sum / double(m_jobs.size());
}

void ExportQueue::setState(const QUuid& id, JobState state) {
    Job* job = findJob(id);
    if (!job || job->state == state)
        return;
    job->state = std::move(state);
    Q_EMIT jobsChanged();
}

void ExportQueue::updateProgress(const QUuid& id, double value) {
    // A hop that arrives after the job's end changes nothing.
    Job* job = findJob(id);
    if (job && job->state.isRunning())
        setState(id, JobState{JobState::Running{value}});
}

QString ExportQueue::statusText(const Job& job) {
    return std::visit(
        [&](const auto& s) -> QString {
            using S = std::decay_t<decltype(s)>;
            if constexpr (std::is_same_v<S, JobState::Pending>)
                return QStringLiteral("Waiting in queue • ") + job.bundleName;
            else if constexpr (std::is_same_v<S, JobState::Running>)
                // Cut, not rounded: a job shows 100% only once it is finished.
                return QStringLiteral("Rendering %1% • ").arg(int(std::clamp(s.progress, 0.0, 1.0) * 100)) +
                       job.bundleName;
            else if constexpr (std::is_same_v<S, JobState::Completed>)
                return QStringLiteral("Finished • ") + job.bundleName;
            else if constexpr (std::is_same_v<S, JobState::Failed>)
                return s.message;
            else
                return QStringLiteral("Cancelled");
        },
        job.state.value);
}

ExportQueueController::ExportQueueController(Clock& clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock) {}

void ExportQueueController::attach(ExportQueue& queue) {
    m_queue = &queue;
    connect(&queue, &ExportQueue::jobEnqueued, this, &ExportQueueController::notifyJobEnqueued);
    connect(&queue, &ExportQueue::drained, this, &ExportQueueController::scheduleAutoHide);
}

void ExportQueueController::setVisible(bool visible) {
    if (visible == m_visible)
        return;
    m_visible = visible;
    Q_EMIT visibilityChanged(visible);
}

void ExportQueueController::show() {
    m_autoHide.reset();
    setVisible(true);
}

void ExportQueueController::hide(bool force) {
    if (!force && m_pinned)
        return;
    m_autoHide.reset();
    setVisible(false);
}

void ExportQueueController::notifyJobEnqueued() {
    show();
}

void ExportQueueController::scheduleAutoHide() {
    m_autoHide.reset();
    if (m_pinned)
        return;
    m_autoHide = m_clock.startTimer(autoHideSeconds, [this] { hide(false); });
}

void ExportQueueController::togglePin() {
    m_pinned = !m_pinned;
    Q_EMIT pinnedChanged(m_pinned);
    if (!m_pinned && m_queue && !m_queue->runningJob() && m_queue->pendingCount() < 1)
        scheduleAutoHide();
}

} // namespace orvane
