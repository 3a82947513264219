#pragma once

#include "project/Geometry.h"

#include <optional>

namespace orvane {

// X pointer buttons as the event files number and read them.
struct X11Buttons {
    static constexpr int left = 1;
    static constexpr int middle = 2;
    static constexpr int right = 3;

    // Buttons 4 to 7 are wheel steps, not buttons: one line up, down, left or right. Positive dy is
    // away from the user, positive dx towards the left, the wheel's own sense of direction.
    static std::optional<Point> scrollStep(int button) {
        switch (button) {
        case 4:
            return Point{0, 1};
        case 5:
            return Point{0, -1};
        case 6:
            return Point{1, 0};
        case 7:
            return Point{-1, 0};
        default:
            return std::nullopt;
        }
    }

    // The number an "other" button carries in the files: 2 for the middle button, then back (X button
    // 8) and forward (9) as 3 and 4, and so on past the wheel's numbers.
    static int fileButtonNumber(int button) { return button <= middle ? button : button - 5; }
};

} // namespace orvane
