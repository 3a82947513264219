#include "DepthOfFieldConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, DepthOfFieldConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.focusRadius = o.required<double>("focusRadius");
    out.blurRadius = o.required<double>("blurRadius");
    out.falloff = o.required<double>("falloff");
}

JsonValue toJson(const DepthOfFieldConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("focusRadius", value.focusRadius)
        .set("blurRadius", value.blurRadius)
        .set("falloff", value.falloff);
    return o.take();
}

} // namespace orvane
