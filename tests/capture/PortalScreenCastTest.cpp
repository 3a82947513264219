// The screen cast's conversation with the desktop portal, against a portal of the test's own on a private
// bus: what each step asks, how the answers come back on the Request objects, the restore token, a
// cancelled dialog and a session without a portal. The real portal and PipeWire are driven by the Wayland
// session tests.
#include "capture/wayland/PortalScreenCast.h"

#include "common/PrivateSessionBus.h"

#include <QCoro/QCoroTask>
#include <QCoro/QCoroTimer>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QTimer>

#include <gtest/gtest.h>

namespace orvane::test {

struct FakeSize {
    int width = 0;
    int height = 0;
};
struct FakeStream {
    uint node = 0;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& out, const FakeSize& size) {
    out.beginStructure();
    out << size.width << size.height;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, FakeSize& size) {
    in.beginStructure();
    in >> size.width >> size.height;
    in.endStructure();
    return in;
}
QDBusArgument& operator<<(QDBusArgument& out, const FakeStream& stream) {
    out.beginStructure();
    out << stream.node << stream.properties;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, FakeStream& stream) {
    in.beginStructure();
    in >> stream.node >> stream.properties;
    in.endStructure();
    return in;
}

} // namespace orvane::test

Q_DECLARE_METATYPE(orvane::test::FakeSize)
Q_DECLARE_METATYPE(orvane::test::FakeStream)

namespace orvane::test {
namespace {

// The session object the fake portal makes; records its Close.
class FakeSession : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Session")
public:
    int closed = 0;
public Q_SLOTS:
    void Close() { ++closed; }
};

// A ScreenCast portal as the desktop's would answer: every request is answered a moment later on the
// Request object named by the caller's token. `startResponse` decides how the dialog ends.
class FakeScreenCast : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.ScreenCast")
    Q_PROPERTY(uint version READ version)
    Q_PROPERTY(uint AvailableSourceTypes READ sourceTypes)
    Q_PROPERTY(uint AvailableCursorModes READ cursorModes)
public:
    explicit FakeScreenCast(QDBusConnection connection)
        : m_connection(std::move(connection)) {}

    uint version() const { return 4; }
    uint sourceTypes() const { return 3; }
    uint cursorModes() const { return 7; }

    uint startResponse = 0;
    QString nextRestoreToken = QStringLiteral("restore-1");
    QList<QVariantMap> selectOptions;
    QStringList parentWindows;
    FakeSession session;
    QString sessionPath;

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& message) {
        sessionPath =
            QStringLiteral("/org/freedesktop/portal/desktop/session/%1/%2")
                .arg(sender(message), options.value(QStringLiteral("session_handle_token")).toString());
        m_connection.registerObject(sessionPath, &session, QDBusConnection::ExportAllSlots);
        return answer(message, options, 0, {{QStringLiteral("session_handle"), sessionPath}});
    }
    QDBusObjectPath SelectSources(const QDBusObjectPath& handle, const QVariantMap& options,
                                  const QDBusMessage& message) {
        EXPECT_EQ(handle.path(), sessionPath);
        selectOptions << options;
        return answer(message, options, 0, {});
    }
    QDBusObjectPath Start(const QDBusObjectPath& handle, const QString& parentWindow,
                          const QVariantMap& options, const QDBusMessage& message) {
        EXPECT_EQ(handle.path(), sessionPath);
        parentWindows << parentWindow;
        QVariantMap results;
        if (startResponse == 0) {
            const FakeStream stream{42,
                                    {{QStringLiteral("size"), QVariant::fromValue(FakeSize{1920, 1080})},
                                     {QStringLiteral("source_type"), uint(1)}}};
            results.insert(QStringLiteral("streams"), QVariant::fromValue(QList<FakeStream>{stream}));
            results.insert(QStringLiteral("restore_token"), nextRestoreToken);
        }
        return answer(message, options, startResponse, results);
    }
    QDBusUnixFileDescriptor OpenPipeWireRemote(const QDBusObjectPath& handle, const QVariantMap&) {
        EXPECT_EQ(handle.path(), sessionPath);
        QFile null(QStringLiteral("/dev/null"));
        if (!null.open(QIODevice::ReadOnly))
            return {};
        return QDBusUnixFileDescriptor(null.handle());
    }

