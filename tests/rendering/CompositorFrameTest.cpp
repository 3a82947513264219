// What a viewer sees of the background, frame, shadow, chrome and zoom, probed on composed frames.
#include "CompositorTestSupport.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

using test::at;
using test::Rgba;

struct Frame : test::FrameFixture {};

TEST_F(Frame, thePaddingShowsTheBackgroundAndTheContentShowsTheSource) {
    const Image frame = compose();
    ASSERT_EQ(frame.width(), 400);
    ASSERT_EQ(frame.height(), 300);
    // Solid (0.2, 0.4, 0.6) everywhere outside the picture.
    for (const auto& [x, y] : {std::pair{5, 5}, {20, 150}, {200, 15}, {390, 290}, {370, 150}})
        EXPECT_EQ(frame.pixel(x, y), 0xFF336699u) << x << "," << y;
    // Inside, the source's own pixel for that place: the picture is the source scaled by 0.4.
    const Rgba middle = at(frame, 200, 150);
    EXPECT_NEAR(middle.r, 255 * 400 / 799, 2);
    EXPECT_NEAR(middle.g, 255 * 300 / 599, 2);
    EXPECT_EQ(at(frame, 41, 31).b, 0x00);
    EXPECT_EQ(at(frame, 358, 268).b, 0xC0);
}

TEST_F(Frame, aGradientRunsFromItsFirstToItsLastStopAlongItsAngle) {
    const GradientFill redToBlue{{{0, RGBAColor{1, 0, 0, 1}}, {1, RGBAColor{0, 0, 1, 1}}}, 0};
    clip.background = BackgroundStyle::gradient(redToBlue);
    Image frame = compose();
    // Angle 0 runs top to bottom.
    EXPECT_GT(at(frame, 200, 2).r, 200);
    EXPECT_LT(at(frame, 200, 2).b, 60);
    EXPECT_GT(at(frame, 200, 297).b, 200);
    EXPECT_EQ(at(frame, 5, 100).r, at(frame, 395, 100).r);

    // 90 degrees runs left to right.
    clip.background = BackgroundStyle::gradient(GradientFill{redToBlue.stops, 90});
    frame = compose();
    EXPECT_GT(at(frame, 2, 150).r, 150);
    EXPECT_GT(at(frame, 397, 150).b, 150);
    EXPECT_EQ(at(frame, 200, 5).r, at(frame, 200, 295).r);

    // A middle stop changes nothing; one stop is a flat colour.
    GradientFill three = redToBlue;
    three.stops.insert(three.stops.begin() + 1, GradientStop{0.5, RGBAColor{0, 1, 0, 1}});
    clip.background = BackgroundStyle::gradient(three);
    const Image withMiddle = compose();
    clip.background = BackgroundStyle::gradient(redToBlue);
    const Image withoutMiddle = compose();
    EXPECT_EQ(test::difference(withMiddle, withoutMiddle, 0).count, 0);
    clip.background = BackgroundStyle::gradient(GradientFill{{{0.3, RGBAColor{0, 1, 0, 0.2}}}, 45});
    frame = compose();
    EXPECT_EQ(frame.pixel(3, 3), 0xFF00FF00u);
    EXPECT_EQ(frame.pixel(396, 296), 0xFF00FF00u);
}

TEST_F(Frame, roundedCornersShowTheBackgroundWithinTheRadius) {
    clip.frame.cornerRadius = 40;
    source = test::flatSource(800, 600, 0xFFFFFFFFu);
    const Image frame = compose();
    const std::uint32_t background = 0xFF336699u;
    // Each corner: just inside the content rectangle but outside the arc, the background; a little
    // further in, the picture.
    const int x0 = 40, y0 = 30, x1 = 359, y1 = 269;
    for (const auto& [x, y, dx, dy] :
         {std::tuple{x0, y0, 1, 1}, {x1, y0, -1, 1}, {x0, y1, 1, -1}, {x1, y1, -1, -1}}) {
        EXPECT_EQ(frame.pixel(x + 2 * dx, y + 2 * dy), background) << x << "," << y;
        EXPECT_EQ(frame.pixel(x + 8 * dx, y + 8 * dy), background) << x << "," << y;
        EXPECT_EQ(frame.pixel(x + 20 * dx, y + 20 * dy), 0xFFFFFFFFu) << x << "," << y;
    }
    // The straight edges are not cut.
    EXPECT_EQ(frame.pixel(200, 30), 0xFFFFFFFFu);
    EXPECT_EQ(frame.pixel(40, 150), 0xFFFFFFFFu);

    // Radius 0: square corners.
    clip.frame.cornerRadius = 0;
    EXPECT_EQ(compose().pixel(40, 30), 0xFFFFFFFFu);
}

