#include "AutoZoomConfig.h"

namespace orvane {

void fromJson(const JsonIn& in, AutoZoomConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.clickSensitivity = o.required<double>("clickSensitivity");
    out.zoomLevel = o.required<double>("zoomLevel");
    out.easing = o.required<EasingCurve>("easing");
    out.zoomInDuration = o.required<double>("zoomInDuration");
    out.minHoldDuration = o.required<double>("minHoldDuration");
    out.zoomOutDuration = o.required<double>("zoomOutDuration");
    out.composition = o.required<AutoZoomConfig::CompositionStyle>("composition");
    out.centerPull = o.required<double>("centerPull");
    out.maxZoomsPerMinute = o.required<int>("maxZoomsPerMinute");
}

JsonValue toJson(const AutoZoomConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("clickSensitivity", value.clickSensitivity)
        .set("zoomLevel", value.zoomLevel)
        .set("easing", value.easing)
        .set("zoomInDuration", value.zoomInDuration)
        .set("minHoldDuration", value.minHoldDuration)
        .set("zoomOutDuration", value.zoomOutDuration)
        .set("composition", value.composition)
        .set("centerPull", value.centerPull)
        .set("maxZoomsPerMinute", value.maxZoomsPerMinute);
    return o.take();
}

} // namespace orvane
