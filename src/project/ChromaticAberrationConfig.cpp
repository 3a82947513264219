#include "ChromaticAberrationConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ChromaticAberrationConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.strength = o.required<double>("strength");
    out.onlyDuringZoom = o.required<bool>("onlyDuringZoom");
}

JsonValue toJson(const ChromaticAberrationConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("strength", value.strength)
        .set("onlyDuringZoom", value.onlyDuringZoom);
    return o.take();
}

} // namespace orvane