TEST_F(Frame, theShadowDarkensBelowTheFrameMoreThanAbove) {
    clip.background = BackgroundStyle::solid(RGBAColor{0.9, 0.9, 0.9, 1});
    clip.frame.shadow = ShadowStyle::premium();
    const Image frame = compose();
    const double background = 230; // 0.9 of 255
    const double below = test::luma(at(frame, 200, 269 + 12));
    const double above = test::luma(at(frame, 200, 30 - 12));
    const double beside = test::luma(at(frame, 40 - 12, 150));
    EXPECT_LT(below, above - 10);
    EXPECT_LT(above, background);
    EXPECT_LT(beside, background);
    // The shadow is black: it darkens without tinting, and the canvas stays opaque.
    const Rgba shade = at(frame, 200, 281);
    EXPECT_EQ(shade.r, shade.g);
    EXPECT_EQ(shade.g, shade.b);
    EXPECT_EQ(shade.a, 255);

    // Opacity 0: no shadow is ever built, and the background is untouched.
    clip.frame.shadow = ShadowStyle::none();
    Compositor compositor(canvas);
    const Image flat = compose(compositor);
    EXPECT_NEAR(test::luma(at(flat, 200, 281)), background, 0.5);
    EXPECT_EQ(compositor.cacheStatistics().shadowMisses, 0u);
    EXPECT_EQ(compositor.cacheStatistics().shadowEntries, 0u);
}

TEST_F(Frame, aWindowBarSitsAboveThePictureAndShrinksIt) {
    clip.frame.chrome = ChromeStyle::macOSWindow(QStringLiteral("Title"), ChromeStyle::WindowTheme::light);
    const Image frame = compose();
    // The bar fills the top 28 pixels of the content rectangle, light gray, with the red light at left.
    const Rgba bar = at(frame, 110, 32);
    EXPECT_NEAR(bar.r, 236, 4);
    EXPECT_EQ(bar.r, bar.g);
    const Rgba light = at(frame, 40 + 14, 30 + 14);
    EXPECT_GT(light.r, 200);
    EXPECT_LT(light.g, 140);
    // The picture now spans y 58 to 270: its first rows show the source's top, the middle of that span
    // the source's middle. The picture keeps its width.
    EXPECT_LT(at(frame, 200, 59).g, 6);
    EXPECT_NEAR(at(frame, 200, 164).g, 128, 3);
    EXPECT_GT(at(frame, 200, 269).g, 250);
    EXPECT_LT(at(frame, 41, 100).r, 4);
    EXPECT_GT(at(frame, 358, 100).r, 250);
}

TEST_F(Frame, windowThemesAutoIsDarkAndEmptyTitlesDrawNoText) {
    const auto barAt = [&](ChromeStyle::WindowTheme theme, const QString& title, int x, int y) {
        clip.frame.chrome = ChromeStyle::macOSWindow(title, theme);
        return at(compose(), x, y);
    };
    EXPECT_LT(barAt(ChromeStyle::WindowTheme::auto_, QString(), 300, 44).r, 70);
    EXPECT_LT(barAt(ChromeStyle::WindowTheme::dark, QString(), 300, 44).r, 70);
    EXPECT_GT(barAt(ChromeStyle::WindowTheme::light, QString(), 300, 44).r, 200);
    // Text in the middle of the bar, only when there is a title.
    int inkWith = 255, inkWithout = 255;
    for (int x = 180; x < 220; ++x) {
        inkWith = std::min(
            inkWith, barAt(ChromeStyle::WindowTheme::light, QStringLiteral("Wide Title Here"), x, 44).r);
        inkWithout = std::min(inkWithout, barAt(ChromeStyle::WindowTheme::light, QString(), x, 44).r);
    }
    EXPECT_LT(inkWith, 150);
    EXPECT_GT(inkWithout, 200);
}

TEST_F(Frame, aBrowserBarDrawsItsAddressPillEvenWithoutAnAddress) {
    clip.frame.chrome = ChromeStyle::browser(ChromeStyle::BrowserTheme::chromeDark);
    const Image frame = compose();
    // The pill from x 130 (in the bar) in the dark fill, the bar around it in the theme's colour.
    EXPECT_NEAR(at(frame, 40 + 150, 30 + 26).r, 20, 3);
    EXPECT_NEAR(at(frame, 40 + 120, 30 + 26).r, 46, 3);
    // And the picture starts 52 pixels down.
    EXPECT_LT(at(frame, 200, 30 + 53).g, 8);
}

