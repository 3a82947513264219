#pragma once

#include "capture/x11/XcbHandles.h"
#include "project/Geometry.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QSocketNotifier;
class QTimer;

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

    // Starts handing events and answers to `client`, which must outlive the connection or be detached
    // with unwatch(). With `wakeOnSocket` the current thread's event loop reads them as they arrive;
    // without, only readAvailable() does, for owners that wake up on a schedule of their own anyway.
    void watch(Client* client, bool wakeOnSocket = true);
    void unwatch();
    // Handles whatever the server has sent so far, without waiting.
    void readAvailable() { pump(); }

    // While events keep coming, read them every `interval` instead of as each arrives: a pointing
    // device at 1,000 events a second then costs one wake-up per interval, and the pointer queries of
    // one interval are answered at the next. Idle, the socket alone wakes the loop. Zero (the default)
    // reads every event at once.
    void setReadInterval(std::chrono::milliseconds interval) { m_readInterval = interval; }

    // Asks for the pointer's position without waiting; the answer reaches Client::pointerAnswered.
    void queryPointer(std::uint64_t token);
    // The pointer's position now, waiting for the server: only for rare events, never per sample.
    std::optional<Point> pointerPositionNow();

    // Hands over every event the server sent before this call and answers every outstanding query.
    // Blocks for a round trip: meant for stopping, so that nothing that happened before is lost.
    void settle();

private:
    struct PendingQuery {
        unsigned int sequence;
        std::uint64_t token;
        // The read count when the request left; its reply can only be buffered after a later read.
        std::uint64_t flushedAtRead;
    };

    X11Connection(xcb::ConnectionPtr connection, const xcb_screen_t& screen);
    std::size_t pump();
    void socketReadable();
    void intervalElapsed();
    std::size_t dispatchBuffered(std::size_t eventsHandled);
    std::size_t drainQueuedEvents();
    std::size_t answerQueries(bool wait);
    void answer(const PendingQuery& query, xcb::Reply<xcb_query_pointer_reply_t> reply);
    void flush();
    void failed();

    xcb::ConnectionPtr m_connection;
    xcb_window_t m_root;
    Size m_rootSize;
    Client* m_client = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unique_ptr<QTimer> m_intervalTimer; // runs only while reading at intervals
    std::chrono::milliseconds m_readInterval{0};
    // A ring that only grows: queries are answered from m_queryHead on, and the storage is reused once
    // all are answered, so steady querying allocates nothing.
    std::vector<PendingQuery> m_queries;
    std::size_t m_queryHead = 0;
    std::size_t m_flushedQueries = 0; // m_queries before this index have been sent
    // Socket reads so far (counting flushes, which may read): lets reply polls skip queries whose
    // answer cannot have arrived, each such poll being a wasted read() system call.
    std::uint64_t m_reads = 0;
    bool m_pumping = false;
    bool m_failureReported = false;
    bool m_needsFlush = false;
};

} // namespace orvane
