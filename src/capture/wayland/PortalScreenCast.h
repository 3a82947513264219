#pragma once

#include "PortalRequest.h"

#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QString>

#include <tl/expected.hpp>

#include <chrono>
#include <optional>
#include <vector>

namespace orvane {

// A screen cast through the desktop portal (org.freedesktop.portal.ScreenCast): a session, the source the
// user picks in the desktop's dialog (or the one a restore token names, with no dialog), the PipeWire
// streams it starts and the PipeWire remote they are read from. Main thread; the stream itself is read
// elsewhere from the remote's descriptor.
class PortalScreenCast : public QObject {
    Q_OBJECT
public:
    static constexpr const char* service = "org.freedesktop.portal.Desktop";
    static constexpr const char* objectPath = "/org/freedesktop/portal/desktop";
    static constexpr const char* interface = "org.freedesktop.portal.ScreenCast";

    // The portal's bit values.
    enum SourceType : uint { monitor = 1, window = 2, virtualOutput = 4 };
    enum CursorMode : uint { cursorHidden = 1, cursorEmbedded = 2, cursorMetadata = 4 };

    struct Capabilities {
        uint version = 0;
        uint sourceTypes = 0;
        uint cursorModes = 0;
        bool operator==(const Capabilities&) const = default;
    };

    struct Options {
        uint sourceTypes = monitor;
        uint cursorMode = cursorMetadata;
        // A token from an earlier cast of the same source: the portal may start it without asking.
        std::optional<QString> restoreToken;
        // "x11:<id>", "wayland:<handle>" or empty.
        QString parentWindow;
        std::chrono::milliseconds timeout{std::chrono::minutes(2)};
    };

    struct Stream {
        uint nodeId = 0;
        std::optional<QPoint> position;
        std::optional<QSize> size;
        uint sourceType = 0;
        bool operator==(const Stream&) const = default;
    };

    struct Started {
        std::vector<Stream> streams;
        // Present when the portal keeps the choice (persist mode); saved for the next cast.
        std::optional<QString> restoreToken;
        QDBusUnixFileDescriptor remote;
        uint cursorMode = 0;
    };

    struct Error {
        enum class Kind {
            unavailable, // no portal or no ScreenCast interface in this session
            cancelled,   // the user closed the dialog
            failed,      // anything else, with the portal's words
        };
        Kind kind = Kind::failed;
        QString detail;
        bool operator==(const Error&) const = default;
    };

    // The session bus unless told otherwise (tests give a private bus).
    explicit PortalScreenCast(QDBusConnection connection = QDBusConnection::sessionBus(),
                              QObject* parent = nullptr);
    ~PortalScreenCast() override;

    QCoro::Task<tl::expected<Capabilities, Error>> capabilities();
    // CreateSession, SelectSources, Start, OpenPipeWireRemote. A failed step closes the session.
    QCoro::Task<tl::expected<Started, Error>> start(Options options);
    // Ends the session: the portal stops its streams. Safe to call more than once.
    void close();

    bool isOpen() const { return !m_session.isEmpty(); }

    // The cursor mode to ask for: metadata where offered (the movie then has no cursor in it), else the
    // cursor drawn into the picture, else none.
    static uint preferredCursorMode(uint available);
    // The bus at `address`, or the session bus when it is empty.
    static QDBusConnection connectionFor(const QString& address);
    // Whether a ScreenCast portal answers on `connection`, asked and waited for: for worker threads only.
    static bool answers(QDBusConnection connection, std::chrono::milliseconds timeout);
    // The "streams" result, a(ua{sv}), as records.
    static std::vector<Stream> decodeStreams(const QVariant& streams);

private:
    QDBusMessage method(const QString& name) const;
    QCoro::Task<tl::expected<QVariantMap, Error>> request(QDBusMessage call, QString token,
                                                          std::chrono::milliseconds timeout);

    QDBusConnection m_connection;
    QString m_session; // the session's object path while open
};

} // namespace orvane
