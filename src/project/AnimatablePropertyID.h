#pragma once

#include "Json.h"

#include <array>

namespace orvane {

enum class AnimatablePropertyID {
    opacity,
    positionX,
    positionY,
    scale,
    rotation,
    exposure,
    contrast,
    saturation,
    blur
};

struct AnimatablePropertyInfo {
    AnimatablePropertyID id;
    std::string_view name; // JSON string
    std::string_view displayName;
    double defaultValue; // the neutral value
    double minimum;
    double maximum;
    std::string_view icon;
};

// In the order of the enumeration.
const std::array<AnimatablePropertyInfo, 9>& animatableProperties();
const AnimatablePropertyInfo& propertyInfo(AnimatablePropertyID id);

constexpr auto enumEntries(AnimatablePropertyID) {
    using P = AnimatablePropertyID;
    return std::array{EnumEntry<P>{P::opacity, "opacity"},
                      EnumEntry<P>{P::positionX, "positionX"},
                      EnumEntry<P>{P::positionY, "positionY"},
                      EnumEntry<P>{P::scale, "scale"},
                      EnumEntry<P>{P::rotation, "rotation"},
                      EnumEntry<P>{P::exposure, "exposure"},
                      EnumEntry<P>{P::contrast, "contrast"},
                      EnumEntry<P>{P::saturation, "saturation"},
                      EnumEntry<P>{P::blur, "blur"}};
}
constexpr std::string_view enumTypeName(AnimatablePropertyID) {
    return "AnimatablePropertyID";
}

} // namespace orvane
