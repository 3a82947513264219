#include "Clock.h"

#include <QTimer>

#include <algorithm>

namespace orvane {

namespace {

class QtTimerHandle : public TimerHandle {
public:
    QtTimerHandle(double seconds, std::function<void()> fire)
        : m_timer(new QTimer) {
        m_timer->setSingleShot(true);
        m_timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(m_timer, &QTimer::timeout, [fire = std::move(fire)] { fire(); });
        m_timer->start(std::max(0, int(seconds * 1000.0 + 0.5)));
    }
    // A handle is often dropped from inside its own timeout; the timer goes once that has returned.
    ~QtTimerHandle() override {
        m_timer->stop();
        m_timer->deleteLater();
    }

private:
    QTimer* m_timer;
};

class SystemClock : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
    std::unique_ptr<TimerHandle> startTimer(double seconds, std::function<void()> fire) override {
        return std::make_unique<QtTimerHandle>(seconds, std::move(fire));
    }
};

} // namespace

Clock& Clock::system() {
    static SystemClock clock;
    return clock;
}

struct ManualClock::Pending {
    QDateTime due;
    double delay;
    std::function<void()> fire;
    bool cancelled = false;
};

class ManualClock::Handle : public TimerHandle {
public:
    explicit Handle(std::shared_ptr<Pending> p)
        : m_pending(std::move(p)) {}
    ~Handle() override { m_pending->cancelled = true; }

private:
    std::shared_ptr<Pending> m_pending;
};

ManualClock::ManualClock(QDateTime start)
    : m_now(std::move(start))
    , m_pending(std::make_shared<std::vector<std::shared_ptr<Pending>>>()) {}

ManualClock::~ManualClock() = default;

std::unique_ptr<TimerHandle> ManualClock::startTimer(double seconds, std::function<void()> fire) {
    auto p = std::make_shared<Pending>(
        Pending{m_now.addMSecs(qint64(seconds * 1000.0 + 0.5)), seconds, std::move(fire)});
    m_pending->push_back(p);
    return std::make_unique<Handle>(p);
}

void ManualClock::advance(double seconds) {
    const QDateTime target = m_now.addMSecs(qint64(seconds * 1000.0 + 0.5));
    while (true) {
        std::erase_if(*m_pending, [](const auto& p) { return p->cancelled; });
        auto next = std::min_element(m_pending->begin(), m_pending->end(),
                                     [](const auto& a, const auto& b) { return a->due < b->due; });
        if (next == m_pending->end() || (*next)->due > target)
            break;
        auto due = *next;
        m_pending->erase(next);
        m_now = std::max(m_now, due->due);
        due->cancelled = true;
        due->fire();
    }
    m_now = target;
}

std::size_t ManualClock::pendingTimers() const {
    return std::size_t(
        std::count_if(m_pending->begin(), m_pending->end(), [](const auto& p) { return !p->cancelled; }));
}

std::vector<double> ManualClock::pendingDelays() const {
    std::vector<double> delays;
    for (const auto& p : *m_pending)
        if (!p->cancelled)
            delays.push_back(p->delay);
    return delays;
}

} // namespace orvane
