#include "DynamicVignetteConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, DynamicVignetteConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.intensity = o.required<double>("intensity");
    out.radius = o.required<double>("radius");
    out.followsCursor = o.required<bool>("followsCursor");
}

JsonValue toJson(const DynamicVignetteConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("intensity", value.intensity)
        .set("radius", value.radius)
        .set("followsCursor", value.followsCursor);
    return o.take();
}

} // namespace orvane
