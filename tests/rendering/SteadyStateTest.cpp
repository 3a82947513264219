// A frame loop in steady state: nothing allocated, nothing drawn twice.
#include "CompositorTestSupport.h"
#include "common/AllocationCounter.h"
#include "rendering/DemoSource.h"
#include "rendering/ImagePool.h"
#include "rendering/StillRenderer.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace orvane {
namespace {

TEST(SteadyState, composingFramesAfterTheCachesAreWarmAllocatesNothing) {
    const Size source{960, 540};
    const Image picture = DemoSource::image(960, 540);
    Clip clip = DemoSource::clip(source);
    // The default look, a moving zoom, the cursor and a ripple.
    clip.zoomTrack =
        KeyframeTrack<NormalizedRect>({{ProjectTime(0.8), NormalizedRect::unit(), EasingCurve::easeInOut()},
                                       {ProjectTime(1.6), NormalizedRect{0.3, 0.2, 0.5, 0.5}}});
    const CursorTrack cursor = DemoSource::cursor(source);
    const EventTrack events = DemoSource::events(source);
    Compositor compositor(Size{640, 360});
    const auto frameTime = [](int f) {
        return ProjectTime(0.9 + (f % 40) / 60.0);
    };
    for (int f = 0; f < 40; ++f)
        compositor.composeFrame(picture, clip, frameTime(f), cursor, events);

    const std::size_t buffers = ImagePool::shared().statistics().buffersAllocated;
    const test::AllocationScope scope;
    for (int f = 0; f < 40; ++f) {
        Image canvas = compositor.composeFrame(picture, clip, frameTime(f), cursor, events);
        ASSERT_FALSE(canvas.isNull());
    }
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_EQ(ImagePool::shared().statistics().buffersAllocated, buffers);
}

TEST(StillRenderer, writesTheComposedFrameAsAPng) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    Clip styles;
    styles.background = BackgroundStyle::solid(RGBAColor{0, 0.5, 0, 1});
    styles.frame.shadow = ShadowStyle::none();
    const QString path = dir.filePath(QStringLiteral("still.png"));
    ASSERT_TRUE(
        StillRenderer::writeDemoPng(styles, ProjectTime(DemoSource::clickTime + 0.1), Size{480, 270}, path));
    const QImage written(path);
    ASSERT_EQ(written.size(), QSize(480, 270));
    EXPECT_EQ(written.pixel(3, 3), qRgb(0, 128, 0));
    EXPECT_NE(written.pixel(240, 135), qRgb(0, 128, 0));

    const auto failed = StillRenderer::writeDemoPng(styles, ProjectTime(0), Size{64, 36},
                                                    dir.filePath(QStringLiteral("missing/folder/still.png")));
    ASSERT_FALSE(failed);
    EXPECT_TRUE(failed.error().startsWith(QStringLiteral("could not write ")))
        << failed.error().toStdString();
}

TEST(DemoSource, clicksWhereItsCursorRests) {
    const Size source{1920, 1080};
    const CursorTrack cursor = DemoSource::cursor(source);
    const EventTrack events = DemoSource::events(source);
    ASSERT_EQ(events.events.size(), 2u);
    ASSERT_TRUE(events.events[0].isClick());
    const Point click = *events.events[0].location();
    const auto atClick =
        std::find_if(cursor.samples.begin(), cursor.samples.end(),
                     [](const CursorSample& s) { return s.time.seconds >= DemoSource::clickTime; });
    ASSERT_NE(atClick, cursor.samples.end());
    EXPECT_NEAR(atClick->x, click.x, 2);
    EXPECT_NEAR(atClick->y, click.y, 2);
    EXPECT_TRUE(DemoSource::image(320, 180).isOpaque());
}

} // namespace
} // namespace orvane
