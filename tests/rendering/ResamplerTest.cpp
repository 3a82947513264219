#include "rendering/Resampler.h"

#include "RenderingTestSupport.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

// Pixel x holds 2x in every colour channel: bilinear positions read straight off the values.
Image ramp(int width, int height) {
    Image image = Image::allocate(width, height);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(image.row(y));
        for (int x = 0; x < width; ++x) {
            const std::uint32_t v = std::uint32_t(2 * x);
            row[x] = 0xFF000000u | (v << 16) | (v << 8) | v;
        }
    }
    image.setOpaque(true);
    return image;
}

// Vertical stripes one pixel wide, black and white: the worst case for a sampler that skips pixels.
Image stripes(int width, int height) {
    Image image = Image::allocate(width, height);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(image.row(y));
        for (int x = 0; x < width; ++x)
            row[x] = (x % 2) ? 0xFFFFFFFFu : 0xFF000000u;
    }
    image.setOpaque(true);
    return image;
}

TEST(Resampler, aSameSizeDrawCopiesEveryPixel) {
    const Image source = test::coordinateSource(97, 61);
    Image target = Image::cleared(97, 61);
    Resampler r;
    r.draw(target, source, Rect{0, 0, 97, 61}, Rect{0, 0, 97, 61});
    for (int y = 0; y < 61; ++y)
        for (int x = 0; x < 97; ++x)
            ASSERT_EQ(target.pixel(x, y), source.pixel(x, y)) << x << "," << y;
}

TEST(Resampler, aCropStartingBetweenPixelsIsInterpolatedToTheSubPixel) {
    const Image source = ramp(128, 4);
    Resampler r;
    for (const double start : {10.5, 10.25, 10.75, 11.125}) {
        Image target = Image::cleared(64, 4);
        r.draw(target, source, Rect{start, 0, 64, 4}, Rect{0, 0, 64, 4});
        for (int j = 0; j < 64; ++j) {
            // Output pixel j's centre reads the source at start + j + 0.5; source centres sit at k + 0.5
            // with value 2k, so the exact value is 2 * (start + j).
            const double expected = 2 * (start + j);
            ASSERT_NEAR(test::at(target, j, 2).r, expected, 0.51) << "start " << start << " column " << j;
        }
    }
}

TEST(Resampler, shrinkingFinePatternsGivesTheirAverageNotMoire) {
    const Image source = stripes(1200, 40);
    Resampler r;
    for (const double width : {360.0, 540.0, 150.0}) {
        Image target = Image::cleared(int(width), 10);
        r.draw(target, source, Rect{0, 0, 1200, 40}, Rect{0, 0, width, 10});
        int lo = 255, hi = 0;
        for (int j = 2; j < int(width) - 2; ++j) {
            lo = std::min(lo, test::at(target, j, 5).r);
            hi = std::max(hi, test::at(target, j, 5).r);
        }
        // Point or plain bilinear sampling would swing from black to white here.
        EXPECT_GT(lo, 100) << "width " << width;
        EXPECT_LT(hi, 155) << "width " << width;
    }
}

TEST(Resampler, edgesOfAFractionalRectangleAreWeighedByCoverage) {
    const Image white = test::flatSource(8, 8, 0xFFFFFFFFu);
    Image target = Image::allocate(40, 40);
    target.fill(0xFF000000u);
    Resampler r;
    r.draw(target, white, Rect{0, 0, 8, 8}, Rect{10.5, 10, 20, 20.25});
    EXPECT_EQ(test::at(target, 9, 20).r, 0);
    EXPECT_NEAR(test::at(target, 10, 20).r, 128, 1);
    EXPECT_EQ(test::at(target, 11, 20).r, 255);
    EXPECT_EQ(test::at(target, 29, 20).r, 255);
    EXPECT_NEAR(test::at(target, 30, 20).r, 128, 1);
    EXPECT_EQ(test::at(target, 31, 20).r, 0);
    // A quarter of the last row, and a quarter of half of its corner.
    EXPECT_NEAR(test::at(target, 20, 30).r, 64, 1);
    EXPECT_NEAR(test::at(target, 30, 30).r, 32, 1);
}

TEST(Resampler, aMaskCutsThePictureAndItsEdgesBlend) {
    // A mask that is on in its left half only, placed half a pixel right.
    Image maskImage = Image::cleared(20, 10, PixelFormat::gray8);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x)
            maskImage.row(y)[x] = 255;
    const CoverageMask mask(maskImage);
    EXPECT_EQ(mask.opaqueRun(3).begin, 0);
    EXPECT_EQ(mask.opaqueRun(3).end, 10);

    const Image red = test::flatSource(20, 10, 0xFFFF0000u);
    Image target = Image::allocate(30, 10);
    target.fill(0xFF0000FFu);
    Resampler r;
    r.draw(target, red, Rect{0, 0, 20, 10}, Rect{0, 0, 20, 10}, MaskPlacement{&mask, 0.5, 0});
    EXPECT_EQ(test::at(target, 5, 5).r, 255);
    EXPECT_EQ(test::at(target, 5, 5).b, 0);
    // Column 0 and column 10 each see half of an on pixel.
    EXPECT_NEAR(test::at(target, 0, 5).r, 128, 1);
    EXPECT_NEAR(test::at(target, 10, 5).r, 128, 1);
    EXPECT_EQ(test::at(target, 12, 5).r, 0);
    EXPECT_EQ(test::at(target, 12, 5).b, 255);
}

TEST(Resampler, aTranslucentSourceIsBlendedNotWritten) {
    const Image halfWhite = test::flatSource(4, 4, 0x80808080u);
    Image target = Image::allocate(4, 4);
    target.fill(0xFF0000FFu);
    Resampler r;
    r.draw(target, halfWhite, Rect{0, 0, 4, 4}, Rect{0, 0, 4, 4});
    const test::Rgba c = test::at(target, 1, 1);
    EXPECT_EQ(c.a, 255);
    EXPECT_NEAR(c.r, 128, 1);
    EXPECT_NEAR(c.b, 128 + 127, 1);
}

TEST(Resampler, aCropReachingPastTheSourceLeavesTheTargetThere) {
    const Image source = test::flatSource(10, 10, 0xFFFFFFFFu);
    Image target = Image::allocate(20, 10);
    target.fill(0xFF000000u);
    Resampler r;
    // The right half of the crop lies beyond the source's 10 columns.
    r.draw(target, source, Rect{0, 0, 20, 10}, Rect{0, 0, 20, 10});
    EXPECT_EQ(test::at(target, 5, 5).r, 255);
    EXPECT_EQ(test::at(target, 15, 5).r, 0);
}

TEST(Resampler, chosenLevelsKeepTheBilinearScaleAtHalfOrMore) {
    EXPECT_EQ(Resampler::levelFor(1.0), 0);
    EXPECT_EQ(Resampler::levelFor(0.5), 0);
    EXPECT_EQ(Resampler::levelFor(0.49), 1);
    EXPECT_EQ(Resampler::levelFor(0.42), 1);
    EXPECT_EQ(Resampler::levelFor(0.2), 2);
    EXPECT_EQ(Resampler::levelFor(3.0), 0);
}

} // namespace
} // namespace orvane
