// Document model costs: per-frame keyframe evaluation and whole-project JSON. Each measured figure has
// a baseline from the same run (the easing alone; the JSON parser or writer alone; Qt's own JSON as a
// reference) so results can be read as ratios on a noisy machine.
#include "common/RandomProject.h"
#include "project/KeyframeTrack.h"
#include "project/Project.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

using namespace orvane;

namespace {

KeyframeTrack<NormalizedRect> thousandKeyframes() {
    std::vector<Keyframe<NormalizedRect>> keys;
    const EasingCurve curves[] = {EasingCurve::appleStandard(), EasingCurve::spring(),
                                  EasingCurve::cinematic(), EasingCurve::easeInOut()};
    for (int i = 0; i < 1000; ++i)
        keys.push_back({ProjectTime(i * 0.5), NormalizedRect{0.01 * (i % 50), 0.2, 0.5, 0.5}, curves[i % 4]});
    return KeyframeTrack<NormalizedRect>(std::move(keys));
}

// 200 clips with 50 zoom keyframes each: 10,000 in total, plus every other field filled.
const Project& largeProject() {
    static const Project project = test::randomProject(42, {200, 50, true});
    return project;
}

void BM_KeyframeValueAt_1000Keys(benchmark::State& state) {
    const auto track = thousandKeyframes();
    double t = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(track.value(ProjectTime(t), NormalizedRect::unit()));
        t += 0.0371;
        if (t > 500)
            t = 0;
    }
}
BENCHMARK(BM_KeyframeValueAt_1000Keys);

void BM_Baseline_EasingOnly(benchmark::State& state) {
    const EasingCurve curves[] = {EasingCurve::appleStandard(), EasingCurve::spring(),
                                  EasingCurve::cinematic(), EasingCurve::easeInOut()};
    double t = 0;
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(curves[i++ & 3].value(t));
        t += 0.0371;
        if (t > 1)
            t = 0;
    }
}
BENCHMARK(BM_Baseline_EasingOnly);

void BM_EncodeProject_200Clips_10kKeys(benchmark::State& state) {
    const Project& project = largeProject();
    std::size_t bytes = 0;
    for (auto _ : state) {
        auto encoded = encodeProject(project);
        bytes = std::size_t(encoded->size());
        benchmark::DoNotOptimize(encoded);
    }
    state.counters["bytes"] = double(bytes);
    state.SetLabel("project -> pretty JSON bytes");
}
BENCHMARK(BM_EncodeProject_200Clips_10kKeys)->Unit(benchmark::kMillisecond);

void BM_DecodeProject_200Clips_10kKeys(benchmark::State& state) {
    const QByteArray bytes = *encodeProject(largeProject());
    for (auto _ : state) {
        auto decoded = decodeProject(bytes);
        if (!decoded)
            state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(decoded);
    }
    state.SetLabel("JSON bytes -> project");
}
BENCHMARK(BM_DecodeProject_200Clips_10kKeys)->Unit(benchmark::kMillisecond);

void BM_Baseline_ParseOnly(benchmark::State& state) {
    const QByteArray bytes = *encodeProject(largeProject());
    for (auto _ : state)
        benchmark::DoNotOptimize(parseJson(std::string_view(bytes.constData(), std::size_t(bytes.size()))));
    state.SetLabel("the JSON parser alone on the same bytes");
}
BENCHMARK(BM_Baseline_ParseOnly)->Unit(benchmark::kMillisecond);

void BM_Baseline_WriteOnly(benchmark::State& state) {
    const JsonValue tree = toJson(largeProject());
    for (auto _ : state)
        benchmark::DoNotOptimize(writeJson(tree));
    state.SetLabel("the JSON writer alone on the same tree");
}
BENCHMARK(BM_Baseline_WriteOnly)->Unit(benchmark::kMillisecond);

void BM_Reference_QtParseOnly(benchmark::State& state) {
    const QByteArray bytes = *encodeProject(largeProject());
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(bytes));
    state.SetLabel("QJsonDocument::fromJson of the same bytes");
}
BENCHMARK(BM_Reference_QtParseOnly)->Unit(benchmark::kMillisecond);

void BM_Reference_QtSerializeOnly(benchmark::State& state) {
    const QJsonDocument document = QJsonDocument::fromJson(*encodeProject(largeProject()));
    for (auto _ : state)
        benchmark::DoNotOptimize(document.toJson(QJsonDocument::Indented));
    state.SetLabel("QJsonDocument::toJson of the same tree");
}
BENCHMARK(BM_Reference_QtSerializeOnly)->Unit(benchmark::kMillisecond);

} // namespace

namespace {
// What a real project of that size looks like: clips with the default styles and their zoom keyframes.
const Project& typicalProject() {
    static const Project project = [] {
        Project p;
        for (int i = 0; i < 200; ++i) {
            Clip c;
            c.id = QUuid::createUuid();
            c.name = QStringLiteral("Recording %1").arg(i);
            c.sourceVideoPath = QStringLiteral("media/clip-%1.mov").arg(uuidString(c.id));
            c.sourceOut = ProjectTime(30);
            c.timelineStart = ProjectTime(30.0 * i);
            c.sourceSize = Size{2880, 1800};
            for (int k = 0; k < 50; ++k)
                c.zoomTrack.keyframes.push_back(
                    {ProjectTime(k * 0.6), NormalizedRect{0.1, 0.2, 0.55, 0.55}, EasingCurve::spring()});
            p.timeline.clips.push_back(std::move(c));
        }
        return p;
    }();
    return project;
}

void BM_EncodeTypicalProject(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeProject(typicalProject()));
    state.counters["bytes"] = double(encodeProject(typicalProject())->size());
}
BENCHMARK(BM_EncodeTypicalProject)->Unit(benchmark::kMillisecond);

void BM_DecodeTypicalProject(benchmark::State& state) {
    const QByteArray bytes = *encodeProject(typicalProject());
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeProject(bytes));
}
BENCHMARK(BM_DecodeTypicalProject)->Unit(benchmark::kMillisecond);
} // namespace
