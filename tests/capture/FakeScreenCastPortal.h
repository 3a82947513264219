#pragma once

// A ScreenCast portal of the test's own on a private bus, answering as the desktop's would: every request
// answered a moment later on the Request object named by the caller's token, the session object made and
// closed, the stream and the restore token of the test's choosing.

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace orvane::test {

struct FakeSize {
    int width = 0;
    int height = 0;
};
struct FakeStream {
    uint node = 0;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& out, const FakeSize& size);
const QDBusArgument& operator>>(const QDBusArgument& in, FakeSize& size);
QDBusArgument& operator<<(QDBusArgument& out, const FakeStream& stream);
const QDBusArgument& operator>>(const QDBusArgument& in, FakeStream& stream);

} // namespace orvane::test

Q_DECLARE_METATYPE(orvane::test::FakeSize)
Q_DECLARE_METATYPE(orvane::test::FakeStream)

namespace orvane::test {

// The session object the fake portal makes; records its Close.
class FakeSession : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Session")
public:
    int closed = 0;
public Q_SLOTS:
    void Close() { ++closed; }
};

class FakeScreenCast : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.ScreenCast")
    Q_PROPERTY(uint version READ version)
    Q_PROPERTY(uint AvailableSourceTypes READ sourceTypes)
    Q_PROPERTY(uint AvailableCursorModes READ cursorModes)
public:
    // Registers the types, puts a portal on `connection` under the desktop portal's name and path.
    static std::unique_ptr<FakeScreenCast> publish(QDBusConnection connection);

    explicit FakeScreenCast(QDBusConnection connection)
        : m_connection(std::move(connection)) {}

    uint version() const { return 4; }
    uint sourceTypes() const { return availableSourceTypes; }
    uint cursorModes() const { return availableCursorModes; }

    uint availableSourceTypes = 3;
    uint availableCursorModes = 7;
    uint startResponse = 0;
    // What Start answers: the stream's node and size, and the token (none when empty).
    uint streamNode = 42;
    FakeSize streamSize{1920, 1080};
    QString nextRestoreToken = QStringLiteral("restore-1");
    // The descriptor OpenPipeWireRemote hands out (the portal's caller gets a copy); /dev/null if unset.
    std::function<int()> openRemote;

    QList<QVariantMap> selectOptions;
    QStringList parentWindows;
    FakeSession session;
    QString sessionPath;

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& message);
    QDBusObjectPath SelectSources(const QDBusObjectPath& handle, const QVariantMap& options,
                                  const QDBusMessage& message);
    QDBusObjectPath Start(const QDBusObjectPath& handle, const QString& parentWindow,
                          const QVariantMap& options, const QDBusMessage& message);
    QDBusUnixFileDescriptor OpenPipeWireRemote(const QDBusObjectPath& handle, const QVariantMap&);

private:
    static QString sender(const QDBusMessage& message);
    QDBusObjectPath answer(const QDBusMessage& message, const QVariantMap& options, uint response,
                           QVariantMap results);

    QDBusConnection m_connection;
};

} // namespace orvane::test
