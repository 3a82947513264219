#pragma once

#include "project/AutoZoomConfig.h"
#include "project/EasingCurve.h"
#include "project/Geometry.h"
#include "project/KeyframeTrack.h"

namespace orvane {

// Where a zoom looks and how its keyframes are laid down; shared by the click-driven generator and the
// hand-placed marks so both frame a point alike.
class ZoomFraming {
public:
    // How strongly the frame's centre pulls the aim away from the point of interest, 0..1.
    static double centerPull(const AutoZoomConfig& config);

    // The crop, as a fraction of the source, of a zoom by `zoomLevel` aimed at `focus` (source pixels)
    // and pulled towards the centre by `pull`. The crop is kept inside the source, the far edge last,
    // so a crop larger than the source ends flush with its far edge.
    static NormalizedRect cropRect(Point focus, Size sourceSize, double zoomLevel, double pull);

    // Adds `keyframe` with KeyframeTrack::insert semantics, appending directly when it lies after the
    // last keyframe: generators emit keyframes almost always in time order, and this keeps a track of
    // thousands of zooms linear to build.
    static void insert(KeyframeTrack<NormalizedRect>& track, ProjectTime time, const NormalizedRect& value,
                       const EasingCurve& easing);

    // The four keyframes of one zoom: in from full frame (starting `leadIn` before `start`, not before
    // 0), held from `start` until `holdEnd`, and back out to full frame `zoomOutDuration` later.
    static void insertZoom(KeyframeTrack<NormalizedRect>& track, ProjectTime start, ProjectTime holdEnd,
                           const NormalizedRect& crop, const AutoZoomConfig& config);
};

} // namespace orvane
