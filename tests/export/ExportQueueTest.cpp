// The queue's order and states, cancelling, clearing, progress and texts, and when its panel shows and
// hides, with scripted renders in place of the exporter and a clock the tests move by hand.
#include "export/ExportQueue.h"

#include "ExportTestSupport.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace orvane {
namespace {

using JobState = ExportQueue::JobState;

// One job's render as the test scripts it: it waits until the test sends progress or an outcome, and
// ends as cancelled once the queue cancels it.
struct RenderControl {
    std::mutex lock; // guards every field below
    std::condition_variable wake;
    std::deque<double> progressToSend;
    std::optional<tl::expected<void, ExporterError>> outcome;
    bool cancelRequested = false;
    bool started = false;
    QString outputPath;
    QString bundlePath;
    Exporter::Progress progress;

    void send(double value) {
        std::lock_guard guard(lock);
        progressToSend.push_back(value);
        wake.notify_all();
    }
    void finish(tl::expected<void, ExporterError> result = {}) {
        std::lock_guard guard(lock);
        outcome = std::move(result);
        wake.notify_all();
    }
    bool wasCancelled() {
        std::lock_guard guard(lock);
        return cancelRequested;
    }
    bool hasStarted() {
        std::lock_guard guard(lock);
        return started;
    }
    QString output() {
        std::lock_guard guard(lock);
        return outputPath;
    }
};

class ScriptedRunner : public ExportQueue::Runner {
public:
    explicit ScriptedRunner(std::shared_ptr<RenderControl> control)
        : m_control(std::move(control)) {}

    tl::expected<void, ExporterError> run(const Project&, const QString& bundlePath,
                                          const ExportConfiguration& config,
                                          const Exporter::Progress& progress) override {
        RenderControl& c = *m_control;
        std::unique_lock guard(c.lock);
        c.started = true;
        c.outputPath = config.outputPath;
        c.bundlePath = bundlePath;
        c.progress = progress;
        while (true) {
            c.wake.wait(guard, [&] { return !c.progressToSend.empty() || c.outcome || c.cancelRequested; });
            while (!c.progressToSend.empty()) {
                const double value = c.progressToSend.front();
                c.progressToSend.pop_front();
                guard.unlock();
                progress(value);
                guard.lock();
            }
            if (c.cancelRequested)
                return tl::unexpected(ExporterError::of(ExporterError::Kind::cancelled));
            if (c.outcome)
                return *c.outcome;
        }
    }
    void cancel() override {
        std::lock_guard guard(m_control->lock);
        m_control->cancelRequested = true;
        m_control->wake.notify_all();
    }

private:
    std::shared_ptr<RenderControl> m_control;
};

Project demoProject() {
    Project project;
    project.id = QUuid::createUuid();
    project.name = QStringLiteral("Demo");
    return project;
}

class ExportQueueTest : public ::testing::Test {
protected:
    void SetUp() override { controller.attach(queue); }
    void TearDown() override {
        // Let every scripted render end so no worker thread outlives the test.
        queue.cancelAll();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !queue.isProcessing(); }, 5000));
    }

    ExportQueue::RunnerFactory scripted(std::vector<std::shared_ptr<RenderControl>>& into) {
        return [&into] {
            auto control = std::make_shared<RenderControl>();
            into.push_back(control);
            return std::make_unique<ScriptedRunner>(control);
        };
    }
    static ExportConfiguration config(const char* file) {
        ExportConfiguration c;
        c.outputPath = QStringLiteral("/exports/") + QString::fromLatin1(file);
        return c;
    }
    QUuid add(const char* file) { return queue.enqueue(bundle, config(file)); }
    const ExportQueue::Job& job(const QUuid& id) const {
        static const ExportQueue::Job gone;
        const ExportQueue::Job* j = queue.job(id);
        return j ? *j : gone;
    }
    bool waitFor(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 5000); }
    bool waitUntilRunning(const QUuid& id, std::size_t renders) {
        return waitFor([&] {
            return job(id).state.isRunning() && controls.size() == renders && controls.back()->hasStarted();
        });
    }
    bool waitUntilIdle() {
        return waitFor([&] { return !queue.isProcessing(); });
    }

    std::vector<std::shared_ptr<RenderControl>> controls;
    ManualClock clock;
    ExportQueue queue{scripted(controls)};
    ExportQueueController controller{clock};
    std::shared_ptr<ProjectBundle> bundle =
        std::make_shared<ProjectBundle>(QStringLiteral("/projects/Demo.orvanescreen"), demoProject(), clock);
};

