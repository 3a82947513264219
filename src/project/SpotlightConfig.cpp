#include "SpotlightConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, SpotlightConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.radius = o.required<double>("radius");
    out.dimOpacity = o.required<double>("dimOpacity");
    out.feather = o.required<double>("feather");
    out.followsCursor = o.required<bool>("followsCursor");
}

JsonValue toJson(const SpotlightConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("radius", value.radius)
        .set("dimOpacity", value.dimOpacity)
        .set("feather", value.feather)
        .set("followsCursor", value.followsCursor);
    return o.take();
}

} // namespace orvane
