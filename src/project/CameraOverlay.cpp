#include "CameraOverlay.h"

namespace orvane {

void fromJson(const JsonIn& in, CameraOverlay& out) {
    const JsonObjectIn o(in);
    out.isEnabled = o.required<bool>("isEnabled");
    out.position = o.required<NormalizedPoint>("position");
    out.sizeFraction = o.required<double>("sizeFraction");
    out.shape = o.required<CameraOverlay::Shape>("shape");
    out.borderWidth = o.required<double>("borderWidth");
    out.borderColor = o.required<RGBAColor>("borderColor");
    out.shadow = o.required<ShadowStyle>("shadow");
    out.deviceUniqueID = o.required<QString>("deviceUniqueID");
    out.mirror = o.required<bool>("mirror");
    out.backgroundRemoval = o.value("backgroundRemoval", CameraOverlay::BackgroundRemovalMode::off);
}

JsonValue toJson(const CameraOverlay& value) {
    JsonObjectOut o;
    o.set("isEnabled", value.isEnabled)
        .set("position", value.position)
        .set("sizeFraction", value.sizeFraction)
        .set("shape", value.shape)
        .set("borderWidth", value.borderWidth)
        .set("borderColor", value.borderColor)
        .set("shadow", value.shadow)
        .set("deviceUniqueID", value.deviceUniqueID)
        .set("mirror", value.mirror)
        .set("backgroundRemoval", value.backgroundRemoval);
    return o.take();
}

} // namespace orvane
