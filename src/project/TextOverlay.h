#pragma once

#include "Geometry.h"
#include "Json.h"
#include "ProjectTime.h"
#include "TextStyle.h"

#include <QString>
#include <QUuid>

#include <array>

namespace orvane {

// A line of text over a clip for part of its length. The time range is in clip time.
struct TextOverlay {
    enum class Position {
        topLeft,
        topCenter,
        topRight,
        middleLeft,
        middleCenter,
        middleRight,
        bottomLeft,
        bottomCenter,
        bottomRight,
        lowerThird
    };
    enum class Animation { none, fadeIn, slideUp, slideLeft, zoom, typewriter };

    QUuid id;
    QString text;
    TimeRange timeRange;
    TextStyle style = TextStyle::defaults();
    Position position = Position::middleCenter;
    Animation animation = Animation::none;

    bool operator==(const TextOverlay&) const = default;
};

// The point on the canvas a position stands for. The edges keep an 8 % margin so that text never
// touches the border, and `lowerThird` sits above the bottom row where a name plate goes.
constexpr NormalizedPoint anchor(TextOverlay::Position position) {
    using P = TextOverlay::Position;
    constexpr double low = 0.08;
    constexpr double mid = 0.5;
    constexpr double high = 0.92;
    switch (position) {
    case P::topLeft:
        return {low, low};
    case P::topCenter:
        return {mid, low};
    case P::topRight:
        return {high, low};
    case P::middleLeft:
        return {low, mid};
    case P::middleCenter:
        return {mid, mid};
    case P::middleRight:
        return {high, mid};
    case P::bottomLeft:
        return {low, high};
    case P::bottomCenter:
        return {mid, high};
    case P::bottomRight:
        return {high, high};
    case P::lowerThird:
        return {low, 0.78};
    }
    return NormalizedPoint::center();
}

constexpr auto enumEntries(TextOverlay::Position) {
    using P = TextOverlay::Position;
    return std::array{
        EnumEntry<P>{P::topLeft, "topLeft"},           EnumEntry<P>{P::topCenter, "topCenter"},
        EnumEntry<P>{P::topRight, "topRight"},         EnumEntry<P>{P::middleLeft, "middleLeft"},
        EnumEntry<P>{P::middleCenter, "middleCenter"}, EnumEntry<P>{P::middleRight, "middleRight"},
        EnumEntry<P>{P::bottomLeft, "bottomLeft"},     EnumEntry<P>{P::bottomCenter, "bottomCenter"},
        EnumEntry<P>{P::bottomRight, "bottomRight"},   EnumEntry<P>{P::lowerThird, "lowerThird"}};
}
constexpr std::string_view enumTypeName(TextOverlay::Position) {
    return "TextOverlay.Position";
}

constexpr auto enumEntries(TextOverlay::Animation) {
    using A = TextOverlay::Animation;
    return std::array{EnumEntry<A>{A::none, "none"},       EnumEntry<A>{A::fadeIn, "fadeIn"},
                      EnumEntry<A>{A::slideUp, "slideUp"}, EnumEntry<A>{A::slideLeft, "slideLeft"},
                      EnumEntry<A>{A::zoom, "zoom"},       EnumEntry<A>{A::typewriter, "typewriter"}};
}
constexpr std::string_view enumTypeName(TextOverlay::Animation) {
    return "TextOverlay.Animation";
}

void fromJson(const JsonIn& in, TextOverlay& out);
JsonValue toJson(const TextOverlay& value);

} // namespace orvane
