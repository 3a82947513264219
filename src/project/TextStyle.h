#pragma once

#include "Json.h"
#include "RGBAColor.h"
#include "ShadowStyle.h"

#include <QString>

#include <array>

namespace orvane {

// An outline around glyphs; a width of 0 draws none.
struct StrokeStyle {
    double width = 0;
    RGBAColor color = RGBAColor::black();

    static constexpr StrokeStyle none() { return {0, RGBAColor::black()}; }

    bool operator==(const StrokeStyle&) const = default;
};

void fromJson(const JsonIn& in, StrokeStyle& out);
JsonValue toJson(const StrokeStyle& value);

// How a text overlay's glyphs and the plate behind them look. The family is a name the renderer resolves
// through the system's font matching, so a family that is not installed still gives legible text.
struct TextStyle {
    enum class FontWeight { ultraLight, thin, light, regular, medium, semibold, bold, heavy, black };

    QString fontFamily = QStringLiteral("SF Pro Display");
    double fontSize = 64;
    FontWeight fontWeight = FontWeight::bold;
    RGBAColor color = RGBAColor::white();
    RGBAColor backgroundColor = RGBAColor::clear();
    double backgroundPadding = 24;
    double backgroundCornerRadius = 12;
    StrokeStyle stroke = StrokeStyle::none();
    ShadowStyle shadow = ShadowStyle::subtle();

    static TextStyle defaults() { return {}; }
    static TextStyle titleCard();
    static TextStyle lowerThird();
    static TextStyle caption();

    bool operator==(const TextStyle&) const = default;
};

constexpr auto enumEntries(TextStyle::FontWeight) {
    using W = TextStyle::FontWeight;
    return std::array{EnumEntry<W>{W::ultraLight, "ultraLight"},
                      EnumEntry<W>{W::thin, "thin"},
                      EnumEntry<W>{W::light, "light"},
                      EnumEntry<W>{W::regular, "regular"},
                      EnumEntry<W>{W::medium, "medium"},
                      EnumEntry<W>{W::semibold, "semibold"},
                      EnumEntry<W>{W::bold, "bold"},
                      EnumEntry<W>{W::heavy, "heavy"},
                      EnumEntry<W>{W::black, "black"}};
}
constexpr std::string_view enumTypeName(TextStyle::FontWeight) {
    return "TextStyle.FontWeight";
}

void fromJson(const JsonIn& in, TextStyle& out);
JsonValue toJson(const TextStyle& value);

} // namespace orvane
