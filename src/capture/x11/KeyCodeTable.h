#pragma once

#include <cstdint>
#include <optional>

namespace orvane {

// Key codes in the Mac virtual key numbering, which the event files use whatever system recorded them.
class KeyCodeTable {
public:
    // By X keysym (the key's unshifted symbol in the active layout), so a key reads as what its cap
    // says: on an AZERTY keyboard the key labelled A is A.
    static std::optional<int> fromKeysym(std::uint32_t keysym);
    // By position (Linux evdev code, the X keycode minus 8), for keys whose symbol has no Mac key, such
    // as the letters of a Cyrillic layout: they read as the US key in the same place.
    static std::optional<int> fromEvdevCode(int code);
    // Shift, Control, Alt, Super and the locks: on the Mac these change flags and make no key events.
    static bool isModifierKeysym(std::uint32_t keysym);
};

} // namespace orvane
