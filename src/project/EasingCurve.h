#pragma once

#include "Json.h"

#include <array>

namespace orvane {

// The shape of the change between two keyframes. The control points are those of a cubic Bézier from
// (0, 0) to (1, 1) and are read only by the `bezier` kind; the other kinds carry them unused.
struct EasingCurve {
    enum class Kind { linear, easeIn, easeOut, easeInOut, cinematic, smoothStep, spring, bezier };

    Kind kind = Kind::linear;
    double p1x = 0.65;
    double p1y = 0;
    double p2x = 0.35;
    double p2y = 1;

    static constexpr EasingCurve preset(Kind kind) { return EasingCurve{kind, 0.65, 0, 0.35, 1}; }
    static constexpr EasingCurve linear() { return preset(Kind::linear); }
    static constexpr EasingCurve easeIn() { return preset(Kind::easeIn); }
    static constexpr EasingCurve easeOut() { return preset(Kind::easeOut); }
    static constexpr EasingCurve easeInOut() { return preset(Kind::easeInOut); }
    static constexpr EasingCurve cinematic() { return preset(Kind::cinematic); }
    static constexpr EasingCurve smoothStep() { return preset(Kind::smoothStep); }
    static constexpr EasingCurve spring() { return preset(Kind::spring); }
    static constexpr EasingCurve appleStandard() { return EasingCurve{Kind::bezier, 0.4, 0, 0.2, 1}; }
    static constexpr EasingCurve sharp() { return EasingCurve{Kind::bezier, 0.4, 0, 0.6, 1}; }

    // The eased progress for `t`, clamped to 0...1 first. `spring` overshoots 1 before it settles.
    double value(double t) const;

    bool operator==(const EasingCurve&) const = default;
};

constexpr auto enumEntries(EasingCurve::Kind) {
    using K = EasingCurve::Kind;
    return std::array{EnumEntry<K>{K::linear, "linear"},       EnumEntry<K>{K::easeIn, "easeIn"},
                      EnumEntry<K>{K::easeOut, "easeOut"},     EnumEntry<K>{K::easeInOut, "easeInOut"},
                      EnumEntry<K>{K::cinematic, "cinematic"}, EnumEntry<K>{K::smoothStep, "smoothStep"},
                      EnumEntry<K>{K::spring, "spring"},       EnumEntry<K>{K::bezier, "bezier"}};
}
constexpr std::string_view enumTypeName(EasingCurve::Kind) {
    return "EasingCurve.Kind";
}

void fromJson(const JsonIn& in, EasingCurve& out);
JsonValue toJson(const EasingCurve& value);

} // namespace orvane
