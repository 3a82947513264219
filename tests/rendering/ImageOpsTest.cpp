#include "rendering/ImageOps.h"

#include "RenderingTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvane {
namespace {

using namespace imageops;

// A gray8 image: 0 left of column `edge`, 255 from it on.
Image stepEdge(int width, int height, int edge) {
    Image image = Image::cleared(width, height, PixelFormat::gray8);
    for (int y = 0; y < height; ++y)
        for (int x = edge; x < width; ++x)
            image.row(y)[x] = 255;
    return image;
}

double gaussianStep(double x, double sigma) {
    return 255.0 * 0.5 * (1 + std::erf(x / (sigma * std::sqrt(2.0))));
}

TEST(GaussianBlur, aStepEdgeFollowsTheTrueGaussianWithinTheStatedBound) {
    for (const double sigma : {1.5, 3.0, 8.0, 10.0, 24.0, 30.0, 60.0}) {
        const int width = int(20 * sigma) + 41;
        const int edge = width / 2;
        const Image gray = stepEdge(width, 40, edge);
        // The same edge in colour, which from sigma 8 is blurred at a reduced size.
        Image colour = Image::allocate(width, 40);
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < width; ++x)
                reinterpret_cast<std::uint32_t*>(colour.row(y))[x] =
                    gray.constRow(y)[x] ? 0xFFFFFFFFu : 0xFF000000u;
        const Image grayBlurred = gaussianBlur(gray, sigma, BlurEdges::clamp);
        const Image colourBlurred = gaussianBlur(colour, sigma, BlurEdges::clamp);
        ASSERT_EQ(grayBlurred.width(), width);
        ASSERT_EQ(colourBlurred.width(), width);
        // Three box passes from sigma 3: within 3/255 of the step, plus a level of rounding. Below 3 the
        // kernel is a sampled Gaussian, which differs from the integral over each pixel by about a level.
        const double bound = sigma < 3 ? 2.0 : 4.0;
        double worstGray = 0, worstColour = 0;
        for (int x = 0; x < width; ++x) {
            const double expected = gaussianStep(x + 0.5 - edge, sigma);
            worstGray = std::max(worstGray, std::abs(grayBlurred.constRow(20)[x] - expected));
            worstColour = std::max(worstColour, std::abs(test::at(colourBlurred, x, 20).r - expected));
        }
        EXPECT_LE(worstGray, bound) << "sigma " << sigma;
        EXPECT_LE(worstColour, bound) << "sigma " << sigma << " (colour)";
    }
}

TEST(GaussianBlur, transparentEdgesGrowTheExtentAndFade_clampedEdgesDoNot) {
    const Image flat = test::flatSource(60, 40, 0xFF808080u);
    const Image faded = gaussianBlur(flat, 5, BlurEdges::transparent);
    EXPECT_EQ(faded.width(), 60 + 2 * 15);
    EXPECT_EQ(faded.origin(), (Point{-15, -15}));
    // Half a pixel inside the old edge, a little more than half the kernel reads the image.
    EXPECT_NEAR(test::at(faded, 15, 35).a, gaussianStep(0.5, 5), 4);
    EXPECT_EQ(test::at(faded, 45, 35).a, 255);
    // The premultiplied colour never exceeds its alpha.
    for (int x = 0; x < faded.width(); ++x)
        ASSERT_LE(test::at(faded, x, 35).r, test::at(faded, x, 35).a);

    const Image kept = gaussianBlur(flat, 5, BlurEdges::clamp);
    EXPECT_EQ(kept.extent(), flat.extent());
    for (int x = 0; x < 60; x += 7)
        EXPECT_EQ(kept.pixel(x, 0), 0xFF808080u) << x;
}

TEST(LinearGradient, runsBetweenItsPointsAndHoldsBeyondThem) {
    // Red at x = 10, blue at x = 90, along a 100 by 4 strip.
    const Image g = linearGradient(Rect{0, 0, 100, 4}, Point{10, 2}, Point{90, 2}, RGBAColor{1, 0, 0, 1},
                                   RGBAColor{0, 0, 1, 1});
    EXPECT_TRUE(g.isOpaque());
    EXPECT_EQ(g.pixel(0, 1), 0xFFFF0000u);
    EXPECT_EQ(g.pixel(99, 1), 0xFF0000FFu);
    const test::Rgba middle = test::at(g, 49, 1); // centre 49.5, t = 0.49375
    EXPECT_NEAR(middle.r, 129, 1);
    EXPECT_NEAR(middle.b, 126, 1);
}

TEST(PerspectiveWarp, carriesTheCornersToTheGivenPoints) {
    // Corners marked red (top left), green (top right), blue (bottom left), white (bottom right).
    Image source = Image::allocate(100, 80);
    source.fill(0xFF404040u);
    const auto mark = [&](int x0, int y0, std::uint32_t c) {
        for (int y = y0; y < y0 + 10; ++y)
            for (int x = x0; x < x0 + 10; ++x)
                reinterpret_cast<std::uint32_t*>(source.row(y))[x] = c;
    };
    mark(0, 0, 0xFFFF0000u);
    mark(90, 0, 0xFF00FF00u);
    mark(0, 70, 0xFF0000FFu);
    mark(90, 70, 0xFFFFFFFFu);
    source.setOrigin({50, 50});
    // A trapezoid, narrower at the top (y up).
    const Point tl{80, 120}, tr{130, 125}, bl{55, 52}, br{148, 60};
    const Image warped = perspectiveWarp(source, tl, tr, bl, br);
    EXPECT_EQ(warped.extent(), (Rect{55, 52, 93, 73}));
    const auto probe = [&](Point p, Point towards) {
        // A few pixels inside from the corner, toward the middle.
        const Point q = p + (towards - p) * 0.05;
        const int x = int(q.x - warped.origin().x);
        const int y = int(warped.origin().y + warped.height() - q.y);
        return test::at(warped, x, y);
    };
    const Point mid{103, 89};
    EXPECT_GT(probe(tl, mid).r, 200);
    EXPECT_LT(probe(tl, mid).g, 60);
    EXPECT_GT(probe(tr, mid).g, 200);
    EXPECT_LT(probe(tr, mid).r, 60);
    EXPECT_GT(probe(bl, mid).b, 200);
    EXPECT_LT(probe(bl, mid).r, 60);
    EXPECT_GT(probe(br, mid).r, 200);
    EXPECT_GT(probe(br, mid).b, 200);
    // Outside the quadrilateral the result is clear.
    EXPECT_EQ(test::at(warped, 0, 0).a, 0);
}

