#pragma once

#include "project/Clip.h"
#include "rendering/Image.h"

#include <QImage>
#include <QPainter>

#include <cmath>
#include <cstdint>

namespace orvane::test {

// A source whose every pixel tells where it came from: red grows with x, green with y, blue marks the
// quadrant. Opaque.
inline Image coordinateSource(int width, int height) {
    Image image = Image::allocate(width, height);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(image.row(y));
        for (int x = 0; x < width; ++x) {
            const std::uint32_t r = std::uint32_t(x * 255 / std::max(1, width - 1));
            const std::uint32_t g = std::uint32_t(y * 255 / std::max(1, height - 1));
            const std::uint32_t b = (x >= width / 2 ? 0x80u : 0u) | (y >= height / 2 ? 0x40u : 0u);
            row[x] = 0xFF000000u | (r << 16) | (g << 8) | b;
        }
    }
    image.setOpaque(true);
    return image;
}

// One flat opaque colour.
inline Image flatSource(int width, int height, std::uint32_t argb) {
    Image image = Image::allocate(width, height);
    image.fill(argb);
    return image;
}

struct Rgba {
    int r = 0;
    int g = 0;
    int b = 0;
    int a = 0;
};

// A pixel of an image, x from the left and y from the top.
inline Rgba at(const Image& image, int x, int y) {
    const std::uint32_t v = image.pixel(x, y);
    return {int((v >> 16) & 0xFF), int((v >> 8) & 0xFF), int(v & 0xFF), int(v >> 24)};
}

inline double luma(const Rgba& c) {
    return 0.299 * c.r + 0.587 * c.g + 0.114 * c.b;
}

inline int distance(const Rgba& a, const Rgba& b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b), std::abs(a.a - b.a)});
}

// A clip with a source and a plain look: solid background, no shadow, no rounding, no cursor.
inline Clip plainClip(Size source) {
    Clip clip;
    clip.sourceVideoPath = QStringLiteral("clip.mov");
    clip.sourceSize = source;
    clip.background = BackgroundStyle::solid(RGBAColor{0.2, 0.4, 0.6, 1});
    clip.frame.cornerRadius = 0;
    clip.frame.shadow = ShadowStyle::none();
    clip.cursor.isVisible = false;
    clip.cursor.clickRipple.isEnabled = false;
    return clip;
}

} // namespace orvane::test
