#pragma once

#include <QString>

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

struct xkb_context;
struct xkb_keymap;
struct xkb_state;

namespace orvane {

// The X server's keyboard as XKB describes it: what a key code means (its Mac key code and its text with
// modifiers ignored) and, when following the server's state, which modifiers are down.
class XkbKeyboard {
public:
    // Loads the core keyboard's keymap over `connection`. With `followState` the keyboard also selects
    // XKB state and keymap notifications, which the owner feeds to handleEvent in stream order; the
    // modifiers then reflect every key event read before. Nothing when XKB is unavailable.
    static std::unique_ptr<XkbKeyboard> create(xcb_connection_t* connection, bool followState);
    ~XkbKeyboard();

    // Consumes XKB events (state changes, keymap changes); false for any other event.
    bool handleEvent(const xcb_generic_event_t& event);

    struct Key {
        int macKeyCode = -1; // -1 for a key neither its symbol nor its position identifies
        QString characters;  // empty for keys without text
        bool isModifier = false;
    };
    // `layout` is the XKB group the key was pressed in.
    Key key(xcb_keycode_t keycode, std::uint32_t layout) const;
    Key key(xcb_keycode_t keycode) const { return key(keycode, currentLayout()); }

    // From the followed state: 1 control, 2 option (Alt), 4 shift, 8 command (Super).
    int modifiers() const;
    std::uint32_t currentLayout() const;

    // The same mask from the modifier state of a core event; its group sits in bits 13 and 14.
    static int modifiersFromCoreState(std::uint16_t state);
    static std::uint32_t layoutFromCoreState(std::uint16_t state) { return (state >> 13) & 3; }

private:
    struct ContextDeleter {
        void operator()(xkb_context* p) const;
    };
    struct KeymapDeleter {
        void operator()(xkb_keymap* p) const;
    };
    struct StateDeleter {
        void operator()(xkb_state* p) const;
    };

    XkbKeyboard() = default;
    bool load();
    bool selectEvents();

    xcb_connection_t* m_connection = nullptr;
    std::uint8_t m_firstEvent = 0;
    std::int32_t m_deviceID = -1;
    std::unique_ptr<xkb_context, ContextDeleter> m_context;
    std::unique_ptr<xkb_keymap, KeymapDeleter> m_keymap;
    std::unique_ptr<xkb_state, StateDeleter> m_state;
};

} // namespace orvane
