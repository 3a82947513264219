#include "CursorSample.h"

#include "project/Json.h"

namespace orvane {

void fromJson(const JsonIn& in, CursorSample& out) {
    const JsonObjectIn o(in);
    out.time = o.required<ProjectTime>("time");
    out.x = o.required<double>("x");
    out.y = o.required<double>("y");
    out.pressure = o.required<double>("pressure");
}

JsonValue toJson(const CursorSample& value) {
    JsonObjectOut o;
    o.set("time", value.time).set("x", value.x).set("y", value.y).set("pressure", value.pressure);
    return o.take();
}

} // namespace orvane
