#include "CursorStyle.h"

namespace orvane {

void fromJson(const JsonIn& in, CursorStyle& out) {
    const JsonObjectIn o(in);
    constexpr CursorStyle d = CursorStyle::defaults();
    out.isVisible = o.value("isVisible", d.isVisible);
    out.scale = o.value("scale", d.scale);
    out.smoothing = o.value("smoothing", d.smoothing);
    out.shape = o.value("shape", d.shape);
    out.color = o.value("color", d.color);
    out.rotationEnabled = o.value("rotationEnabled", d.rotationEnabled);
    out.clickRipple = o.value("clickRipple", d.clickRipple);
    out.spotlight = o.value("spotlight", d.spotlight);
}

JsonValue toJson(const CursorStyle& value) {
    JsonObjectOut o;
    o.set("isVisible", value.isVisible)
        .set("scale", value.scale)
        .set("smoothing", value.smoothing)
        .set("shape", value.shape)
        .set("color", value.color)
        .set("rotationEnabled", value.rotationEnabled)
        .set("clickRipple", value.clickRipple)
        .set("spotlight", value.spotlight);
    return o.take();
}

} // namespace orvane
