#pragma once

#include "AnimatablePropertyID.h"
#include "KeyframeTrack.h"

#include <map>

namespace orvane {

// Keyframed properties of a clip. In JSON the map is a flat array of alternating keys and tracks, the
// generic form of a map keyed by an enumeration.
struct AnimationBag {
    std::map<AnimatablePropertyID, KeyframeTrack<double>> tracks;

    static AnimationBag empty() { return {}; }

    // `fallback` when the property has no track or an empty one.
    double value(AnimatablePropertyID property, ProjectTime t, double fallback) const;
    // True when there are no tracks or none has a keyframe.
    bool isEmpty() const;

    bool operator==(const AnimationBag&) const = default;
};

void fromJson(const JsonIn& in, AnimationBag& out);
JsonValue toJson(const AnimationBag& value);

} // namespace orvane