private:
    static QString sender(const QDBusMessage& message) {
        QString name = message.service().mid(1);
        return name.replace(u'.', u'_');
    }
    QDBusObjectPath answer(const QDBusMessage& message, const QVariantMap& options, uint response,
                           QVariantMap results) {
        const QString path =
            QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                .arg(sender(message), options.value(QStringLiteral("handle_token")).toString());
        QTimer::singleShot(20, this, [this, path, response, results] {
            QDBusMessage signal = QDBusMessage::createSignal(
                path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
            signal << response << results;
            m_connection.send(signal);
        });
        return QDBusObjectPath(path);
    }

    QDBusConnection m_connection;
};

class PortalScreenCastTest : public ::testing::Test {
protected:
    void SetUp() override {
        qDBusRegisterMetaType<FakeSize>();
        qDBusRegisterMetaType<FakeStream>();
        qDBusRegisterMetaType<QList<FakeStream>>();
        if (bus.address.isEmpty())
            GTEST_SKIP() << "dbus-daemon did not start";
    }

    // Puts the fake portal on the bus.
    std::unique_ptr<FakeScreenCast> startPortal() {
        QDBusConnection side = bus.connect(QStringLiteral("portal-side"));
        auto portal = std::make_unique<FakeScreenCast>(side);
        EXPECT_TRUE(
            side.registerObject(QString::fromLatin1(PortalScreenCast::objectPath), portal.get(),
                                QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
        EXPECT_TRUE(side.registerService(QString::fromLatin1(PortalScreenCast::service)));
        return portal;
    }

    PrivateBus bus;
};

// A first cast asks for a monitor with the cursor as metadata and a choice kept until revoked; its restore
// token opens the second without the dialog's choice; closing ends the session on the portal.
TEST_F(PortalScreenCastTest, StartsAndRemembersTheSource) {
    const auto portal = startPortal();
    PortalScreenCast cast(bus.connect(QStringLiteral("client-side")));

    const auto caps = QCoro::waitFor(cast.capabilities());
    ASSERT_TRUE(caps.has_value()) << caps.error().detail.toStdString();
    EXPECT_EQ(*caps, (PortalScreenCast::Capabilities{4, 3, 7}));
    EXPECT_EQ(PortalScreenCast::preferredCursorMode(caps->cursorModes),
              uint(PortalScreenCast::cursorMetadata));
    EXPECT_EQ(PortalScreenCast::preferredCursorMode(3), uint(PortalScreenCast::cursorEmbedded))
        << "wlroots portals offer no metadata";
    EXPECT_EQ(PortalScreenCast::preferredCursorMode(0), 0u);

    PortalScreenCast::Options options;
    options.cursorMode = PortalScreenCast::preferredCursorMode(caps->cursorModes);
    options.parentWindow = QStringLiteral("x11:1a");
    const auto first = QCoro::waitFor(cast.start(options));
    ASSERT_TRUE(first.has_value()) << first.error().detail.toStdString();
    ASSERT_EQ(first->streams.size(), 1u);
    EXPECT_EQ(first->streams[0].nodeId, 42u);
    EXPECT_EQ(first->streams[0].size, QSize(1920, 1080));
    EXPECT_EQ(first->streams[0].sourceType, 1u);
    EXPECT_FALSE(first->streams[0].position.has_value());
    EXPECT_EQ(first->restoreToken, QStringLiteral("restore-1"));
    EXPECT_TRUE(first->remote.isValid());
    EXPECT_TRUE(cast.isOpen());
    ASSERT_EQ(portal->selectOptions.size(), 1);
    const QVariantMap& asked = portal->selectOptions[0];
    EXPECT_EQ(asked.value(QStringLiteral("types")).toUInt(), 1u);
    EXPECT_EQ(asked.value(QStringLiteral("cursor_mode")).toUInt(), 4u);
    EXPECT_EQ(asked.value(QStringLiteral("persist_mode")).toUInt(), 2u);
    EXPECT_FALSE(asked.value(QStringLiteral("multiple")).toBool());
    EXPECT_FALSE(asked.contains(QStringLiteral("restore_token")));
    EXPECT_EQ(portal->parentWindows, QStringList{QStringLiteral("x11:1a")});

    // Starting again replaces the open session, and the token goes along.
    portal->nextRestoreToken = QStringLiteral("restore-2");
    options.restoreToken = first->restoreToken;
    const auto second = QCoro::waitFor(cast.start(options));
    ASSERT_TRUE(second.has_value()) << second.error().detail.toStdString();
    EXPECT_EQ(second->restoreToken, QStringLiteral("restore-2"));
    ASSERT_EQ(portal->selectOptions.size(), 2);
    EXPECT_EQ(portal->selectOptions[1].value(QStringLiteral("restore_token")).toString(),
              QStringLiteral("restore-1"));
    ASSERT_TRUE(QCoro::waitFor([&]() -> QCoro::Task<bool> {
        for (int i = 0; i < 100 && portal->session.closed < 1; ++i)
            co_await QCoro::sleepFor(std::chrono::milliseconds(10));
        co_return portal->session.closed >= 1;
    }()));

    const int closedBefore = portal->session.closed;
    cast.close();
    cast.close();
    EXPECT_FALSE(cast.isOpen());
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(200)));
    EXPECT_EQ(portal->session.closed, closedBefore + 1) << "one Close however often it is called";
}

