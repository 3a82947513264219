#pragma once

// A whole headless Wayland desktop for one test, as scripts/wayland-session makes it: sway on its headless
// backend with one 1920x1080 output (and Xwayland), PipeWire and WirePlumber, and the desktop portal with
// its wlroots backend set to cast that output without asking, all on a D-Bus bus of their own. sway
// refuses to run as root, so it runs as an unprivileged user made for the tests; the test process (root)
// reaches the bus, PipeWire and the Wayland socket from outside.

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace orvane::test {

class WaylandSession {
public:
    static constexpr const char* userName = "orvane-wl";

    // Null with the reason when a piece is missing or does not come up.
    static std::unique_ptr<WaylandSession> start(QString* why);
    WaylandSession() = default;
    ~WaylandSession();

    QString busAddress() const;
    QString runtimeDirectory() const { return m_dir.filePath(QStringLiteral("run")); }
    QString waylandDisplay() const { return m_waylandDisplay; }
    // What the portal's wlroots backend has logged so far.
    QByteArray portalLog() const;
    // sway's own command line, as the session's user: `swaymsg` with `arguments`; its exit status.
    int swaymsg(const QStringList& arguments) const;

private:
    QTemporaryDir m_dir;
    QProcess m_session;
    qint64 m_group = 0;
    QString m_waylandDisplay;
};

} // namespace orvane::test
