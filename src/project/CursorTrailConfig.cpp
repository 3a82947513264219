#include "CursorTrailConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, CursorTrailConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.trailLength = o.required<int>("trailLength");
    out.trailWidth = o.required<double>("trailWidth");
    out.color = o.required<RGBAColor>("color");
    out.fadeOut = o.required<bool>("fadeOut");
    out.glow = o.required<bool>("glow");
}

JsonValue toJson(const CursorTrailConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("trailLength", value.trailLength)
        .set("trailWidth", value.trailWidth)
        .set("color", value.color)
        .set("fadeOut", value.fadeOut)
        .set("glow", value.glow);
    return o.take();
}

} // namespace orvane
