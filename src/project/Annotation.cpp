#include "Annotation.h"

namespace orvane {

void fromJson(const JsonIn& in, Annotation& out) {
    const JsonObjectIn o(in);
    out.id = o.required<QUuid>("id");
    out.kind = o.required<Annotation::AnnotationKind>("kind");
    out.timeRange = o.required<TimeRange>("timeRange");
    out.position = o.required<NormalizedPoint>("position");
    out.endPosition = o.optional<NormalizedPoint>("endPosition");
    out.color = o.required<RGBAColor>("color");
    out.strokeWidth = o.required<double>("strokeWidth");
    out.size = o.required<double>("size");
    out.animation = o.required<Annotation::AnnotationAnimation>("animation");
}

JsonValue toJson(const Annotation& value) {
    JsonObjectOut o;
    o.set("id", value.id)
        .set("kind", value.kind)
        .set("timeRange", value.timeRange)
        .set("position", value.position)
        .set("endPosition", value.endPosition)
        .set("color", value.color)
        .set("strokeWidth", value.strokeWidth)
        .set("size", value.size)
        .set("animation", value.animation);
    return o.take();
}

} // namespace orvane
