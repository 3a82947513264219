// orvane-preview-bench [--seconds N] [--seeks N]
//
// The editor's preview of a 1920x1080 60 fps H.264 clip (two-second key-frame interval, a click every second
// in its sound) with the default style, in a window on a private X server, its sound played into a private
// PulseAudio daemon:
// - play: frames presented in N seconds (20 by default), the share of them shown late (after the clock had
//   passed the next frame's time), and the offset between the sound's clock and the shown frame's time at
//   each swap; against decoding the same file alone, as fast as it goes.
// - seek: paused, random times, from the playhead's change to the swap that shows the frame; against the
//   reader's own exact seek of the same times.
// The last line reads `preview: N frames, late X%, offset Y ms`.
#include "PreviewTestMovie.h"
#include "capture/PulseTestSupport.h"
#include "capture/X11TestSupport.h"
#include "media/FrameReader.h"
#include "ui/GraphicsBackend.h"
#include "ui/PreviewItem.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <random>
#include <vector>

using namespace orvane;

namespace {

double percentile(std::vector<double> values, double p) {
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, std::size_t(p * double(values.size() - 1) + 0.5))];
}

// What each swap showed, read on the render thread right after the swap.
struct SwapLog {
    std::mutex lock;             // guards the vectors
    std::vector<double> offsets; // clock minus the shown frame's time, seconds
    std::vector<double> shownTimes;
    std::atomic<bool> recording{false};
};

} // namespace

