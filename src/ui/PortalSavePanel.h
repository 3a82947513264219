#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

class QWindow;

namespace orvane {

// The desktop's own save panel through the freedesktop portal (org.freedesktop.portal.FileChooser), so a
// sandboxed or Wayland session gets the panel it knows, with its bookmarks and its permissions. Where the
// session has no portal the answer says so at once and the caller shows the toolkit's panel instead.
// Asynchronous throughout: nothing here waits on the bus. Main thread.
class PortalSavePanel : public QObject {
    Q_OBJECT
public:
    static constexpr const char* service = "org.freedesktop.portal.Desktop";
    static constexpr const char* objectPath = "/org/freedesktop/portal/desktop";
    static constexpr const char* interface = "org.freedesktop.portal.FileChooser";

    struct Request {
        QString title;
        QString suggestedName;
        QString folder;
        // One filter: its label ("MPEG-4 movie") and glob ("*.mp4").
        QString filterLabel;
        QString filterPattern;
        // Stacks the panel over this window, on X11.
        QPointer<QWindow> parent;
    };

    struct Answer {
        enum class Kind { chosen, cancelled, unavailable };
        Kind kind = Kind::unavailable;
        QString path; // set when chosen
    };

    // The session bus unless told otherwise (tests give a private bus with a portal of their own).
    explicit PortalSavePanel(QObject* parent = nullptr);
    void setConnection(const QDBusConnection& connection) { m_connection = connection; }

    // `done` is called once, on the main thread. A second request while one is open replaces it: the
    // first is answered as cancelled.
    void ask(const Request& request, std::function<void(Answer)> done);

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap& results);

private:
    void finish(Answer answer);
    void stopListening();

    QDBusConnection m_connection;
    std::function<void(Answer)> m_done;
    QString m_handle; // the portal's request object we listen on
    quint64 m_serial = 0;
};

} // namespace orvane
