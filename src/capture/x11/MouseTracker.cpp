#include "MouseTracker.h"

#include "X11Buttons.h"
#include "X11Connection.h"
#include "XkbKeyboard.h"
#include "capture/TelemetryJournal.h"
#include "support/Log.h"

#include <poll.h>
#include <xcb/xinput.h>

#include <algorithm>

namespace orvane {

namespace {
// A fast mouse sends 1,000 events a second. Read as they come, each costs a wake-up for the event and
// another for the pointer query's answer; read in 8 ms batches the whole stream costs 125 wake-ups a
// second. Events keep their own server timestamps, and the motion inside a batch is placed along the
// way from the previous batch's position to this one's.
constexpr std::chrono::milliseconds readInterval{8};
constexpr int clockProbeTimeoutMs = 500;
} // namespace

struct MouseTracker::Pending {
    enum class Kind : std::uint8_t {
        motion,
        leftDown,
        leftUp,
        rightDown,
        rightUp,
        otherDown,
        scroll,
        keyDown,
        keyUp
    };

    Kind kind = Kind::motion;
    ProjectTime time;
    int number = 0; // button number or key code
    Point delta;    // scroll steps
    int modifiers = 0;
    QString characters;
    std::uint64_t query = 0; // the pointer query that will place it; 0 while not asked
    std::optional<Point> position;
    bool abandoned = false; // the server never said where the pointer was

    bool needsPosition() const { return kind != Kind::keyDown && kind != Kind::keyUp; }
};

class MouseTracker::Listener : public X11Connection::Client {
public:
    explicit Listener(MouseTracker& tracker)
        : m_tracker(tracker) {}

    void handleEvent(const xcb_generic_event_t& event) override {
        if (m_tracker.m_keyboard && m_tracker.m_keyboard->handleEvent(event))
            return;
        if ((event.response_type & 0x7f) != XCB_GE_GENERIC)
            return;
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension != m_tracker.m_xinputOpcode || !m_tracker.m_startTime)
            return;
        // Every raw event shares the layout of a raw button press; `detail` is the button or key code.
        const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
        using Kind = Pending::Kind;
        Pending p;
        p.time = m_tracker.eventTime(raw.time);
        const int detail = int(raw.detail);
        switch (generic.event_type) {
        case XCB_INPUT_RAW_MOTION:
            p.kind = Kind::motion;
            break;
        case XCB_INPUT_RAW_BUTTON_PRESS:
            if (detail == X11Buttons::left) {
                p.kind = Kind::leftDown;
            } else if (detail == X11Buttons::right) {
                p.kind = Kind::rightDown;
            } else if (auto step = X11Buttons::scrollStep(detail)) {
                p.kind = Kind::scroll;
                p.delta = *step;
            } else {
                p.kind = Kind::otherDown;
                p.number = X11Buttons::fileButtonNumber(detail);
            }
            break;
        case XCB_INPUT_RAW_BUTTON_RELEASE:
            // Wheel steps and other buttons have no release case in the files.
            if (detail == X11Buttons::left)
                p.kind = Kind::leftUp;
            else if (detail == X11Buttons::right)
                p.kind = Kind::rightUp;
            else
                return;
            break;
        case XCB_INPUT_RAW_KEY_PRESS:
        case XCB_INPUT_RAW_KEY_RELEASE: {
            if (!m_tracker.m_keyboard)
                return;
            // Read now: the keyboard's state is that of the moment this event was sent.
            XkbKeyboard::Key key = m_tracker.m_keyboard->key(xcb_keycode_t(detail));
            if (key.isModifier)
                return;
            p.number = key.macKeyCode;
            if (generic.event_type == XCB_INPUT_RAW_KEY_PRESS) {
                p.kind = Kind::keyDown;
                p.characters = std::move(key.characters);
                p.modifiers = m_tracker.m_keyboard->modifiers();
            } else {
                p.kind = Kind::keyUp;
            }
            break;
        }
        default:
            return;
        }
        m_tracker.receive(std::move(p));
    }

    void eventsDrained() override { m_tracker.askForPositions(); }

    void pointerAnswered(std::uint64_t token, std::optional<Point> position) override {
        m_tracker.answer(token, position);
    }

private:
    MouseTracker& m_tracker;
};

MouseTracker::MouseTracker(Rect sourceFrameInGlobal, Size sourceSize, bool captureKeystrokes,
                           QByteArray displayName)
    : m_mapping{sourceFrameInGlobal, sourceSize}
    , m_captureKeystrokes(captureKeystrokes)
    , m_displayName(std::move(displayName)) {}