TEST_F(ExportQueueTest, runsOneJobAtATimeInTheOrderAdded) {
    QSignalSpy drained(&queue, &ExportQueue::drained);
    const QUuid a = add("a.mp4");
    const QUuid b = add("b.mp4");
    // The worker starts on a later turn of the event loop: both wait for now.
    EXPECT_TRUE(job(a).state.isPending());
    EXPECT_TRUE(job(b).state.isPending());
    EXPECT_TRUE(controls.empty());
    EXPECT_EQ(queue.sessionTotal(), 2);
    EXPECT_EQ(job(a).displayName, QStringLiteral("a.mp4"));
    EXPECT_EQ(job(a).bundleName, QStringLiteral("Demo"));

    ASSERT_TRUE(waitUntilRunning(a, 1));
    EXPECT_TRUE(job(b).state.isPending());
    EXPECT_TRUE(queue.isProcessing());
    EXPECT_EQ(controls[0]->output(), QStringLiteral("/exports/a.mp4"));
    {
        std::lock_guard guard(controls[0]->lock);
        EXPECT_EQ(controls[0]->bundlePath, QStringLiteral("/projects/Demo.orvanescreen"));
    }

    controls[0]->finish();
    ASSERT_TRUE(waitUntilRunning(b, 2));
    EXPECT_EQ(job(a).state, (JobState{JobState::Completed{QStringLiteral("/exports/a.mp4")}}));

    // Added while the loop runs: picked up by the same loop, after b.
    const QUuid c = add("c.mp4");
    QTest::qWait(50);
    EXPECT_EQ(controls.size(), 2u);
    EXPECT_TRUE(job(c).state.isPending());
    controls[1]->finish();
    ASSERT_TRUE(waitUntilRunning(c, 3));
    controls[2]->finish();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(job(c).state.isFinished());
    EXPECT_EQ(drained.count(), 1);
    EXPECT_EQ(queue.sessionTotal(), 3);
    EXPECT_FALSE(queue.hasActiveWork());
}

TEST_F(ExportQueueTest, reportsProgressFailuresAndTheirTexts) {
    const QUuid a = add("a.mp4");
    const QUuid b = add("b.mp4");
    ASSERT_TRUE(waitUntilRunning(a, 1));
    EXPECT_EQ(ExportQueue::statusText(job(b)), QStringLiteral("Waiting in queue • Demo"));

    controls[0]->send(0.5);
    ASSERT_TRUE(waitFor([&] { return job(a).state == JobState{JobState::Running{0.5}}; }));
    EXPECT_EQ(ExportQueue::statusText(job(a)), QStringLiteral("Rendering 50% • Demo"));
    EXPECT_DOUBLE_EQ(queue.aggregateProgress(), 0.25);
    EXPECT_EQ(queue.runningJob()->id, a);
    controls[0]->send(0.996);
    ASSERT_TRUE(waitFor([&] { return job(a).state == JobState{JobState::Running{0.996}}; }));
    EXPECT_EQ(ExportQueue::statusText(job(a)), QStringLiteral("Rendering 99% • Demo")) << "not yet finished";

    // A failure is the job's state and its text; the next job runs regardless.
    controls[0]->finish(tl::unexpected(ExporterError::writer(QStringLiteral("disk full"))));
    ASSERT_TRUE(waitUntilRunning(b, 2));
    EXPECT_EQ(job(a).state, (JobState{JobState::Failed{QStringLiteral("Writer failed: disk full")}}));
    EXPECT_EQ(ExportQueue::statusText(job(a)), QStringLiteral("Writer failed: disk full"));
    EXPECT_DOUBLE_EQ(queue.aggregateProgress(), 0.5);

    controls[1]->finish();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(ExportQueue::statusText(job(b)), QStringLiteral("Finished • Demo"));
    EXPECT_DOUBLE_EQ(queue.aggregateProgress(), 1.0);

    // A progress hop that arrives after the end changes nothing.
    std::thread late([control = controls[0]] { control->progress(0.3); });
    late.join();
    QTest::qWait(20);
    EXPECT_TRUE(std::holds_alternative<JobState::Failed>(job(a).state.value));
}

