#include "CursorTrack.h"

#include "project/Json.h"

namespace orvane {

void fromJson(const JsonIn& in, CursorTrack& out) {
    out.samples = JsonObjectIn(in).required<std::vector<CursorSample>>("samples");
}

JsonValue toJson(const CursorTrack& value) {
    JsonObjectOut o;
    o.set("samples", value.samples);
    return o.take();
}

} // namespace orvane
