#include "ImageOverlay.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, ImageOverlay& out) {
    const JsonObjectIn o(in);
    out.id = o.required<QUuid>("id");
    out.timeRange = o.required<TimeRange>("timeRange");
    out.position = o.required<NormalizedPoint>("position");
    out.scale = o.required<double>("scale");
    out.rotation = o.required<double>("rotation");
    out.opacity = o.required<double>("opacity");
    out.imageBookmark = o.required<QByteArray>("imageBookmark");
    out.cornerRadius = o.required<double>("cornerRadius");
    out.shadow = o.required<ShadowStyle>("shadow");
}

JsonValue toJson(const ImageOverlay& value) {
    JsonObjectOut o;
    o.set("id", value.id)
        .set("timeRange", value.timeRange)
        .set("position", value.position)
        .set("scale", value.scale)
        .set("rotation", value.rotation)
        .set("opacity", value.opacity)
        .set("imageBookmark", value.imageBookmark)
        .set("cornerRadius", value.cornerRadius)
        .set("shadow", value.shadow);
    return o.take();
}

} // namespace orvane
