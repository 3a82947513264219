#include "RecordingClock.h"

#include <cmath>

namespace orvane {

RecordingClock::RecordingClock(QObject* parent)
    : QObject(parent) {
    m_timer.setInterval(100);
    connect(&m_timer, &QTimer::timeout, this, &RecordingClock::tick);
}

void RecordingClock::setStartedAt(const QDateTime& startedAt) {
    if (startedAt == m_startedAt)
        return;
    m_startedAt = startedAt;
    if (m_startedAt.isValid())
        m_timer.start();
    else
        m_timer.stop();
    Q_EMIT startedAtChanged();
    Q_EMIT tick();
}

double RecordingClock::elapsed() const {
    if (!m_startedAt.isValid())
        return 0;
    return double(m_startedAt.msecsTo(QDateTime::currentDateTimeUtc())) / 1000.0;
}

QString RecordingClock::hudTime(double seconds) {
    const qint64 whole = seconds > 0 ? qint64(std::floor(seconds)) : 0;
    const qint64 hours = whole / 3600;
    const qint64 minutes = (whole % 3600) / 60;
    const qint64 secs = whole % 60;
    if (hours > 0)
        return QStringLiteral("%1:%2:%3")
            .arg(hours)
            .arg(minutes, 2, 10, QLatin1Char('0'))
            .arg(secs, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(minutes).arg(secs, 2, 10, QLatin1Char('0'));
}

QString RecordingClock::viewTime(double seconds) {
    const qint64 hundredths = seconds > 0 ? qint64(std::floor(seconds * 100.0)) : 0;
    const qint64 whole = hundredths / 100;
    return QStringLiteral("%1:%2:%3.%4")
        .arg(whole / 3600, 2, 10, QLatin1Char('0'))
        .arg((whole % 3600) / 60, 2, 10, QLatin1Char('0'))
        .arg(whole % 60, 2, 10, QLatin1Char('0'))
        .arg(hundredths % 100, 2, 10, QLatin1Char('0'));
}

} // namespace orvane
