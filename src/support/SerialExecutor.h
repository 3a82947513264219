#pragma once

#include <QFuture>
#include <QPromise>
#include <QString>

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <type_traits>

namespace orvane {

// One worker thread with a FIFO queue: the "serial executor of its own" that analysers, permission
// checks and other long work run on. Jobs run one at a time in submission order. `submit` returns a
// QFuture, which a main-thread coroutine can co_await (QCoro) without blocking the event loop.
//
// Thread-safe: post/submit may be called from any thread. The destructor lets the running job finish,
// drops the jobs still queued (their futures are cancelled) and joins the thread.
class SerialExecutor {
public:
    explicit SerialExecutor(QString label);
    ~SerialExecutor();
    SerialExecutor(const SerialExecutor&) = delete;
    SerialExecutor& operator=(const SerialExecutor&) = delete;

    const QString& label() const { return m_label; }

    void post(std::function<void()> job);

    template <class F>
    auto submit(F&& f) -> QFuture<std::invoke_result_t<F>> {
        using R = std::invoke_result_t<F>;
        auto promise = std::make_shared<QPromise<R>>();
        QFuture<R> future = promise->future();
        promise->start();
        post([promise, fn = std::forward<F>(f)]() mutable {
            try {
                if constexpr (std::is_void_v<R>) {
                    fn();
                } else {
                    promise->addResult(fn());
                }
            } catch (...) {
                promise->setException(std::current_exception());
            }
            promise->finish();
        });
        return future;
    }

    // True on this executor's own thread: for assertions in code that must not run elsewhere.
    bool isCurrentThread() const { return std::this_thread::get_id() == m_thread.get_id(); }

private:
    void run();

    QString m_label;
    std::mutex m_queueLock; // guards m_queue and m_stopping
    std::condition_variable m_queueChanged;
    std::deque<std::function<void()>> m_queue;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace orvane
