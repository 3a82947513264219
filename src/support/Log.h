#pragma once

#include <QLoggingCategory>
#include <QString>

namespace orvane {

Q_DECLARE_LOGGING_CATEGORY(lcOrvane)

// Log lines carry the component's bracketed tag, "[ProjectBundle] save failed: ...", and go to stderr
// through Qt's logging, so tests can capture them with a message handler.
namespace log {
void info(const char* tag, const QString& message);
void warning(const char* tag, const QString& message);
// "[tag] message" exactly as written to the log.
QString line(const char* tag, const QString& message);
} // namespace log

} // namespace orvane
