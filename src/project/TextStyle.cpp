#include "TextStyle.h"

namespace orvane {

namespace {
// The presets share the family, the white text and the missing outline; only size, weight, plate and
// shadow set them apart.
TextStyle preset(double fontSize, TextStyle::FontWeight weight, RGBAColor plate, double padding,
                 double cornerRadius, ShadowStyle shadow) {
    TextStyle style;
    style.fontSize = fontSize;
    style.fontWeight = weight;
    style.backgroundColor = plate;
    style.backgroundPadding = padding;
    style.backgroundCornerRadius = cornerRadius;
    style.shadow = shadow;
    return style;
}
} // namespace

TextStyle TextStyle::titleCard() {
    return preset(96, FontWeight::heavy, RGBAColor{0, 0, 0, 0.55}, 32, 16, ShadowStyle::premium());
}

TextStyle TextStyle::lowerThird() {
    return preset(42, FontWeight::semibold, RGBAColor{0.7, 0.38, 1, 0.85}, 18, 8, ShadowStyle::subtle());
}

TextStyle TextStyle::caption() {
    return preset(36, FontWeight::semibold, RGBAColor{0, 0, 0, 0.7}, 14, 6, ShadowStyle::subtle());
}

void fromJson(const JsonIn& in, StrokeStyle& out) {
    const JsonObjectIn o(in);
    out.width = o.required<double>("width");
    out.color = o.required<RGBAColor>("color");
}

JsonValue toJson(const StrokeStyle& value) {
    JsonObjectOut o;
    o.set("width", value.width).set("color", value.color);
    return o.take();
}

void fromJson(const JsonIn& in, TextStyle& out) {
    const JsonObjectIn o(in);
    out.fontFamily = o.required<QString>("fontFamily");
    out.fontSize = o.required<double>("fontSize");
    out.fontWeight = o.required<TextStyle::FontWeight>("fontWeight");
    out.color = o.required<RGBAColor>("color");
    out.backgroundColor = o.required<RGBAColor>("backgroundColor");
    out.backgroundPadding = o.required<double>("backgroundPadding");
    out.backgroundCornerRadius = o.required<double>("backgroundCornerRadius");
    out.stroke = o.required<StrokeStyle>("stroke");
    out.shadow = o.required<ShadowStyle>("shadow");
}

JsonValue toJson(const TextStyle& value) {
    JsonObjectOut o;
    o.set("fontFamily", value.fontFamily)
        .set("fontSize", value.fontSize)
        .set("fontWeight", value.fontWeight)
        .set("color", value.color)
        .set("backgroundColor", value.backgroundColor)
        .set("backgroundPadding", value.backgroundPadding)
        .set("backgroundCornerRadius", value.backgroundCornerRadius)
        .set("stroke", value.stroke)
        .set("shadow", value.shadow);
    return o.take();
}

} // namespace orvane
