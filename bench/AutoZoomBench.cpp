// Auto-zoom over a long, busy recording: 10,000 clicks and 100,000 cursor samples. Baselines from the
// same run: copying the inputs (the least any pass over them costs) and the smoothing that precedes it.
#include "capture/CursorSmoothing.h"
#include "direction/AutoZoomEngine.h"

#include <benchmark/benchmark.h>

#include <random>

using namespace orvane;

namespace {

constexpr double recordingSeconds = 3000;

struct Recording {
    std::vector<InputEvent> events;
    CursorTrack cursor;
};

// Clicks come in bursts of one to four near the same spot, every 0.3 s on average; the cursor is
// sampled at a steady rate between them. Each click has a release, so half the events are not clicks.
const Recording& busyRecording() {
    static const Recording recording = [] {
        Recording r;
        std::mt19937 random(7);
        std::uniform_real_distribution<double> x(0, 1920), y(0, 1080), jitter(-40, 40), gap(0.05, 0.9);
        double t = 0.5;
        int clicks = 0;
        while (clicks < 10'000) {
            const double cx = x(random), cy = y(random);
            const int burst = 1 + int(random() % 4);
            for (int i = 0; i < burst && clicks < 10'000; ++i, ++clicks) {
                const double px = cx + jitter(random), py = cy + jitter(random);
                r.events.push_back({InputEvent::LeftMouseDown{ProjectTime(t), px, py}});
                r.events.push_back({InputEvent::LeftMouseUp{ProjectTime(t + 0.05), px, py}});
                t += 0.12;
            }
            t += gap(random) * 2;
        }
        r.cursor.samples.reserve(100'000);
        for (int i = 0; i < 100'000; ++i) {
            const double s = i * (t / 100'000);
            r.cursor.samples.push_back(
                {ProjectTime(s), 960 + 800 * std::sin(s * 0.7), 540 + 400 * std::cos(s * 1.3), 0});
        }
        return r;
    }();
    return recording;
}

void BM_AutoZoomGenerateKeyframes_10kClicks_100kSamples(benchmark::State& state) {
    const Recording& r = busyRecording();
    AutoZoomConfig config;
    if (state.range(0) == 0)
        config.maxZoomsPerMinute = 1'000'000; // keep every cluster: the most keyframes to lay down
    std::size_t keyframes = 0;
    for (auto _ : state) {
        const auto track = AutoZoomEngine::generateKeyframes(r.events, r.cursor, Size{1920, 1080}, config,
                                                             ProjectTime(recordingSeconds));
        keyframes = track.count();
        benchmark::DoNotOptimize(track.keyframes.data());
    }
    state.counters["keyframes"] = double(keyframes);
}
BENCHMARK(BM_AutoZoomGenerateKeyframes_10kClicks_100kSamples)
    ->Arg(1)
    ->Arg(0)
    ->ArgNames({"rateLimited"})
    ->Unit(benchmark::kMillisecond);

void BM_Baseline_CopyAutoZoomInputs(benchmark::State& state) {
    const Recording& r = busyRecording();
    for (auto _ : state) {
        Recording copy = r;
        benchmark::DoNotOptimize(copy.events.data());
        benchmark::DoNotOptimize(copy.cursor.samples.data());
    }
}
BENCHMARK(BM_Baseline_CopyAutoZoomInputs)->Unit(benchmark::kMillisecond);

void BM_CursorSmoothing_100kSamples(benchmark::State& state) {
    const Recording& r = busyRecording();
    for (auto _ : state) {
        const CursorTrack smoothed = CursorSmoothing::smooth(r.cursor, 0.5);
        benchmark::DoNotOptimize(smoothed.samples.data());
    }
}
BENCHMARK(BM_CursorSmoothing_100kSamples)->Unit(benchmark::kMillisecond);

void BM_CursorSmoothingSample_100kSamples(benchmark::State& state) {
    const Recording& r = busyRecording();
    double t = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(CursorSmoothing::sample(r.cursor, ProjectTime(t)));
        t += 0.0167;
        if (t > recordingSeconds)
            t = 0;
    }
}
BENCHMARK(BM_CursorSmoothingSample_100kSamples);

} // namespace
