#include "ManualZoomKeyframes.h"

#include "ZoomFraming.h"

namespace orvane {

KeyframeTrack<NormalizedRect> ManualZoomKeyframes::generate(const std::vector<ManualZoomEvent>& marks,
                                                            Size sourceSize, const AutoZoomConfig& config,
                                                            ProjectTime clipDuration) {
    KeyframeTrack<NormalizedRect> track;
    if (marks.empty() || !(clipDuration.seconds > 0) || !(sourceSize.width > 0) || !(sourceSize.height > 0))
        return track;
    ZoomFraming::insert(track, ProjectTime::zero(), NormalizedRect::unit(), config.easing);
    double lastEnd = -1000.0;
    for (const ManualZoomEvent& mark : marks) {
        if (mark.time.seconds - lastEnd < config.minHoldDuration)
            continue;
        // The keypress says exactly where to look, so the composition style has no say; only the pull.
        const NormalizedRect crop = ZoomFraming::cropRect({mark.cursorX, mark.cursorY}, sourceSize,
                                                          config.zoomLevel, config.centerPull);
        const ProjectTime holdEnd(mark.time.seconds + holdSeconds);
        ZoomFraming::insertZoom(track, mark.time, holdEnd, crop, config);
        lastEnd = holdEnd.seconds + config.zoomOutDuration;
    }
    return track;
}

} // namespace orvane
