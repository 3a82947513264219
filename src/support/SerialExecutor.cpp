#include "SerialExecutor.h"

#include <pthread.h>

namespace orvane {

SerialExecutor::SerialExecutor(QString label)
    : m_label(std::move(label)) {
    m_thread = std::thread([this] { run(); });
}

SerialExecutor::~SerialExecutor() {
    {
        std::lock_guard lock(m_queueLock);
        m_stopping = true;
        // Queued jobs never run; dropping them destroys their promises, which cancels the futures.
        m_queue.clear();
    }
    m_queueChanged.notify_all();
    m_thread.join();
}

void SerialExecutor::post(std::function<void()> job) {
    {
        std::lock_guard lock(m_queueLock);
        if (m_stopping)
            return;
        m_queue.push_back(std::move(job));
    }
    m_queueChanged.notify_one();
}

void SerialExecutor::run() {
    // Thread names are limited to 15 bytes; keep the end of the label, which is the distinctive part.
    const QByteArray name = m_label.toUtf8().right(15);
    pthread_setname_np(pthread_self(), name.constData());
    while (true) {
        std::function<void()> job;
        {
            std::unique_lock lock(m_queueLock);
            m_queueChanged.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
            if (m_stopping)
                return;
            job = std::move(m_queue.front());
            m_queue.pop_front();
        }
        job();
    }
}

} // namespace orvane
