#pragma once

#include "Geometry.h"
#include "Json.h"
#include "RGBAColor.h"
#include "ShadowStyle.h"

#include <QString>

#include <array>

namespace orvane {

// Where the camera recording goes in a clip's picture.
enum class CameraLayout { pip, fullscreen, hidden };

constexpr auto enumEntries(CameraLayout) {
    using L = CameraLayout;
    return std::array{EnumEntry<L>{L::pip, "pip"}, EnumEntry<L>{L::fullscreen, "fullscreen"},
                      EnumEntry<L>{L::hidden, "hidden"}};
}
constexpr std::string_view enumTypeName(CameraLayout) {
    return "CameraLayout";
}

// The camera bubble over the recording. `position` is the bubble's centre.
struct CameraOverlay {
    enum class Shape { circle, square, roundedRect, hexagon };
    enum class BackgroundRemovalMode { off, blur, transparent };

    bool isEnabled = false;
    NormalizedPoint position{0.92, 0.92};
    double sizeFraction = 0.18;
    Shape shape = Shape::circle;
    double borderWidth = 4;
    RGBAColor borderColor = RGBAColor::white();
    ShadowStyle shadow = ShadowStyle::premium();
    QString deviceUniqueID; // empty: the system's default camera
    bool mirror = true;
    // Came later than the other keys, so documents without it read `off`.
    BackgroundRemovalMode backgroundRemoval = BackgroundRemovalMode::off;

    static CameraOverlay defaults() { return {}; }

    bool operator==(const CameraOverlay&) const = default;
};

constexpr auto enumEntries(CameraOverlay::Shape) {
    using S = CameraOverlay::Shape;
    return std::array{EnumEntry<S>{S::circle, "circle"}, EnumEntry<S>{S::square, "square"},
                      EnumEntry<S>{S::roundedRect, "roundedRect"}, EnumEntry<S>{S::hexagon, "hexagon"}};
}
constexpr std::string_view enumTypeName(CameraOverlay::Shape) {
    return "CameraOverlay.Shape";
}

constexpr auto enumEntries(CameraOverlay::BackgroundRemovalMode) {
    using M = CameraOverlay::BackgroundRemovalMode;
    return std::array{EnumEntry<M>{M::off, "off"}, EnumEntry<M>{M::blur, "blur"},
                      EnumEntry<M>{M::transparent, "transparent"}};
}
constexpr std::string_view enumTypeName(CameraOverlay::BackgroundRemovalMode) {
    return "CameraOverlay.BackgroundRemovalMode";
}

void fromJson(const JsonIn& in, CameraOverlay& out);
JsonValue toJson(const CameraOverlay& value);

} // namespace orvane
