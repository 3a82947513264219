#include "Geometry.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, NormalizedPoint& out) {
    const JsonObjectIn o(in);
    out.x = o.required<double>("x");
    out.y = o.required<double>("y");
}

JsonValue toJson(const NormalizedPoint& value) {
    JsonObjectOut o;
    o.set("x", value.x).set("y", value.y);
    return o.take();
}

void fromJson(const JsonIn& in, NormalizedRect& out) {
    const JsonObjectIn o(in);
    out.x = o.required<double>("x");
    out.y = o.required<double>("y");
    out.width = o.required<double>("width");
    out.height = o.required<double>("height");
}

JsonValue toJson(const NormalizedRect& value) {
    JsonObjectOut o;
    o.set("x", value.x).set("y", value.y).set("width", value.width).set("height", value.height);
    return o.take();
}

} // namespace orvane
