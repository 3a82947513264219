#include "ClickRippleEngine.h"

#include <algorithm>

namespace orvane {

std::vector<ActiveRipple> ClickRippleEngine::ripples(const EventTrack& events, ProjectTime t,
                                                     const ClickRippleStyle& style) {
    std::vector<ActiveRipple> out;
    ripples(events, t, style, out);
    return out;
}

void ClickRippleEngine::ripples(const EventTrack& events, ProjectTime t, const ClickRippleStyle& style,
                                std::vector<ActiveRipple>& out) {
    out.clear();
    if (!style.isEnabled || events.events.empty())
        return;
    for (const InputEvent& event : events.events) {
        if (!event.isClick())
            continue;
        const double age = (t - event.time()).seconds;
        if (age < 0 || age > style.duration)
            continue;
        const std::optional<Point> at = event.location();
        if (!at)
            continue;
        // A zero duration shows the click for its one instant, fully grown.
        const double progress = style.duration > 0 ? age / style.duration : 1.0;
        const double opacity =
            style.fadeOut ? std::max((1.0 - progress) * style.color.a, 0.0) : style.color.a;
        out.push_back({at->x, at->y, progress, progress * style.maxRadius, opacity});
    }
}

} // namespace orvane
