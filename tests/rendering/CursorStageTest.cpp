// The cursor and the click rings on composed frames, and the bitmaps and caches behind them.
#include "CompositorTestSupport.h"
#include "rendering/ChromeRenderer.h"
#include "rendering/ClickRippleEngine.h"
#include "rendering/CursorRenderer.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

using test::at;

struct CursorStage : test::FrameFixture {
    CursorStage() {
        source = test::flatSource(800, 600, 0xFF808080u);
        clip.cursor.isVisible = true;
        clip.cursor.shape = CursorShape::crosshair;
        clip.cursor.color = RGBAColor{1, 0, 0, 1};
        clip.cursor.rotationEnabled = false;
    }
    Image withCursor(Point at, ProjectTime t = ProjectTime(0)) {
        Compositor compositor(canvas);
        return compositor.composeFrame(source, clip, t, test::stillCursor(at), noEvents);
    }
    Image withClick(Point at, double clickTime, ProjectTime t) {
        Compositor compositor(canvas);
        return compositor.composeFrame(source, clip, t, noCursor, test::clickAt(at, clickTime));
    }
};

TEST_F(CursorStage, theHotSpotLandsOnTheMappedPointAndTheSizeIgnoresTheZoom) {
    const Image plain = compose();
    // Source (300, 200) on the unzoomed picture: (40 + 0.375 * 320, 30 + 0.333 * 240) = (160, 110).
    const test::Difference wide = test::difference(withCursor({300, 200}), plain);
    ASSERT_GT(wide.count, 50);
    EXPECT_NEAR(wide.cx, 160, 1.5);
    EXPECT_NEAR(wide.cy, 110, 2.5); // the shadow falls a little below
    // Zoomed twice on (200, 150, 400, 300): the same source point lands at (120, 70)...
    clip.zoomTrack.insert({ProjectTime(0), NormalizedRect{0.25, 0.25, 0.5, 0.5}});
    const test::Difference zoomed = test::difference(withCursor({300, 200}), compose());
    EXPECT_NEAR(zoomed.cx, 120, 1.5);
    EXPECT_NEAR(zoomed.cy, 70, 2.5);
    // ...and the cursor keeps its canvas size: scale 1.4 times 36 pixels, whatever the zoom.
    EXPECT_EQ(zoomed.maxX - zoomed.minX, wide.maxX - wide.minX);
    EXPECT_EQ(zoomed.maxY - zoomed.minY, wide.maxY - wide.minY);
    EXPECT_NEAR(wide.maxX - wide.minX, 0.9 * 51, 4);
}

TEST_F(CursorStage, theArrowsHotSpotIsAFractionOfItsPaddedBitmap) {
    clip.cursor.shape = CursorShape::arrow;
    const test::Difference d = test::difference(withCursor({400, 300}), compose());
    // Mapped to (200, 150); the bitmap is 73 pixels (51 plus 11.22 each side) with its (0.08, 0.06)
    // there, so the drawn arrow starts about 11 - 6 + 4 pixels right of and below that point.
    ASSERT_GT(d.count, 50);
    EXPECT_GT(d.minX, 200);
    EXPECT_LT(d.minX, 212);
    EXPECT_GT(d.minY, 150);
    EXPECT_LT(d.minY, 160);
}

TEST_F(CursorStage, aCursorOutsideTheZoomedPictureIsStillDrawn) {
    // Source (-50, 300) lies left of the picture: on the padding, at x = 40 - 20 = 20.
    const test::Difference d = test::difference(withCursor({-50, 300}), compose());
    ASSERT_GT(d.count, 50);
    EXPECT_NEAR(d.cx, 20, 1.5);
    // An empty track draws nothing.
    EXPECT_EQ(test::difference(compose(), compose(), 0).count, 0);
}

TEST_F(CursorStage, theCursorIsDrawnOverTheChromeBar) {
    clip.frame.chrome = ChromeStyle::macOSWindow(QStringLiteral("Bar"), ChromeStyle::WindowTheme::light);
    // The bar holds y 30 to 58; the picture below it maps source y 0 to canvas 58, so a source point 40
    // above the top lands in the bar: 58 - 40 * 212 / 600 = 43.9.
    const Image frame = withCursor({400, -40});
    const test::Rgba armCentre = at(frame, 200 - 14, 43);
    EXPECT_GT(armCentre.r, 200);
    EXPECT_LT(armCentre.g, 80);
}

