#pragma once

// Owning handles for XCB: a connection of one's own (for threads that must not share the main thread's)
// and the replies, errors and events XCB hands out with malloc. Every XCB user goes through these, so
// that no reply is freed by hand and no file keeps a deleter of its own.

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

namespace orvane::xcb {

struct ConnectionDeleter {
    void operator()(xcb_connection_t* c) const { xcb_disconnect(c); }
};
using ConnectionPtr = std::unique_ptr<xcb_connection_t, ConnectionDeleter>;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <class T>
using Reply = std::unique_ptr<T, FreeDeleter>;
// What the server sent back instead of a reply, or for a checked request that failed.
using Error = Reply<xcb_generic_error_t>;
using Event = Reply<xcb_generic_event_t>;

// The reply to `cookie`, through the `_reply` function of its request:
// `xcb::reply(c, xcb_query_tree_reply, xcb_query_tree(c, window))`. Null when the server answered with an
// error or the connection broke.
template <class ReplyFunction, class Cookie>
[[nodiscard]] auto reply(xcb_connection_t* c, ReplyFunction replyFunction, Cookie cookie) {
    using T = std::remove_pointer_t<decltype(replyFunction(c, cookie, nullptr))>;
    return Reply<T>(replyFunction(c, cookie, nullptr));
}

// The same, keeping the server's error for a caller that reports it. `error` is reset either way.
template <class ReplyFunction, class Cookie>
[[nodiscard]] auto reply(xcb_connection_t* c, ReplyFunction replyFunction, Cookie cookie, Error& error) {
    using T = std::remove_pointer_t<decltype(replyFunction(c, cookie, nullptr))>;
    xcb_generic_error_t* raw = nullptr;
    Reply<T> answer(replyFunction(c, cookie, &raw));
    error.reset(raw);
    return answer;
}

// Connects to `displayName`, or to $DISPLAY when it is empty; null when no server answers. `screen` gets
// the default screen of that display.
inline ConnectionPtr connect(const QByteArray& displayName, const xcb_screen_t** screen) {
    int screenNumber = 0;
    ConnectionPtr c(xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber));
    if (xcb_connection_has_error(c.get()))
        return nullptr;
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c.get()));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem)
        return nullptr;
    if (screen)
        *screen = it.data;
    return c;
}

inline xcb_atom_t internAtom(xcb_connection_t* c, const char* name, bool onlyIfExists = false) {
    const auto atom = reply(c, xcb_intern_atom_reply,
                            xcb_intern_atom(c, onlyIfExists ? 1 : 0, std::uint16_t(std::strlen(name)), name));
    return atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// Whether a request sent with its `_checked` variant failed; waits for the server to say.
inline bool failed(xcb_connection_t* c, xcb_void_cookie_t cookie) {
    return Error(xcb_request_check(c, cookie)) != nullptr;
}

// A round trip. The server answers in order, so once this returns it has carried out every request sent
// before, and every event it sent before is queued on our side.
inline void sync(xcb_connection_t* c) {
    (void)reply(c, xcb_get_input_focus_reply, xcb_get_input_focus(c));
}

// The display name as a user would see it, for error texts.
inline QByteArray shownDisplayName(const QByteArray& displayName) {
    return displayName.isEmpty() ? qgetenv("DISPLAY") : displayName;
}

} // namespace orvane::xcb
