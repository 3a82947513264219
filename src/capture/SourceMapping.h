#pragma once

#include "project/Geometry.h"

namespace orvane {

// Turns global screen positions (points, origin top-left, spanning every display) into source pixels of
// the captured region. Nothing is clamped: a pointer left of or above the region gives negative values,
// one beyond it values above the source size.
struct SourceMapping {
    Rect sourceFrameInGlobal;
    Size sourceSize;

    // For positions delivered with an input event (the tap).
    Point fromEventLocation(Point global) const {
        return {(sourceSize.width / sourceFrameInGlobal.width) * (global.x - sourceFrameInGlobal.minX()),
                (sourceSize.height / sourceFrameInGlobal.height) * (global.y - sourceFrameInGlobal.minY())};
    }

    // For positions read from the pointer (the polling tracker, the event monitor and the hotkey). A
    // degenerate frame counts as one point wide so that a bad frame yields numbers, not infinities.
    Point fromPointerLocation(Point global) const {
        return {(global.x - sourceFrameInGlobal.minX()) * sourceSize.width /
                    std::max(sourceFrameInGlobal.width, 1.0),
                (global.y - sourceFrameInGlobal.minY()) * sourceSize.height /
                    std::max(sourceFrameInGlobal.height, 1.0)};
    }

    bool operator==(const SourceMapping&) const = default;
};

} // namespace orvane
