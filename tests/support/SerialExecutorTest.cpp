#include "support/SerialExecutor.h"

#include "common/LogCapture.h"
#include "support/Log.h"
#include "support/MainThread.h"

#include <QCoreApplication>
#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

using namespace orvane;

TEST(SerialExecutor, RunsJobsInOrderOffTheMainThread) {
    SerialExecutor executor(QStringLiteral("tech.velvetcomet.orvane.screen.test"));
    std::vector<int> order;
    std::mutex orderLock;
    std::atomic<bool> onMain = false;
    for (int i = 0; i < 100; ++i)
        executor.post([&, i] {
            onMain = onMain || isMainThread();
            std::lock_guard lock(orderLock);
            order.push_back(i);
        });
    QFuture<int> last = executor.submit([&] { return int(order.size()); });
    EXPECT_EQ(last.result(), 100);
    EXPECT_FALSE(onMain);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[std::size_t(i)], i);
}

TEST(SerialExecutor, ExceptionsReachTheFuture) {
    SerialExecutor executor(QStringLiteral("test.throws"));
    QFuture<int> f = executor.submit([]() -> int { throw std::runtime_error("boom"); });
    EXPECT_THROW(f.result(), std::runtime_error);
    // The executor goes on after a failed job.
    EXPECT_EQ(executor.submit([] { return 7; }).result(), 7);
}

TEST(SerialExecutor, DestructionCancelsQueuedJobs) {
    QFuture<int> queued;
    std::atomic<bool> release = false;
    {
        SerialExecutor executor(QStringLiteral("test.drop"));
        executor.post([&] {
            while (!release)
                std::this_thread::yield();
        });
        queued = executor.submit([] { return 1; });
        std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            release = true;
        }).detach();
    }
    EXPECT_TRUE(queued.isCanceled());
}

namespace {
QCoro::Task<int> awaitOnExecutor(SerialExecutor& executor, bool& resumedOnMain) {
    auto future = executor.submit([] { return 41; });
    const int value = co_await future;
    resumedOnMain = isMainThread();
    co_return value + 1;
}
} // namespace

TEST(SerialExecutor, CoroutineResumesOnTheMainThread) {
    SerialExecutor executor(QStringLiteral("test.await"));
    bool resumedOnMain = false;
    int result = 0;
    QEventLoop loop;
    auto task = awaitOnExecutor(executor, resumedOnMain);
    task.then([&](int v) {
        result = v;
        loop.quit();
    });
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(result, 42);
    EXPECT_TRUE(resumedOnMain);
}

TEST(MainThread, QueuedCallsComeBackToTheMainThread) {
    std::atomic<bool> ran = false;
    bool wasMain = false;
    std::thread worker([&] {
        runOnMainThread([&] {
            wasMain = isMainThread();
            ran = true;
        });
    });
    worker.join();
    QEventLoop loop;
    QTimer::singleShot(0, &loop, &QEventLoop::quit);
    while (!ran)
        loop.processEvents(QEventLoop::AllEvents, 50);
    EXPECT_TRUE(wasMain);
}

TEST(Log, LinesCarryTheirTag) {
    test::LogCapture capture;
    log::warning("ProjectBundle", QStringLiteral("save failed: disk full"));
    const QStringList captured = capture.finish();
    ASSERT_EQ(captured.size(), 1);
    EXPECT_EQ(captured[0], QStringLiteral("[ProjectBundle] save failed: disk full"));
}
