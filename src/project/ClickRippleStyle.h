#pragma once

#include "JsonFwd.h"
#include "RGBAColor.h"

namespace orvane {

// The ring that grows from the cursor on each click.
struct ClickRippleStyle {
    bool isEnabled = true;
    RGBAColor color{1, 1, 1, 0.85};
    double maxRadius = 80;
    double duration = 0.6; // seconds
    double thickness = 4;
    bool fadeOut = true;

    static constexpr ClickRippleStyle defaults() { return {}; }
    // Switched off but with the full ripple kept, so switching it back on gives a usable ripple.
    static constexpr ClickRippleStyle none() {
        ClickRippleStyle style;
        style.isEnabled = false;
        return style;
    }

    bool operator==(const ClickRippleStyle&) const = default;
};

void fromJson(const JsonIn& in, ClickRippleStyle& out);
JsonValue toJson(const ClickRippleStyle& value);

} // namespace orvane
