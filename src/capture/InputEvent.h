#pragma once

#include "project/Geometry.h"
#include "project/JsonFwd.h"
#include "project/ProjectTime.h"

#include <QString>

#include <optional>
#include <variant>

namespace orvane {

// One input event of a recording. Positions are source pixels like those of CursorSample; key codes use
// the Mac virtual key numbering (Z is 6) so that files read the same whichever system recorded them.
// There is deliberately no case for the release of an "other" button.
struct InputEvent {
    struct LeftMouseDown {
        ProjectTime time;
        double x = 0;
        double y = 0;
        bool operator==(const LeftMouseDown&) const = default;
    };
    struct LeftMouseUp {
        ProjectTime time;
        double x = 0;
        double y = 0;
        bool operator==(const LeftMouseUp&) const = default;
    };
    struct RightMouseDown {
        ProjectTime time;
        double x = 0;
        double y = 0;
        bool operator==(const RightMouseDown&) const = default;
    };
    struct RightMouseUp {
        ProjectTime time;
        double x = 0;
        double y = 0;
        bool operator==(const RightMouseUp&) const = default;
    };
    struct OtherMouseDown {
        ProjectTime time;
        double x = 0;
        double y = 0;
        int buttonNumber = 2; // 2 is the middle button, 3 and 4 back and forward
        bool operator==(const OtherMouseDown&) const = default;
    };
    struct Scroll {
        ProjectTime time;
        double x = 0;
        double y = 0;
        double dx = 0; // positive: towards the left
        double dy = 0; // positive: away from the user (up)
        bool operator==(const Scroll&) const = default;
    };
    struct KeyDown {
        ProjectTime time;
        int keyCode = 0;
        QString characters; // the key's text with modifiers ignored; empty for keys without text
        int modifiers = 0;  // ModifierMask bits
        bool operator==(const KeyDown&) const = default;
    };
    struct KeyUp {
        ProjectTime time;
        int keyCode = 0;
        bool operator==(const KeyUp&) const = default;
    };

    // The four modifier bits of KeyDown.modifiers; any other bit stays clear. Caps Lock has none.
    enum ModifierMask : int { control = 1, option = 2, shift = 4, command = 8 };

    // The alternatives keep the case order of the file format; isClick depends on it.
    std::variant<LeftMouseDown, LeftMouseUp, RightMouseDown, RightMouseUp, OtherMouseDown, Scroll, KeyDown,
                 KeyUp>
        value = LeftMouseDown{};

    // Presses of any button: what auto-zoom and the click ripples react to.
    bool isClick() const { return value.index() == 0 || value.index() == 2 || value.index() == 4; }
    ProjectTime time() const;
    // The pointer position for mouse cases, nothing for keys.
    std::optional<Point> location() const;

    bool operator==(const InputEvent&) const = default;
};

void fromJson(const JsonIn& in, InputEvent& out);
JsonValue toJson(const InputEvent& value);

} // namespace orvane
