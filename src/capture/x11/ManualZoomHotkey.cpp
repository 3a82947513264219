#include "ManualZoomHotkey.h"

#include "X11Connection.h"
#include "XkbKeyboard.h"
#include "capture/InputEvent.h"
#include "support/Log.h"

#include <QLocale>

#include <unistd.h>
#include <xcb/xinput.h>

namespace orvane {

namespace {

constexpr int zKeyCode = 6;
constexpr int maxWindowDepth = 32; // how far up from the focus to look for a window's owner

// Numbers as the log has always shown them: shortest exact form, whole numbers with ".0".
QString numberText(double value) {
    QString text = QString::number(value, 'f', QLocale::FloatingPointShortest);
    if (!text.contains(u'.') && !text.contains(u'n') && !text.contains(u'i'))
        text += QStringLiteral(".0");
    return text;
}

// The first 32-bit value of a window's property, if it has one.
std::optional<std::uint32_t> cardinalProperty(xcb_connection_t* c, xcb_window_t window, xcb_atom_t property,
                                              xcb_atom_t type) {
    const auto reply =
        xcb::reply(c, xcb_get_property_reply, xcb_get_property(c, 0, window, property, type, 0, 1));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return std::nullopt;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

} // namespace

class ManualZoomHotkey::Listener : public X11Connection::Client {
public:
    explicit Listener(ManualZoomHotkey& hotkey)
        : m_hotkey(hotkey) {}

    void handleEvent(const xcb_generic_event_t& event) override {
        if (m_hotkey.m_keyboard->handleEvent(event) || (event.response_type & 0x7f) != XCB_GE_GENERIC)
            return;
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension != m_hotkey.m_xinputOpcode || generic.event_type != XCB_INPUT_RAW_KEY_PRESS)
            return;
        const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        const XkbKeyboard::Key key = m_hotkey.m_keyboard->key(xcb_keycode_t(raw.detail));
        m_hotkey.keyPressed(key.macKeyCode, m_hotkey.m_keyboard->modifiers());
    }

private:
    ManualZoomHotkey& m_hotkey;
};

ManualZoomHotkey::ManualZoomHotkey(Rect sourceFrameInGlobal, Size sourceSize, QByteArray displayName)
    : m_mapping{sourceFrameInGlobal, sourceSize}
    , m_displayName(std::move(displayName)) {}

ManualZoomHotkey::~ManualZoomHotkey() {
    if (m_connection)
        m_connection->unwatch();
}

void ManualZoomHotkey::start() {
    m_events.clear();
    m_chordsHeard = 0;
    m_startTime = std::chrono::steady_clock::now();

    auto connection = X11Connection::open(m_displayName);
    if (!connection)
        return;
    xcb_connection_t* c = connection->xcb();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present)
        return;
    const auto version = xcb::reply(c, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(c, 2, 2));
    if (!version || version->major_version < 2)
        return;
    auto keyboard = XkbKeyboard::create(c, true);
    if (!keyboard)
        return;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t bits;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS};
    xcb_input_xi_select_events(c, connection->root(), 1, &selection.head);

    m_xinputOpcode = extension->major_opcode;
    m_keyboard = std::move(keyboard);
    m_connection = std::move(connection);
    m_listener = std::make_unique<Listener>(*this);
    m_connection->watch(m_listener.get());
}

std::vector<ManualZoomEvent> ManualZoomHotkey::stop() {
    if (m_connection) {
        m_connection->settle();
        m_connection->unwatch();
    }
    m_listener.reset();
    m_keyboard.reset();
    m_connection.reset();
    m_startTime.reset();
    return m_events;
}

void ManualZoomHotkey::keyPressed(int macKeyCode, int modifiers) {
    constexpr int chord = InputEvent::command | InputEvent::shift;
    if (macKeyCode != zKeyCode || (modifiers & chord) != chord || !m_startTime)
        return;
    ++m_chordsHeard;
    const ProjectTime time(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - *m_startTime).count());
    // The chord typed into this program's own windows is theirs to handle, as with any global shortcut.
    if (ownWindowHasFocus())
        return;
    const auto pointer = m_connection->pointerPositionNow();
    if (!pointer)
        return;
    const Point at = m_mapping.fromPointerLocation(*pointer);
    m_events.push_back({time, at.x, at.y});
    log::info("ManualZoomHotkey", QStringLiteral("dropped zoom keyframe at ProjectTime(seconds: %1) (%2, %3)")
                                      .arg(numberText(time.seconds), numberText(at.x), numberText(at.y)));
}

bool ManualZoomHotkey::ownWindowHasFocus() {
    // A few round trips, but only when the chord is pressed.
    xcb_connection_t* c = m_connection->xcb();
    const xcb_window_t root = m_connection->root();
    xcb_window_t window = XCB_WINDOW_NONE;
    if (const xcb_atom_t active = xcb::internAtom(c, "_NET_ACTIVE_WINDOW"); active != XCB_ATOM_NONE)
        window = cardinalProperty(c, root, active, XCB_ATOM_WINDOW).value_or(XCB_WINDOW_NONE);
    if (window == XCB_WINDOW_NONE) {
        // Without a window manager that names the active window, the keyboard focus tells.
        const auto focus = xcb::reply(c, xcb_get_input_focus_reply, xcb_get_input_focus(c));
        if (!focus || focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT)
            return false;
        window = focus->focus;
    }
    const xcb_atom_t pidAtom = xcb::internAtom(c, "_NET_WM_PID");
    if (pidAtom == XCB_ATOM_NONE)
        return false;
    const auto ownPid = std::uint32_t(::getpid());
    for (int depth = 0; depth < maxWindowDepth && window != XCB_WINDOW_NONE && window != root; ++depth) {
        if (auto pid = cardinalProperty(c, window, pidAtom, XCB_ATOM_CARDINAL))
            return *pid == ownPid;
        const auto tree = xcb::reply(c, xcb_query_tree_reply, xcb_query_tree(c, window));
        if (!tree)
            return false;
        window = tree->parent;
    }
    return false;
}

} // namespace orvane
