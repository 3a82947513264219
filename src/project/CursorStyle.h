#pragma once

#include "ClickRippleStyle.h"
#include "Json.h"
#include "RGBAColor.h"
#include "SpotlightStyle.h"

#include <array>

namespace orvane {

enum class CursorShape {
    arrow,
    hand,
    iBeam,
    crosshair,
    openHand,
    closedHand,
    resizeH,
    resizeV,
    resizeDiagonal,
    wait
};

constexpr auto enumEntries(CursorShape) {
    using S = CursorShape;
    return std::array{EnumEntry<S>{S::arrow, "arrow"},
                      EnumEntry<S>{S::hand, "hand"},
                      EnumEntry<S>{S::iBeam, "iBeam"},
                      EnumEntry<S>{S::crosshair, "crosshair"},
                      EnumEntry<S>{S::openHand, "openHand"},
                      EnumEntry<S>{S::closedHand, "closedHand"},
                      EnumEntry<S>{S::resizeH, "resizeH"},
                      EnumEntry<S>{S::resizeV, "resizeV"},
                      EnumEntry<S>{S::resizeDiagonal, "resizeDiagonal"},
                      EnumEntry<S>{S::wait, "wait"}};
}
constexpr std::string_view enumTypeName(CursorShape) {
    return "CursorShape";
}

// How the recorded cursor is redrawn. Lenient in JSON: every key may be missing.
struct CursorStyle {
    bool isVisible = true;
    double scale = 1.4;
    double smoothing = 0.5;
    CursorShape shape = CursorShape::arrow;
    RGBAColor color = RGBAColor::white();
    bool rotationEnabled = true;
    ClickRippleStyle clickRipple = ClickRippleStyle::defaults();
    SpotlightStyle spotlight = SpotlightStyle::none();

    static constexpr CursorStyle defaults() { return {}; }

    bool operator==(const CursorStyle&) const = default;
};

void fromJson(const JsonIn& in, CursorStyle& out);
JsonValue toJson(const CursorStyle& value);

} // namespace orvane
