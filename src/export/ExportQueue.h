#pragma once

#include "ExportConfiguration.h"
#include "Exporter.h"
#include "project/ProjectBundle.h"
#include "support/Clock.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QUuid>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <variant>
#include <vector>

namespace orvane {

// Exports run in the background, one at a time, first in first out, so the user can go on editing.
// Lives on the main thread and only in memory: quitting loses the list.
class ExportQueue : public QObject {
    Q_OBJECT
public:
    struct JobState {
        struct Running {
            double progress = 0;
            bool operator==(const Running&) const = default;
        };
        struct Completed {
            QString path;
            bool operator==(const Completed&) const = default;
        };
        struct Failed {
            QString message;
            bool operator==(const Failed&) const = default;
        };
        struct Pending {
            bool operator==(const Pending&) const = default;
        };
        struct Cancelled {
            bool operator==(const Cancelled&) const = default;
        };
        std::variant<Pending, Running, Completed, Failed, Cancelled> value;

        bool isPending() const { return std::holds_alternative<Pending>(value); }
        bool isRunning() const { return std::holds_alternative<Running>(value); }
        bool isFinished() const { return !isPending() && !isRunning(); }
        bool operator==(const JobState&) const = default;
    };

    struct Job {
        QUuid id;
        QString displayName;
        ExportConfiguration configuration;
        JobState state;
        QString bundleName;
        QDateTime enqueuedAt;
    };

    // The exporter of each job; tests give one that stands in for the real render.
    class Runner {
    public:
        virtual ~Runner() = default;
        // Blocking, on a worker thread; progress from that thread.
        virtual tl::expected<void, ExporterError> run(const Project& project, const QString& bundlePath,
                                                      const ExportConfiguration& config,
                                                      const Exporter::Progress& progress) = 0;
        virtual void cancel() = 0;
    };
    using RunnerFactory = std::function<std::unique_ptr<Runner>()>;

    explicit ExportQueue(RunnerFactory factory = {}, QObject* parent = nullptr);
    ~ExportQueue() override;

    QUuid enqueue(std::shared_ptr<ProjectBundle> bundle, const ExportConfiguration& configuration,
                  std::optional<QString> displayName = std::nullopt);
    void cancel(const QUuid& jobID);
    void cancelAll();
    void clearFinished();

    const std::vector<Job>& jobs() const { return m_jobs; }
    const Job* job(const QUuid& id) const;
    int sessionTotal() const { return m_sessionTotal; }
    bool isProcessing() const { return m_isProcessing; }
    const Job* runningJob() const;
    int pendingCount() const;
    bool hasActiveWork() const { return runningJob() || pendingCount() > 0; }
    double aggregateProgress() const;
    // The row's line in the queue view.
    static QString statusText(const Job& job);

Q_SIGNALS:
    void jobsChanged();
    void jobEnqueued(const QUuid& id);
    // The worker found nothing more to do.
    void drained();

private:
    void startWorkerIfNeeded();
    QCoro::Task<void> drainLoop();
    QCoro::Task<void> runJob(QUuid id);
    Job* findJob(const QUuid& id);
    void setState(const QUuid& id, JobState state);
    void updateProgress(const QUuid& id, double value);

    RunnerFactory m_factory;
    std::vector<Job> m_jobs;
    int m_sessionTotal = 0;
    bool m_isProcessing = false;
    bool m_workerRunning = false;
    std::map<QUuid, std::shared_ptr<Runner>> m_liveExporters;
    std::map<QUuid, std::shared_ptr<ProjectBundle>> m_pendingBundles;
    std::set<QUuid> m_passedOver; // pending jobs that had no bundle when their turn came
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

// When the queue's floating panel shows and hides: it comes up when a job is added and goes four
// seconds after the work ends, unless pinned. The panel itself binds to `isVisible`.
class ExportQueueController : public QObject {
    Q_OBJECT
public:
    static constexpr double autoHideSeconds = 4.0;

    explicit ExportQueueController(Clock& clock = Clock::system(), QObject* parent = nullptr);
    void attach(ExportQueue& queue);

    bool isVisible() const { return m_visible; }
    bool isPinned() const { return m_pinned; }
    void show();
    void hide(bool force = false);
    void togglePin();
    void notifyJobEnqueued();
    void scheduleAutoHide();

Q_SIGNALS:
    void visibilityChanged(bool visible);
    void pinnedChanged(bool pinned);

private:
    void setVisible(bool visible);

    Clock& m_clock;
    ExportQueue* m_queue = nullptr;
    bool m_visible = false;
    bool m_pinned = false;
    std::unique_ptr<TimerHandle> m_autoHide;
};

} // namespace orvane
