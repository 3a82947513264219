// Compositor cost per frame on a 1920x1080 canvas with the default look (gradient, 8% padding, radius 16,
// premium shadow), the cursor and a click ripple, and a zoom that moves on every frame; from a 1080p and
// from a 4K source. Baselines from the same run: copying one canvas (the least any frame costs) and a
// plain libyuv bilinear scale of the source to the picture's size (what the picture alone would cost
// without crop, mask or blend). Counters: heap allocations and new pixel buffers per frame in steady
// state, and cache hit rates after the first frame of a still zoom.
#include "GuiApplication.h"
#include "common/AllocationCounter.h"
#include "rendering/Compositor.h"
#include "rendering/DemoSource.h"
#include "rendering/ImagePool.h"

#include <QGuiApplication>

#include <benchmark/benchmark.h>
#include <libyuv/scale_argb.h>

#include <cstring>
#include <vector>

using namespace orvane;

namespace {

constexpr Size canvasSize{1920, 1080};
constexpr int loopFrames = 120; // two seconds at 60 a second, replayed

// The demo clip with its zoom replaced by one that never rests: in, out, and in again over the loop, so
// every frame of the loop has its own zoom rectangle.
Clip movingZoomClip(Size source) {
    Clip clip = DemoSource::clip(source);
    const NormalizedRect wide = NormalizedRect::unit();
    const NormalizedRect close{0.35, 0.12, 0.55, 0.55};
    clip.zoomTrack = KeyframeTrack<NormalizedRect>({{ProjectTime(0.0), wide, EasingCurve::easeInOut()},
                                                    {ProjectTime(1.0), close, EasingCurve::easeInOut()},
                                                    {ProjectTime(2.0), wide, EasingCurve::linear()}});
    return clip;
}

ProjectTime loopTime(std::int64_t frame) {
    return ProjectTime(double(frame % loopFrames) / 60.0);
}

void composeLoop(benchmark::State& state, int sourceWidth, int sourceHeight) {
    bench::ensureGuiApplication();
    const Size source{double(sourceWidth), double(sourceHeight)};
    const Image picture = DemoSource::image(sourceWidth, sourceHeight);
    const Clip clip = movingZoomClip(source);
    const CursorTrack cursor = DemoSource::cursor(source);
    const EventTrack events = DemoSource::events(source);
    Compositor compositor(canvasSize);
    // One pass over the loop fills the caches: ring bitmaps for each ripple frame, cursors, masks.
    for (int f = 0; f < loopFrames; ++f)
        benchmark::DoNotOptimize(compositor.composeFrame(picture, clip, loopTime(f), cursor, events));

    const std::size_t buffersBefore = ImagePool::shared().statistics().buffersAllocated;
    const test::AllocationScope allocations;
    std::int64_t frame = 0;
    for (auto _ : state) {
        Image canvas = compositor.composeFrame(picture, clip, loopTime(frame++), cursor, events);
        benchmark::DoNotOptimize(canvas.constRow(0));
    }
    const double frames = double(std::max<std::int64_t>(frame, 1));
    state.counters["allocs/frame"] = double(allocations.allocations()) / frames;
    state.counters["buffers/frame"] =
        double(ImagePool::shared().statistics().buffersAllocated - buffersBefore) / frames;
}

void BM_ComposeFrame_1080pSource(benchmark::State& state) {
    composeLoop(state, 1920, 1080);
}
BENCHMARK(BM_ComposeFrame_1080pSource)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_ComposeFrame_4KSource(benchmark::State& state) {
    composeLoop(state, 3840, 2160);
}
BENCHMARK(BM_ComposeFrame_4KSource)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// A still zoom: after the first frame, background, mask and shadow should all come from their caches.
void BM_ComposeFrame_StillZoomCacheHits(benchmark::State& state) {
    bench::ensureGuiApplication();
    const Size source{1920, 1080};
    const Image picture = DemoSource::image(1920, 1080);
    Clip clip = DemoSource::clip(source);
    clip.zoomTrack = KeyframeTrack<NormalizedRect>(
        {{ProjectTime(0), NormalizedRect{0.2, 0.2, 0.6, 0.6}, EasingCurve::linear()}});
    const CursorTrack cursor = DemoSource::cursor(source);
    const EventTrack events = DemoSource::events(source);
    Compositor compositor(canvasSize);
    benchmark::DoNotOptimize(compositor.composeFrame(picture, clip, ProjectTime(0), cursor, events));
    const Compositor::CacheStatistics first = compositor.cacheStatistics();
    std::int64_t frame = 0;
    for (auto _ : state) {
        Image canvas = compositor.composeFrame(picture, clip, loopTime(frame++), cursor, events);
        benchmark::DoNotOptimize(canvas.constRow(0));
    }
    const Compositor::CacheStatistics after = compositor.cacheStatistics();
    const auto rate = [](std::size_t hits, std::size_t misses) {
        return hits + misses == 0 ? 0.0 : 100.0 * double(hits) / double(hits + misses);
    };
    state.counters["background hit %"] =
        rate(after.backgroundHits - first.backgroundHits, after.backgroundMisses - first.backgroundMisses);
    state.counters["mask hit %"] = rate(after.maskHits - first.maskHits, after.maskMisses - first.maskMisses);
    state.counters["shadow hit %"] =
        rate(after.shadowHits - first.shadowHits, after.shadowMisses - first.shadowMisses);
}
BENCHMARK(BM_ComposeFrame_StillZoomCacheHits)->Unit(benchmark::kMillisecond);

// The other looks from a 1080p source, for comparison with the default: 0 blurred extension, 1 window
// bar, 2 phone frame, 3 perspective tilt, 4 camera bubble.
void BM_ComposeFrame_OtherLooks(benchmark::State& state) {
    bench::ensureGuiApplication();
    const Size source{1920, 1080};
    const Image picture = DemoSource::image(1920, 1080);
    Clip clip = movingZoomClip(source);
    Compositor compositor(canvasSize);
    switch (state.range(0)) {
    case 0:
        clip.background = BackgroundStyle::blurredExtension(20);
        break;
    case 1:
        clip.frame.chrome =
            ChromeStyle::macOSWindow(QStringLiteral("Report"), ChromeStyle::WindowTheme::dark);
        break;
    case 2:
        clip.frame.chrome = ChromeStyle::mobile(ChromeStyle::MobileDevice::iPhone15Pro);
        break;
    case 3:
        clip.frame.perspective = PerspectiveStyle{true, 0.5, -0.3, 0.6};
        break;
    default:
        clip.camera.isEnabled = true;
        compositor.setCurrentCameraFrame(DemoSource::image(1280, 720));
        break;
    }
    const CursorTrack cursor = DemoSource::cursor(source);
    const EventTrack events = DemoSource::events(source);
    for (int f = 0; f < loopFrames; ++f)
        benchmark::DoNotOptimize(compositor.composeFrame(picture, clip, loopTime(f), cursor, events));
    std::int64_t frame = 0;
    for (auto _ : state) {
        Image canvas = compositor.composeFrame(picture, clip, loopTime(frame++), cursor, events);
        benchmark::DoNotOptimize(canvas.constRow(0));
    }
}
BENCHMARK(BM_ComposeFrame_OtherLooks)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);

