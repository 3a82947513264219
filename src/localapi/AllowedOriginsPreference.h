#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class QSettings;

namespace orvane {

// The preference "orvane.screen.api.allowedOrigins" as the server's thread reads it. The application's
// settings object belongs to the main thread and QSettings is not safe to share, so this keeps a QSettings
// of its own on the same file: Qt shares one cache per file within the process, so a change made through
// the application's object counts from the next read, and each read also picks up an edit another process
// saved to the file.
class AllowedOriginsPreference {
public:
    // `settingsPath`: the file of the application's settings store.
    explicit AllowedOriginsPreference(QString settingsPath);
    ~AllowedOriginsPreference();
    AllowedOriginsPreference(const AllowedOriginsPreference&) = delete;
    AllowedOriginsPreference& operator=(const AllowedOriginsPreference&) = delete;

    // The origins listed now. One thread only: the first read makes the settings object on it.
    QStringList read();

private:
    QString m_path;
    std::unique_ptr<QSettings> m_settings;
};

} // namespace orvane
