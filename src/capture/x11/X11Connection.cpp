#include "X11Connection.h"

#include "support/Log.h"

#include <QSocketNotifier>

#include <xcb/xcbext.h>

#include <cstdlib>

namespace orvane {

namespace {
struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <class T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;
} // namespace

std::unique_ptr<X11Connection> X11Connection::open(const QByteArray& displayName) {
    int screenNumber = 0;
    xcb_connection_t* connection =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) {
        xcb_disconnect(connection);
        return nullptr;
    }
    return std::unique_ptr<X11Connection>(new X11Connection(connection, *it.data));
}

X11Connection::X11Connection(xcb_connection_t* connection, const xcb_screen_t& screen)
    : m_connection(connection)
    , m_root(screen.root)
    , m_rootSize{double(screen.width_in_pixels), double(screen.height_in_pixels)} {}

X11Connection::~X11Connection() {
    unwatch();
}

bool X11Connection::hasFailed() const {
    return xcb_connection_has_error(m_connection.get()) != 0;
}

void X11Connection::watch(Client* client) {
    m_client = client;
    m_notifier =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection.get()), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { pump(); });
    // Requests made before watching (selections, queries) may already have brought events in.
    xcb_flush(m_connection.get());
    pump();
}

void X11Connection::unwatch() {
    m_notifier.reset();
    m_client = nullptr;
}

void X11Connection::queryPointer(std::uint64_t token) {
    const xcb_query_pointer_cookie_t cookie = xcb_query_pointer(m_connection.get(), m_root);
    m_queries.push_back({cookie.sequence, token});
    if (m_pumping) {
        m_needsFlush = true;
    } else {
        xcb_flush(m_connection.get());
        // A flush may read what the server sent meanwhile into XCB's queue, where the socket notifier
        // cannot see it any more.
        pump();
    }
}

std::optional<Point> X11Connection::pointerPositionNow() {
    const XcbReply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(m_connection.get(), xcb_query_pointer(m_connection.get(), m_root), nullptr));
    if (!reply)
        return std::nullopt;
    return Point{double(reply->root_x), double(reply->root_y)};
}

void X11Connection::answer(const PendingQuery& query, void* reply) {
    XcbReply<xcb_query_pointer_reply_t> pointer(static_cast<xcb_query_pointer_reply_t*>(reply));
    std::optional<Point> position;
    if (pointer)
        position = Point{double(pointer->root_x), double(pointer->root_y)};
    if (m_client)
        m_client->pointerAnswered(query.token, position);
}

std::size_t X11Connection::answerQueries(bool wait) {
    std::size_t answered = 0;
    xcb_connection_t* c = m_connection.get();
    while (m_queryHead < m_queries.size()) {
        const PendingQuery query = m_queries[m_queryHead];
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (wait) {
            reply = xcb_wait_for_reply(c, query.sequence, &error);
        } else if (!xcb_poll_for_reply(c, query.sequence, &reply, &error)) {
            break;
        }
        std::free(error);
        ++m_queryHead;
        ++answered;
        answer(query, reply);
    }
    if (m_queryHead == m_queries.size()) {
        m_queries.clear();
        m_queryHead = 0;
    }
    return answered;
}

std::size_t X11Connection::drainEvents(bool queuedOnly) {
    std::size_t count = 0;
    xcb_connection_t* c = m_connection.get();
    while (true) {
        XcbReply<xcb_generic_event_t> event(queuedOnly ? xcb_poll_for_queued_event(c)
                                                       : xcb_poll_for_event(c));
        if (!event)
            break;
        ++count;
        if (m_client)
            m_client->handleEvent(*event);
    }
    if (count && m_client)
        m_client->eventsDrained();
    return count;
}

void X11Connection::pump() {
    if (m_pumping)
        return;
    m_pumping = true;
    xcb_connection_t* c = m_connection.get();
    while (!xcb_connection_has_error(c)) {
        // Both reading events and polling for a reply may pull more from the socket; stop only when a
        // round found nothing, not even events that a reply poll queued up behind the notifier's back.
        std::size_t progress = drainEvents(false);
        progress += answerQueries(false);
        if (m_needsFlush) {
            m_needsFlush = false;
            xcb_flush(c);
            ++progress;
        }
        if (!progress && !drainEvents(true))
            break;
    }
    if (xcb_connection_has_error(c) && m_notifier) {
        log::warning("X11Connection",
                     QStringLiteral("the X server connection failed; input is no longer read"));
        m_notifier.reset();
        // Whoever waits for an answer gets none rather than waiting forever.
        while (m_queryHead < m_queries.size())
            answer(m_queries[m_queryHead++], nullptr);
        m_queries.clear();
        m_queryHead = 0;
    }
    m_pumping = false;
}

void X11Connection::settle() {
    xcb_connection_t* c = m_connection.get();
    if (xcb_connection_has_error(c))
        return;
    m_pumping = true;
    // The server answers in order, so once this reply is in, every event sent before it is too.
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    while (true) {
        const std::size_t events = drainEvents(true);
        xcb_flush(c);
        if (!events && !answerQueries(true))
            break;
    }
    m_needsFlush = false;
    m_pumping = false;
}

} // namespace orvane
