#pragma once

#include "capture/EventTrack.h"
#include "project/ClickRippleStyle.h"
#include "project/ProjectTime.h"

#include <vector>

namespace orvane {

// One ring growing from a click at one moment.
struct ActiveRipple {
    double originX = 0; // source pixels
    double originY = 0;
    double progress = 0; // 0...1 over the style's duration
    double radius = 0;
    double opacity = 0;
    bool operator==(const ActiveRipple&) const = default;
};

// Which click rings show at a time, and how far each has grown. Stateless.
class ClickRippleEngine {
public:
    // The presses of any button whose age is from 0 to the duration, both ends included, in event order.
    static std::vector<ActiveRipple> ripples(const EventTrack& events, ProjectTime t,
                                             const ClickRippleStyle& style);
    // The same into `out`, which is emptied first; keeps its capacity, for per-frame use.
    static void ripples(const EventTrack& events, ProjectTime t, const ClickRippleStyle& style,
                        std::vector<ActiveRipple>& out);
};

} // namespace orvane