TEST_F(Frame, aZoomRectangleShowsThatPartOfTheSource) {
    clip.zoomTrack.insert({ProjectTime(0), NormalizedRect{0.5, 0.5, 0.5, 0.5}});
    Image frame = compose();
    // The bottom-right quarter of the source fills the whole picture.
    EXPECT_EQ(at(frame, 45, 35).b, 0xC0);
    EXPECT_NEAR(at(frame, 45, 35).r, 128 + 2, 3);
    EXPECT_NEAR(at(frame, 45, 35).g, 128 + 3, 3);
    EXPECT_GT(at(frame, 355, 265).r, 250);
    EXPECT_GT(at(frame, 355, 265).g, 250);

    // A keyframed move: halfway between two rectangles at halfway in time.
    clip.zoomTrack = KeyframeTrack<NormalizedRect>({{ProjectTime(0), NormalizedRect{0, 0, 0.5, 0.5}},
                                                    {ProjectTime(1), NormalizedRect{0.5, 0, 0.5, 0.5}}});
    frame = compose(ProjectTime(0.5));
    EXPECT_NEAR(at(frame, 40, 150).r, 255 * 0.25, 3);
    EXPECT_NEAR(at(frame, 359, 150).r, 255 * 0.75, 3);

    // A zoom of another aspect reshapes the picture: half the width, full height is 2:3, 160 wide.
    clip.zoomTrack = KeyframeTrack<NormalizedRect>({{ProjectTime(0), NormalizedRect{0, 0, 0.5, 1}}});
    frame = compose();
    EXPECT_EQ(frame.pixel(110, 150), 0xFF336699u);
    EXPECT_NE(frame.pixel(130, 150), 0xFF336699u);
    EXPECT_NE(frame.pixel(270, 150), 0xFF336699u);
    EXPECT_EQ(frame.pixel(290, 150), 0xFF336699u);
}

TEST_F(Frame, aZoomUnderOneSourcePixelHighDividesByNothing) {
    clip.zoomTrack.insert({ProjectTime(0), NormalizedRect{0.2, 0.5, 0.3, 0.0001}});
    const Image frame = compose();
    EXPECT_EQ(frame.width(), 400);
    EXPECT_EQ(frame.pixel(2, 2), 0xFF336699u);
}

TEST_F(Frame, aClipWithoutMediaIsItsBackgroundAlone) {
    clip.sourceVideoPath.clear();
    clip.cursor.isVisible = true;
    clip.cursor.clickRipple.isEnabled = true;
    Compositor compositor(canvas);
    const Image frame = compositor.composeFrame(source, clip, ProjectTime(0.1), test::stillCursor({400, 300}),
                                                test::clickAt({400, 300}, 0));
    // No picture, no cursor, no ring: every pixel is the background's.
    EXPECT_EQ(test::difference(frame, compositor.renderBackground(clip.background), 0).count, 0);
    EXPECT_EQ(frame.pixel(200, 150), 0xFF336699u);
}

TEST_F(Frame, aBlurredExtensionFillsThePaddingWithTheBlurredSource) {
    clip.background = BackgroundStyle::blurredExtension(12);
    const Image frame = compose();
    // The source fills the canvas behind the picture: little red at the left, much at the right.
    EXPECT_LT(at(frame, 12, 150).r, 60);
    EXPECT_GT(at(frame, 388, 150).r, 190);
    EXPECT_LT(at(frame, 200, 12).g, 60);
    EXPECT_GT(at(frame, 200, 288).g, 190);
}

TEST_F(Frame, perspectiveTiltsThePictureAndDepthZeroLeavesItFlat) {
    clip.frame.chrome = ChromeStyle::macOSWindow(QString(), ChromeStyle::WindowTheme::dark);
    const Image flat = compose();
    clip.frame.perspective = PerspectiveStyle{true, 1, 0, 0.0005};
    EXPECT_EQ(test::difference(compose(), flat, 0).count, 0);

    clip.frame.perspective = PerspectiveStyle{true, 1, 0, 1};
    const Image tilted = compose();
    // tiltX 1 pulls the top edge in by 35% of half the width on each side: the top-left corner of the
    // bar is background now, while the bottom-left corner of the picture stays.
    EXPECT_EQ(tilted.pixel(45, 32), 0xFF336699u);
    EXPECT_NE(tilted.pixel(45, 267), 0xFF336699u);
    EXPECT_LT(at(tilted, 200, 64).r, 80); // the dark bar went with the picture, into the same quadrilateral
    // Values beyond the range are clamped: tilt 5 is tilt 1.
    clip.frame.perspective = PerspectiveStyle{true, 5, 0, 3};
    EXPECT_EQ(test::difference(compose(), tilted, 0).count, 0);
}

