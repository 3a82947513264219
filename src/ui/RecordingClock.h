#pragma once

#include <QDateTime>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

namespace orvane {

// The elapsed time of a recording as the HUD and the recording view show it, refreshed ten times a
// second while a start time is set.
class RecordingClock : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QDateTime startedAt READ startedAt WRITE setStartedAt NOTIFY startedAtChanged)
    Q_PROPERTY(double elapsed READ elapsed NOTIFY tick)
    Q_PROPERTY(QString hudText READ hudText NOTIFY tick)
    Q_PROPERTY(QString viewText READ viewText NOTIFY tick)
public:
    explicit RecordingClock(QObject* parent = nullptr);

    const QDateTime& startedAt() const { return m_startedAt; }
    void setStartedAt(const QDateTime& startedAt);
    double elapsed() const;
    QString hudText() const { return hudTime(elapsed()); }
    QString viewText() const { return viewTime(elapsed()); }

    // "m:ss" below an hour, "h:mm:ss" from there; whole seconds, negative as 0.
    static QString hudTime(double seconds);
    // "hh:mm:ss.cc" with hundredths.
    static QString viewTime(double seconds);

Q_SIGNALS:
    void startedAtChanged();
    void tick();

private:
    QDateTime m_startedAt;
    QTimer m_timer;
};

} // namespace orvane