TEST_F(CursorStage, theCursorFollowsThePerspectiveAndTheRingsDoNot) {
    source = test::coordinateSource(800, 600);
    clip.frame.perspective = PerspectiveStyle{true, 1, 0, 0.5};
    clip.cursor.clickRipple = ClickRippleStyle{true, RGBAColor{0, 1, 0, 1}, 30, 0.5, 4, false};
    const Point click{760, 60};
    Compositor compositor(canvas);
    const Image plain = compositor.composeFrame(source, clip, ProjectTime(0.5), noCursor, noEvents);
    // Where the tilted picture shows the clicked source pixel: its colour says where it came from.
    double bestX = 0, bestY = 0;
    int best = 1 << 30;
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 400; ++x) {
            const test::Rgba c = at(plain, x, y);
            const int e = std::abs(c.r - int(click.x * 255 / 799)) +
                          std::abs(c.g - int(click.y * 255 / 599)) + (c.a < 255 ? 99 : 0);
            if (e < best)
                best = e, bestX = x + 0.5, bestY = y + 0.5;
        }
    ASSERT_LT(best, 6);

    clip.cursor.clickRipple.isEnabled = false;
    const test::Difference cursor = test::difference(
        compositor.composeFrame(source, clip, ProjectTime(0.5), test::stillCursor(click), noEvents), plain);
    // The cursor sits where the picture put that pixel (up to the corner map's bilinear approximation).
    EXPECT_NEAR(cursor.cx, bestX, 4);
    EXPECT_NEAR(cursor.cy, bestY, 5);

    // The ring, full grown at age 0.5, is centred on the flat map of the click.
    clip.cursor.clickRipple.isEnabled = true;
    const Image ringed =
        compositor.composeFrame(source, clip, ProjectTime(0.5), noCursor, test::clickAt(click, 0));
    const Point flat{40 + click.x * 320 / 800.0, 30 + click.y * 240 / 600.0};
    ASSERT_GT(std::hypot(flat.x - bestX, flat.y - bestY), 15);
    for (const double angle : {0.0, 1.6, 3.1, 4.7}) {
        const int x = int(flat.x + 28 * std::cos(angle));
        const int y = int(flat.y + 28 * std::sin(angle));
        if (x < 0 || x >= 400 || y < 0 || y >= 300)
            continue;
        EXPECT_GT(at(ringed, x, y).g, 230) << angle;
        EXPECT_LT(at(ringed, x, y).r, 40) << angle;
    }
}

TEST_F(CursorStage, aRippleAtItsDurationHasItsFullRadius) {
    clip.cursor.clickRipple = ClickRippleStyle{true, RGBAColor{0, 1, 0, 1}, 50, 0.5, 4, false};
    // Clicked at source (400, 300), canvas (200, 150).
    const auto ringAt = [&](double t, double radius) {
        const Image frame = withClick({400, 300}, 1.0, ProjectTime(t));
        return at(frame, int(200 + radius), 150).g > 200 && at(frame, int(200 + radius), 150).r < 40;
    };
    EXPECT_TRUE(ringAt(1.5, 48));
    EXPECT_FALSE(ringAt(1.5, 40));
    EXPECT_FALSE(ringAt(1.5, 55));
    // Halfway: half the radius.
    EXPECT_TRUE(ringAt(1.25, 23));
    EXPECT_FALSE(ringAt(1.25, 48));
    // Past the duration, or before the click: no ring.
    EXPECT_EQ(test::difference(withClick({400, 300}, 1.0, ProjectTime(1.51)), compose(), 0).count, 0);
    EXPECT_EQ(test::difference(withClick({400, 300}, 1.0, ProjectTime(0.99)), compose(), 0).count, 0);
    // Fading out, it reaches opacity 0 at the duration and shows nothing there.
    clip.cursor.clickRipple.fadeOut = true;
    EXPECT_EQ(test::difference(withClick({400, 300}, 1.0, ProjectTime(1.5)), compose(), 0).count, 0);
    EXPECT_TRUE(ringAt(1.1, 8) || ringAt(1.1, 9));
}

