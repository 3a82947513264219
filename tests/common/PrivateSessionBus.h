#pragma once

// A D-Bus session bus of the test's own, so nothing reaches the desktop the tests run on, and the peers a
// test puts on it (a file manager, a portal) answer only that test.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace orvane::test {

class PrivateBus {
public:
    PrivateBus() {
        // A configuration of its own rather than the system's session one: nothing installed on the
        // machine (a real portal, a file manager) can be started on this bus by a call that finds no peer.
        QFile config(m_dir.filePath(QStringLiteral("bus.conf")));
        if (!m_dir.isValid() || !config.open(QIODevice::WriteOnly))
            return;
        config.write(
            QStringLiteral(
                "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                "<busconfig><type>session</type><listen>unix:dir=%1</listen><auth>EXTERNAL</auth>"
                "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n")
                .arg(m_dir.path())
                .toUtf8());
        config.close();
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
                        QStringLiteral("--print-address")});
        if (!m_daemon.waitForStarted(5000))
            return;
        const QDeadlineTimer deadline(5000);
        while (!m_daemon.canReadLine() && !deadline.hasExpired())
            m_daemon.waitForReadyRead(100);
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
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QStringList m_names;
};

} // namespace orvane::test
