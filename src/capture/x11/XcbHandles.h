#pragma once

// Owning handles for XCB: a connection of one's own (for threads that must not share the main thread's)
// and the replies XCB hands out with malloc.

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

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
    Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, onlyIfExists ? 1 : 0, std::uint16_t(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// Whether a request that asked for a checked reply failed; the error is freed.
inline bool failed(xcb_connection_t* c, xcb_void_cookie_t cookie) {
    Reply<xcb_generic_error_t> error(xcb_request_check(c, cookie));
    return error != nullptr;
}

// The display name as a user would see it, for error texts.
inline QByteArray shownDisplayName(const QByteArray& displayName) {
    return displayName.isEmpty() ? qgetenv("DISPLAY") : displayName;
}

} // namespace orvane::xcb
