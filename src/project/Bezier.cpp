#include "Bezier.h"

#include <cmath>

namespace orvane::Bezier {

namespace {
constexpr double epsilon = 1e-6;
constexpr int newtonRounds = 8;
constexpr int bisectionRounds = 32;
} // namespace

double solve(double t, double p1x, double p1y, double p2x, double p2y) {
    const double cx = 3 * p1x;
    const double bx = 3 * (p2x - p1x) - cx;
    const double ax = 1 - cx - bx;
    const double cy = 3 * p1y;
    const double by = 3 * (p2y - p1y) - cy;
    const double ay = 1 - cy - by;
    auto x = [&](double s) {
        return s * (cx + s * (bx + ax * s));
    };
    auto dx = [&](double s) {
        return cx + s * (2 * bx + 3 * ax * s);
    };
    auto y = [&](double s) {
        return s * (cy + s * (by + ay * s));
    };

    double s = t;
    for (int round = 0; round < newtonRounds; ++round) {
        const double error = x(s) - t;
        if (std::abs(error) < epsilon)
            return y(s);
        const double slope = dx(s);
        if (std::abs(slope) < epsilon)
            break;
        // The last round only tests; its step would go unchecked.
        if (round == newtonRounds - 1)
            break;
        s -= error / slope;
    }

    s = t;
    double lo = 0;
    double hi = 1;
    for (int round = 0; round < bisectionRounds; ++round) {
        const double value = x(s);
        if (std::abs(value - t) < epsilon)
            break;
        if (value < t)
            lo = s;
        else
            hi = s;
        s = (lo + hi) * 0.5;
    }
    return y(s);
}

} // namespace orvane::Bezier
