#pragma once

#include <QSettings>
#include <QString>
#include <QVariant>

#include <memory>

namespace orvane {

// The user's settings under the keys the application documents ("orvane.screen.*",
// "recordingSaveDirectory", ...). `standard()` is the per-user store; tests open a file of their own.
class UserDefaults {
public:
    // A store backed by an INI file at `path`.
    explicit UserDefaults(const QString& path);
    static UserDefaults& standard();

    QVariant value(const QString& key, const QVariant& fallback = {}) const;
    QString string(const QString& key) const { return value(key).toString(); }
    bool boolean(const QString& key, bool fallback = false) const { return value(key, fallback).toBool(); }
    QByteArray data(const QString& key) const { return value(key).toByteArray(); }
    void setValue(const QString& key, const QVariant& value);
    void remove(const QString& key);
    void sync();
    // The file behind the store, for a reader on another thread, which must open a QSettings of its own.
    QString fileName() const;

private:
    UserDefaults();
    std::unique_ptr<QSettings> m_settings;
};

} // namespace orvane
