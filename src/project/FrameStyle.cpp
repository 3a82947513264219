#include "FrameStyle.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, FrameStyle& out) {
    const JsonObjectIn o(in);
    const FrameStyle d = FrameStyle::defaults();
    out.paddingFraction = o.value("paddingFraction", d.paddingFraction);
    out.cornerRadius = o.value("cornerRadius", d.cornerRadius);
    out.shadow = o.value("shadow", d.shadow);
    out.chrome = o.value("chrome", d.chrome);
    out.innerBorderWidth = o.value("innerBorderWidth", d.innerBorderWidth);
    out.innerBorderColor = o.value("innerBorderColor", d.innerBorderColor);
    out.perspective = o.value("perspective", d.perspective);
}

JsonValue toJson(const FrameStyle& value) {
    JsonObjectOut o;
    o.set("paddingFraction", value.paddingFraction)
        .set("cornerRadius", value.cornerRadius)
        .set("shadow", value.shadow)
        .set("chrome", value.chrome)
        .set("innerBorderWidth", value.innerBorderWidth)
        .set("innerBorderColor", value.innerBorderColor)
        .set("perspective", value.perspective);
    return o.take();
}

} // namespace orvane
