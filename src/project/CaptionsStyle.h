#pragma once

#include "Geometry.h"
#include "Json.h"
#include "RGBAColor.h"
#include "TextStyle.h"

#include <array>

namespace orvane {

enum class CaptionPosition { top, center, bottom };

constexpr auto enumEntries(CaptionPosition) {
    using P = CaptionPosition;
    return std::array{EnumEntry<P>{P::top, "top"}, EnumEntry<P>{P::center, "center"},
                      EnumEntry<P>{P::bottom, "bottom"}};
}
constexpr std::string_view enumTypeName(CaptionPosition) {
    return "CaptionPosition";
}

// Where on the canvas the caption block is centred.
constexpr NormalizedPoint anchor(CaptionPosition position) {
    switch (position) {
    case CaptionPosition::top:
        return {0.5, 0.1};
    case CaptionPosition::center:
        return {0.5, 0.5};
    case CaptionPosition::bottom:
        return {0.5, 0.88};
    }
    return {0.5, 0.88};
}

// One look for every line of a clip's captions.
struct CaptionsStyle {
    // Points on the canvas.
    double fontSize = 44;
    TextStyle::FontWeight fontWeight = TextStyle::FontWeight::semibold;
    RGBAColor color = RGBAColor::white();
    RGBAColor backgroundColor = RGBAColor{0, 0, 0, 0.72};
    CaptionPosition position = CaptionPosition::bottom;
    // The widest a line may run before it wraps, as a fraction of the canvas width.
    double maxWidthFraction = 0.82;
    // Whether the word being spoken is drawn in `highlightColor`; needs word timing.
    bool wordHighlight = true;
    RGBAColor highlightColor = RGBAColor{1, 0.84, 0.2, 1};

    static constexpr CaptionsStyle defaults() { return {}; }

    bool operator==(const CaptionsStyle&) const = default;
};

void fromJson(const JsonIn& in, CaptionsStyle& out);
JsonValue toJson(const CaptionsStyle& value);

} // namespace orvane
