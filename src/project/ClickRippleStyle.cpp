#include "ClickRippleStyle.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ClickRippleStyle& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.color = o.required<RGBAColor>("color");
    out.maxRadius = o.required<double>("maxRadius");
    out.duration = o.required<double>("duration");
    out.thickness = o.required<double>("thickness");
    out.fadeOut = o.required<bool>("fadeOut");
}

JsonValue toJson(const ClickRippleStyle& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("color", value.color)
        .set("maxRadius", value.maxRadius)
        .set("duration", value.duration)
        .set("thickness", value.thickness)
        .set("fadeOut", value.fadeOut);
    return o.take();
}

} // namespace orvane
