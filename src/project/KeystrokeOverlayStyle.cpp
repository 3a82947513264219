#include "KeystrokeOverlayStyle.h"

namespace orvane {

void fromJson(const JsonIn& in, KeystrokeOverlayStyle& out) {
    const JsonObjectIn o(in);
    out.fontSize = o.required<double>("fontSize");
    out.displayDuration = o.required<double>("displayDuration");
    out.position = o.required<KeystrokeOverlayStyle::KeystrokePosition>("position");
}

JsonValue toJson(const KeystrokeOverlayStyle& value) {
    JsonObjectOut o;
    o.set("fontSize", value.fontSize)
        .set("displayDuration", value.displayDuration)
        .set("position", value.position);
    return o.take();
}

} // namespace orvane
