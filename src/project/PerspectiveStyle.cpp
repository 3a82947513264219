#include "PerspectiveStyle.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, PerspectiveStyle& out) {
    const JsonObjectIn o(in);
    constexpr PerspectiveStyle d = PerspectiveStyle::defaults();
    out.isEnabled = o.value("isEnabled", d.isEnabled);
    out.tiltX = o.value("tiltX", d.tiltX);
    out.tiltY = o.value("tiltY", d.tiltY);
    out.depth = o.value("depth", d.depth);
}

JsonValue toJson(const PerspectiveStyle& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("tiltX", value.tiltX)
        .set("tiltY", value.tiltY)
        .set("depth", value.depth);
    return o.take();
}

} // namespace orvane
