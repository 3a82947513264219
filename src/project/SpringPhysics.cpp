#include "SpringPhysics.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, SpringPhysics& out) {
    const JsonObjectIn o(in);
    out.tension = o.required<double>("tension");
    out.friction = o.required<double>("friction");
    out.mass = o.required<double>("mass");
}

JsonValue toJson(const SpringPhysics& value) {
    JsonObjectOut o;
    o.set("tension", value.tension).set("friction", value.friction).set("mass", value.mass);
    return o.take();
}

} // namespace orvane
