#pragma once

#include "project/ProjectTime.h"

namespace orvane {

// A zoom mark placed by hand during a recording: when the chord was pressed and where the pointer was,
// in source pixels. Kept in memory only; it becomes zoom keyframes when the recording ends.
struct ManualZoomEvent {
    ProjectTime time;
    double cursorX = 0;
    double cursorY = 0;

    bool operator==(const ManualZoomEvent&) const = default;
};

} // namespace orvane
