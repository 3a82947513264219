#include "XkbKeyboard.h"

#include "KeyCodeTable.h"
#include "XcbHandles.h"

#define explicit explicit_ // xkb.h names a struct member `explicit`
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

namespace orvane {

void XkbKeyboard::ContextDeleter::operator()(xkb_context* p) const {
    xkb_context_unref(p);
}
void XkbKeyboard::KeymapDeleter::operator()(xkb_keymap* p) const {
    xkb_keymap_unref(p);
}
void XkbKeyboard::StateDeleter::operator()(xkb_state* p) const {
    xkb_state_unref(p);
}

std::unique_ptr<XkbKeyboard> XkbKeyboard::create(xcb_connection_t* connection, bool followState) {
    std::unique_ptr<XkbKeyboard> keyboard(new XkbKeyboard);
    keyboard->m_connection = connection;
    std::uint8_t firstEvent = 0;
    if (!xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent,
                                     nullptr))
        return nullptr;
    keyboard->m_firstEvent = firstEvent;
    keyboard->m_context.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    keyboard->m_deviceID = xkb_x11_get_core_keyboard_device_id(connection);
    if (!keyboard->m_context || keyboard->m_deviceID < 0 || !keyboard->load())
        return nullptr;
    if (followState && !keyboard->selectEvents())
        return nullptr;
    return keyboard;
}

XkbKeyboard::~XkbKeyboard() = default;

bool XkbKeyboard::load() {
    std::unique_ptr<xkb_keymap, KeymapDeleter> keymap(xkb_x11_keymap_new_from_device(
        m_context.get(), m_connection, m_deviceID, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap)
        return false;
    std::unique_ptr<xkb_state, StateDeleter> state(
        xkb_x11_state_new_from_device(keymap.get(), m_connection, m_deviceID));
    if (!state)
        return false;
    m_keymap = std::move(keymap);
    m_state = std::move(state);
    return true;
}

bool XkbKeyboard::selectEvents() {
    constexpr std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY |
                                     XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
    constexpr std::uint16_t mapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                       XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS |
                                       XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                       XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
    constexpr std::uint16_t stateDetails = XCB_XKB_STATE_PART_MODIFIER_BASE |
                                           XCB_XKB_STATE_PART_MODIFIER_LATCH |
                                           XCB_XKB_STATE_PART_MODIFIER_LOCK | XCB_XKB_STATE_PART_GROUP_BASE |
                                           XCB_XKB_STATE_PART_GROUP_LATCH | XCB_XKB_STATE_PART_GROUP_LOCK;
    xcb_xkb_select_events_details_t details = {};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectState = stateDetails;
    details.stateDetails = stateDetails;
    return !xcb::failed(m_connection,
                        xcb_xkb_select_events_aux_checked(m_connection, xcb_xkb_device_spec_t(m_deviceID),
                                                          events, 0, 0, mapParts, mapParts, &details));
}

bool XkbKeyboard::handleEvent(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != m_firstEvent)
        return false;
    // All XKB events share one event code; the kind is in the second byte.
    const std::uint8_t xkbType = reinterpret_cast<const std::uint8_t*>(&event)[1];
    switch (xkbType) {
    case XCB_XKB_NEW_KEYBOARD_NOTIFY: {
        const auto& e = reinterpret_cast<const xcb_xkb_new_keyboard_notify_event_t&>(event);
        if (e.deviceID == m_deviceID && (e.changed & XCB_XKB_NKN_DETAIL_KEYCODES))
            load();
        break;
    }
    case XCB_XKB_MAP_NOTIFY:
        load();
        break;
    case XCB_XKB_STATE_NOTIFY: {
        const auto& e = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
        xkb_state_update_mask(m_state.get(), e.baseMods, e.latchedMods, e.lockedMods,
                              xkb_layout_index_t(e.baseGroup), xkb_layout_index_t(e.latchedGroup),
                              xkb_layout_index_t(e.lockedGroup));
        break;
    }
    default:
        break;
    }
    return true;
}

XkbKeyboard::Key XkbKeyboard::key(xcb_keycode_t keycode, std::uint32_t layout) const {
    Key key;
    const xkb_keysym_t* syms = nullptr;
    // Level 0 is the key without modifiers: "z" for the Z key with or without Shift.
    const int count = xkb_keymap_key_get_syms_by_level(m_keymap.get(), keycode, layout, 0, &syms);
    const xkb_keysym_t sym = count > 0 ? syms[0] : XKB_KEY_NoSymbol;
    if (sym != XKB_KEY_NoSymbol) {
        key.isModifier = KeyCodeTable::isModifierKeysym(sym);
        char text[16];
        const int length = xkb_keysym_to_utf8(sym, text, sizeof text);
        // The length counts the terminating zero.
        if (length > 1)
            key.characters = QString::fromUtf8(text, length - 1);
    }
    if (auto code = KeyCodeTable::fromKeysym(sym))
        key.macKeyCode = *code;
    else if (auto positional = KeyCodeTable::fromEvdevCode(int(keycode) - 8))
        key.macKeyCode = *positional;
    return key;
}

int XkbKeyboard::modifiers() const {
    auto active = [&](const char* name) {
        return xkb_state_mod_name_is_active(m_state.get(), name, XKB_STATE_MODS_EFFECTIVE) > 0;
    };
    return (active(XKB_MOD_NAME_CTRL) ? 1 : 0) | (active(XKB_MOD_NAME_ALT) ? 2 : 0) |
           (active(XKB_MOD_NAME_SHIFT) ? 4 : 0) | (active(XKB_MOD_NAME_LOGO) ? 8 : 0);
}

std::uint32_t XkbKeyboard::currentLayout() const {
    return xkb_state_serialize_layout(m_state.get(), XKB_STATE_LAYOUT_EFFECTIVE);
}

int XkbKeyboard::modifiersFromCoreState(std::uint16_t state) {
    // Core masks: Shift 1, Lock 2, Control 4, Mod1 (Alt) 8, Mod4 (Super) 64.
    return ((state & 4) ? 1 : 0) | ((state & 8) ? 2 : 0) | ((state & 1) ? 4 : 0) | ((state & 64) ? 8 : 0);
}

} // namespace orvane
