#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace orvane {

// Dates as the views write them.
namespace dateTexts {

// A medium date and a medium time, "Nov 24, 2026 at 3:04:05 PM" in American English: the locale's long
// forms without the weekday and the time zone, with the month abbreviated.
QString mediumDateTime(const QDateTime& date, const QLocale& locale = QLocale());

// How long before (or after) `now` the date lies, in the largest whole unit that fits, spelled out in
// full: "45 seconds ago", "1 minute ago", "3 weeks ago", "in 2 hours". Under a second reads "now".
QString relative(const QDateTime& date, const QDateTime& now);

} // namespace dateTexts

} // namespace orvane
