// Media hot paths, each beside a baseline from the same run: decoding a 1080p60 H.264 movie to BGRA frames
// against the ffmpeg tool decoding the same file to nothing (both on one thread), and BGRA to YUV 4:2:0 at
// 1080p through libyuv against swscale.
#include "media/FrameReader.h"
#include "media/PixelConversion.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include <memory>
#include <vector>

using namespace orvane;

namespace {

// Three seconds of 1080p60 H.264 with moving detail, made once with the ffmpeg tool.
const QString& movie1080p60() {
    static QTemporaryDir dir;
    static const QString path = [] {
        const QString file = dir.filePath(QStringLiteral("1080p60.mp4"));
        if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty())
            return QString();
        const int r = QProcess::execute(QStringLiteral("ffmpeg"),
                                        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
                                         QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                                         QStringLiteral("testsrc2=size=1920x1080:rate=60:duration=3"),
                                         QStringLiteral("-c:v"), QStringLiteral("libx264"),
                                         QStringLiteral("-preset"), QStringLiteral("veryfast"),
                                         QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"), file});
        return r == 0 ? file : QString();
    }();
    return path;
}

// Reads the whole movie; frames per second on the calling thread.
double readerFps(bool planesOnly) {
    auto reader =
        FrameReader::open(movie1080p60(), {.track = 0, .decoderThreads = 1, .maxFramesInFlight = 0});
    if (!reader)
        return 0;
    QElapsedTimer timer;
    timer.start();
    int frames = 0;
    while (true) {
        if (planesOnly) {
            auto p = (*reader)->nextPlanes();
            if (!p || !*p)
                break;
            benchmark::DoNotOptimize((*p)->planes[0]);
        } else {
            auto f = (*reader)->next();
            if (!f || !*f)
                break;
            benchmark::DoNotOptimize((*f)->data());
        }
        ++frames;
    }
    return frames / (double(timer.nsecsElapsed()) / 1e9);
}

// `ffmpeg -threads 1 -i movie -f null -`: the tool's own single-threaded decode, process start included.
double ffmpegNullFps() {
    QElapsedTimer timer;
    timer.start();
    const int r = QProcess::execute(
        QStringLiteral("ffmpeg"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-threads"),
                                   QStringLiteral("1"), QStringLiteral("-i"), movie1080p60(),
                                   QStringLiteral("-f"), QStringLiteral("null"), QStringLiteral("-")});
    if (r != 0)
        return 0;
    return 180 / (double(timer.nsecsElapsed()) / 1e9);
}

void BM_Decode1080p60ToBgra_OneThread_VsFfmpegNull(benchmark::State& state) {
    if (movie1080p60().isEmpty()) {
        state.SkipWithError("the ffmpeg tool is needed to make the test movie");
        return;
    }
    double ours = 0, tool = 0, planes = 0;
    for (auto _ : state) {
        // Interleaved, so both see the same machine load.
        tool += ffmpegNullFps();
        ours += readerFps(false);
        planes += readerFps(true);
    }
    const double n = double(state.iterations());
    state.counters["reader_bgra_fps"] = ours / n;
    state.counters["reader_planes_fps"] = planes / n;
    state.counters["baseline_ffmpeg_null_fps"] = tool / n;
    state.counters["ratio_bgra_vs_ffmpeg"] = tool > 0 ? ours / tool : 0;
}
BENCHMARK(BM_Decode1080p60ToBgra_OneThread_VsFfmpegNull)
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

struct Yuv420 {
    std::vector<std::uint8_t> y = std::vector<std::uint8_t>(1920 * 1080);
    std::vector<std::uint8_t> u = std::vector<std::uint8_t>(960 * 540);
    std::vector<std::uint8_t> v = std::vector<std::uint8_t>(960 * 540);
};

VideoFrame screenLikeFrame() {
    VideoFrame frame = VideoFrame::allocate(1920, 1080);
    for (int y = 0; y < 1080; ++y)
        for (int x = 0; x < 1920 * 4; ++x)
            frame.row(y)[x] = std::uint8_t((x * 7 + y * 13) ^ (x >> 5));
    return frame;
}

void BM_BgraToI420_1080p_Libyuv(benchmark::State& state) {
    const VideoFrame frame = screenLikeFrame();
    Yuv420 out;
    for (auto _ : state) {
        convertBgraToI420(frame, out.y.data(), 1920, out.u.data(), 960, out.v.data(), 960);
        benchmark::DoNotOptimize(out.y.data());
    }
}
BENCHMARK(BM_BgraToI420_1080p_Libyuv)->Unit(benchmark::kMillisecond);

void BM_Baseline_BgraToYuv420p_1080p_Swscale(benchmark::State& state) {
    const VideoFrame frame = screenLikeFrame();
    Yuv420 out;
    std::unique_ptr<SwsContext, decltype(&sws_freeContext)> sws(
        sws_getContext(1920, 1080, AV_PIX_FMT_BGRA, 1920, 1080, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr,
                       nullptr, nullptr),
        &sws_freeContext);
    const std::uint8_t* src[4] = {frame.data(), nullptr, nullptr, nullptr};
    const int srcStride[4] = {frame.stride(), 0, 0, 0};
    std::uint8_t* dst[4] = {out.y.data(), out.u.data(), out.v.data(), nullptr};
    const int dstStride[4] = {1920, 960, 960, 0};
    for (auto _ : state) {
        sws_scale(sws.get(), src, srcStride, 0, 1080, dst, dstStride);
        benchmark::DoNotOptimize(out.y.data());
    }
}
BENCHMARK(BM_Baseline_BgraToYuv420p_1080p_Swscale)->Unit(benchmark::kMillisecond);

} // namespace
