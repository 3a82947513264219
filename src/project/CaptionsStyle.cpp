#include "CaptionsStyle.h"

namespace orvane {

void fromJson(const JsonIn& in, CaptionsStyle& out) {
    const JsonObjectIn o(in);
    out.fontSize = o.required<double>("fontSize");
    out.fontWeight = o.required<TextStyle::FontWeight>("fontWeight");
    out.color = o.required<RGBAColor>("color");
    out.backgroundColor = o.required<RGBAColor>("backgroundColor");
    out.position = o.required<CaptionPosition>("position");
    out.maxWidthFraction = o.required<double>("maxWidthFraction");
    out.wordHighlight = o.required<bool>("wordHighlight");
    out.highlightColor = o.required<RGBAColor>("highlightColor");
}

JsonValue toJson(const CaptionsStyle& value) {
    JsonObjectOut o;
    o.set("fontSize", value.fontSize)
        .set("fontWeight", value.fontWeight)
        .set("color", value.color)
        .set("backgroundColor", value.backgroundColor)
        .set("position", value.position)
        .set("maxWidthFraction", value.maxWidthFraction)
        .set("wordHighlight", value.wordHighlight)
        .set("highlightColor", value.highlightColor);
    return o.take();
}

} // namespace orvane