TEST_F(ExportQueueTest, cancellingAPendingJobEndsItAtOnceAndClearingRemovesOnlyFinishedJobs) {
    EXPECT_EQ(queue.aggregateProgress(), 0.0);
    const QUuid a = add("a.mp4");
    const QUuid b = add("b.mp4");
    const QUuid c = add("c.mp4");
    ASSERT_TRUE(waitUntilRunning(a, 1));

    queue.cancel(b);
    EXPECT_TRUE(std::holds_alternative<JobState::Cancelled>(job(b).state.value));
    EXPECT_EQ(ExportQueue::statusText(job(b)), QStringLiteral("Cancelled"));
    // A job cancelled before its start counts as done.
    EXPECT_DOUBLE_EQ(queue.aggregateProgress(), 1.0 / 3.0);
    EXPECT_EQ(queue.pendingCount(), 1);

    queue.clearFinished();
    ASSERT_EQ(queue.jobs().size(), 2u);
    EXPECT_EQ(queue.jobs()[0].id, a);
    EXPECT_EQ(queue.jobs()[1].id, c);

    controls[0]->finish();
    ASSERT_TRUE(waitUntilRunning(c, 2));
    EXPECT_EQ(controls[1]->output(), QStringLiteral("/exports/c.mp4"));
    controls[1]->finish();
    ASSERT_TRUE(waitUntilIdle());
    queue.clearFinished();
    EXPECT_TRUE(queue.jobs().empty());
    EXPECT_EQ(queue.sessionTotal(), 3) << "nothing lowers the session's count";
}

TEST_F(ExportQueueTest, cancellingARunningJobStopsItsRenderAndTheNextOneStarts) {
    const QUuid a = add("a.mp4");
    const QUuid b = add("b.mp4");
    ASSERT_TRUE(waitUntilRunning(a, 1));
    queue.cancel(a);
    // The state changes when the render stops, not before.
    EXPECT_TRUE(job(a).state.isRunning());
    EXPECT_TRUE(controls[0]->wasCancelled());
    ASSERT_TRUE(waitUntilRunning(b, 2));
    EXPECT_TRUE(std::holds_alternative<JobState::Cancelled>(job(a).state.value));

    controls[1]->finish();
    ASSERT_TRUE(waitUntilIdle());
    queue.cancel(b); // finished: nothing to do
    EXPECT_TRUE(std::holds_alternative<JobState::Completed>(job(b).state.value));
}

TEST_F(ExportQueueTest, cancelAllEndsTheRunningJobAndEveryWaitingOne) {
    const QUuid a = add("a.mp4");
    const QUuid b = add("b.mp4");
    const QUuid c = add("c.mp4");
    ASSERT_TRUE(waitUntilRunning(a, 1));
    queue.cancelAll();
    EXPECT_TRUE(std::holds_alternative<JobState::Cancelled>(job(b).state.value));
    EXPECT_TRUE(std::holds_alternative<JobState::Cancelled>(job(c).state.value));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(std::holds_alternative<JobState::Cancelled>(job(a).state.value));
    EXPECT_EQ(controls.size(), 1u) << "no cancelled job was rendered";
}