TEST_F(Frame, animatedScaleAndOpacityChangeThePictureOnly) {
    clip.animations.tracks[AnimatablePropertyID::scale] =
        KeyframeTrack<double>({{ProjectTime(0), 0.5}, {ProjectTime(1), 0.5}});
    Image frame = compose();
    // Half size about the centre: 120 to 280 by 90 to 210.
    EXPECT_EQ(frame.pixel(100, 150), 0xFF336699u);
    EXPECT_NE(frame.pixel(130, 150), 0xFF336699u);
    EXPECT_NEAR(at(frame, 200, 150).r, 128, 3);

    clip.animations.tracks.clear();
    clip.animations.tracks[AnimatablePropertyID::opacity] = KeyframeTrack<double>({{ProjectTime(0), 0.5}});
    source = test::flatSource(800, 600, 0xFFFFFFFFu);
    frame = compose();
    const Rgba mixed = at(frame, 200, 150);
    EXPECT_NEAR(mixed.r, (255 + 0x33) / 2, 2);
    EXPECT_NEAR(mixed.b, (255 + 0x99) / 2, 2);
    EXPECT_EQ(frame.pixel(5, 5), 0xFF336699u);

    // Tracks that are all empty behave like no animation.
    clip.animations.tracks.clear();
    clip.animations.tracks[AnimatablePropertyID::scale] = KeyframeTrack<double>();
    EXPECT_EQ(compose().pixel(200, 150), 0xFFFFFFFFu);
}

TEST_F(Frame, aStillZoomHitsBackgroundMaskAndShadowCachesAfterTheFirstFrame) {
    clip.frame.cornerRadius = 16;
    clip.frame.shadow = ShadowStyle::premium();
    clip.zoomTrack = KeyframeTrack<NormalizedRect>({{ProjectTime(0), NormalizedRect{0, 0, 0.5, 0.5}},
                                                    {ProjectTime(1), NormalizedRect{0.5, 0.5, 0.5, 0.5}}});
    Compositor compositor(canvas);
    compose(compositor, ProjectTime(0));
    auto s = compositor.cacheStatistics();
    EXPECT_EQ(s.backgroundMisses, 1u);
    EXPECT_EQ(s.maskMisses, 1u);
    EXPECT_EQ(s.shadowMisses, 1u);
    // The zoom moves on every frame, but its aspect stays, so the picture's rectangle does too.
    for (int f = 1; f <= 10; ++f)
        compose(compositor, ProjectTime(f / 10.0));
    s = compositor.cacheStatistics();
    EXPECT_EQ(s.backgroundMisses, 1u);
    EXPECT_EQ(s.maskMisses, 1u);
    EXPECT_EQ(s.shadowMisses, 1u);
    EXPECT_EQ(s.backgroundHits, 10u);
    EXPECT_EQ(s.maskHits, 10u);
    EXPECT_EQ(s.shadowHits, 10u);
}

TEST_F(Frame, theStillImageIsTheCanvasAtItsSize) {
    Compositor compositor(canvas);
    const auto still = compositor.renderToImage(source, clip, ProjectTime(0), noCursor, noEvents);
    ASSERT_TRUE(still.has_value());
    EXPECT_EQ(still->size(), QSize(400, 300));
    EXPECT_EQ(still->pixel(5, 5), 0xFF336699u);
    EXPECT_EQ(still->pixel(200, 150), compose().pixel(200, 150));
}

TEST_F(Frame, onlyMotionBlurRemembersThePreviousZoom) {
    clip.zoomTrack.insert({ProjectTime(0), NormalizedRect{0.1, 0.2, 0.5, 0.5}});
    Compositor compositor(canvas);
    compose(compositor, ProjectTime(0.25));
    EXPECT_FALSE(compositor.previousZoomRect().has_value());
    EXPECT_FALSE(compositor.previousTime().has_value());
    clip.motionBlur.cursorStrength = 0.3;
    compose(compositor, ProjectTime(0.5));
    ASSERT_TRUE(compositor.previousZoomRect().has_value());
    EXPECT_EQ(*compositor.previousZoomRect(), (NormalizedRect{0.1, 0.2, 0.5, 0.5}));
    EXPECT_EQ(compositor.previousTime(), ProjectTime(0.5));
    // Turned off again, the memory stays as it was: nothing resets it.
    clip.motionBlur.cursorStrength = 0;
    compose(compositor, ProjectTime(0.75));
    EXPECT_EQ(compositor.previousTime(), ProjectTime(0.5));
}

} // namespace
} // namespace orvane
