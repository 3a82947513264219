#include "PortalRequest.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QCoro/QCoroSignal>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QElapsedTimer>

#include <atomic>

namespace orvane {

namespace {

const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString responseSignal = QStringLiteral("Response");

} // namespace

PortalRequest::PortalRequest(QDBusConnection connection, QObject* parent)
    : QObject(parent)
    , m_connection(std::move(connection)) {}

QString PortalRequest::newToken() {
    static std::atomic<quint64> serial{0};
    return QStringLiteral("orvane%1").arg(++serial);
}

QString PortalRequest::requestPath(const QDBusConnection& connection, const QString& token) {
    QString sender = connection.baseService();
    if (sender.startsWith(u':'))
        sender.remove(0, 1);
    sender.replace(u'.', u'_');
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
}

void PortalRequest::listen(const QString& path) {
    m_path = path;
    m_connection.connect(QString(), m_path, requestInterface, responseSignal, this,
                         SLOT(onResponse(uint, QVariantMap)));
}

void PortalRequest::stopListening() {
    if (m_path.isEmpty())
        return;
    m_connection.disconnect(QString(), m_path, requestInterface, responseSignal, this,
                            SLOT(onResponse(uint, QVariantMap)));
    m_path.clear();
}

void PortalRequest::onResponse(uint response, const QVariantMap& results) {
    if (m_answer)
        return;
    m_answer = Answer{response, results};
    Q_EMIT answered(response, results);
}

QCoro::Task<std::variant<PortalRequest::Answer, PortalRequest::Failure>>
PortalRequest::run(QDBusMessage call, QString token, std::chrono::milliseconds timeout) {
    m_answer.reset();
    if (!m_connection.isConnected())
        co_return Failure{QStringLiteral("org.freedesktop.DBus.Error.NoServer"),
                          QStringLiteral("no session bus")};
    QElapsedTimer clock;
    clock.start();
    listen(requestPath(m_connection, token));

    const QDBusPendingReply<QDBusObjectPath> reply = co_await m_connection.asyncCall(call);
    if (reply.isError()) {
        stopListening();
        co_return Failure{reply.error().name(), reply.error().message()};
    }
    // Portals before version 0.9 choose the path themselves: follow the one they give.
    if (const QString handle = reply.value().path(); handle != m_path && !m_answer) {
        stopListening();
        listen(handle);
    }
    if (!m_answer) {
        const auto left = timeout - std::chrono::milliseconds(clock.elapsed());
        if (left > std::chrono::milliseconds(0))
            (void)co_await qCoro(this, &PortalRequest::answered, left);
    }
    stopListening();
    if (!m_answer)
        co_return Failure{QStringLiteral("org.orvane.Error.Timeout"),
                          QStringLiteral("the portal did not answer in time")};
    co_return *m_answer;
}

} // namespace orvane
