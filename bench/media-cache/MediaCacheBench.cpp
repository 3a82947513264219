// orvane-media-cache-bench [--runs N] [--clip PATH]
//
// The filmstrip and waveform of a ten-minute 1080p30 recording with sound, made by the timeline's clip media
// cache for a bar at 80 px/s (24 frames, 96000 buckets) into an empty project folder, as a user opening the
// clip would see them:
//   - wall time to the first frame, to the whole strip and to the waveform, median of N runs;
//   - the longest the main thread's loop waited meanwhile (a 5 ms timer's largest gap);
//   - the same clip asked for again with the pictures on disk (a project opened again);
//   - the size of the cache in bytes.
// The baseline, measured in the same run: `ffmpeg -i clip -vn -f null -`, which decodes the sound alone
// and throws it away (median of N). The clip is made once with the ffmpeg tool (key frames every two
// seconds, as the recorder writes them) and kept under /tmp, out of the figures.

#include "ui/ClipMediaCache.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace orvane;

namespace {

constexpr double clipSeconds = 600;
constexpr double pixelsPerSecond = 80;

bool runFfmpeg(const QStringList& arguments, double* seconds = nullptr) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer clock;
    clock.start();
    process.start(QStringLiteral("ffmpeg"), arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return false;
    if (seconds)
        *seconds = clock.nsecsElapsed() / 1e9;
    return true;
}

bool ensureClip(const QString& path) {
    if (QFileInfo(path).size() > 0)
        return true;
    QDir().mkpath(QFileInfo(path).absolutePath());
    std::printf("making the 10-minute 1080p clip at %s (once; not timed)...\n", qPrintable(path));
    std::fflush(stdout);
    const QString partial = path + QStringLiteral(".part.mov");
    const bool made = runFfmpeg({QStringLiteral("-v"),
                                 QStringLiteral("error"),
                                 QStringLiteral("-y"),
                                 QStringLiteral("-f"),
                                 QStringLiteral("lavfi"),
                                 QStringLiteral("-i"),
                                 QStringLiteral("testsrc2=s=1920x1080:r=30:d=%1").arg(clipSeconds),
                                 QStringLiteral("-f"),
                                 QStringLiteral("lavfi"),
                                 QStringLiteral("-i"),
                                 QStringLiteral("sine=f=220:beep_factor=4:r=48000:d=%1").arg(clipSeconds),
                                 QStringLiteral("-c:v"),
                                 QStringLiteral("libx264"),
                                 QStringLiteral("-preset"),
                                 QStringLiteral("ultrafast"),
                                 QStringLiteral("-g"),
                                 QStringLiteral("60"),
                                 QStringLiteral("-pix_fmt"),
                                 QStringLiteral("yuv420p"),
                                 QStringLiteral("-c:a"),
                                 QStringLiteral("aac"),
                                 QStringLiteral("-b:a"),
                                 QStringLiteral("128k"),
                                 QStringLiteral("-shortest"),
                                 partial});
    return made && QFile::rename(partial, path);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

qint64 folderBytes(const QString& folder) {
    qint64 bytes = 0;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        bytes += it.fileInfo().size();
    }
    return bytes;
}

struct Run {
    double firstFrame = -1;
    double strip = -1;
    double waveform = -1;
    double longestGap = 0;
    qint64 bytes = 0;
    int frames = 0;
};

// One request on a cache of its own, the main thread's loop turning until the clip is settled.
Run measure(const QString& project, const Clip& clip, int expectedFrames) {
    Run run;
    ClipMediaCache cache;
    cache.setProjectFolder(project);
    QElapsedTimer clock, sinceTick;
    QTimer ticker;
    ticker.setInterval(5);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        run.longestGap = std::max(run.longestGap, sinceTick.nsecsElapsed() / 1e6), sinceTick.restart();
    });
    QObject::connect(&cache, &ClipMediaCache::clipMediaChanged, [&](const QUuid& id) {
        const double now = clock.nsecsElapsed() / 1e9;
        const auto frames = cache.stripFrames(id).size();
        if (frames > 0 && run.firstFrame < 0)
            run.firstFrame = now;
        if (frames == expectedFrames && run.strip < 0)
            run.strip = now;
        if (!cache.waveform(id).isEmpty() && run.waveform < 0)
            run.waveform = now;
    });
    clock.start();
    sinceTick.start();
    ticker.start();
    cache.request(clip, pixelsPerSecond);
    while (cache.pendingCount() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    QCoreApplication::processEvents(); // the last arrivals queued before the job's end
    ticker.stop();
    run.frames = int(cache.stripFrames(clip.id).size());
    run.bytes = folderBytes(QDir(project).filePath(QStringLiteral("thumbnails")));
    return run;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    int runs = 3;
    QString clipPath = QStringLiteral("/tmp/orvane-media-cache-bench/clip-600s-1080p30.mov");
    const QStringList args = app.arguments();
    for (int i = 1; i + 1 < args.size(); ++i) {
        if (args[i] == QLatin1String("--runs"))
            runs = std::max(1, args[++i].toInt());
        else if (args[i] == QLatin1String("--clip"))
            clipPath = args[++i];
    }
    if (!ensureClip(clipPath)) {
        std::fprintf(stderr, "could not make the clip with the ffmpeg tool\n");
        return 1;
    }

    std::vector<double> baseline;
    for (int i = 0; i < runs; ++i) {
        double seconds = 0;
        if (!runFfmpeg({QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), clipPath,
                        QStringLiteral("-vn"), QStringLiteral("-f"), QStringLiteral("null"),
                        QStringLiteral("-")},
                       &seconds)) {
            std::fprintf(stderr, "the baseline's ffmpeg failed\n");
            return 1;
        }
        baseline.push_back(seconds);
    }
    const double base = median(baseline);

    Clip clip;
    clip.id = QUuid::createUuid();
    clip.sourceVideoPath = QFileInfo(clipPath).absoluteFilePath();
    clip.sourceIn = ProjectTime(0);
    clip.sourceOut = ProjectTime(clipSeconds);
    const int expectedFrames = 24;

    std::vector<double> first, strip, wave, gap, warm, warmGap;
    qint64 bytes = 0;
    int frames = 0;
    for (int i = 0; i < runs; ++i) {
        QTemporaryDir project;
        const Run cold = measure(project.path(), clip, expectedFrames);
        first.push_back(cold.firstFrame);
        strip.push_back(cold.strip);
        wave.push_back(cold.waveform);
        gap.push_back(cold.longestGap);
        bytes = cold.bytes;
        frames = cold.frames;
        const Run again = measure(project.path(), clip, expectedFrames);
        warm.push_back(again.waveform);
        warmGap.push_back(again.longestGap);
    }

    std::printf("clip: %s, %.0f s at 1920x1080 30 fps with AAC sound, bar at %.0f px/s\n",
                qPrintable(clipPath), clipSeconds, pixelsPerSecond);
    std::printf("baseline: ffmpeg -i clip -vn -f null - (sound decoded alone), median of %d: %.3f s\n", runs,
                base);
    std::printf("strip + waveform, empty cache, median of %d:\n", runs);
    std::printf("  first frame shown     %7.3f s  (%.2fx baseline)\n", median(first), median(first) / base);
    std::printf("  whole strip (%2d)      %7.3f s  (%.2fx baseline)\n", frames, median(strip),
                median(strip) / base);
    std::printf("  waveform, all done    %7.3f s  (%.2fx baseline)\n", median(wave), median(wave) / base);
    std::printf("  main thread's longest wait %.1f ms\n", median(gap));
    std::printf("again with the pictures on disk: %.4f s (%.4fx baseline), longest wait %.1f ms\n",
                median(warm), median(warm) / base, median(warmGap));
    std::printf("cache size: %lld bytes (strip and waveform)\n", static_cast<long long>(bytes));
    return 0;
}
