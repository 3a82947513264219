#include "WaylandSessionSupport.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>

namespace orvane::test {

std::unique_ptr<WaylandSession> WaylandSession::start(QString* why) {
    const QStringList tools{QStringLiteral("sway"),        QStringLiteral("swaymsg"),
                            QStringLiteral("pipewire"),    QStringLiteral("wireplumber"),
                            QStringLiteral("dbus-daemon"), QStringLiteral("runuser"),
                            QStringLiteral("setsid")};
    for (const QString& tool : tools) {
        if (QStandardPaths::findExecutable(tool).isEmpty() &&
            QStandardPaths::findExecutable(tool, {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")})
                .isEmpty()) {
            *why = tool + QStringLiteral(" is not installed");
            return nullptr;
        }
    }
    for (const char* portal : {"/usr/libexec/xdg-desktop-portal", "/usr/libexec/xdg-desktop-portal-wlr"}) {
        if (!QFile::exists(QString::fromLatin1(portal))) {
            *why = QString::fromLatin1(portal) + QStringLiteral(" is not installed");
            return nullptr;
        }
    }
    if (::geteuid() != 0) {
        *why = QStringLiteral("the session's compositor runs as a user of its own, which only root can use");
        return nullptr;
    }
    const QString script = QStringLiteral(ORVANE_WAYLAND_SESSION_SCRIPT);
    if (!QFile::exists(script)) {
        *why = script + QStringLiteral(" is missing");
        return nullptr;
    }
    auto session = std::make_unique<WaylandSession>();
    QTemporaryDir& dir = session->m_dir;
    if (!dir.isValid()) {
        *why = QStringLiteral("no folder for the session");
        return nullptr;
    }

    // setsid makes the script lead a process group of its own, so teardown reaches every piece.
    session->m_session.setProcessChannelMode(QProcess::ForwardedChannels);
    session->m_session.start(QStringLiteral("setsid"),
                             {QStringLiteral("sh"), script, dir.path(), QString::fromLatin1(userName)});
    if (!session->m_session.waitForStarted(5000)) {
        *why = QStringLiteral("the session did not start");
        return nullptr;
    }
    session->m_group = session->m_session.processId();

    // Up when the portal answers with its ScreenCast interface.
    const QString name = QStringLiteral("wayland-session-probe-%1").arg(quintptr(session.get()));
    const QDeadlineTimer deadline(20000);
    QString lastError;
    while (!deadline.hasExpired()) {
        // Not before the script started the portals itself: a call that reached the bus first would have
        // it start them before the desktop was known.
        if (QFile::exists(dir.filePath(QStringLiteral("ready")))) {
            QDBusConnection bus = QDBusConnection::connectToBus(session->busAddress(), name);
            QDBusMessage get = QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.portal.Desktop"),
                QStringLiteral("/org/freedesktop/portal/desktop"),
                QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
            get << QStringLiteral("org.freedesktop.portal.ScreenCast") << QStringLiteral("version");
            const QDBusReply<QDBusVariant> reply = bus.call(get, QDBus::Block, 2000);
            lastError = reply.error().name() + u' ' + reply.error().message();
            QDBusConnection::disconnectFromBus(name);
            if (reply.isValid()) {
                QFile display(dir.filePath(QStringLiteral("wayland-display")));
                if (display.open(QIODevice::ReadOnly))
                    session->m_waylandDisplay = QString::fromUtf8(display.readAll()).trimmed();
                return session;
            }
        }
        QThread::msleep(100);
    }
    *why = QStringLiteral("the portal did not come up (%1; logs in %2)").arg(lastError, dir.path());
    dir.setAutoRemove(false);
    return nullptr;
}

WaylandSession::~WaylandSession() {
    // The logs of every piece stay behind when asked, for a failure to be read.
    if (qEnvironmentVariableIsSet("ORVANE_KEEP_WAYLAND_SESSION")) {
        m_dir.setAutoRemove(false);
        std::fprintf(stderr, "wayland session kept in %s\n", qPrintable(m_dir.path()));
    }
    if (m_group > 0) {
        // A polite end first, so the pieces let go of their sockets; then whatever is left of the group
        // (runuser waiting on sway, a portal helper) goes for certain.
        ::kill(pid_t(-m_group), SIGTERM);
        m_session.waitForFinished(1000);
        QThread::msleep(300);
        ::kill(pid_t(-m_group), SIGKILL);
        m_session.waitForFinished(3000);
    }
}

QString WaylandSession::busAddress() const {
    return QStringLiteral("unix:path=") + runtimeDirectory() + QStringLiteral("/bus");
}

QByteArray WaylandSession::portalLog() const {
    QFile log(m_dir.filePath(QStringLiteral("portal-wlr.log")));
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

int WaylandSession::swaymsg(const QStringList& arguments) const {
    const QStringList sockets = QDir(m_dir.filePath(QStringLiteral("sway")))
                                    .entryList({QStringLiteral("sway-ipc.*.sock")}, QDir::System);
    if (sockets.isEmpty())
        return -1;
    QProcess process;
    process.start(
        QStringLiteral("swaymsg"),
        QStringList{QStringLiteral("-s"), m_dir.filePath(QStringLiteral("sway/")) + sockets.front()} +
            arguments);
    process.waitForFinished(5000);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

} // namespace orvane::test
