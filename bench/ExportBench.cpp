// Export throughput: a one-clip project over a 1280x720, 10 s gradient movie (the sample project's
// movie, 300 frames) rendered at web1080 H.264, against an encode-only run of the same 300 frames,
// composed beforehand, through a writer with the same settings. Both are timed in the same iteration,
// one after the other, so both see the same machine. Counters: frames per second of each, their ratio,
// the export thread's own CPU time and heap allocations per frame (opening the files included), and the
// process's peak resident memory after the first export (before the composed frames are held).
#include "GuiApplication.h"
#include "common/AllocationCounter.h"
#include "export/Exporter.h"
#include "media/FrameReader.h"
#include "media/GradientMovie.h"
#include "media/MediaWriter.h"
#include "rendering/Compositor.h"
#include "rendering/VideoFrameImage.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstring>
#include <ctime>

using namespace orvane;

namespace {

constexpr int movieFrames = 300;

double threadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

double peakResidentMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0; // kilobytes on Linux
}

// A project folder with one clip over the gradient movie, in the project's default look.
struct SampleBundle {
    QTemporaryDir dir;
    Project project;
    bool ok = false;

    SampleBundle() {
        const QString movie = dir.filePath(QStringLiteral("media/sample.mov"));
        ok = dir.isValid() && writeGradientMovie(movie, Size{1280, 720}, 10.0, 30).has_value();
        project.id = QUuid::createUuid();
        project.name = QStringLiteral("Welcome");
        Clip clip = project.makeClip(QStringLiteral("Sample"), ProjectTime(10), Size{1280, 720});
        clip.sourceVideoPath = QStringLiteral("media/sample.mov");
        project.timeline.clips.push_back(clip);
    }
    QString path() const { return dir.path(); }
};

ExportConfiguration web1080(const QString& output) {
    ExportConfiguration config;
    config.outputPath = output;
    config.preset = ExportConfiguration::Preset::web1080();
    config.codec = ExportConfiguration::Codec::h264;
    config.container = ExportConfiguration::Container::mp4;
    return config;
}

// Every frame of the export, composed once and kept, so the baseline encodes exactly those pictures.
std::vector<VideoFrame> composeAll(const SampleBundle& bundle) {
    std::vector<VideoFrame> frames;
    auto reader =
        FrameReader::open(QDir(bundle.path()).filePath(bundle.project.timeline.clips[0].sourceVideoPath));
    if (!reader)
        return frames;
    Compositor compositor(Size{1920, 1080});
    const CursorTrack cursor;
    const EventTrack events;
    while (true) {
        auto next = (*reader)->next();
        if (!next || !*next)
            break;
        const Image canvas =
            compositor.composeFrame(imageFromVideoFrame(**next), bundle.project.timeline.clips[0],
                                    ProjectTime((*next)->time()), cursor, events);
        VideoFrame frame = VideoFrame::allocate(1920, 1080);
        for (int y = 0; y < 1080; ++y)
            std::memcpy(frame.row(y), canvas.constRow(y), 1920 * 4);
        frame.setTime((*next)->time());
        frames.push_back(std::move(frame));
    }
    return frames;
}

double encodeOnlyFps(const std::vector<VideoFrame>& frames, const ExportConfiguration& config) {
    QElapsedTimer timer;
    timer.start();
    auto writer = MediaWriter::create(config.outputPath, Exporter::makeVideoSettings(config, false));
    if (!writer)
        return 0;
    (*writer)->startSession(MediaTime{0, 600});
    for (const VideoFrame& frame : frames) {
        if (!(*writer)->waitUntilReadyForVideo() || !(*writer)->appendVideo(frame, frame.time()))
            return 0;
    }
    if (!(*writer)->finish())
        return 0;
    return double(frames.size()) / (double(timer.nsecsElapsed()) / 1e9);
}

void BM_ExportWeb1080H264_VsEncodeOnly(benchmark::State& state) {
    bench::ensureGuiApplication();
    SampleBundle bundle;
    if (!bundle.ok) {
        state.SkipWithError("the gradient movie could not be written");
        return;
    }
    const ExportConfiguration config = web1080(bundle.dir.filePath(QStringLiteral("export.mp4")));
    std::vector<VideoFrame> composed;
    double exportFps = 0, encodeFps = 0, allocations = 0, peakMB = 0, pumpCpu = 0;
    for (auto _ : state) {
        Exporter exporter;
        QElapsedTimer timer;
        timer.start();
        const test::AllocationScope scope;
        const double cpuBefore = threadCpuSeconds();
        const auto result = exporter.exportProject(bundle.project, bundle.path(), config, {});
        const double seconds = double(timer.nsecsElapsed()) / 1e9;
        pumpCpu += (threadCpuSeconds() - cpuBefore) / movieFrames;
        if (!result) {
            state.SkipWithError(qPrintable(result.error().description()));
            return;
        }
        allocations += double(scope.allocations()) / movieFrames;
        exportFps += movieFrames / seconds;
        if (peakMB == 0)
            peakMB = peakResidentMegabytes();

        if (composed.empty())
            composed = composeAll(bundle);
        if (composed.size() != std::size_t(movieFrames)) {
            state.SkipWithError("the baseline's frames could not be composed");
            return;
        }
        encodeFps += encodeOnlyFps(composed, web1080(bundle.dir.filePath(QStringLiteral("encode-only.mp4"))));
    }
    const double n = double(state.iterations());
    state.counters["export_fps"] = exportFps / n;
    state.counters["baseline_encode_only_fps"] = encodeFps / n;
    state.counters["ratio_export_vs_encode_only"] = encodeFps > 0 ? exportFps / encodeFps : 0;
    state.counters["allocations_per_frame"] = allocations / n;
    state.counters["pump_cpu_ms_per_frame"] = 1000 * pumpCpu / n;
    state.counters["peak_rss_MB"] = peakMB;
}
BENCHMARK(BM_ExportWeb1080H264_VsEncodeOnly)->Iterations(2)->Unit(benchmark::kSecond)->UseRealTime();

} // namespace
