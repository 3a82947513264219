#pragma once

#include "capture/ManualZoomEvent.h"
#include "project/AutoZoomConfig.h"
#include "project/Geometry.h"
#include "project/KeyframeTrack.h"

#include <vector>

namespace orvane {

// Zoom marks placed by hand during a recording, turned into the clip's zoom keyframes when it ends.
class ManualZoomKeyframes {
public:
    // Seconds a manual zoom stays on its mark before it zooms back out.
    static constexpr double holdSeconds = 1.0;

    // Each mark zooms in on its position and holds for `holdSeconds`; a mark closer than
    // minHoldDuration to the end of the previous zoom's way out is skipped. Empty without marks or with
    // a non-positive size or duration.
    static KeyframeTrack<NormalizedRect> generate(const std::vector<ManualZoomEvent>& marks, Size sourceSize,
                                                  const AutoZoomConfig& config, ProjectTime clipDuration);
};

} // namespace orvane