TEST_F(CursorStage, ringsFollowTheZoomButKeepTheirCanvasSize) {
    clip.cursor.clickRipple = ClickRippleStyle{true, RGBAColor{0, 1, 0, 1}, 50, 0.5, 4, false};
    clip.zoomTrack.insert({ProjectTime(0), NormalizedRect{0.25, 0.25, 0.5, 0.5}});
    // Source (300, 200) is canvas (120, 70) under this zoom; the ring is still 50 pixels out.
    const Image frame = withClick({300, 200}, 1.0, ProjectTime(1.5));
    EXPECT_GT(at(frame, 120 + 48, 70).g, 200);
    EXPECT_LT(at(frame, 120 + 96, 70).g, 140);
}

TEST(ClickRippleEngine, takesPressesOfEveryButtonWithinTheirDuration) {
    EventTrack events;
    events.events = {{InputEvent::LeftMouseDown{ProjectTime(1), 10, 20}},
                     {InputEvent::LeftMouseUp{ProjectTime(1.1), 10, 20}},
                     {InputEvent::RightMouseDown{ProjectTime(1.2), 30, 40}},
                     {InputEvent::OtherMouseDown{ProjectTime(1.3), 50, 60, 3}},
                     {InputEvent::Scroll{ProjectTime(1.3), 0, 0, 1, 1}},
                     {InputEvent::KeyDown{ProjectTime(1.3), 6, QStringLiteral("z"), 0}}};
    ClickRippleStyle style;
    style.duration = 0.5;
    style.maxRadius = 80;
    style.color.a = 0.8;
    const auto ripples = ClickRippleEngine::ripples(events, ProjectTime(1.5), style);
    ASSERT_EQ(ripples.size(), 3u);
    EXPECT_EQ(ripples[0], (ActiveRipple{10, 20, 1.0, 80, 0}));
    EXPECT_DOUBLE_EQ(ripples[1].radius, 0.6 * 80);
    EXPECT_NEAR(ripples[1].opacity, 0.4 * 0.8, 1e-12);
    EXPECT_EQ(ripples[2].originX, 50);

    style.fadeOut = false;
    EXPECT_DOUBLE_EQ(ClickRippleEngine::ripples(events, ProjectTime(1.5), style)[0].opacity, 0.8);
    style.isEnabled = false;
    style.fadeOut = true;
    EXPECT_TRUE(ClickRippleEngine::ripples(events, ProjectTime(1.5), style).empty());
}

TEST(CursorRenderer, drawsEveryShapeWithItsOutlineAndShadow) {
    for (const auto& entry : enumEntries(CursorShape{})) {
        const auto image = CursorRenderer::renderUncached(entry.value, 40, RGBAColor{0, 0, 0, 1}, 0);
        ASSERT_TRUE(image.has_value()) << entry.name;
        // 40 plus 8.8 on each side.
        EXPECT_EQ(image->width(), 57) << entry.name;
        int opaque = 0;
        for (int y = 0; y < image->height(); ++y)
            for (int x = 0; x < image->width(); ++x)
                opaque += at(*image, x, y).a > 200;
        EXPECT_GT(opaque, 60) << entry.name;
    }
    // A size below 4 renders at 4: a 12 pixel bitmap (4 plus 4 padding each side).
    EXPECT_EQ(CursorRenderer::renderUncached(CursorShape::arrow, 1, RGBAColor::white(), 0)->width(), 12);
}

TEST(CursorRenderer, outlinesAreDarkOnLightCursorsAndLightOnDarkOnes) {
    // The crosshair's centre dot is drawn in the outline colour.
    const auto centre = [](const RGBAColor& c) {
        const Image image = *CursorRenderer::renderUncached(CursorShape::crosshair, 60, c, 0);
        return at(image, image.width() / 2, image.height() / 2);
    };
    EXPECT_LT(centre(RGBAColor::white()).r, 60);
    EXPECT_GT(centre(RGBAColor::black()).r, 200);
    // Luminance exactly 0.5 gets the white outline.
    EXPECT_GT(centre(RGBAColor{0.5, 0.5, 0.5, 1}).r, 200);
}

TEST(CursorRenderer, rotationTurnsTheShapeClockwise) {
    const Image upright = *CursorRenderer::renderUncached(CursorShape::resizeV, 60, RGBAColor{1, 0, 0, 1}, 0);
    const Image turned = *CursorRenderer::renderUncached(CursorShape::resizeV, 60, RGBAColor{1, 0, 0, 1}, 90);
    const int c = upright.width() / 2;
    // Upright, the bar runs top to bottom; a quarter turn lays it left to right.
    EXPECT_GT(at(upright, c, c - 20).a, 200);
    EXPECT_LT(at(upright, c - 20, c).a, 120);
    EXPECT_GT(at(turned, c - 20, c).a, 200);
    EXPECT_EQ(CursorRenderer::hotspot(CursorShape::hand), (Point{0.4, 0.1}));
    EXPECT_EQ(CursorRenderer::hotspot(CursorShape::wait), (Point{0.5, 0.5}));
}