MouseTracker::~MouseTracker() {
    if (m_connection)
        m_connection->unwatch();
}

bool MouseTracker::start() {
    {
        std::lock_guard lock(m_sampleLock);
        m_cursorSamples.clear();
        m_inputEvents.clear();
    }
    m_pending.clear();
    m_pendingHead = 0;
    m_lastPosition.reset();
    m_anchor.reset();
    m_serverClock.reset();
    m_startTime = std::chrono::steady_clock::now();

    auto connection = X11Connection::open(m_displayName);
    if (!connection)
        return false;
    xcb_connection_t* c = connection->xcb();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present)
        return false;
    // Raw events of master devices need XInput 2.1; 2.2 is what every server of the last decade offers.
    const auto version = xcb::reply(c, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(c, 2, 2));
    if (!version || version->major_version < 2 || (version->major_version == 2 && version->minor_version < 2))
        return false;
    m_xinputOpcode = extension->major_opcode;
    // Before anything else is selected, so that the only event to come is the probe's.
    probeServerClock(*connection);

    std::unique_ptr<XkbKeyboard> keyboard;
    if (m_captureKeystrokes) {
        keyboard = XkbKeyboard::create(c, true);
        if (!keyboard)
            return false;
    }

    struct {
        xcb_input_event_mask_t head;
        std::uint32_t bits;
    } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                XCB_INPUT_XI_EVENT_MASK_RAW_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE};
    if (m_captureKeystrokes)
        selection.bits |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
    if (xcb::failed(c, xcb_input_xi_select_events_checked(c, connection->root(), 1, &selection.head)))
        return false;

    m_keyboard = std::move(keyboard);
    m_connection = std::move(connection);
    m_listener = std::make_unique<Listener>(*this);
    m_connection->setReadInterval(readInterval);
    m_connection->watch(m_listener.get());
    return true;
}

MouseTracker::Tracks MouseTracker::stop() {
    if (m_connection) {
        m_connection->settle();
        m_connection->unwatch();
    }
    m_listener.reset();
    m_keyboard.reset();
    m_connection.reset();
    m_startTime.reset();
    std::lock_guard lock(m_sampleLock);
    return {CursorTrack{m_cursorSamples}, EventTrack{m_inputEvents}};
}

std::size_t MouseTracker::sampleCount() const {
    std::lock_guard lock(m_sampleLock);
    return m_cursorSamples.size();
}

std::size_t MouseTracker::eventCount() const {
    std::lock_guard lock(m_sampleLock);
    return m_inputEvents.size();
}

ProjectTime MouseTracker::now() const {
    return ProjectTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - *m_startTime).count());
}

ProjectTime MouseTracker::eventTime(std::uint32_t serverTime) const {
    if (!m_serverClock)
        return now();
    // Unsigned difference: the server's millisecond clock wraps every 49 days.
    const auto sinceProbe = std::int32_t(serverTime - m_serverClock->serverTime);
    return ProjectTime(m_serverClock->localTime.seconds + sinceProbe / 1000.0);
}