// Baseline: one canvas copied, nothing else.
void BM_Baseline_CanvasCopy(benchmark::State& state) {
    std::vector<std::uint8_t> from(std::size_t(canvasSize.width * canvasSize.height * 4), 0x5A);
    std::vector<std::uint8_t> to(from.size());
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Baseline_CanvasCopy)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

// Baseline: libyuv's bilinear scale of the whole source to the default picture size (1612x907).
void scaleBaseline(benchmark::State& state, int width, int height) {
    const Image picture = Image::allocate(width, height);
    std::vector<std::uint8_t> out(std::size_t(1612) * 907 * 4);
    for (auto _ : state) {
        libyuv::ARGBScale(picture.constRow(0), picture.stride(), width, height, out.data(), 1612 * 4, 1612,
                          907, libyuv::kFilterBilinear);
        benchmark::DoNotOptimize(out.data());
    }
}
void BM_Baseline_LibyuvScale_1080p(benchmark::State& state) {
    scaleBaseline(state, 1920, 1080);
}
BENCHMARK(BM_Baseline_LibyuvScale_1080p)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
void BM_Baseline_LibyuvScale_4K(benchmark::State& state) {
    scaleBaseline(state, 3840, 2160);
}
BENCHMARK(BM_Baseline_LibyuvScale_4K)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

} // namespace
