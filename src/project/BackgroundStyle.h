#pragma once

#include "JsonFwd.h"
#include "RGBAColor.h"

#include <QByteArray>
#include <QString>

#include <variant>
#include <vector>

namespace orvane {

struct GradientStop {
    double location = 0; // 0...1 along the gradient's axis
    RGBAColor color;

    bool operator==(const GradientStop&) const = default;
};

// A linear gradient; the stops keep the order they were given in.
struct GradientFill {
    std::vector<GradientStop> stops;
    double angleDegrees = 0;

    bool operator==(const GradientFill&) const = default;
};

// What fills the canvas behind the framed recording.
struct BackgroundStyle {
    struct Solid {
        RGBAColor color;
        bool operator==(const Solid&) const = default;
    };
    struct Gradient {
        GradientFill fill;
        bool operator==(const Gradient&) const = default;
    };
    struct Wallpaper {
        QString name;
        bool operator==(const Wallpaper&) const = default;
    };
    // The bookmark is an opaque, platform-made reference to an image file that keeps working after the
    // file is moved; it is stored as it came and resolved only when the background is drawn.
    struct CustomImage {
        QByteArray bookmark;
        bool operator==(const CustomImage&) const = default;
    };
    // The recording itself, scaled to fill the canvas and blurred.
    struct BlurredExtension {
        double blurRadius = 0;
        bool operator==(const BlurredExtension&) const = default;
    };

    struct NamedGradient {
        QString name;
        GradientFill fill;
    };

    static constexpr std::size_t defaultPresetIndex = 2;

    std::variant<Solid, Gradient, Wallpaper, CustomImage, BlurredExtension> value =
        Gradient{presetGradients()[defaultPresetIndex].fill};

    static BackgroundStyle solid(const RGBAColor& color) { return {Solid{color}}; }
    static BackgroundStyle gradient(GradientFill fill) { return {Gradient{std::move(fill)}}; }
    static BackgroundStyle wallpaper(QString name) { return {Wallpaper{std::move(name)}}; }
    static BackgroundStyle customImage(QByteArray bookmark) { return {CustomImage{std::move(bookmark)}}; }
    static BackgroundStyle blurredExtension(double blurRadius) { return {BlurredExtension{blurRadius}}; }
    static BackgroundStyle defaults() { return gradient(presetGradients()[defaultPresetIndex].fill); }

    // The named fills offered to the user, in the order they are shown. Built once.
    static const std::vector<NamedGradient>& presetGradients();

    bool operator==(const BackgroundStyle&) const = default;
};

void fromJson(const JsonIn& in, GradientStop& out);
JsonValue toJson(const GradientStop& value);
void fromJson(const JsonIn& in, GradientFill& out);
JsonValue toJson(const GradientFill& value);
void fromJson(const JsonIn& in, BackgroundStyle& out);
JsonValue toJson(const BackgroundStyle& value);

} // namespace orvane
