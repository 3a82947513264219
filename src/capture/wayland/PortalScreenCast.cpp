#include "PortalScreenCast.h"

#include "support/Log.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace orvane {

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

bool missingPortal(const QString& errorName) {
    return errorName == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
           errorName == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod") ||
           errorName == QLatin1String("org.freedesktop.DBus.Error.UnknownInterface") ||
           errorName == QLatin1String("org.freedesktop.DBus.Error.UnknownObject") ||
           errorName == QLatin1String("org.freedesktop.DBus.Error.NoServer");
}

PortalScreenCast::Error errorFrom(const PortalRequest::Failure& failure) {
    return {missingPortal(failure.name) ? PortalScreenCast::Error::Kind::unavailable
                                        : PortalScreenCast::Error::Kind::failed,
            failure.message.isEmpty() ? failure.name : failure.message};
}

std::optional<std::pair<int, int>> intPair(const QVariant& value) {
    if (!value.canConvert<QDBusArgument>())
        return std::nullopt;
    const QDBusArgument arg = value.value<QDBusArgument>();
    int a = 0;
    int b = 0;
    arg.beginStructure();
    arg >> a >> b;
    arg.endStructure();
    return std::pair{a, b};
}

} // namespace

PortalScreenCast::PortalScreenCast(QDBusConnection connection, QObject* parent)
    : QObject(parent)
    , m_connection(std::move(connection)) {}

PortalScreenCast::~PortalScreenCast() {
    close();
}

QDBusMessage PortalScreenCast::method(const QString& name) const {
    return QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(objectPath),
                                          QString::fromLatin1(interface), name);
}

uint PortalScreenCast::preferredCursorMode(uint available) {
    for (const uint mode : {uint(cursorMetadata), uint(cursorEmbedded), uint(cursorHidden)})
        if (available & mode)
            return mode;
    return 0;
}

std::vector<PortalScreenCast::Stream> PortalScreenCast::decodeStreams(const QVariant& streams) {
    std::vector<Stream> out;
    if (!streams.canConvert<QDBusArgument>())
        return out;
    const QDBusArgument arg = streams.value<QDBusArgument>();
    arg.beginArray();
    while (!arg.atEnd()) {
        Stream stream;
        QVariantMap properties;
        arg.beginStructure();
        arg >> stream.nodeId >> properties;
        arg.endStructure();
        if (const auto p = intPair(properties.value(QStringLiteral("position"))))
            stream.position = QPoint(p->first, p->second);
        if (const auto s = intPair(properties.value(QStringLiteral("size"))))
            stream.size = QSize(s->first, s->second);
        stream.sourceType = properties.value(QStringLiteral("source_type")).toUInt();
        out.push_back(stream);
    }
    arg.endArray();
    return out;
}

QCoro::Task<tl::expected<PortalScreenCast::Capabilities, PortalScreenCast::Error>>
PortalScreenCast::capabilities() {
    Capabilities caps;
    for (const auto& [name, field] :
         {std::pair{QStringLiteral("version"), &Capabilities::version},
          std::pair{QStringLiteral("AvailableSourceTypes"), &Capabilities::sourceTypes},
          std::pair{QStringLiteral("AvailableCursorModes"), &Capabilities::cursorModes}}) {
        QDBusMessage get =
            QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(objectPath),
                                           propertiesInterface, QStringLiteral("Get"));
        get << QString::fromLatin1(interface) << name;
        const QDBusPendingReply<QDBusVariant> reply = co_await m_connection.asyncCall(get);
        if (reply.isError())
            co_return tl::make_unexpected(errorFrom({reply.error().name(), reply.error().message()}));
        caps.*field = reply.value().variant().toUInt();
    }
    co_return caps;
}

QDBusConnection PortalScreenCast::connectionFor(const QString& address) {
    if (address.isEmpty())
        return QDBusConnection::sessionBus();
    return QDBusConnection::connectToBus(address, QStringLiteral("orvane-portal-") + address);
}

bool PortalScreenCast::answers(QDBusConnection connection, std::chrono::milliseconds timeout) {
    if (!connection.isConnected())
        return false;
    QDBusMessage get =
        QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(objectPath),
                                       propertiesInterface, QStringLiteral("Get"));
    get << QString::fromLatin1(interface) << QStringLiteral("version");
    const QDBusMessage reply = connection.call(get, QDBus::Block, int(timeout.count()));
    return reply.type() == QDBusMessage::ReplyMessage;
}

