#include "AllowedOriginsPreference.h"

#include "ApiAccess.h"

#include <QSettings>

namespace orvane {

AllowedOriginsPreference::AllowedOriginsPreference(QString settingsPath)
    : m_path(std::move(settingsPath)) {}

AllowedOriginsPreference::~AllowedOriginsPreference() = default;

QStringList AllowedOriginsPreference::read() {
    if (!m_settings)
        m_settings = std::make_unique<QSettings>(m_path, QSettings::IniFormat);
    // Rereads the file only when it changed on disk; this object never has changes of its own to write.
    m_settings->sync();
    // A single origin written by hand ("key=http://host:port") reads as text, a list as a list.
    QStringList origins = m_settings->value(QLatin1StringView(allowedOriginsKey)).toStringList();
    origins.removeAll(QString());
    return origins;
}

} // namespace orvane
