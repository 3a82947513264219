// What recording 1920x1080 at 60 fps costs on Wayland, in one run:
//
// 1. The baseline: wf-recorder (the wlroots recorder) capturing a headless sway output on which an
//    Xwayland window animates full screen, encoding with libx264 at the same preset as the engine.
// 2. The engine through the portal path: a 60 fps PipeWire source of the same size handed out by a portal
//    of the bench's own, recorded by CaptureEngine exactly as on a desktop (PipeWire thread, conversion,
//    encoder, telemetry from the stream's cursor).
// 3. The source and the reading alone (no encoder), so that the engine's own cost can be told apart from
//    what producing the frames costs in this process.
//
// The wlroots portal of this release casts only through DMA-BUF, which a software-rendered headless
// compositor cannot offer, so the engine cannot read sway's output here; the two rows share size, rate
// and encoder, not the source. Prints delivered fps, drops and CPU.
//
//   orvane-wayland-capture-bench [--seconds 20] [--preset superfast]
#include "capture/CaptureEngine.h"
#include "capture/FakeScreenCastPortal.h"
#include "capture/PipeWireTestSupport.h"
#include "capture/WaylandSessionSupport.h"
#include "capture/wayland/PipeWireScreenCapture.h"
#include "common/PrivateSessionBus.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double monotonic() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::optional<long long> countedFrames(const QString& path) {
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_frames"),
                 QStringLiteral("-select_streams"), QStringLiteral("v:0"), QStringLiteral("-show_entries"),
                 QStringLiteral("stream=nb_read_frames"), QStringLiteral("-of"), QStringLiteral("csv=p=0"),
                 path});
    if (!probe.waitForFinished(120000) || probe.exitCode() != 0)
        return std::nullopt;
    bool ok = false;
    const long long n = QString::fromUtf8(probe.readAllStandardOutput()).trimmed().toLongLong(&ok);
    return ok ? std::optional<long long>(n) : std::nullopt;
}

