#include "TextOverlay.h"

namespace orvane {

void fromJson(const JsonIn& in, TextOverlay& out) {
    const JsonObjectIn o(in);
    out.id = o.required<QUuid>("id");
    out.text = o.required<QString>("text");
    out.timeRange = o.required<TimeRange>("timeRange");
    out.style = o.required<TextStyle>("style");
    out.position = o.required<TextOverlay::Position>("position");
    out.animation = o.required<TextOverlay::Animation>("animation");
}

JsonValue toJson(const TextOverlay& value) {
    JsonObjectOut o;
    o.set("id", value.id)
        .set("text", value.text)
        .set("timeRange", value.timeRange)
        .set("style", value.style)
        .set("position", value.position)
        .set("animation", value.animation);
    return o.take();
}

} // namespace orvane