int main(int argc, char** argv) {
    double seconds = 20;
    int seeks = 40;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (qstrcmp(argv[i], "--seconds") == 0)
            seconds = std::atof(argv[i + 1]);
        else if (qstrcmp(argv[i], "--seeks") == 0)
            seeks = std::atoi(argv[i + 1]);
    }
    QByteArray failure;
    auto xserver = test::XvfbServer::start(1920, 1080, &failure);
    if (!xserver) {
        std::fprintf(stderr, "orvane-preview-bench: no X server: %s\n", failure.constData());
        return 1;
    }
    auto pulse = test::PulseServer::start(&failure);
    if (!pulse)
        std::fprintf(stderr, "orvane-preview-bench: no sound server (%s); the wall clock drives play\n",
                     failure.constData());
    qputenv("DISPLAY", xserver->displayName());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("PULSE_SERVER", pulse ? pulse->serverString() : QByteArray("unix:/nonexistent"));
    QGuiApplication application(argc, argv);
    chooseGraphicsBackend();

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.mov"));
    test::PreviewTestMovie movie{
        .width = 1920, .height = 1080, .fps = 60, .seconds = seconds + 1, .keyframeInterval = 120};
    QElapsedTimer clock;
    clock.start();
    if (auto written = movie.write(path); !written) {
        std::fprintf(stderr, "orvane-preview-bench: %s\n", qPrintable(written.error().description));
        return 1;
    }
    std::printf("movie: %.0f s of 1080p60 written in %.1f s\n", movie.seconds,
                double(clock.elapsed()) / 1000);

    // Baseline: the same file decoded alone, and the reader's exact seeks.
    std::vector<double> seekTimes;
    std::mt19937 random(42);
    std::uniform_real_distribution<double> anywhere(0, seconds);
    for (int i = 0; i < seeks; ++i)
        seekTimes.push_back(anywhere(random));
    double decodeFps = 0;
    std::vector<double> readerSeekMs;
    {
        auto reader = FrameReader::open(path);
        if (!reader) {
            std::fprintf(stderr, "orvane-preview-bench: %s\n", qPrintable(reader.error().description));
            return 1;
        }
        clock.restart();
        int frames = 0;
        while (true) {
            auto frame = (*reader)->next();
            if (!frame || !*frame || (*frame)->time().seconds() >= seconds)
                break;
            ++frames;
        }
        decodeFps = frames / (double(clock.nsecsElapsed()) / 1e9);
        for (const double t : seekTimes) {
            clock.restart();
            (void)(*reader)->seek(t);
            (void)(*reader)->next();
            readerSeekMs.push_back(double(clock.nsecsElapsed()) / 1e6);
        }
    }
    std::printf("decode-only: %.1f fps; reader seek p50 %.1f ms, p95 %.1f ms\n", decodeFps,
                percentile(readerSeekMs, 0.5), percentile(readerSeekMs, 0.95));

    QQuickWindow window;
    window.resize(1280, 760);
    auto* item = new PreviewItem(window.contentItem());
    item->setSize(QSizeF(1280, 720));
    window.show();
    if (!QTest::qWaitForWindowExposed(&window)) {
        std::fprintf(stderr, "orvane-preview-bench: the window did not show\n");
        return 1;
    }
    PreviewPlayer& player = item->player();
    SwapLog swaps;
    QObject::connect(
        &window, &QQuickWindow::frameSwapped, &window,
        [&] {
            if (!swaps.recording)
                return;
            const auto shown = item->presentedSourceTime();
            if (!shown)
                return;
            const double now = player.clockTime();
            std::lock_guard lock(swaps.lock);
            swaps.offsets.push_back(now - *shown);
            swaps.shownTimes.push_back(*shown);
        },
        Qt::DirectConnection);

    Clip clip;
    clip.id = QUuid::createUuid();
    clip.sourceVideoPath = path;
    clip.sourceOut = ProjectTime(movie.seconds);
    clip.sourceSize = Size{1920, 1080};
    player.loadClip(clip, dir.path());
    if (!QTest::qWaitFor([&] { return item->presentedSourceTime().has_value(); }, 20000)) {
        std::fprintf(stderr, "orvane-preview-bench: the clip did not open\n");
        return 1;
    }

    // Seeks, paused: from the playhead's change to the swap that shows that frame.
    std::vector<double> seekMs;
    for (const double t : seekTimes) {
        const int target = int(std::floor(t * movie.fps + 1e-6));
        {
            std::lock_guard lock(swaps.lock);
            swaps.shownTimes.clear();
        }
        swaps.recording = true;
        clock.restart();
        item->setPlayheadTime(t);
        const bool shown = QTest::qWaitFor(
            [&] {
                std::lock_guard lock(swaps.lock);
                return std::any_of(swaps.shownTimes.begin(), swaps.shownTimes.end(),
                                   [&](double s) { return int(std::floor(s * movie.fps + 1e-3)) == target; });
            },
            5000);
        swaps.recording = false;
        seekMs.push_back(shown ? double(clock.nsecsElapsed()) / 1e6 : 5000);
    }
    const double seekP50 = percentile(seekMs, 0.5);
    const double seekP95 = percentile(seekMs, 0.95);

    // Play from the start for the run's length.
    item->seekToStart();
    QTest::qWait(300);
    {
        std::lock_guard lock(swaps.lock);
        swaps.offsets.clear();
        swaps.shownTimes.clear();
    }
    const int presentedBefore = item->presentedFrames();
    const std::uint64_t skippedBefore = player.skippedFrames();
    const int replacedBefore = item->replacedFrames();
    swaps.recording = true;
    item->setPlaying(true);
    bool heard = false;
    (void)QTest::qWaitFor(
        [&] {
            heard = heard || player.usesSoundServer();
            return player.clockTime() >= seconds;
        },
        int(seconds * 1000) + 10000);
    swaps.recording = false;
    item->setPlaying(false);
    const int presented = item->presentedFrames() - presentedBefore;
    const std::uint64_t skipped = player.skippedFrames() - skippedBefore;
    const int replaced = item->replacedFrames() - replacedBefore;

    // A swap shows a frame late when the clock has already reached the next frame's time; each new frame
    // counts once, at its first swap.
    const double frame = 1.0 / movie.fps;
    int late = 0;
    int shownFrames = 0;
    std::vector<double> offsets;
    {
        std::lock_guard lock(swaps.lock);
        double previous = -1;
        for (std::size_t i = 0; i < swaps.shownTimes.size(); ++i) {
            if (swaps.shownTimes[i] == previous)
                continue;
            previous = swaps.shownTimes[i];
            ++shownFrames;
            offsets.push_back(swaps.offsets[i]);
            if (swaps.offsets[i] > frame)
                ++late;
        }
    }
    // The shown frame covers [time, time + frame): its middle is where the sound should be.
    std::vector<double> centred;
    for (const double o : offsets)
        centred.push_back(o - frame / 2);
    double meanOffset = 0;
    for (const double o : centred)
        meanOffset += o;
    meanOffset = centred.empty() ? 0 : meanOffset / double(centred.size());
    std::vector<double> magnitudes;
    for (const double o : centred)
        magnitudes.push_back(std::abs(o));

    const double presentedFps = presented / seconds;
    std::printf("clock: %s\n", heard ? "the sound server's" : "the wall clock");
    std::printf("play: %d frames presented in %.0f s (%.1f fps, %.2f of decode-only %.1f fps, %.2f of the "
                "movie's 60 fps); %llu passed over as already due before composing, %d composed but replaced "
                "before the scene graph took them\n",
                presented, seconds, presentedFps, presentedFps / decodeFps, decodeFps, presentedFps / 60,
                static_cast<unsigned long long>(skipped), replaced);
    std::printf("offset: mean %+.1f ms, p95 |offset| %.1f ms (one frame is %.1f ms)\n", meanOffset * 1000,
                percentile(magnitudes, 0.95) * 1000, frame * 1000);
    std::printf("seek: p50 %.1f ms, p95 %.1f ms to the frame on screen (%.1fx and %.1fx the reader's own "
                "exact seek)\n",
                seekP50, seekP95, seekP50 / std::max(percentile(readerSeekMs, 0.5), 1e-3),
                seekP95 / std::max(percentile(readerSeekMs, 0.95), 1e-3));
    std::printf("preview: %d frames, late %.1f%%, offset %.1f ms\n", presented,
                shownFrames > 0 ? 100.0 * late / shownFrames : 0.0, meanOffset * 1000);
    return 0;
}