void runFor(double seconds) {
    QDeadlineTimer deadline(qint64(seconds * 1000));
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

struct Row {
    const char* name;
    double seconds = 0;
    long long frames = 0;
    long long dropped = 0;
    double cpu = 0; // CPU seconds per wall second
};

void print(const Row& row) {
    std::printf("%-44s %7.1f fps  %6lld dropped  %5.2f cores\n", row.name, double(row.frames) / row.seconds,
                row.dropped, row.cpu);
}

// wf-recorder against sway with an animated full-screen Xwayland window.
std::optional<Row> wfRecorder(double seconds, const QString& preset, const QString& folder) {
    if (QStandardPaths::findExecutable(QStringLiteral("wf-recorder")).isEmpty()) {
        std::printf("wf-recorder is not installed: no baseline row\n");
        return std::nullopt;
    }
    QString why;
    auto session = test::WaylandSession::start(&why);
    if (!session) {
        std::printf("no headless Wayland session (%s): no baseline row\n", qPrintable(why));
        return std::nullopt;
    }
    const QString demo =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../bin/orvane-demo-window");
    session->swaymsg({QStringLiteral("exec"), demo + QStringLiteral(" --geometry 1920x1080+0+0")});
    QThread::sleep(2);
    session->swaymsg(
        {QStringLiteral("[class=\".*\"]"), QStringLiteral("fullscreen"), QStringLiteral("enable")});
    QThread::sleep(1);

    const QString movie = QDir(folder).filePath(QStringLiteral("wf-recorder.mp4"));
    const QByteArray display = session->waylandDisplay().toLocal8Bit();
    const QByteArray runtime = QFileInfo(session->waylandDisplay()).absolutePath().toLocal8Bit();
    std::fflush(stdout); // or the child would print what is buffered a second time
    const pid_t child = fork();
    if (child == 0) {
        setenv("WAYLAND_DISPLAY", display.constData(), 1);
        setenv("XDG_RUNTIME_DIR", runtime.constData(), 1);
        const QByteArray file = movie.toLocal8Bit();
        const QByteArray presetOption = (QStringLiteral("preset=") + preset).toLocal8Bit();
        freopen("/dev/null", "w", stdout);
        freopen((folder + QStringLiteral("/wf-recorder.log")).toLocal8Bit().constData(), "w", stderr);
        execlp("wf-recorder", "wf-recorder", "-y", "-c", "libx264", "-p", presetOption.constData(), "-p",
               "crf=23", "-r", "60", "-f", file.constData(), static_cast<char*>(nullptr));
        _exit(127);
    }
    QThread::msleep(500); // its start-up is not counted
    const double started = monotonic();
    QThread::msleep(int(seconds * 1000));
    kill(child, SIGINT);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    const double wall = monotonic() - started;
    const auto frames = countedFrames(movie);
    if (!frames) {
        std::printf("wf-recorder wrote no readable movie (see %s/wf-recorder.log)\n", qPrintable(folder));
        return std::nullopt;
    }
    Row row{"wf-recorder, sway output (baseline)"};
    row.seconds = wall;
    row.frames = *frames;
    row.cpu = (double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6) /
              wall;
    return row;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    double seconds = 20;
    QString preset = QStringLiteral("superfast");
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!std::strcmp(argv[i], "--seconds"))
            seconds = std::atof(argv[i + 1]);
        else if (!std::strcmp(argv[i], "--preset"))
            preset = QString::fromLocal8Bit(argv[i + 1]);
    }
    QTemporaryDir folder;
    std::printf("1920x1080 at 60 fps for %.0f s, libx264 %s\n", seconds, qPrintable(preset));

    const std::optional<Row> baseline = wfRecorder(seconds, preset, folder.path());
    if (baseline)
        print(*baseline);

    QString why;
    auto pipewire = test::PipeWireSession::start(&why);
    if (!pipewire) {
        std::printf("no PipeWire session: %s\n", qPrintable(why));
        return 1;
    }
    test::PrivateBus bus;
    auto source = test::TestVideoSource::start(pipewire->connect(), 1920, 1080, 60, &why);
    if (!source) {
        std::printf("no test source: %s\n", qPrintable(why));
        return 1;
    }
    QDeadlineTimer waiting(5000);
    while (source->nodeId() == 0 && !waiting.hasExpired())
        QThread::msleep(20);

    // The source and the reading without the encoder.
    Row reading{"PipeWire source + reading, no encoder"};
    {
        const int remote = pipewire->connect();
        std::atomic<long long> delivered{0};
        PipeWireScreenCapture screen(
            {remote, source->nodeId(), std::chrono::nanoseconds(1'000'000'000 / 60), 8, {}, {}},
            [&](const VideoSample&) { ++delivered; });
        if (auto started = screen.start(5s); !started) {
            std::printf("reading failed: %s\n", qPrintable(started.error()));
            return 1;
        }
        const double cpu0 = cpuSeconds(RUSAGE_SELF), t0 = monotonic();
        runFor(seconds);
        const double wall = monotonic() - t0;
        reading.cpu = (cpuSeconds(RUSAGE_SELF) - cpu0) / wall;
        screen.stop();
        ::close(remote);
        reading.seconds = wall;
        reading.frames = delivered.load();
        reading.dropped = screen.statistics().framesDropped + screen.statistics().sourceGaps;
    }

    // The engine, as on a desktop whose portal offers cursor metadata.
    auto portal = test::FakeScreenCast::publish(bus.connect(QStringLiteral("portal-side")));
    portal->streamNode = source->nodeId();
    portal->streamSize = {1920, 1080};
    portal->openRemote = [&] {
        return pipewire->connect();
    };
    CaptureEnvironment env;
    env.session = CaptureEnvironment::Session::wayland;
    env.portalBusAddress = bus.address;
    env.inputDeviceDirectory = folder.filePath(QStringLiteral("none"));
    CaptureEngine::Options options;
    options.encoderPreset = preset;
    CaptureEngine engine(env, options);
    auto bundle =
        std::make_shared<ProjectBundle>(folder.filePath(QStringLiteral("Bench.orvanescreen")), Project{});
    bundle->ensureOnDisk();
    CaptureSource chosen;
    chosen.id = QStringLiteral("portal-choose-display");
    bool started = false, failed = false;
    auto starting =
        engine.start(chosen, bundle, false, false).then([&](tl::expected<void, CaptureEngineError> r) {
            started = bool(r);
            failed = !r;
            if (!r)
                std::printf("engine failed to start: %s\n", qPrintable(r.error().message()));
        });
    while (!started && !failed)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    if (failed)
        return 1;
    const double cpu0 = cpuSeconds(RUSAGE_SELF), t0 = monotonic();
    runFor(seconds);
    const double wall = monotonic() - t0;
    const double cpu = (cpuSeconds(RUSAGE_SELF) - cpu0) / wall;
    const auto counts = engine.statistics();
    bool stopped = false;
    auto stopping = engine.stop().then([&](auto) { stopped = true; });
    while (!stopped)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    Row recording{"engine through the portal path"};
    recording.seconds = wall;
    recording.frames = counts.output.framesAppended;
    recording.dropped =
        counts.output.framesDropped + counts.stream.screen.framesDropped + counts.stream.screen.ticksMissed;
    recording.cpu = cpu;
    print(reading);
    print(recording);
    std::printf("engine's own cost (engine - reading): %.2f cores\n", recording.cpu - reading.cpu);
    if (baseline)
        std::printf("engine fps / wf-recorder fps: %.2f   engine's own cores / wf-recorder cores: %.2f\n",
                    (double(recording.frames) / recording.seconds) /
                        (double(baseline->frames) / baseline->seconds),
                    (recording.cpu - reading.cpu) / baseline->cpu);
    return 0;
}