void MouseTracker::probeServerClock(X11Connection& connection) {
    // Raw events carry the server's millisecond time of the event, which batching cannot blur. Tie it
    // to our clock once: a property change on a window of our own comes back stamped with the server's
    // time, and happened between our request and its event.
    xcb_connection_t* c = connection.xcb();
    const xcb_window_t window = xcb_generate_id(c);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, 0, window, connection.root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    const auto sent = std::chrono::steady_clock::now();
    xcb_change_property(c, XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(c);
    const int fd = xcb_get_file_descriptor(c);
    while (std::chrono::steady_clock::now() - sent < std::chrono::milliseconds(clockProbeTimeoutMs)) {
        const xcb::Event event(xcb_poll_for_event(c));
        if (!event) {
            pollfd p{fd, POLLIN, 0};
            if (::poll(&p, 1, clockProbeTimeoutMs) <= 0)
                break;
            continue;
        }
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            continue;
        const auto received = std::chrono::steady_clock::now();
        const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        const auto midway = sent + (received - sent) / 2;
        m_serverClock = ServerClock{
            notify.time, ProjectTime(std::chrono::duration<double>(midway - *m_startTime).count())};
        break;
    }
    xcb_destroy_window(c, window);
    xcb_flush(c);
}

void MouseTracker::receive(Pending entry) {
    m_pending.push_back(std::move(entry));
}

void MouseTracker::askForPositions() {
    std::uint64_t query = 0;
    for (std::size_t i = m_pendingHead; i < m_pending.size(); ++i) {
        Pending& p = m_pending[i];
        if (!p.needsPosition() || p.query || p.position)
            continue;
        // One question for the whole run: they were all read in one go, a fraction of a millisecond apart.
        if (!query)
            query = m_nextQuery++;
        p.query = query;
    }
    if (query)
        m_connection->queryPointer(query);
    resolveReady();
}

void MouseTracker::answer(std::uint64_t query, std::optional<Point> position) {
    if (position)
        m_lastPosition = position;
    // The pointer query was asked after the batch was read, so its answer is where the batch's last
    // motion left the pointer. A mouse reports at a steady rate with steps that follow its speed, so
    // the batch's earlier motion is spread evenly along the way from where the previous batch left the
    // pointer; a batch of one motion, or without motion, is exact. Buttons and keys take the position of
    // the motion before them.
    std::size_t motions = 0;
    for (std::size_t i = m_pendingHead; i < m_pending.size(); ++i)
        if (m_pending[i].query == query && m_pending[i].kind == Pending::Kind::motion)
            ++motions;
    std::size_t motion = 0;
    for (std::size_t i = m_pendingHead; i < m_pending.size(); ++i) {
        Pending& p = m_pending[i];
        if (p.query != query)
            continue;
        p.abandoned = !m_lastPosition;
        if (!m_lastPosition)
            continue;
        if (p.kind == Pending::Kind::motion)
            ++motion;
        p.position = placeInBatch(motion, motions, *m_lastPosition);
    }
    m_anchor = m_lastPosition;
    resolveReady();
}

Point MouseTracker::placeInBatch(std::size_t motionsBefore, std::size_t motions, Point end) const {
    if (!m_anchor || motions == 0 || motionsBefore == motions)
        return end;
    const Point from = *m_anchor;
    const double k = double(motionsBefore);
    const double n = double(motions);
    return {from.x + (end.x - from.x) * k / n, from.y + (end.y - from.y) * k / n};
}

void MouseTracker::resolveReady() {
    using Kind = Pending::Kind;
    using E = InputEvent;
    std::lock_guard lock(m_sampleLock);
    for (; m_pendingHead < m_pending.size(); ++m_pendingHead) {
        Pending& p = m_pending[m_pendingHead];
        if (p.abandoned)
            continue;
        if (p.needsPosition() && !p.position)
            break;
        const Point at = p.needsPosition() ? m_mapping.fromEventLocation(*p.position) : Point{};
        switch (p.kind) {
        case Kind::motion:
            m_cursorSamples.push_back({p.time, at.x, at.y, 0});
            break;
        case Kind::leftDown:
            m_inputEvents.push_back({E::LeftMouseDown{p.time, at.x, at.y}});
            break;
        case Kind::leftUp:
            m_inputEvents.push_back({E::LeftMouseUp{p.time, at.x, at.y}});
            break;
        case Kind::rightDown:
            m_inputEvents.push_back({E::RightMouseDown{p.time, at.x, at.y}});
            break;
        case Kind::rightUp:
            m_inputEvents.push_back({E::RightMouseUp{p.time, at.x, at.y}});
            break;
        case Kind::otherDown:
            m_inputEvents.push_back({E::OtherMouseDown{p.time, at.x, at.y, p.number}});
            break;
        case Kind::scroll:
            m_inputEvents.push_back({E::Scroll{p.time, at.x, at.y, p.delta.x, p.delta.y}});
            break;
        case Kind::keyDown:
            m_inputEvents.push_back({E::KeyDown{p.time, p.number, std::move(p.characters), p.modifiers}});
            break;
        case Kind::keyUp:
            m_inputEvents.push_back({E::KeyUp{p.time, p.number}});
            break;
        }
    }
    if (m_pendingHead == m_pending.size()) {
        m_pending.clear();
        m_pendingHead = 0;
    }
}

void MouseTracker::copyToJournal(std::size_t& samplesDone, std::size_t& eventsDone,
                                 TelemetryJournal& journal) const {
    std::lock_guard guard(m_sampleLock);
    for (; samplesDone < m_cursorSamples.size(); ++samplesDone)
        journal.append(m_cursorSamples[samplesDone]);
    for (; eventsDone < m_inputEvents.size(); ++eventsDone)
        journal.append(m_inputEvents[eventsDone]);
}

} // namespace orvane
