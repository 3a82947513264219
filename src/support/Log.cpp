#include "Log.h"

namespace orvane {

Q_LOGGING_CATEGORY(lcOrvane, "orvane")

QString log::line(const char* tag, const QString& message) {
    return u'[' + QString::fromUtf8(tag) + QStringLiteral("] ") + message;
}

void log::info(const char* tag, const QString& message) {
    qCInfo(lcOrvane).noquote() << line(tag, message);
}

void log::warning(const char* tag, const QString& message) {
    qCWarning(lcOrvane).noquote() << line(tag, message);
}

} // namespace orvane
