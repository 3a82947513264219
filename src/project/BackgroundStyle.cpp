#include "BackgroundStyle.h"

#include "Json.h"

#include <initializer_list>
#include <utility>

namespace orvane {

namespace {

GradientFill hexFill(double angleDegrees, std::initializer_list<std::pair<double, const char16_t*>> stops) {
    GradientFill fill;
    fill.angleDegrees = angleDegrees;
    for (const auto& [location, hex] : stops)
        fill.stops.push_back({location, RGBAColor::fromHex(QStringView(hex)).value()});
    return fill;
}

} // namespace

const std::vector<BackgroundStyle::NamedGradient>& BackgroundStyle::presetGradients() {
    static const std::vector<NamedGradient> presets{
        {QStringLiteral("Sunset"), hexFill(135, {{0, u"#FF6B6B"}, {0.5, u"#FFA630"}, {1, u"#FFD93D"}})},
        {QStringLiteral("Indigo"), hexFill(180, {{0, u"#1A1A2E"}, {1, u"#16213E"}})},
        {QStringLiteral("Velvet Comet"), hexFill(135, {{0, u"#B362FF"}, {0.5, u"#FF6BCB"}, {1, u"#7B61FF"}})},
        {QStringLiteral("Aurora"), hexFill(135, {{0, u"#0F2027"}, {0.5, u"#203A43"}, {1, u"#2C5364"}})},
        {QStringLiteral("Lowcountry"), hexFill(135, {{0, u"#2BC0E4"}, {1, u"#EAECC6"}})},
        {QStringLiteral("Charcoal"), hexFill(135, {{0, u"#232526"}, {1, u"#414345"}})},
        {QStringLiteral("Mint"), hexFill(135, {{0, u"#11998E"}, {1, u"#38EF7D"}})},
        {QStringLiteral("Berry"), hexFill(135, {{0, u"#8E2DE2"}, {1, u"#4A00E0"}})},
    };
    return presets;
}

void fromJson(const JsonIn& in, GradientStop& out) {
    const JsonObjectIn o(in);
    out.location = o.required<double>("location");
    out.color = o.required<RGBAColor>("color");
}

JsonValue toJson(const GradientStop& value) {
    JsonObjectOut o;
    o.set("location", value.location).set("color", value.color);
    return o.take();
}

void fromJson(const JsonIn& in, GradientFill& out) {
    const JsonObjectIn o(in);
    out.stops = o.required<std::vector<GradientStop>>("stops");
    out.angleDegrees = o.required<double>("angleDegrees");
}

JsonValue toJson(const GradientFill& value) {
    JsonObjectOut o;
    o.set("stops", value.stops).set("angleDegrees", value.angleDegrees);
    return o.take();
}

void fromJson(const JsonIn& in, BackgroundStyle& out) {
    const JsonTaggedIn tagged(in);
    if (tagged.is("solid"))
        out = BackgroundStyle::solid(tagged.payload().required<RGBAColor>("_0"));
    else if (tagged.is("gradient"))
        out = BackgroundStyle::gradient(tagged.payload().required<GradientFill>("_0"));
    else if (tagged.is("wallpaper"))
        out = BackgroundStyle::wallpaper(tagged.payload().required<QString>("name"));
    else if (tagged.is("customImage"))
        out = BackgroundStyle::customImage(tagged.payload().required<QByteArray>("bookmark"));
    else if (tagged.is("blurredExtension"))
        out = BackgroundStyle::blurredExtension(tagged.payload().required<double>("blurRadius"));
    else
        tagged.failUnknownCase("BackgroundStyle");
}

JsonValue toJson(const BackgroundStyle& value) {
    JsonObjectOut payload;
    if (const auto* solid = std::get_if<BackgroundStyle::Solid>(&value.value))
        return taggedJson("solid", payload.set("_0", solid->color).take());
    if (const auto* gradient = std::get_if<BackgroundStyle::Gradient>(&value.value))
        return taggedJson("gradient", payload.set("_0", gradient->fill).take());
    if (const auto* wallpaper = std::get_if<BackgroundStyle::Wallpaper>(&value.value))
        return taggedJson("wallpaper", payload.set("name", wallpaper->name).take());
    if (const auto* image = std::get_if<BackgroundStyle::CustomImage>(&value.value))
        return taggedJson("customImage", payload.set("bookmark", image->bookmark).take());
    const auto& blurred = std::get<BackgroundStyle::BlurredExtension>(value.value);
    return taggedJson("blurredExtension", payload.set("blurRadius", blurred.blurRadius).take());
}

} // namespace orvane
