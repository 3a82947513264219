#include "FakeScreenCastPortal.h"

#include <QDBusMetaType>
#include <QFile>
#include <QTimer>

#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane::test {

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

std::unique_ptr<FakeScreenCast> FakeScreenCast::publish(QDBusConnection connection) {
    qDBusRegisterMetaType<FakeSize>();
    qDBusRegisterMetaType<FakeStream>();
    qDBusRegisterMetaType<QList<FakeStream>>();
    auto portal = std::make_unique<FakeScreenCast>(connection);
    EXPECT_TRUE(
        connection.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), portal.get(),
                                  QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
    EXPECT_TRUE(connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    return portal;
}

QDBusObjectPath FakeScreenCast::CreateSession(const QVariantMap& options, const QDBusMessage& message) {
    sessionPath = QStringLiteral("/org/freedesktop/portal/desktop/session/%1/%2")
                      .arg(sender(message), options.value(QStringLiteral("session_handle_token")).toString());
    m_connection.registerObject(sessionPath, &session, QDBusConnection::ExportAllSlots);
    return answer(message, options, 0, {{QStringLiteral("session_handle"), sessionPath}});
}

QDBusObjectPath FakeScreenCast::SelectSources(const QDBusObjectPath& handle, const QVariantMap& options,
                                              const QDBusMessage& message) {
    EXPECT_EQ(handle.path(), sessionPath);
    selectOptions << options;
    return answer(message, options, 0, {});
}

QDBusObjectPath FakeScreenCast::Start(const QDBusObjectPath& handle, const QString& parentWindow,
                                      const QVariantMap& options, const QDBusMessage& message) {
    EXPECT_EQ(handle.path(), sessionPath);
    parentWindows << parentWindow;
    QVariantMap results;
    if (startResponse == 0) {
        const uint type =
            selectOptions.isEmpty() ? 1u : selectOptions.back().value(QStringLiteral("types")).toUInt();
        const FakeStream stream{streamNode,
                                {{QStringLiteral("size"), QVariant::fromValue(streamSize)},
                                 {QStringLiteral("source_type"), type}}};
        results.insert(QStringLiteral("streams"), QVariant::fromValue(QList<FakeStream>{stream}));
        if (!nextRestoreToken.isEmpty())
            results.insert(QStringLiteral("restore_token"), nextRestoreToken);
        const uint cursorMode =
            selectOptions.isEmpty() ? 0u : selectOptions.back().value(QStringLiteral("cursor_mode")).toUInt();
        if (cursorMode)
            results.insert(QStringLiteral("cursor_mode"), cursorMode);
    }
    return answer(message, options, startResponse, results);
}

QDBusUnixFileDescriptor FakeScreenCast::OpenPipeWireRemote(const QDBusObjectPath& handle,
                                                           const QVariantMap&) {
    EXPECT_EQ(handle.path(), sessionPath);
    if (openRemote) {
        const int fd = openRemote();
        QDBusUnixFileDescriptor remote(fd); // a copy: ours is closed here
        if (fd >= 0)
            ::close(fd);
        return remote;
    }
    QFile null(QStringLiteral("/dev/null"));
    if (!null.open(QIODevice::ReadOnly))
        return {};
    return QDBusUnixFileDescriptor(null.handle());
}

QString FakeScreenCast::sender(const QDBusMessage& message) {
    QString name = message.service().mid(1);
    return name.replace(u'.', u'_');
}

QDBusObjectPath FakeScreenCast::answer(const QDBusMessage& message, const QVariantMap& options, uint response,
                                       QVariantMap results) {
    const QString path = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                             .arg(sender(message), options.value(QStringLiteral("handle_token")).toString());
    QTimer::singleShot(20, this, [this, path, response, results] {
        QDBusMessage signal = QDBusMessage::createSignal(
            path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal << response << results;
        m_connection.send(signal);
    });
    return QDBusObjectPath(path);
}

} // namespace orvane::test