QCoro::Task<tl::expected<QVariantMap, PortalScreenCast::Error>>
PortalScreenCast::request(QDBusMessage call, QString token, std::chrono::milliseconds timeout) {
    PortalRequest request(m_connection);
    const auto outcome = co_await request.run(std::move(call), token, timeout);
    if (const auto* failure = std::get_if<PortalRequest::Failure>(&outcome))
        co_return tl::make_unexpected(errorFrom(*failure));
    const auto& answer = std::get<PortalRequest::Answer>(outcome);
    if (answer.response == 1)
        co_return tl::make_unexpected(Error{Error::Kind::cancelled, QStringLiteral("cancelled")});
    if (answer.response != 0)
        co_return tl::make_unexpected(Error{
            Error::Kind::failed, QStringLiteral("the portal ended the request (%1)").arg(answer.response)});
    co_return answer.results;
}

QCoro::Task<tl::expected<PortalScreenCast::Started, PortalScreenCast::Error>>
PortalScreenCast::start(Options options) {
    close();
    auto fail = [this](Error error) {
        close();
        return tl::make_unexpected(std::move(error));
    };

    // 1. The session.
    QString token = PortalRequest::newToken();
    QDBusMessage create = method(QStringLiteral("CreateSession"));
    create << QVariantMap{{QStringLiteral("handle_token"), token},
                          {QStringLiteral("session_handle_token"), PortalRequest::newToken()}};
    const auto created = co_await request(create, token, std::chrono::seconds(10));
    if (!created)
        co_return fail(created.error());
    m_session = created->value(QStringLiteral("session_handle")).toString();
    if (m_session.isEmpty())
        co_return fail({Error::Kind::failed, QStringLiteral("the portal gave no session")});

    // 2. What to cast: the user's pick in the desktop's dialog, or the remembered one.
    token = PortalRequest::newToken();
    QVariantMap selectOptions{{QStringLiteral("handle_token"), token},
                              {QStringLiteral("types"), options.sourceTypes},
                              {QStringLiteral("multiple"), false},
                              {QStringLiteral("persist_mode"), uint(2)}};
    if (options.cursorMode != 0)
        selectOptions.insert(QStringLiteral("cursor_mode"), options.cursorMode);
    if (options.restoreToken && !options.restoreToken->isEmpty())
        selectOptions.insert(QStringLiteral("restore_token"), *options.restoreToken);
    QDBusMessage select = method(QStringLiteral("SelectSources"));
    select << QVariant::fromValue(QDBusObjectPath(m_session)) << selectOptions;
    const auto selected = co_await request(select, token, std::chrono::seconds(10));
    if (!selected)
        co_return fail(selected.error());

    // 3. Start: where the dialog shows, so this waits on the user.
    token = PortalRequest::newToken();
    QDBusMessage startCall = method(QStringLiteral("Start"));
    startCall << QVariant::fromValue(QDBusObjectPath(m_session)) << options.parentWindow
              << QVariantMap{{QStringLiteral("handle_token"), token}};
    const auto started = co_await request(startCall, token, options.timeout);
    if (!started)
        co_return fail(started.error());
    Started result;
    result.streams = decodeStreams(started->value(QStringLiteral("streams")));
    if (result.streams.empty())
        co_return fail({Error::Kind::failed, QStringLiteral("the portal started no stream")});
    if (const QString restore = started->value(QStringLiteral("restore_token")).toString();
        !restore.isEmpty())
        result.restoreToken = restore;
    result.cursorMode = options.cursorMode;

    // 4. The PipeWire remote the streams are read from.
    QDBusMessage open = method(QStringLiteral("OpenPipeWireRemote"));
    open << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariantMap{};
    const QDBusPendingReply<QDBusUnixFileDescriptor> remote = co_await m_connection.asyncCall(open);
    if (remote.isError())
        co_return fail(errorFrom({remote.error().name(), remote.error().message()}));
    result.remote = remote.value();
    if (!result.remote.isValid())
        co_return fail({Error::Kind::failed, QStringLiteral("the portal gave no PipeWire remote")});
    log::info("Capture", QStringLiteral("portal screen cast started: node %1, %2 stream(s)")
                             .arg(result.streams.front().nodeId)
                             .arg(result.streams.size()));
    co_return result;
}

void PortalScreenCast::close() {
    if (m_session.isEmpty())
        return;
    QDBusMessage closeCall = QDBusMessage::createMethodCall(QString::fromLatin1(service), m_session,
                                                            QStringLiteral("org.freedesktop.portal.Session"),
                                                            QStringLiteral("Close"));
    // No answer to wait for: the session goes either way.
    m_connection.asyncCall(closeCall);
    m_session.clear();
}

} // namespace orvane
