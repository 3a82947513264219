#include "EventTrack.h"

#include "project/Json.h"

namespace orvane {

void fromJson(const JsonIn& in, EventTrack& out) {
    out.events = JsonObjectIn(in).required<std::vector<InputEvent>>("events");
}

JsonValue toJson(const EventTrack& value) {
    JsonObjectOut o;
    o.set("events", value.events);
    return o.take();
}

} // namespace orvane
