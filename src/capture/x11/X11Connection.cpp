#include "X11Connection.h"

#include "support/Log.h"

#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcbext.h>

namespace orvane {

std::unique_ptr<X11Connection> X11Connection::open(const QByteArray& displayName) {
    const xcb_screen_t* screen = nullptr;
    xcb::ConnectionPtr connection = xcb::connect(displayName, &screen);
    if (!connection)
        return nullptr;
    return std::unique_ptr<X11Connection>(new X11Connection(std::move(connection), *screen));
}

X11Connection::X11Connection(xcb::ConnectionPtr connection, const xcb_screen_t& screen)
    : m_connection(std::move(connection))
    , m_root(screen.root)
    , m_rootSize{double(screen.width_in_pixels), double(screen.height_in_pixels)} {}

X11Connection::~X11Connection() {
    unwatch();
}

bool X11Connection::hasFailed() const {
    return xcb_connection_has_error(m_connection.get()) != 0;
}

void X11Connection::watch(Client* client, bool wakeOnSocket) {
    m_client = client;
    if (wakeOnSocket) {
        m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection.get()),
                                                       QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                         [this] { socketReadable(); });
    }
    // Requests made before watching (selections, queries) may already have brought events in.
    xcb_flush(m_connection.get());
    pump();
}

void X11Connection::unwatch() {
    m_intervalTimer.reset();
    m_notifier.reset();
    m_client = nullptr;
}

void X11Connection::queryPointer(std::uint64_t token) {
    const xcb_query_pointer_cookie_t cookie = xcb_query_pointer(m_connection.get(), m_root);
    m_queries.push_back({cookie.sequence, token, UINT64_MAX});
    m_needsFlush = true;
    if (!m_pumping) {
        m_pumping = true;
        dispatchBuffered(0);
        m_pumping = false;
    }
}

std::optional<Point> X11Connection::pointerPositionNow() {
    xcb_connection_t* c = m_connection.get();
    const auto reply = xcb::reply(c, xcb_query_pointer_reply, xcb_query_pointer(c, m_root));
    if (!reply)
        return std::nullopt;
    return Point{double(reply->root_x), double(reply->root_y)};
}

void X11Connection::answer(const PendingQuery& query, xcb::Reply<xcb_query_pointer_reply_t> reply) {
    std::optional<Point> position;
    if (reply)
        position = Point{double(reply->root_x), double(reply->root_y)};
    if (m_client)
        m_client->pointerAnswered(query.token, position);
}

std::size_t X11Connection::answerQueries(bool wait) {
    std::size_t answered = 0;
    xcb_connection_t* c = m_connection.get();
    while (m_queryHead < m_queries.size()) {
        const PendingQuery query = m_queries[m_queryHead];
        // By sequence number, since the cookies are not kept; an error answers the query with nothing.
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (wait) {
            reply = xcb_wait_for_reply(c, query.sequence, &error);
        } else if (query.flushedAtRead >= m_reads || !xcb_poll_for_reply(c, query.sequence, &reply, &error)) {
            break;
        }
        const xcb::Error ignored(error);
        ++m_queryHead;
        ++answered;
        answer(query, xcb::Reply<xcb_query_pointer_reply_t>(static_cast<xcb_query_pointer_reply_t*>(reply)));
    }
    if (m_queryHead == m_queries.size()) {
        m_queries.clear();
        m_queryHead = 0;
        m_flushedQueries = 0;
    }
    return answered;
}

std::size_t X11Connection::drainQueuedEvents() {
    std::size_t count = 0;
    while (xcb::Event event{xcb_poll_for_queued_event(m_connection.get())}) {
        ++count;
        if (m_client)
            m_client->handleEvent(*event);
    }
    return count;
}

void X11Connection::flush() {
    m_needsFlush = false;
    xcb_flush(m_connection.get());
    // XCB reads while it writes when the server has something to say, so a flush counts as a read.
    ++m_reads;
    for (; m_flushedQueries < m_queries.size(); ++m_flushedQueries)
        m_queries[m_flushedQueries].flushedAtRead = m_reads;
}

std::size_t X11Connection::pump() {
    if (m_pumping)
        return 0;
    m_pumping = true;
    // One read per wake-up brings in everything the server has sent; what did not fit in XCB's buffer
    // stays in the socket and wakes the loop again.
    std::size_t events = 0;
    if (xcb::Event event{xcb_poll_for_event(m_connection.get())}) {
        ++events;
        if (m_client)
            m_client->handleEvent(*event);
    }
    ++m_reads;
    events = dispatchBuffered(events);
    m_pumping = false;
    return events;
}

void X11Connection::socketReadable() {
    if (!pump() || m_readInterval.count() <= 0 || m_failureReported)
        return;
    // Input has started: from now on read at intervals until it stops.
    if (!m_intervalTimer) {
        m_intervalTimer = std::make_unique<QTimer>();
        m_intervalTimer->setTimerType(Qt::PreciseTimer);
        QObject::connect(m_intervalTimer.get(), &QTimer::timeout, m_intervalTimer.get(),
                         [this] { intervalElapsed(); });
    }
    m_notifier->setEnabled(false);
    m_intervalTimer->start(m_readInterval);
}

void X11Connection::intervalElapsed() {
    const std::size_t events = pump();
    if (events || m_queryHead < m_queries.size() || m_failureReported)
        return;
    // A quiet interval with nothing outstanding: back to waking on the socket.
    m_intervalTimer->stop();
    m_notifier->setEnabled(true);
}

std::size_t X11Connection::dispatchBuffered(std::size_t eventsHandled) {
    std::size_t total = eventsHandled;
    std::size_t events = eventsHandled;
    while (!hasFailed()) {
        const std::size_t queued = drainQueuedEvents();
        events += queued;
        total += queued;
        if (events && m_client)
            m_client->eventsDrained();
        const std::size_t answered = answerQueries(false);
        const bool flushed = m_needsFlush;
        if (flushed)
            flush();
        // A reply poll or a flush may have read events in behind the socket notifier's back.
        events = drainQueuedEvents();
        total += events;
        if (!answered && !flushed && !events)
            break;
    }
    if (hasFailed())
        failed();
    return total;
}

void X11Connection::failed() {
    if (m_failureReported)
        return;
    m_failureReported = true;
    log::warning("X11Connection", QStringLiteral("the X server connection failed; input is no longer read"));
    // Stopped, not deleted: this may run inside their own signals.
    if (m_intervalTimer)
        m_intervalTimer->stop();
    if (m_notifier)
        m_notifier->setEnabled(false);
    // Whoever waits for an answer gets none rather than waiting forever.
    while (m_queryHead < m_queries.size())
        answer(m_queries[m_queryHead++], nullptr);
    m_queries.clear();
    m_queryHead = 0;
    m_flushedQueries = 0;
}

void X11Connection::settle() {
    xcb_connection_t* c = m_connection.get();
    if (xcb_connection_has_error(c))
        return;
    m_pumping = true;
    // Once the round trip is back, every event sent before it is in.
    xcb::sync(c);
    while (true) {
        const std::size_t events = drainQueuedEvents();
        if (events && m_client)
            m_client->eventsDrained();
        if (m_needsFlush)
            flush();
        if (!events && !answerQueries(true))
            break;
    }
    m_pumping = false;
}

} // namespace orvane
