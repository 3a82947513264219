#pragma once

#include "CursorTrack.h"
#include "project/Geometry.h"

#include <optional>

namespace orvane {

// Spring smoothing of a recorded pointer path and lookups into a track. Stateless; `sample` and
// `velocity` run per frame and allocate nothing. Tracks must be in ascending time, as recorded.
class CursorSmoothing {
public:
    // A critically damped spring pulled towards each sample, solved implicitly so any sample interval
    // is stable. Strength 0 (or less) leaves the track alone; higher strength follows more slowly, with
    // everything from 1 up the same. After a pause of more than 0.1 s the spring restarts on the sample.
    static CursorTrack smooth(const CursorTrack& track, double strength);

    // The spring's stiffness for a strength: 59.48 at 0.01, 8 at 1 and above.
    static double stiffness(double strength);

    // The position at time t: held before the first and after the last sample, linear in between.
    static std::optional<Point> sample(const CursorTrack& track, ProjectTime t);

    // Source pixels per second at time t, from the pair of samples around it (the first or last pair
    // outside the track). Nothing with fewer than two samples.
    static std::optional<Point> velocity(const CursorTrack& track, ProjectTime t);
};

} // namespace orvane
