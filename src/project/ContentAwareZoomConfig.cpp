#include "ContentAwareZoomConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ContentAwareZoomConfig& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.detectText = o.required<bool>("detectText");
    out.detectButtons = o.required<bool>("detectButtons");
    out.detectMenus = o.required<bool>("detectMenus");
    out.zoomLevel = o.required<double>("zoomLevel");
}

JsonValue toJson(const ContentAwareZoomConfig& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("detectText", value.detectText)
        .set("detectButtons", value.detectButtons)
        .set("detectMenus", value.detectMenus)
        .set("zoomLevel", value.zoomLevel);
    return o.take();
}

} // namespace orvane
