#include "CursorTracker.h"

#include "X11Connection.h"
#include "capture/TelemetryJournal.h"

#include <QSocketNotifier>

#include <sys/timerfd.h>
#include <unistd.h>

namespace orvane {

class CursorTracker::Listener : public X11Connection::Client {
public:
    explicit Listener(CursorTracker& tracker)
        : m_tracker(tracker) {}
    void handleEvent(const xcb_generic_event_t&) override {}
    void pointerAnswered(std::uint64_t token, std::optional<Point> position) override {
        m_tracker.answer(token, position);
    }

private:
    CursorTracker& m_tracker;
};

CursorTracker::FileDescriptor& CursorTracker::FileDescriptor::operator=(FileDescriptor&& o) noexcept {
    if (this != &o) {
        if (fd >= 0)
            ::close(fd);
        fd = std::exchange(o.fd, -1);
    }
    return *this;
}

CursorTracker::FileDescriptor::~FileDescriptor() {
    if (fd >= 0)
        ::close(fd);
}

CursorTracker::CursorTracker(Rect sourceFrameInGlobal, Size sourceSize, int sampleRate,
                             QByteArray displayName)
    : m_mapping{sourceFrameInGlobal, sourceSize}
    , m_sampleRate(sampleRate > 0 ? sampleRate : 120)
    , m_displayName(std::move(displayName)) {}

CursorTracker::~CursorTracker() {
    m_timerNotifier.reset();
    if (m_connection)
        m_connection->unwatch();
}

void CursorTracker::start() {
    m_samples.clear();
    m_tickTimes.clear();
    m_tickHead = 0;
    m_firstTickIndex = 0;
    m_startTime = std::chrono::steady_clock::now();

    m_connection = X11Connection::open(m_displayName);
    if (!m_connection)
        return;
    m_listener = std::make_unique<Listener>(*this);
    // The answer to one tick's query is read at the next tick: one wake-up per sample instead of two.
    m_connection->watch(m_listener.get(), false);

    m_timer = FileDescriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
    if (m_timer.fd < 0)
        return;
    const long long interval = 1'000'000'000LL / m_sampleRate;
    itimerspec spec{};
    spec.it_interval.tv_sec = time_t(interval / 1'000'000'000LL);
    spec.it_interval.tv_nsec = long(interval % 1'000'000'000LL);
    spec.it_value = spec.it_interval;
    ::timerfd_settime(m_timer.fd, 0, &spec, nullptr);
    m_timerNotifier = std::make_unique<QSocketNotifier>(m_timer.fd, QSocketNotifier::Read);
    QObject::connect(m_timerNotifier.get(), &QSocketNotifier::activated, m_timerNotifier.get(),
                     [this] { tick(); });
}

CursorTrack CursorTracker::stop() {
    m_timerNotifier.reset();
    m_timer = FileDescriptor();
    if (m_connection) {
        // Ticks already taken still get their answer.
        m_connection->settle();
        m_connection->unwatch();
    }
    m_listener.reset();
    m_connection.reset();
    m_startTime.reset();
    return CursorTrack{m_samples};
}

void CursorTracker::tick() {
    std::uint64_t expirations = 0;
    // Missed ticks are not made up for: a late tick samples once, like a coalescing timer.
    if (::read(m_timer.fd, &expirations, sizeof expirations) != sizeof expirations || !m_startTime)
        return;
    const auto elapsed = std::chrono::steady_clock::now() - *m_startTime;
    m_connection->readAvailable();
    if (m_tickHead == m_tickTimes.size()) {
        m_firstTickIndex += m_tickHead;
        m_tickTimes.clear();
        m_tickHead = 0;
    }
    const std::uint64_t index = m_firstTickIndex + m_tickTimes.size();
    m_tickTimes.push_back(ProjectTime(std::chrono::duration<double>(elapsed).count()));
    m_connection->queryPointer(index);
}

void CursorTracker::answer(std::uint64_t tickIndex, std::optional<Point> position) {
    if (tickIndex != m_firstTickIndex + m_tickHead)
        return;
    const ProjectTime time = m_tickTimes[m_tickHead++];
    if (position) {
        const Point at = m_mapping.fromPointerLocation(*position);
        m_samples.push_back({time, at.x, at.y, 0});
    }
}

void CursorTracker::copyToJournal(std::size_t& samplesDone, TelemetryJournal& journal) const {
    for (; samplesDone < m_samples.size(); ++samplesDone)
        journal.append(m_samples[samplesDone]);
}

} // namespace orvane
