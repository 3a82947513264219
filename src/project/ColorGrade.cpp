#include "ColorGrade.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ColorGrade& out) {
    const JsonObjectIn o(in);
    out.exposure = o.required<double>("exposure");
    out.contrast = o.required<double>("contrast");
    out.saturation = o.required<double>("saturation");
    out.vibrance = o.required<double>("vibrance");
    out.temperature = o.required<double>("temperature");
    out.tint = o.required<double>("tint");
    out.highlights = o.required<double>("highlights");
    out.shadows = o.required<double>("shadows");
    out.lutName = o.optional<QString>("lutName");
    out.customLUTBookmark = o.optional<QByteArray>("customLUTBookmark");
}

JsonValue toJson(const ColorGrade& value) {
    JsonObjectOut o;
    o.set("exposure", value.exposure)
        .set("contrast", value.contrast)
        .set("saturation", value.saturation)
        .set("vibrance", value.vibrance)
        .set("temperature", value.temperature)
        .set("tint", value.tint)
        .set("highlights", value.highlights)
        .set("shadows", value.shadows)
        .set("lutName", value.lutName)
        .set("customLUTBookmark", value.customLUTBookmark);
    return o.take();
}

} // namespace orvane
