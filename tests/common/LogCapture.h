#pragma once

#include <QStringList>
#include <QtGlobal>

#include <mutex>

namespace orvane::test {

// Collects every Qt log line while it lives, so a test can check what a component reported. One at a
// time: the handler is global to the process. Capture threads log too, so the lines are kept under a lock.
class LogCapture {
public:
    LogCapture() {
        {
            const std::lock_guard lock(mutex());
            storage().clear();
        }
        m_previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
            const std::lock_guard lock(mutex());
            storage() << message;
        });
    }
    ~LogCapture() { finish(); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const {
        const std::lock_guard lock(mutex());
        return storage();
    }
    // Gives the previous handler back and returns what was collected.
    QStringList finish() {
        if (m_active)
            qInstallMessageHandler(m_previous);
        m_active = false;
        return lines();
    }

private:
    static std::mutex& mutex() {
        static std::mutex lock;
        return lock;
    }
    static QStringList& storage() {
        static QStringList lines;
        return lines;
    }

    QtMessageHandler m_previous = nullptr;
    bool m_active = true;
};

} // namespace orvane::test
