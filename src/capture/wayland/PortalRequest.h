#pragma once

#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <optional>
#include <variant>

namespace orvane {

// One call of a desktop portal method that answers through a Request object: the answer arrives later as
// the Request's Response signal. The object's path is derived from our bus name and a token we choose, so
// we listen before we call and never miss a quick answer.
class PortalRequest : public QObject {
    Q_OBJECT
public:
    struct Answer {
        // 0: done; 1: the user cancelled; 2: ended another way.
        uint response = 2;
        QVariantMap results;
        bool operator==(const Answer&) const = default;
    };

    // The failure of a call that never reached the point of an answer (no portal, a refused call, no answer
    // in time), with the bus's error name or our own words.
    struct Failure {
        QString name;
        QString message;
        bool operator==(const Failure&) const = default;
    };

    explicit PortalRequest(QDBusConnection connection, QObject* parent = nullptr);

    // A fresh token, unique in this process, as the "handle_token" option expects it.
    static QString newToken();
    // The Request object the portal will make for `token` on this connection.
    static QString requestPath(const QDBusConnection& connection, const QString& token);

    // Sends `call` (whose options already hold `token` as "handle_token") and waits for the Response, or for
    // `timeout` (a chooser left open counts). Main thread.
    QCoro::Task<std::variant<Answer, Failure>> run(QDBusMessage call, QString token,
                                                   std::chrono::milliseconds timeout);

Q_SIGNALS:
    void answered(uint response, const QVariantMap& results);

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap& results);

private:
    void listen(const QString& path);
    void stopListening();

    QDBusConnection m_connection;
    QString m_path;
    std::optional<Answer> m_answer;
};

} // namespace orvane
