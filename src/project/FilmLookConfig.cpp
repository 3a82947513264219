#include "FilmLookConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, FilmLookConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.grainIntensity = o.required<double>("grainIntensity");
    out.grainSize = o.required<double>("grainSize");
    out.halation = o.required<double>("halation");
    out.colorShift = o.required<double>("colorShift");
}

JsonValue toJson(const FilmLookConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("grainIntensity", value.grainIntensity)
        .set("grainSize", value.grainSize)
        .set("halation", value.halation)
        .set("colorShift", value.colorShift);
    return o.take();
}

} // namespace orvane
