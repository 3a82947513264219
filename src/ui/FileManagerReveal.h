#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>

namespace orvane {

// Shows a file in the desktop's file manager with the file selected, through the freedesktop
// FileManager1 interface on the session bus; where no file manager answers there, the folder that holds
// the file opens instead. Never waits on the bus: the call is asynchronous and its failure leads to the
// folder. Main thread.
class FileManagerReveal : public QObject {
    Q_OBJECT
public:
    static constexpr const char* service = "org.freedesktop.FileManager1";
    static constexpr const char* objectPath = "/org/freedesktop/FileManager1";

    using OpenFolder = std::function<void(const QUrl& folder)>;

    // The session bus and QDesktopServices unless told otherwise (tests give a private bus and a
    // recorder).
    explicit FileManagerReveal(QObject* parent = nullptr);
    void setConnection(const QDBusConnection& connection) { m_connection = connection; }
    void setOpenFolder(OpenFolder openFolder) { m_openFolder = std::move(openFolder); }

    // `path` may be a file path or a file URL; a folder is opened as itself.
    void reveal(const QString& path);

private:
    QDBusConnection m_connection;
    OpenFolder m_openFolder;
};

} // namespace orvane
