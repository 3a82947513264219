#include "MotionBlurConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, MotionBlurConfig& out) {
    const JsonObjectIn o(in);
    out.cursorStrength = o.required<double>("cursorStrength");
    out.zoomStrength = o.required<double>("zoomStrength");
    out.panStrength = o.required<double>("panStrength");
}

JsonValue toJson(const MotionBlurConfig& value) {
    JsonObjectOut o;
    o.set("cursorStrength", value.cursorStrength)
        .set("zoomStrength", value.zoomStrength)
        .set("panStrength", value.panStrength);
    return o.take();
}

} // namespace orvane
