#pragma once

#include <QDateTime>

#include <functional>
#include <memory>
#include <vector>

namespace orvane {

// A pending one-shot timer; destroying the handle cancels it.
class TimerHandle {
public:
    virtual ~TimerHandle() = default;
};

// Wall-clock time and one-shot timers on the main thread as one injectable service, so throttles and
// timeouts can be tested by stepping time instead of sleeping.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
    // Calls `fire` once on the main thread after `seconds`, unless the handle is destroyed first.
    virtual std::unique_ptr<TimerHandle> startTimer(double seconds, std::function<void()> fire) = 0;

    // The real clock and Qt timers (in all event-loop modes, so they also fire during drags and menus).
    static Clock& system();
};

// A clock that moves only when told: `advance` fires the timers that come due, in due order.
class ManualClock : public Clock {
public:
    explicit ManualClock(QDateTime start = QDateTime(QDate(2025, 1, 1), QTime(12, 0), Qt::UTC));
    ~ManualClock() override;

    QDateTime now() const override { return m_now; }
    std::unique_ptr<TimerHandle> startTimer(double seconds, std::function<void()> fire) override;

    void advance(double seconds);
    void set(QDateTime time) { m_now = std::move(time); }
    std::size_t pendingTimers() const;
    // Delays of the pending timers as asked for, in seconds, in start order.
    std::vector<double> pendingDelays() const;

private:
    struct Pending;
    class Handle;
    QDateTime m_now;
    std::shared_ptr<std::vector<std::shared_ptr<Pending>>> m_pending;
};

} // namespace orvane
