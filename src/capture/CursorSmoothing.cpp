#include "CursorSmoothing.h"

#include <algorithm>

namespace orvane {

namespace {

constexpr double restartGap = 0.1;   // seconds without samples after which the spring lets go
constexpr double minimumStep = 1e-4; // keeps equal timestamps from dividing by zero

// The first sample at or after t, by time.
std::size_t firstAtOrAfter(const std::vector<CursorSample>& samples, ProjectTime t) {
    const auto it = std::lower_bound(samples.begin(), samples.end(), t,
                                     [](const CursorSample& s, ProjectTime time) { return s.time < time; });
    return std::size_t(it - samples.begin());
}

} // namespace

double CursorSmoothing::stiffness(double strength) {
    if (strength >= 1)
        return 8;
    return 60 - 52 * std::max(strength, 0.01);
}

CursorTrack CursorSmoothing::smooth(const CursorTrack& track, double strength) {
    const auto& in = track.samples;
    if (in.size() < 2 || strength <= 0)
        return track;

    const double w = stiffness(strength);
    CursorTrack out;
    out.samples.reserve(in.size());
    out.samples.push_back(in.front());
    Point p{in.front().x, in.front().y};
    Point v{0, 0};
    for (std::size_t i = 1; i < in.size(); ++i) {
        const CursorSample& s = in[i];
        const Point target{s.x, s.y};
        const double dt = (s.time - in[i - 1].time).seconds;
        if (dt > restartGap) {
            out.samples.push_back(s);
            p = target;
            v = {0, 0};
            continue;
        }
        // Backward Euler on x'' = w^2 (T - x) - 2 w x': unconditionally stable, so a burst of samples
        // a microsecond apart and a 0.1 s hiccup are both handled without overshoot.
        const double h = std::max(dt, minimumStep);
        const double a = 1 + 2 * w * h;
        const double bq = w * w * h * h;
        const double d = 1 / (a + bq);
        const Point oldP = p;
        p = (p * a + v * h + target * bq) * d;
        v = (v + (target - oldP) * (w * w * h)) * d;
        out.samples.push_back(CursorSample{s.time, p.x, p.y, s.pressure});
    }
    return out;
}

std::optional<Point> CursorSmoothing::sample(const CursorTrack& track, ProjectTime t) {
    const auto& s = track.samples;
    if (s.empty())
        return std::nullopt;
    if (t <= s.front().time)
        return Point{s.front().x, s.front().y};
    if (t >= s.back().time)
        return Point{s.back().x, s.back().y};
    const std::size_t hi = firstAtOrAfter(s, t);
    const CursorSample& b = s[hi];
    // Of several samples at exactly t the first one counts.
    if (b.time == t)
        return Point{b.x, b.y};
    const CursorSample& a = s[hi - 1];
    const double span = (b.time - a.time).seconds;
    if (span <= 0)
        return Point{a.x, a.y};
    const double u = (t - a.time).seconds / span;
    return Point{a.x + (b.x - a.x) * u, a.y + (b.y - a.y) * u};
}

std::optional<Point> CursorSmoothing::velocity(const CursorTrack& track, ProjectTime t) {
    const auto& s = track.samples;
    if (s.size() < 2)
        return std::nullopt;
    std::size_t hi;
    if (t <= s.front().time)
        hi = 1;
    else if (t >= s.back().time)
        hi = s.size() - 1;
    else
        hi = std::max<std::size_t>(firstAtOrAfter(s, t), 1);
    const CursorSample& a = s[hi - 1];
    const CursorSample& b = s[hi];
    const double dt = std::max((b.time - a.time).seconds, minimumStep);
    return Point{(b.x - a.x) / dt, (b.y - a.y) / dt};
}

} // namespace orvane
