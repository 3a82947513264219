#pragma once

// A D-Bus session bus of the test's own, so nothing reaches the desktop the tests run on, and the peers a
// test puts on it (a file manager, a portal) answer only that test.

#include "UiTestSupport.h"

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>

namespace orvane::test {

class PrivateBus {
public:
    PrivateBus() {
        m_daemon.start(
            QStringLiteral("dbus-daemon"),
            {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        if (!m_daemon.waitForStarted(5000))
            return;
        waitUntil([&] { return m_daemon.canReadLine(); }, std::chrono::seconds(5));
        address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus() {
        for (const QString& name : m_names)
            QDBusConnection::disconnectFromBus(name);
        m_daemon.kill();
        m_daemon.waitForFinished(3000);
    }
    QDBusConnection connect(const QString& name) {
        m_names << name;
        return QDBusConnection::connectToBus(address, name);
    }

    QString address;

private:
    QProcess m_daemon;
    QStringList m_names;
};

} // namespace orvane::test
