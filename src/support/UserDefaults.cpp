#include "UserDefaults.h"

namespace orvane {

UserDefaults::UserDefaults(const QString& path)
    : m_settings(std::make_unique<QSettings>(path, QSettings::IniFormat)) {}

UserDefaults::UserDefaults()
    : m_settings(std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                             QStringLiteral("Orvane"), QStringLiteral("Orvane Screen"))) {}

UserDefaults& UserDefaults::standard() {
    static UserDefaults defaults;
    return defaults;
}

QVariant UserDefaults::value(const QString& key, const QVariant& fallback) const {
    return m_settings->value(key, fallback);
}

void UserDefaults::setValue(const QString& key, const QVariant& value) {
    m_settings->setValue(key, value);
}

void UserDefaults::remove(const QString& key) {
    m_settings->remove(key);
}

void UserDefaults::sync() {
    m_settings->sync();
}

QString UserDefaults::fileName() const {
    return m_settings->fileName();
}

} // namespace orvane
