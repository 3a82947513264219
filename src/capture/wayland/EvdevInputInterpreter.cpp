#include "EvdevInputInterpreter.h"

#include "capture/x11/KeyCodeTable.h"

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

namespace orvane {

namespace {

struct ContextDeleter {
    void operator()(xkb_context* c) const { xkb_context_unref(c); }
};
struct KeymapDeleter {
    void operator()(xkb_keymap* k) const { xkb_keymap_unref(k); }
};
struct StateDeleter {
    void operator()(xkb_state* s) const { xkb_state_unref(s); }
};

// Each modifier key: its evdev code, its bit among the held keys, and the mask it sets.
struct ModifierKey {
    int code;
    int heldBit;
    int mask;
};
constexpr std::array<ModifierKey, 8> modifierKeys{{
    {KEY_LEFTCTRL, 1 << 0, InputEvent::control},
    {KEY_RIGHTCTRL, 1 << 1, InputEvent::control},
    {KEY_LEFTALT, 1 << 2, InputEvent::option},
    {KEY_RIGHTALT, 1 << 3, InputEvent::option},
    {KEY_LEFTSHIFT, 1 << 4, InputEvent::shift},
    {KEY_RIGHTSHIFT, 1 << 5, InputEvent::shift},
    {KEY_LEFTMETA, 1 << 6, InputEvent::command},
    {KEY_RIGHTMETA, 1 << 7, InputEvent::command},
}};

// X keycodes are evdev codes moved up by 8.
constexpr int xkbOffset = 8;

} // namespace

struct EvdevInputInterpreter::Xkb {
    std::unique_ptr<xkb_context, ContextDeleter> context;
    std::unique_ptr<xkb_keymap, KeymapDeleter> keymap;
    // Never fed: every key is read as if no modifier were held.
    std::unique_ptr<xkb_state, StateDeleter> neutral;
};

EvdevInputInterpreter::EvdevInputInterpreter()
    : m_xkb(std::make_unique<Xkb>()) {
    m_xkb->context.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    if (!m_xkb->context)
        return;
    m_xkb->keymap.reset(
        xkb_keymap_new_from_names(m_xkb->context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (m_xkb->keymap)
        m_xkb->neutral.reset(xkb_state_new(m_xkb->keymap.get()));
}

EvdevInputInterpreter::~EvdevInputInterpreter() = default;

std::optional<InputEvent> EvdevInputInterpreter::interpret(int type, int code, int value, ProjectTime time,
                                                           std::optional<Point> position) {
    if (type == EV_REL) {
        if (!position || value == 0 || (code != REL_WHEEL && code != REL_HWHEEL))
            return std::nullopt;
        // A wheel step up is positive in both; a step right is positive in evdev and negative here.
        InputEvent::Scroll scroll{time, position->x, position->y, 0, 0};
        if (code == REL_WHEEL)
            scroll.dy = value;
        else
            scroll.dx = -value;
        return InputEvent{scroll};
    }
    if (type != EV_KEY)
        return std::nullopt;

    if (code >= BTN_MISC && code < KEY_OK) {
        if (!position)
            return std::nullopt;
        const double x = position->x, y = position->y;
        const bool down = value != 0;
        switch (code) {
        case BTN_LEFT:
            return down ? InputEvent{InputEvent::LeftMouseDown{time, x, y}}
                        : InputEvent{InputEvent::LeftMouseUp{time, x, y}};
        case BTN_RIGHT:
            return down ? InputEvent{InputEvent::RightMouseDown{time, x, y}}
                        : InputEvent{InputEvent::RightMouseUp{time, x, y}};
        case BTN_MIDDLE:
        case BTN_SIDE:
        case BTN_EXTRA:
            if (value != 1)
                return std::nullopt; // other buttons' releases are not recorded
            return InputEvent{
                InputEvent::OtherMouseDown{time, x, y, code == BTN_MIDDLE ? 2 : (code == BTN_SIDE ? 3 : 4)}};
        default:
            return std::nullopt;
        }
    }

    for (const ModifierKey& key : modifierKeys) {
        if (key.code != code)
            continue;
        if (value == 1)
            m_heldModifierKeys |= key.heldBit;
        else if (value == 0)
            m_heldModifierKeys &= ~key.heldBit;
        m_modifiers = 0;
        for (const ModifierKey& k : modifierKeys)
            if (m_heldModifierKeys & k.heldBit)
                m_modifiers |= k.mask;
        return std::nullopt;
    }
    if (code >= BTN_MISC || value == 2)
        return std::nullopt;

    std::optional<int> keyCode;
    QString characters;
    if (m_xkb->neutral) {
        const xkb_keycode_t xkbCode = xkb_keycode_t(code + xkbOffset);
        const xkb_keysym_t keysym = xkb_state_key_get_one_sym(m_xkb->neutral.get(), xkbCode);
        if (KeyCodeTable::isModifierKeysym(keysym))
            return std::nullopt; // Caps Lock and the like
        keyCode = KeyCodeTable::fromKeysym(keysym);
        std::array<char, 16> text{};
        const int length = xkb_state_key_get_utf8(m_xkb->neutral.get(), xkbCode, text.data(), text.size());
        if (length > 0 && static_cast<unsigned char>(text[0]) >= 0x20 && text[0] != 0x7f)
            characters = QString::fromUtf8(text.data(), std::min<int>(length, int(text.size()) - 1));
    }
    if (!keyCode)
        keyCode = KeyCodeTable::fromEvdevCode(code);
    if (!keyCode)
        return std::nullopt;
    if (value == 1)
        return InputEvent{InputEvent::KeyDown{time, *keyCode, characters, m_modifiers}};
    return InputEvent{InputEvent::KeyUp{time, *keyCode}};
}

} // namespace orvane
