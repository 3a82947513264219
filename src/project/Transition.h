#pragma once

#include "EasingCurve.h"
#include "Json.h"
#include "ProjectTime.h"

#include <QString>

#include <array>

namespace orvane {

enum class TransitionKind {
    none,
    crossDissolve,
    fade,
    fadeToWhite,
    slideLeft,
    slideRight,
    slideUp,
    slideDown,
    wipeLeft,
    wipeRight,
    wipeUp,
    wipeDown,
    irisIn,
    irisOut,
    zoomIn,
    zoomOut
};

// The groups the transition picker shows its kinds in, in the order the groups appear.
enum class TransitionCategory { cut, dissolve, slide, wipe, iris, zoom };

constexpr auto enumEntries(TransitionKind) {
    using K = TransitionKind;
    return std::array{
        EnumEntry<K>{K::none, "none"},           EnumEntry<K>{K::crossDissolve, "crossDissolve"},
        EnumEntry<K>{K::fade, "fade"},           EnumEntry<K>{K::fadeToWhite, "fadeToWhite"},
        EnumEntry<K>{K::slideLeft, "slideLeft"}, EnumEntry<K>{K::slideRight, "slideRight"},
        EnumEntry<K>{K::slideUp, "slideUp"},     EnumEntry<K>{K::slideDown, "slideDown"},
        EnumEntry<K>{K::wipeLeft, "wipeLeft"},   EnumEntry<K>{K::wipeRight, "wipeRight"},
        EnumEntry<K>{K::wipeUp, "wipeUp"},       EnumEntry<K>{K::wipeDown, "wipeDown"},
        EnumEntry<K>{K::irisIn, "irisIn"},       EnumEntry<K>{K::irisOut, "irisOut"},
        EnumEntry<K>{K::zoomIn, "zoomIn"},       EnumEntry<K>{K::zoomOut, "zoomOut"}};
}
constexpr std::string_view enumTypeName(TransitionKind) {
    return "TransitionKind";
}

// The name shown to the user, such as "Fade to Black" for `fade`.
QString displayName(TransitionKind kind);
TransitionCategory category(TransitionKind kind);
// "Cut", "Dissolve", "Slide", "Wipe", "Iris" or "Zoom".
QString displayName(TransitionCategory category);

// How a clip is entered from the one before it.
struct Transition {
    TransitionKind kind = TransitionKind::none;
    ProjectTime duration;
    EasingCurve easing = EasingCurve::linear();

    static constexpr Transition none() {
        return {TransitionKind::none, ProjectTime(0), EasingCurve::linear()};
    }

    // The eased share of the transition at the linear share `t`; outside 0...1 it holds the end values.
    double easedProgress(double t) const;

    bool operator==(const Transition&) const = default;
};

void fromJson(const JsonIn& in, Transition& out);
JsonValue toJson(const Transition& value);

} // namespace orvane
