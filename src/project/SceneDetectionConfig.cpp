#include "SceneDetectionConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, SceneDetectionConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.sensitivity = o.required<double>("sensitivity");
    out.transitionKind = o.required<QString>("transitionKind");
    out.transitionDuration = o.required<double>("transitionDuration");
}

JsonValue toJson(const SceneDetectionConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("sensitivity", value.sensitivity)
        .set("transitionKind", value.transitionKind)
        .set("transitionDuration", value.transitionDuration);
    return o.take();
}

} // namespace orvane
