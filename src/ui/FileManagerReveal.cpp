#include "FileManagerReveal.h"

#include "support/Log.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>

namespace orvane {

FileManagerReveal::FileManagerReveal(QObject* parent)
    : QObject(parent)
    , m_connection(QDBusConnection::sessionBus())
    , m_openFolder([](const QUrl& folder) { QDesktopServices::openUrl(folder); }) {}

void FileManagerReveal::reveal(const QString& path) {
    const QUrl given(path);
    const QFileInfo info(given.isLocalFile() ? given.toLocalFile() : path);
    const QUrl folder = QUrl::fromLocalFile(info.isDir() ? info.absoluteFilePath() : info.absolutePath());
    if (info.isDir() || !m_connection.isConnected()) {
        m_openFolder(folder);
        return;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(objectPath),
                                       QString::fromLatin1(service), QStringLiteral("ShowItems"));
    // No start-up notification id: the file manager raises its window as it sees fit.
    call << QStringList{QUrl::fromLocalFile(info.absoluteFilePath()).toString(QUrl::FullyEncoded)}
         << QString();
    auto* watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, folder](QDBusPendingCallWatcher* done) {
        done->deleteLater();
        const QDBusPendingReply<> reply = *done;
        if (!reply.isError())
            return;
        // No file manager on the bus (or one that refused): the folder is the next best thing.
        log::info("App", QStringLiteral("the file manager did not answer (%1); opening the folder")
                             .arg(reply.error().name()));
        m_openFolder(folder);
    });
}

} // namespace orvane
