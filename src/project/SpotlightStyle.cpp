#include "SpotlightStyle.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, SpotlightStyle& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.color = o.required<RGBAColor>("color");
    out.radius = o.required<double>("radius");
    out.falloff = o.required<double>("falloff");
}

JsonValue toJson(const SpotlightStyle& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("color", value.color)
        .set("radius", value.radius)
        .set("falloff", value.falloff);
    return o.take();
}

} // namespace orvane
