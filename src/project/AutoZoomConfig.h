#pragma once

#include "EasingCurve.h"
#include "Json.h"

#include <array>

namespace orvane {

// How zooms are generated from the recorded clicks and cursor motion.
struct AutoZoomConfig {
    // Where the click lands inside the zoomed frame.
    enum class CompositionStyle { centerOnCursor, ruleOfThirds, followWithLead };

    bool isEnabled = true;
    double clickSensitivity = 0.7;
    double zoomLevel = 1.8;
    EasingCurve easing = EasingCurve::spring();
    double zoomInDuration = 0.85; // seconds
    double minHoldDuration = 0.7; // seconds
    double zoomOutDuration = 0.5; // seconds
    CompositionStyle composition = CompositionStyle::ruleOfThirds;
    double centerPull = 0.45;
    int maxZoomsPerMinute = 12;

    static constexpr AutoZoomConfig defaults() { return {}; }

    bool operator==(const AutoZoomConfig&) const = default;
};

constexpr auto enumEntries(AutoZoomConfig::CompositionStyle) {
    using C = AutoZoomConfig::CompositionStyle;
    return std::array{EnumEntry<C>{C::centerOnCursor, "centerOnCursor"},
                      EnumEntry<C>{C::ruleOfThirds, "ruleOfThirds"},
                      EnumEntry<C>{C::followWithLead, "followWithLead"}};
}
constexpr std::string_view enumTypeName(AutoZoomConfig::CompositionStyle) {
    return "AutoZoomConfig.CompositionStyle";
}

void fromJson(const JsonIn& in, AutoZoomConfig& out);
JsonValue toJson(const AutoZoomConfig& value);

} // namespace orvane
