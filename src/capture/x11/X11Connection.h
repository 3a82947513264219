#pragma once

#include "project/Geometry.h"

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QSocketNotifier;

namespace orvane {

// One XCB connection read on the main thread's event loop. Its socket is watched by a QSocketNotifier,
// so waiting for the server never blocks the loop; events go to one client, and pointer queries are
// answered asynchronously, in the order they were asked. Main thread only.
class X11Connection {
public:
    class Client {
    public:
        virtual ~Client() = default;
        virtual void handleEvent(const xcb_generic_event_t& event) = 0;
        // After each run of events read in one go: the moment to ask for what they need.
        virtual void eventsDrained() {}
        // The global pointer position asked for with `token`; nothing when the server gave no answer.
        virtual void pointerAnswered(std::uint64_t token, std::optional<Point> position) {
            (void)token;
            (void)position;
        }
    };

    // Connects to `displayName`, or to $DISPLAY when it is empty. Nothing when no server answers.
    static std::unique_ptr<X11Connection> open(const QByteArray& displayName);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    xcb_connection_t* xcb() const { return m_connection.get(); }
    xcb_window_t root() const { return m_root; }
    // The root window's size: every display side by side, origin top-left.
    Size rootSize() const { return m_rootSize; }
    bool hasFailed() const;

    // Starts reading events on the current thread's event loop and handing them to `client`, which
    // must outlive the connection or be detached with unwatch().
    void watch(Client* client);
    void unwatch();

    // Asks for the pointer's position without waiting; the answer reaches Client::pointerAnswered.
    void queryPointer(std::uint64_t token);
    // The pointer's position now, waiting for the server: only for rare events, never per sample.
    std::optional<Point> pointerPositionNow();

    // Hands over every event the server sent before this call and answers every outstanding query.
    // Blocks for a round trip: meant for stopping, so that nothing that happened before is lost.
    void settle();

private:
    struct ConnectionDeleter {
        void operator()(xcb_connection_t* c) const { xcb_disconnect(c); }
    };
    struct PendingQuery {
        unsigned int sequence;
        std::uint64_t token;
    };

    X11Connection(xcb_connection_t* connection, const xcb_screen_t& screen);
    void pump();
    std::size_t drainEvents(bool queuedOnly);
    std::size_t answerQueries(bool wait);
    void answer(const PendingQuery& query, void* reply);

    std::unique_ptr<xcb_connection_t, ConnectionDeleter> m_connection;
    xcb_window_t m_root;
    Size m_rootSize;
    Client* m_client = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
    // A ring that only grows: queries are answered from m_queryHead on, and the storage is reused once
    // all are answered, so steady querying allocates nothing.
    std::vector<PendingQuery> m_queries;
    std::size_t m_queryHead = 0;
    bool m_pumping = false;
    bool m_needsFlush = false;
};

} // namespace orvane