TEST(Transformed, aQuarterTurnMovesEveryPixelExactly) {
    const Image source = test::coordinateSource(6, 4);
    const Image turned = transformed(source, AffineTransform::rotation(M_PI / 2));
    // Counter-clockwise in y up: the extent (0, 0, 6, 4) becomes (-4, 0, 4, 6).
    ASSERT_EQ(turned.extent(), (Rect{-4, 0, 4, 6}));
    // The source's top-left pixel goes to the top-right... of a counter-clockwise turn: bottom-left? Check
    // by geometry: the point (0.5, 3.5) (top-left pixel centre, y up) maps to (-3.5, 0.5).
    EXPECT_EQ(turned.pixel(0, 5), source.pixel(0, 0));
    EXPECT_EQ(turned.pixel(3, 0), source.pixel(5, 3));
}

TEST(Transformed, aTranslationMovesTheExtentAndLeavesThePixels) {
    const Image source = test::coordinateSource(10, 10);
    const Image moved = transformed(source, AffineTransform::translation(3.25, -2));
    EXPECT_EQ(moved.origin(), (Point{3.25, -2}));
    EXPECT_EQ(moved.constRow(0), source.constRow(0));
}

TEST(Transformed, strongShrinkingAveragesInsteadOfSkipping) {
    Image lines = Image::allocate(400, 400);
    for (int y = 0; y < 400; ++y)
        for (int x = 0; x < 400; ++x)
            reinterpret_cast<std::uint32_t*>(lines.row(y))[x] = ((x + y) % 2) ? 0xFFFFFFFFu : 0xFF000000u;
    const Image small = transformed(lines, AffineTransform::scale(0.1, 0.1));
    ASSERT_EQ(small.width(), 40);
    for (int x = 5; x < 35; x += 3)
        EXPECT_NEAR(test::at(small, x, 20).r, 128, 12) << x;
}

TEST(ColorMatrix, scalesOpacityAndMovesChannels) {
    const Image source = test::flatSource(3, 3, 0xFFC86432u); // r 200, g 100, b 50
    ColorMatrix fade;
    fade.a = {0, 0, 0, 0.5f};
    const test::Rgba half = test::at(colorMatrix(source, fade), 1, 1);
    EXPECT_NEAR(half.a, 128, 1);
    EXPECT_NEAR(half.r, 100, 1);
    EXPECT_NEAR(half.b, 25, 1);

    ColorMatrix swap;
    swap.r = {0, 0, 1, 0};
    swap.b = {1, 0, 0, 0};
    swap.bias = {0, 0.2f, 0, 0};
    const test::Rgba swapped = test::at(colorMatrix(source, swap), 1, 1);
    EXPECT_EQ(swapped.r, 50);
    EXPECT_NEAR(swapped.g, 151, 1);
    EXPECT_EQ(swapped.b, 200);
}

TEST(BlendWithMask, mixesInputAndBackgroundByTheMask) {
    const Image input = test::flatSource(4, 2, 0xFFFF0000u);
    Image background = test::flatSource(4, 2, 0xFF0000FFu);
    Image mask = Image::cleared(2, 2, PixelFormat::gray8);
    mask.fillGray(255);
    mask.row(1)[0] = 128;
    // The mask covers the two left columns only; beyond it the background shows.
    const Image mixed = blendWithMask(input, background, mask);
    EXPECT_EQ(mixed.pixel(0, 0), 0xFFFF0000u);
    EXPECT_EQ(mixed.pixel(3, 0), 0xFF0000FFu);
    const test::Rgba half = test::at(mixed, 0, 1);
    EXPECT_NEAR(half.r, 128, 1);
    EXPECT_NEAR(half.b, 127, 1);
    // No background: clear where the mask is off.
    EXPECT_EQ(blendWithMask(input, Image(), mask).pixel(3, 0), 0u);
}

TEST(CompositeOver, aHalfPixelOffsetSpreadsAPixelOverTwo) {
    Image dot = test::flatSource(1, 1, 0xFFFFFFFFu);
    dot.setOrigin({4.5, 2});
    Image canvas = Image::cleared(10, 5);
    compositeOver(canvas, dot);
    EXPECT_NEAR(test::at(canvas, 4, 2).a, 128, 1);
    EXPECT_NEAR(test::at(canvas, 5, 2).a, 128, 1);
    EXPECT_EQ(test::at(canvas, 6, 2).a, 0);
}

TEST(Cropped, keepsWholePixelsAroundTheRectangle) {
    Image source = test::coordinateSource(20, 20);
    source.setOrigin({100, 100});
    const Image piece = cropped(source, Rect{102.5, 110, 5, 4.2});
    EXPECT_EQ(piece.extent(), (Rect{102, 110, 6, 5}));
    EXPECT_EQ(piece.pixel(0, 0), source.pixel(2, 5));
}

} // namespace
} // namespace orvane
