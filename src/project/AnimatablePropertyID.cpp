#include "AnimatablePropertyID.h"

namespace orvane {

const std::array<AnimatablePropertyInfo, 9>& animatableProperties() {
    using P = AnimatablePropertyID;
    static const std::array<AnimatablePropertyInfo, 9> table{{
        {P::opacity, "opacity", "Opacity", 1, 0, 1, "circle.lefthalf.filled"},
        {P::positionX, "positionX", "Position X", 0, -1, 1, "arrow.left.and.right"},
        {P::positionY, "positionY", "Position Y", 0, -1, 1, "arrow.up.and.down"},
        {P::scale, "scale", "Scale", 1, 0.1, 10, "arrow.up.left.and.arrow.down.right"},
        {P::rotation, "rotation", "Rotation", 0, -360, 360, "arrow.triangle.2.circlepath"},
        {P::exposure, "exposure", "Exposure", 0, -2, 2, "sun.max"},
        {P::contrast, "contrast", "Contrast", 1, 0, 2, "circle.righthalf.filled"},
        {P::saturation, "saturation", "Saturation", 1, 0, 2, "paintpalette"},
        {P::blur, "blur", "Blur", 0, 0, 100, "aqi.medium"},
    }};
    return table;
}

const AnimatablePropertyInfo& propertyInfo(AnimatablePropertyID id) {
    return animatableProperties()[static_cast<std::size_t>(id)];
}

} // namespace orvane
