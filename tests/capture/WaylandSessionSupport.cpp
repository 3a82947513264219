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

#include <pwd.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>

namespace orvane::test {

namespace {

bool writeFile(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

bool chownTree(const QString& path, uid_t uid, gid_t gid) {
    if (::chown(QFile::encodeName(path).constData(), uid, gid) != 0)
        return false;
    const QFileInfo info(path);
    if (!info.isDir() || info.isSymLink())
        return true;
    for (const QFileInfo& child :
         QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden))
        if (!chownTree(child.filePath(), uid, gid))
            return false;
    return true;
}

// The session's user, made once per machine.
const passwd* sessionUser(QString* why) {
    if (const passwd* user = ::getpwnam(WaylandSession::userName))
        return user;
    if (::geteuid() != 0) {
        *why = QStringLiteral("no user %1, and only root can make one")
                   .arg(QString::fromLatin1(WaylandSession::userName));
        return nullptr;
    }
    QProcess::execute(QStringLiteral("useradd"),
                      {QStringLiteral("-M"), QStringLiteral("-s"), QStringLiteral("/usr/sbin/nologin"),
                       QString::fromLatin1(WaylandSession::userName)});
    const passwd* user = ::getpwnam(WaylandSession::userName);
    if (!user)
        *why =
            QStringLiteral("could not make the user %1").arg(QString::fromLatin1(WaylandSession::userName));
    return user;
}

} // namespace

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
    const passwd* user = sessionUser(why);
    if (!user)
        return nullptr;

    auto session = std::make_unique<WaylandSession>();
    QTemporaryDir& dir = session->m_dir;
    if (!dir.isValid()) {
        *why = QStringLiteral("no folder for the session");
        return nullptr;
    }
    const QString run = dir.filePath(QStringLiteral("run"));
    QDir().mkpath(run);
    const bool written =
        writeFile(dir.filePath(QStringLiteral("config/sway/config")),
                  "output HEADLESS-1 resolution 1920x1080\n") &&
        writeFile(dir.filePath(QStringLiteral("config/xdg-desktop-portal-wlr/config")),
                  "[screencast]\nchooser_type=none\noutput_name=HEADLESS-1\n") &&
        // The system's service folders, so the portal's helpers start on demand; any user may connect,
        // so the test (root) reaches it.
        writeFile(dir.filePath(QStringLiteral("bus.conf")),
                  QStringLiteral(
                      "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                      " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                      "<busconfig><type>session</type><listen>unix:path=%1/bus</listen>"
                      "<auth>EXTERNAL</auth><standard_session_servicedirs/>"
                      "<policy context=\"default\"><allow user=\"*\"/><allow send_destination=\"*\" "
                      "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                      "</busconfig>\n")
                      .arg(run)
                      .toUtf8()) &&
        writeFile(dir.filePath(QStringLiteral("session.sh")),
                  QStringLiteral(R"sh(#!/bin/sh
# One headless desktop; every process of it stays in this script's process group. Only sway runs as the
# session's user (it refuses root); the portal runs as the user that calls it, or it cannot look at its
# caller, and the tests run as root.
export XDG_RUNTIME_DIR=%1/run XDG_CONFIG_HOME=%1/config HOME=%1 XDG_CURRENT_DESKTOP=sway
export DBUS_SESSION_BUS_ADDRESS=unix:path=%1/run/bus
unset DISPLAY WAYLAND_DISPLAY
dbus-daemon --config-file=%1/bus.conf --nofork > %1/dbus.log 2>&1 &
i=0; while [ ! -S %1/run/bus ] && [ $i -lt 100 ]; do sleep 0.05; i=$((i+1)); done
runuser -u %2 -- env XDG_RUNTIME_DIR=%1/sway WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 \
    WLR_RENDERER=pixman sway -c %1/config/sway/config > %1/sway.log 2>&1 &
i=0; while [ -z "$(ls %1/sway | grep '^wayland-[0-9]*$')" ] && [ $i -lt 100 ]; do sleep 0.05; i=$((i+1)); done
export WAYLAND_DISPLAY=%1/sway/$(ls %1/sway | grep '^wayland-[0-9]*$' | head -n 1)
echo "$WAYLAND_DISPLAY" > %1/wayland-display
# Whatever the bus starts on demand (the portal's backends) must find the desktop too.
dbus-update-activation-environment WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_RUNTIME_DIR XDG_CONFIG_HOME
pipewire > %1/pipewire.log 2>&1 &
i=0; while [ ! -S %1/run/pipewire-0 ] && [ $i -lt 100 ]; do sleep 0.05; i=$((i+1)); done
wireplumber > %1/wireplumber.log 2>&1 &
/usr/libexec/xdg-desktop-portal-wlr -l DEBUG > %1/portal-wlr.log 2>&1 &
/usr/libexec/xdg-desktop-portal > %1/portal.log 2>&1 &
touch %1/ready
wait
)sh")
                      .arg(dir.path(), QString::fromLatin1(userName))
                      .toUtf8());
    // sway's own runtime folder is the user's; it reaches its configuration through the session's folder.
    const QString swayRun = dir.filePath(QStringLiteral("sway"));
    QDir().mkpath(swayRun);
    const auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    if (!written || !chownTree(swayRun, user->pw_uid, user->pw_gid) ||
        !QFile::setPermissions(swayRun, ownerOnly) || !QFile::setPermissions(run, ownerOnly) ||
        !QFile::setPermissions(dir.path(), ownerOnly | QFile::ExeOther | QFile::ExeGroup)) {
        *why = QStringLiteral("could not prepare the session's folder");
        return nullptr;
    }

    // setsid makes the script lead a process group of its own, so teardown reaches every piece.
    session->m_session.setProcessChannelMode(QProcess::ForwardedChannels);
    session->m_session.start(QStringLiteral("setsid"),
                             {QStringLiteral("sh"), dir.filePath(QStringLiteral("session.sh"))});
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
