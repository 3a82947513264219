#include "ShadowStyle.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ShadowStyle& out) {
    const JsonObjectIn o(in);
    out.color = o.required<RGBAColor>("color");
    out.radius = o.required<double>("radius");
    out.offsetX = o.required<double>("offsetX");
    out.offsetY = o.required<double>("offsetY");
    out.opacity = o.required<double>("opacity");
}

JsonValue toJson(const ShadowStyle& value) {
    JsonObjectOut o;
    o.set("color", value.color)
        .set("radius", value.radius)
        .set("offsetX", value.offsetX)
        .set("offsetY", value.offsetY)
        .set("opacity", value.opacity);
    return o.take();
}

} // namespace orvane
