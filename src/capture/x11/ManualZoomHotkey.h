#pragma once

#include "capture/ManualZoomEvent.h"
#include "capture/SourceMapping.h"

#include <QByteArray>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

class X11Connection;
class XkbKeyboard;

// Zoom marks placed by hand while recording: Super+Shift+Z (other modifiers allowed) records the
// pointer's position. Like a global shortcut it is heard only while another application has the focus,
// so the chord typed into this program's own windows does nothing. Main thread only.
class ManualZoomHotkey {
public:
    ManualZoomHotkey(Rect sourceFrameInGlobal, Size sourceSize, QByteArray displayName = {});
    ~ManualZoomHotkey();
    ManualZoomHotkey(const ManualZoomHotkey&) = delete;
    ManualZoomHotkey& operator=(const ManualZoomHotkey&) = delete;

    // Empties the marks and starts listening; without XInput 2 nothing is heard.
    void start();
    // Takes in every key press sent before this call and returns the marks.
    std::vector<ManualZoomEvent> stop();
    bool isRunning() const { return m_startTime.has_value(); }
    const std::vector<ManualZoomEvent>& events() const { return m_events; }
    // Presses of the chord heard since start, marks or not: what a status line or a test can wait on.
    std::size_t chordsHeard() const { return m_chordsHeard; }

private:
    class Listener;

    void keyPressed(int macKeyCode, int modifiers);
    bool ownWindowHasFocus();

    SourceMapping m_mapping;
    QByteArray m_displayName;
    std::optional<std::chrono::steady_clock::time_point> m_startTime;
    std::vector<ManualZoomEvent> m_events;
    std::size_t m_chordsHeard = 0;

    // Teardown order: listener, keyboard, then the connection they use.
    std::unique_ptr<X11Connection> m_connection;
    std::unique_ptr<XkbKeyboard> m_keyboard;
    std::unique_ptr<Listener> m_listener;
    std::uint8_t m_xinputOpcode = 0;
};

} // namespace orvane
