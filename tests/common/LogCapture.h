#pragma once

#include <QStringList>
#include <QtGlobal>

namespace orvane::test {

// Collects every Qt log line while it lives, so a test can check what a component reported. One at a
// time: the handler is global to the process.
class LogCapture {
public:
    LogCapture() {
        storage().clear();
        m_previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& message) { storage() << message; });
    }
    ~LogCapture() { finish(); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const QStringList& lines() const { return storage(); }
    // Gives the previous handler back and returns what was collected.
    QStringList finish() {
        if (m_active)
            qInstallMessageHandler(m_previous);
        m_active = false;
        return storage();
    }

private:
    static QStringList& storage() {
        static QStringList lines;
        return lines;
    }

    QtMessageHandler m_previous = nullptr;
    bool m_active = true;
};

} // namespace orvane::test
