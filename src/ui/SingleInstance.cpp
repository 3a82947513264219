#include "SingleInstance.h"

#include "support/Log.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

#include <unistd.h>

namespace orvane {

namespace {

constexpr int handOverTimeoutMs = 2000;
// A message is one line: a JSON array of the arguments. The answer is "ok".
constexpr qint64 maxMessageBytes = 64 * 1024;

} // namespace

QString SingleInstance::defaultSocketPath() {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    return QDir(folder).filePath(QStringLiteral("orvane-screen-%1.socket").arg(::getuid()));
}

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent)
    , m_socketPath(std::move(socketPath)) {}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::claimOrForward(const QStringList& arguments) {
    // Two programs starting at the same moment take turns, so exactly one of them ends up listening.
    QLockFile lock(m_socketPath + QStringLiteral(".lock"));
    lock.setStaleLockTime(handOverTimeoutMs * 2);
    if (!lock.tryLock(handOverTimeoutMs * 2))
        log::warning("App", QStringLiteral("single-instance lock not taken; going on"));
    if (forward(arguments))
        return false;
    return listen();
}

bool SingleInstance::forward(const QStringList& arguments) {
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(handOverTimeoutMs))
        return false;
    QByteArray message = QJsonDocument(QJsonArray::fromStringList(arguments)).toJson(QJsonDocument::Compact);
    message.append('\n');
    socket.write(message);
    if (!socket.waitForBytesWritten(handOverTimeoutMs))
        return false;
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(handOverTimeoutMs))
            return false;
    }
    return socket.readLine().trimmed() == "ok";
}

bool SingleInstance::listen() {
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // Nobody answered on the socket, so a file there is a crashed program's leftover.
    QLocalServer::removeServer(m_socketPath);
    if (!m_server->listen(m_socketPath)) {
        log::warning("App", QStringLiteral("cannot listen for other starts: ") + m_server->errorString());
        m_server.reset();
        return true; // Still the program to run; only the hand-over is missing.
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readFrom(socket); });
            readFrom(socket);
        }
    });
    return true;
}

void SingleInstance::readFrom(QLocalSocket* socket) {
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > maxMessageBytes)
            socket->abort();
        return;
    }
    const QByteArray line = socket->readLine(maxMessageBytes);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray()) {
        socket->abort();
        return;
    }
    QStringList arguments;
    for (const auto& value : document.array())
        arguments << value.toString();
    socket->write("ok\n");
    socket->flush();
    Q_EMIT argumentsReceived(arguments);
}

} // namespace orvane