TEST_F(ExportQueueTest, aJobWithoutItsProjectIsPassedOverAsItIs) {
    const QUuid orphan = queue.enqueue(nullptr, config("orphan.mp4"), QStringLiteral("Orphan"));
    const QUuid b = add("b.mp4");
    EXPECT_EQ(job(orphan).displayName, QStringLiteral("Orphan"));
    EXPECT_LE(std::abs(job(orphan).enqueuedAt.secsTo(QDateTime::currentDateTimeUtc())), 5);
    ASSERT_TRUE(waitUntilRunning(b, 1));
    EXPECT_TRUE(job(orphan).state.isPending());
    controls[0]->finish();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(job(orphan).state.isPending());
    EXPECT_EQ(controls.size(), 1u);

    // Another round of work leaves it alone as well; the user can still cancel it.
    const QUuid c = add("c.mp4");
    ASSERT_TRUE(waitUntilRunning(c, 2));
    controls[1]->finish();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(job(orphan).state.isPending());
    queue.cancel(orphan);
    EXPECT_TRUE(std::holds_alternative<JobState::Cancelled>(job(orphan).state.value));
}

TEST_F(ExportQueueTest, aQueueThatGoesAwayCancelsItsRender) {
    std::vector<std::shared_ptr<RenderControl>> own;
    auto local = std::make_unique<ExportQueue>(scripted(own));
    const QUuid id = local->enqueue(bundle, config("a.mp4"));
    ASSERT_TRUE(waitFor(
        [&] { return own.size() == 1 && own[0]->hasStarted() && local->job(id)->state.isRunning(); }));
    local.reset();
    EXPECT_TRUE(own[0]->wasCancelled());
    QTest::qWait(50); // the render's end comes back to a queue that is gone, and is dropped
}

TEST_F(ExportQueueTest, thePanelComesUpForAJobAndGoesFourSecondsAfterTheWorkEnds) {
    QSignalSpy visibility(&controller, &ExportQueueController::visibilityChanged);
    EXPECT_FALSE(controller.isVisible());
    const QUuid a = add("a.mp4");
    EXPECT_TRUE(controller.isVisible());
    ASSERT_TRUE(waitUntilRunning(a, 1));
    EXPECT_EQ(clock.pendingTimers(), 0u);

    controls[0]->finish();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(clock.pendingDelays(), std::vector<double>{4.0});
    clock.advance(3.9);
    EXPECT_TRUE(controller.isVisible());
    clock.advance(0.1);
    EXPECT_FALSE(controller.isVisible());
    ASSERT_EQ(visibility.count(), 2);
    EXPECT_TRUE(visibility[0][0].toBool());
    EXPECT_FALSE(visibility[1][0].toBool());
}

TEST_F(ExportQueueTest, aNewJobDuringTheCountdownKeepsThePanelUp) {
    const QUuid a = add("a.mp4");
    ASSERT_TRUE(waitUntilRunning(a, 1));
    controls[0]->finish();
    ASSERT_TRUE(waitUntilIdle());
    clock.advance(2);
    const QUuid b = add("b.mp4");
    EXPECT_EQ(clock.pendingTimers(), 0u);
    clock.advance(10);
    EXPECT_TRUE(controller.isVisible());
    ASSERT_TRUE(waitUntilRunning(b, 2));
    controls[1]->finish();
    ASSERT_TRUE(waitUntilIdle());
    clock.advance(4);
    EXPECT_FALSE(controller.isVisible());
}

TEST_F(ExportQueueTest, aPinnedPanelStaysUntilUnpinnedWithNothingLeftToDo) {
    controller.togglePin();
    EXPECT_TRUE(controller.isPinned());
    const QUuid a = add("a.mp4");
    ASSERT_TRUE(waitUntilRunning(a, 1));
    // Unpinning while a job runs starts no countdown; pinning again.
    controller.togglePin();
    EXPECT_EQ(clock.pendingTimers(), 0u);
    controller.togglePin();

    controls[0]->finish();
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(clock.pendingTimers(), 0u);
    clock.advance(30);
    EXPECT_TRUE(controller.isVisible());
    controller.hide();
    EXPECT_TRUE(controller.isVisible()) << "only a forced hide closes a pinned panel";

    controller.togglePin();
    EXPECT_FALSE(controller.isPinned());
    EXPECT_EQ(clock.pendingDelays(), std::vector<double>{4.0});
    clock.advance(4);
    EXPECT_FALSE(controller.isVisible());

    controller.show();
    controller.togglePin();
    controller.hide(true);
    EXPECT_FALSE(controller.isVisible());
    EXPECT_TRUE(controller.isPinned());
}

} // namespace
} // namespace orvane
