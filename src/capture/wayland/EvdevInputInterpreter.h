#pragma once

#include "capture/InputEvent.h"
#include "project/Geometry.h"

#include <memory>
#include <optional>

struct xkb_context;
struct xkb_keymap;
struct xkb_state;

namespace orvane {

// Turns the kernel's input events (type, code, value, as evdev gives them) into the recording's input
// events: buttons and wheels at the pointer's last known place, keys with their Mac key code, their text
// in the keyboard layout and the modifiers held. The layout is the session's default as xkbcommon reads
// it ($XKB_DEFAULT_LAYOUT and friends, else US): evdev knows key positions only. Repeats are not
// presses; modifier keys only change the mask, as on the Mac. One thread.
class EvdevInputInterpreter {
public:
    EvdevInputInterpreter();
    ~EvdevInputInterpreter();
    EvdevInputInterpreter(const EvdevInputInterpreter&) = delete;
    EvdevInputInterpreter& operator=(const EvdevInputInterpreter&) = delete;

    // `position` is where the pointer is now in source pixels; nothing when it was never seen, which
    // drops pointer events rather than place them at a made-up spot.
    std::optional<InputEvent> interpret(int type, int code, int value, ProjectTime time,
                                        std::optional<Point> position);

    int modifiers() const { return m_modifiers; }

private:
    struct Xkb;
    std::unique_ptr<Xkb> m_xkb;
    int m_modifiers = 0;
    // Left and right keys of each modifier, so releasing one side keeps the other's bit.
    int m_heldModifierKeys = 0;
};

} // namespace orvane