// The user closes the desktop's dialog: a cancel, and the half-made session is closed. A dialog that ends
// another way is a failure that says so.
TEST_F(PortalScreenCastTest, ACancelledOrFailedDialogClosesTheSession) {
    const auto portal = startPortal();
    PortalScreenCast cast(bus.connect(QStringLiteral("client-side")));

    portal->startResponse = 1;
    const auto cancelled = QCoro::waitFor(cast.start({}));
    ASSERT_FALSE(cancelled.has_value());
    EXPECT_EQ(cancelled.error().kind, PortalScreenCast::Error::Kind::cancelled);
    EXPECT_FALSE(cast.isOpen());
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(200)));
    EXPECT_EQ(portal->session.closed, 1);

    portal->startResponse = 2;
    const auto failed = QCoro::waitFor(cast.start({}));
    ASSERT_FALSE(failed.has_value());
    EXPECT_EQ(failed.error().kind, PortalScreenCast::Error::Kind::failed);
    EXPECT_TRUE(failed.error().detail.contains(QStringLiteral("(2)"))) << failed.error().detail.toStdString();
}

// A session without the portal: unavailable at once, for the capabilities and for a cast, so the
// program can say what is missing rather than wait.
TEST_F(PortalScreenCastTest, WithoutAPortalItIsUnavailable) {
    PortalScreenCast cast(bus.connect(QStringLiteral("client-side")));
    const auto caps = QCoro::waitFor(cast.capabilities());
    ASSERT_FALSE(caps.has_value());
    EXPECT_EQ(caps.error().kind, PortalScreenCast::Error::Kind::unavailable);
    const auto started = QCoro::waitFor(cast.start({}));
    ASSERT_FALSE(started.has_value());
    EXPECT_EQ(started.error().kind, PortalScreenCast::Error::Kind::unavailable);

    PortalScreenCast noBus(QDBusConnection(QStringLiteral("never-connected")));
    const auto none = QCoro::waitFor(noBus.start({}));
    ASSERT_FALSE(none.has_value());
    EXPECT_EQ(none.error().kind, PortalScreenCast::Error::Kind::unavailable);
}

} // namespace
} // namespace orvane::test

#include "PortalScreenCastTest.moc"
