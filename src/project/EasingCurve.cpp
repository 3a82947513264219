#include "EasingCurve.h"

#include "Bezier.h"

#include <algorithm>
#include <cmath>

namespace orvane {

double EasingCurve::value(double t) const {
    const double u = std::clamp(t, 0.0, 1.0);
    switch (kind) {
    case Kind::linear:
        return u;
    case Kind::easeIn:
        return u * u;
    case Kind::easeOut:
        return 1 - (1 - u) * (1 - u);
    case Kind::easeInOut:
        return u < 0.5 ? 2 * u * u : 1 - (2 - 2 * u) * (2 - 2 * u) / 2;
    case Kind::smoothStep:
        return u * u * (3 - 2 * u);
    case Kind::spring: {
        if (u == 0)
            return 0;
        if (u == 1)
            return 1;
        constexpr double c4 = 2.0943951023931953; // 2π/3
        return std::pow(2.0, -10 * u) * std::sin((10 * u - 0.75) * c4) + 1;
    }
    case Kind::cinematic:
        return Bezier::solve(u, 0.65, 0, 0.35, 1);
    case Kind::bezier:
        return Bezier::solve(u, p1x, p1y, p2x, p2y);
    }
    return u;
}

void fromJson(const JsonIn& in, EasingCurve& out) {
    const JsonObjectIn o(in);
    out.kind = o.required<EasingCurve::Kind>("kind");
    out.p1x = o.required<double>("p1x");
    out.p1y = o.required<double>("p1y");
    out.p2x = o.required<double>("p2x");
    out.p2y = o.required<double>("p2y");
}

JsonValue toJson(const EasingCurve& value) {
    JsonObjectOut o;
    o.set("kind", value.kind)
        .set("p1x", value.p1x)
        .set("p1y", value.p1y)
        .set("p2x", value.p2x)
        .set("p2y", value.p2y);
    return o.take();
}

} // namespace orvane
