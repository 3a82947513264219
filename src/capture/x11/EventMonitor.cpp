#include "EventMonitor.h"

#include "X11Buttons.h"
#include "XkbKeyboard.h"
#include "capture/TelemetryJournal.h"
#include "support/Log.h"

#include <QSocketNotifier>

#include <poll.h>

#include <cstring>

// Xlib last: its macros (None, Bool, KeyPress...) would clash with the headers above.
#include <X11/Xlib-xcb.h>
#include <X11/Xlib.h>
#include <X11/Xproto.h>
#include <X11/extensions/record.h>

namespace orvane {

namespace {

struct DisplayDeleter {
    void operator()(Display* display) const { XCloseDisplay(display); }
};
using DisplayHandle = std::unique_ptr<Display, DisplayDeleter>;

struct RangeDeleter {
    void operator()(XRecordRange* range) const { XFree(range); }
};

struct InterceptDeleter {
    void operator()(XRecordInterceptData* data) const { XRecordFreeData(data); }
};

constexpr int finishTimeoutMs = 1000;

} // namespace

// A RECORD context over two connections: the control one creates and ends it, and the data one, once
// enabled, receives nothing but intercepted events, read whenever its socket has data.
class EventMonitor::Recording {
public:
    static std::unique_ptr<Recording> create(EventMonitor& owner, const QByteArray& displayName);
    ~Recording();

    XkbKeyboard* keyboard() const { return m_keyboard.get(); }
    // Ends the context and hands over every event intercepted before it ended.
    void finish();

private:
    explicit Recording(EventMonitor& owner)
        : m_owner(owner) {}
    static void intercept(XPointer closure, XRecordInterceptData* data);

    EventMonitor& m_owner;
    DisplayHandle m_control;
    DisplayHandle m_data;
    XRecordContext m_context = 0;
    std::unique_ptr<XkbKeyboard> m_keyboard;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_ended = false;
};

std::unique_ptr<EventMonitor::Recording> EventMonitor::Recording::create(EventMonitor& owner,
                                                                         const QByteArray& displayName) {
    std::unique_ptr<Recording> r(new Recording(owner));
    const char* name = displayName.isEmpty() ? nullptr : displayName.constData();
    r->m_control.reset(XOpenDisplay(name));
    r->m_data.reset(XOpenDisplay(name));
    if (!r->m_control || !r->m_data)
        return nullptr;
    int major = 0;
    int minor = 0;
    if (!XRecordQueryVersion(r->m_control.get(), &major, &minor))
        return nullptr;
    if (owner.m_captureKeystrokes) {
        r->m_keyboard = XkbKeyboard::create(XGetXCBConnection(r->m_control.get()), false);
        if (!r->m_keyboard)
            return nullptr;
    }

    std::unique_ptr<XRecordRange, RangeDeleter> range(XRecordAllocRange());
    if (!range)
        return nullptr;
    range->device_events.first = owner.m_captureKeystrokes ? KeyPress : ButtonPress;
    range->device_events.last = ButtonRelease;
    XRecordClientSpec clients = XRecordAllClients;
    XRecordRange* ranges[] = {range.get()};
    r->m_context = XRecordCreateContext(r->m_control.get(), 0, &clients, 1, ranges, 1);
    if (!r->m_context)
        return nullptr;
    // The context must exist on the server before the data connection asks to enable it.
    XSync(r->m_control.get(), False);
    if (!XRecordEnableContextAsync(r->m_data.get(), r->m_context, &Recording::intercept,
                                   reinterpret_cast<XPointer>(r.get())))
        return nullptr;
    XFlush(r->m_data.get());

    Recording* self = r.get();
    r->m_notifier =
        std::make_unique<QSocketNotifier>(ConnectionNumber(r->m_data.get()), QSocketNotifier::Read);
    QObject::connect(self->m_notifier.get(), &QSocketNotifier::activated, self->m_notifier.get(),
                     [self] { XRecordProcessReplies(self->m_data.get()); });
    return r;
}

EventMonitor::Recording::~Recording() {
    m_notifier.reset();
    if (m_context && m_control) {
        if (!m_ended)
            XRecordDisableContext(m_control.get(), m_context);
        XRecordFreeContext(m_control.get(), m_context);
        XSync(m_control.get(), False);
    }
}

void EventMonitor::Recording::finish() {
    m_notifier.reset();
    if (m_ended)
        return;
    XRecordDisableContext(m_control.get(), m_context);
    XSync(m_control.get(), False);
    // The server sends what it intercepted so far, then an end-of-data reply; wait for that, briefly.
    const int fd = ConnectionNumber(m_data.get());
    while (!m_ended) {
        XRecordProcessReplies(m_data.get());
        if (m_ended)
            break;
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, finishTimeoutMs) <= 0)
            break;
    }
}

