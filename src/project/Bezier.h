#pragma once

namespace orvane::Bezier {

// The value of the cubic Bézier through (0, 0), (p1x, p1y), (p2x, p2y), (1, 1) at abscissa `t`: Newton
// first, bisection when Newton does not converge. No clamping of its own.
double solve(double t, double p1x, double p1y, double p2x, double p2y);

} // namespace orvane::Bezier
