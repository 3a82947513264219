#include "DateTexts.h"

#include "Strings.h"

#include <QRegularExpression>

#include <array>
#include <cstdlib>

namespace orvane::dateTexts {

namespace {

struct Unit {
    const char* key;
    const char* one;
    const char* many;
    qint64 seconds;
};

// Months and years by their average length: a history of at most thirty saves needs no calendar.
constexpr std::array<Unit, 7> units{{
    {"year", "%1 year", "%1 years", 365 * 86400},
    {"month", "%1 month", "%1 months", 30 * 86400},
    {"week", "%1 week", "%1 weeks", 7 * 86400},
    {"day", "%1 day", "%1 days", 86400},
    {"hour", "%1 hour", "%1 hours", 3600},
    {"minute", "%1 minute", "%1 minutes", 60},
    {"second", "%1 second", "%1 seconds", 1},
}};

} // namespace

QString mediumDateTime(const QDateTime& date, const QLocale& locale) {
    static const QRegularExpression weekday(QStringLiteral("\\s*dddd[,.]?\\s*"));
    static const QRegularExpression zone(QStringLiteral("\\s*t+\\s*"));
    QString day = locale.dateFormat(QLocale::LongFormat);
    day.replace(weekday, QStringLiteral(" "));
    day.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    QString time = locale.timeFormat(QLocale::LongFormat);
    time.replace(zone, QStringLiteral(" "));
    const QDateTime local = date.toLocalTime();
    return Strings::text(QStringLiteral("date.mediumDateTime"), QStringLiteral("%1 at %2"))
        .arg(locale.toString(local.date(), day.trimmed()), locale.toString(local.time(), time.trimmed()));
}

QString relative(const QDateTime& date, const QDateTime& now) {
    const qint64 seconds = date.secsTo(now);
    const qint64 magnitude = std::llabs(seconds);
    if (magnitude < 1)
        return Strings::text(QStringLiteral("date.relative.now"), QStringLiteral("now"));
    for (const Unit& unit : units) {
        const qint64 count = magnitude / unit.seconds;
        if (count == 0)
            continue;
        const QString key = QStringLiteral("date.unit.") + QLatin1String(unit.key);
        const QString amount =
            count == 1 ? Strings::text(key + QStringLiteral(".one"), QLatin1String(unit.one)).arg(count)
                       : Strings::text(key + QStringLiteral(".other"), QLatin1String(unit.many)).arg(count);
        return seconds > 0
                   ? Strings::text(QStringLiteral("date.relative.past"), QStringLiteral("%1 ago")).arg(amount)
                   : Strings::text(QStringLiteral("date.relative.future"), QStringLiteral("in %1"))
                         .arg(amount);
    }
    return {};
}

} // namespace orvane::dateTexts