void EventMonitor::Recording::intercept(XPointer closure, XRecordInterceptData* raw) {
    std::unique_ptr<XRecordInterceptData, InterceptDeleter> data(raw);
    auto* self = reinterpret_cast<Recording*>(closure);
    if (data->category == XRecordEndOfData) {
        self->m_ended = true;
        return;
    }
    if (data->category == XRecordFromServer && data->data && data->data_len * 4 >= sizeof(xEvent))
        self->m_owner.handle(data->data);
}

EventMonitor::EventMonitor(Rect sourceFrameInGlobal, Size sourceSize, bool captureKeystrokes,
                           QByteArray displayName)
    : m_mapping{sourceFrameInGlobal, sourceSize}
    , m_captureKeystrokes(captureKeystrokes)
    , m_displayName(std::move(displayName)) {}

EventMonitor::~EventMonitor() = default;

void EventMonitor::start() {
    m_events.clear();
    m_startTime = std::chrono::steady_clock::now();
    m_recording = Recording::create(*this, m_displayName);
    if (!m_recording)
        log::warning("EventMonitor",
                     QStringLiteral("the X server refused to record input; no events are collected"));
}

EventTrack EventMonitor::stop() {
    if (m_recording)
        m_recording->finish();
    m_recording.reset();
    m_startTime.reset();
    return EventTrack{m_events};
}

void EventMonitor::handle(const unsigned char* wireEvent) {
    if (!m_startTime)
        return;
    xEvent event;
    std::memcpy(&event, wireEvent, sizeof event);
    const int type = event.u.u.type & 0x7f;
    const int detail = event.u.u.detail;
    const ProjectTime time(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - *m_startTime).count());
    // The pointer's root position when the server handled the event: where the pointer was at that
    // moment, which a separate pointer query would only approximate.
    const Point at = m_mapping.fromPointerLocation(
        {double(event.u.keyButtonPointer.rootX), double(event.u.keyButtonPointer.rootY)});
    const std::uint16_t state = event.u.keyButtonPointer.state;
    using E = InputEvent;
    switch (type) {
    case ButtonPress:
        if (detail == X11Buttons::left)
            m_events.push_back({E::LeftMouseDown{time, at.x, at.y}});
        else if (detail == X11Buttons::right)
            m_events.push_back({E::RightMouseDown{time, at.x, at.y}});
        else if (auto step = X11Buttons::scrollStep(detail))
            m_events.push_back({E::Scroll{time, at.x, at.y, step->x, step->y}});
        else
            m_events.push_back({E::OtherMouseDown{time, at.x, at.y, X11Buttons::fileButtonNumber(detail)}});
        break;
    case ButtonRelease:
        if (detail == X11Buttons::left)
            m_events.push_back({E::LeftMouseUp{time, at.x, at.y}});
        else if (detail == X11Buttons::right)
            m_events.push_back({E::RightMouseUp{time, at.x, at.y}});
        break;
    case KeyPress:
    case KeyRelease: {
        XkbKeyboard* keyboard = m_recording ? m_recording->keyboard() : nullptr;
        if (!keyboard)
            break;
        XkbKeyboard::Key key = keyboard->key(xcb_keycode_t(detail), XkbKeyboard::layoutFromCoreState(state));
        if (key.isModifier)
            break;
        if (type == KeyPress)
            m_events.push_back({E::KeyDown{time, key.macKeyCode, std::move(key.characters),
                                           XkbKeyboard::modifiersFromCoreState(state)}});
        else
            m_events.push_back({E::KeyUp{time, key.macKeyCode}});
        break;
    }
    default:
        break;
    }
}

void EventMonitor::copyToJournal(std::size_t& eventsDone, TelemetryJournal& journal) const {
    for (; eventsDone < m_events.size(); ++eventsDone)
        journal.append(m_events[eventsDone]);
}

} // namespace orvane
