#include "ZoomFraming.h"

#include <algorithm>

namespace orvane {

namespace {
constexpr double leadInFraction = 0.6;  // of zoomInDuration, before the moment of interest
constexpr double leadStyleFactor = 0.6; // followWithLead keeps this much of the centre pull
} // namespace

double ZoomFraming::centerPull(const AutoZoomConfig& config) {
    switch (config.composition) {
    case AutoZoomConfig::CompositionStyle::centerOnCursor:
        return 0;
    case AutoZoomConfig::CompositionStyle::ruleOfThirds:
        return config.centerPull;
    case AutoZoomConfig::CompositionStyle::followWithLead:
        return leadStyleFactor * config.centerPull;
    }
    return config.centerPull;
}

NormalizedRect ZoomFraming::cropRect(Point focus, Size s, double zoomLevel, double pull) {
    const Size crop{s.width / zoomLevel, s.height / zoomLevel};
    const Point target{pull * (s.width / 2) + (1 - pull) * focus.x,
                       pull * (s.height / 2) + (1 - pull) * focus.y};
    Point origin{target.x - crop.width / 2, target.y - crop.height / 2};
    if (origin.x < 0)
        origin.x = 0;
    if (origin.y < 0)
        origin.y = 0;
    if (origin.x + crop.width > s.width)
        origin.x = s.width - crop.width;
    if (origin.y + crop.height > s.height)
        origin.y = s.height - crop.height;
    return {origin.x / s.width, origin.y / s.height, crop.width / s.width, crop.height / s.height};
}

void ZoomFraming::insert(KeyframeTrack<NormalizedRect>& track, ProjectTime time, const NormalizedRect& value,
                         const EasingCurve& easing) {
    auto& keys = track.keyframes;
    // Only valid while the track is sorted with distinct times, which insert itself maintains.
    if (keys.empty() || time > keys.back().time)
        keys.push_back({time, value, easing});
    else
        track.insert({time, value, easing});
}

void ZoomFraming::insertZoom(KeyframeTrack<NormalizedRect>& track, ProjectTime start, ProjectTime holdEnd,
                             const NormalizedRect& crop, const AutoZoomConfig& config) {
    const ProjectTime zoomInStart(std::max(0.0, start.seconds - leadInFraction * config.zoomInDuration));
    insert(track, zoomInStart, NormalizedRect::unit(), config.easing);
    insert(track, start, crop, config.easing);
    insert(track, holdEnd, crop, config.easing);
    insert(track, holdEnd + ProjectTime(config.zoomOutDuration), NormalizedRect::unit(), config.easing);
}

} // namespace orvane
