#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace orvane {

// One running program per user session. A second start hands its arguments (project folders,
// "orvane-screen:" links) to the first over a local socket in the runtime folder and exits; the first
// hears them through argumentsReceived. A socket left behind by a program that crashed is taken over.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    // A socket path of the user's own: the runtime folder when there is one, else the temporary folder.
    static QString defaultSocketPath();

    explicit SingleInstance(QString socketPath, QObject* parent = nullptr);
    ~SingleInstance() override;

    // Becomes the running program, or hands `arguments` to the one already running. True when this process
    // is now the one that listens; false when another took the arguments (the caller then exits).
    bool claimOrForward(const QStringList& arguments);

    bool isListening() const { return m_server && m_server->isListening(); }
    const QString& socketPath() const { return m_socketPath; }

Q_SIGNALS:
    void argumentsReceived(const QStringList& arguments);

private:
    bool forward(const QStringList& arguments);
    bool listen();
    void readFrom(class QLocalSocket* socket);

    QString m_socketPath;
    std::unique_ptr<QLocalServer> m_server;
};

} // namespace orvane
