#pragma once

#include "Geometry.h"
#include "Json.h"
#include "ProjectTime.h"
#include "RGBAColor.h"

#include <QUuid>

#include <array>
#include <optional>

namespace orvane {

// A drawn mark over a clip: an arrow, a shape or a highlight, for part of the clip's length.
struct Annotation {
    enum class AnnotationKind { arrow, circle, rectangle, highlight, underline };
    enum class AnnotationAnimation { none, fadeIn, drawIn, pulse };

    QUuid id;
    AnnotationKind kind = AnnotationKind::arrow;
    TimeRange timeRange;
    NormalizedPoint position;
    // Only kinds that span two points use it; older documents leave the key out.
    std::optional<NormalizedPoint> endPosition;
    RGBAColor color;
    double strokeWidth = 0;
    double size = 0;
    AnnotationAnimation animation = AnnotationAnimation::none;

    bool operator==(const Annotation&) const = default;
};

constexpr auto enumEntries(Annotation::AnnotationKind) {
    using K = Annotation::AnnotationKind;
    return std::array{EnumEntry<K>{K::arrow, "arrow"}, EnumEntry<K>{K::circle, "circle"},
                      EnumEntry<K>{K::rectangle, "rectangle"}, EnumEntry<K>{K::highlight, "highlight"},
                      EnumEntry<K>{K::underline, "underline"}};
}
constexpr std::string_view enumTypeName(Annotation::AnnotationKind) {
    return "Annotation.AnnotationKind";
}

constexpr auto enumEntries(Annotation::AnnotationAnimation) {
    using A = Annotation::AnnotationAnimation;
    return std::array{EnumEntry<A>{A::none, "none"}, EnumEntry<A>{A::fadeIn, "fadeIn"},
                      EnumEntry<A>{A::drawIn, "drawIn"}, EnumEntry<A>{A::pulse, "pulse"}};
}
constexpr std::string_view enumTypeName(Annotation::AnnotationAnimation) {
    return "Annotation.AnnotationAnimation";
}

void fromJson(const JsonIn& in, Annotation& out);
JsonValue toJson(const Annotation& value);

} // namespace orvane