TEST(CursorRenderer, theProcessCacheDropsOneEntryAtItsBound) {
    CursorRenderer::clearCache();
    for (int i = 0; i < 300; ++i)
        ASSERT_TRUE(CursorRenderer::render(CursorShape::iBeam, 10 + i * 0.5, RGBAColor::white(), 0));
    EXPECT_EQ(CursorRenderer::cacheCount(), CursorRenderer::cacheBound - 1);
    // Half-unit grain: sizes that round alike share one bitmap.
    CursorRenderer::clearCache();
    const Image a = *CursorRenderer::render(CursorShape::iBeam, 20.1, RGBAColor::white(), 2.1);
    const Image b = *CursorRenderer::render(CursorShape::iBeam, 20.2, RGBAColor::white(), 1.9);
    EXPECT_EQ(a.constRow(0), b.constRow(0));
    EXPECT_EQ(CursorRenderer::cacheCount(), 1u);
}

TEST_F(CursorStage, theCompositorsCursorCacheEmptiesWholeAtItsBound) {
    Compositor compositor(Size{64, 48});
    const CursorTrack cursor = test::stillCursor({400, 300});
    for (int i = 0; i < 258; ++i) {
        // Each scale gives a new Int(2 * size).
        clip.cursor.scale = (8 + i) / 72.0;
        compositor.composeFrame(source, clip, ProjectTime(0), cursor, noEvents);
        const std::size_t entries = compositor.cacheStatistics().cursorEntries;
        ASSERT_EQ(entries, i < 257 ? std::size_t(i + 1) : 1u) << i;
    }
}

TEST_F(CursorStage, ringAndShadowCachesEmptyAtTheirBoundsAndMasksAreKept) {
    Compositor compositor(canvas);
    for (int i = 0; i < 130; ++i) {
        compositor.ringCircle(5 + i, 3, RGBAColor::white());
        ASSERT_EQ(compositor.cacheStatistics().ringEntries, i < 129 ? std::size_t(i + 1) : 1u) << i;
    }
    for (int i = 0; i < 66; ++i) {
        compositor.makeShadow(Rect{10, 10, 50.0 + i, 40}, 4, Point{0, 2}, 0.5, 6);
        compositor.roundedCornerMask(Rect{10, 10, 50.0 + i, 40}, 6);
        ASSERT_EQ(compositor.cacheStatistics().shadowEntries, i < 65 ? std::size_t(i + 1) : 1u) << i;
    }
    EXPECT_EQ(compositor.cacheStatistics().maskEntries, 66u);
}

TEST(ChromeRenderer, aDeviceFrameIsLimitedByTheNarrowerSideAndCentred) {
    // A rectangle narrower than a phone's aspect: the width decides, and the phone is centred vertically.
    const Rect over{100, 50, 200, 600};
    const auto result =
        ChromeRenderer::renderMobileDeviceFrame(ChromeStyle::MobileDevice::iPhone15Pro, over, 700);
    const double h = 200 / 0.46153846;
    const double bezel = 0.035 * 200;
    EXPECT_NEAR(result.content.minX(), 100 + bezel, 1e-9);
    EXPECT_NEAR(result.content.width, 200 - 2 * bezel, 1e-9);
    EXPECT_NEAR(result.content.midY(), 350, 1e-9);
    EXPECT_NEAR(result.content.height, h - 2 * bezel, 1e-9);
    ASSERT_TRUE(result.image.has_value());
    EXPECT_EQ(result.image->width(), 200);
    // The screen is cut out, the bezel is dark, the home bar lies over the screen near its bottom.
    const Image& frame = *result.image;
    EXPECT_EQ(at(frame, 100, frame.height() / 2).a, 0);
    EXPECT_NEAR(at(frame, 3, frame.height() / 2).r, 23, 3);
    EXPECT_GT(at(frame, 100, int(frame.height() - 0.55 * bezel + 2)).r, 180);
}

} // namespace
} // namespace orvane
