// `render`: a project to a movie through the export queue, with a progress bar; Ctrl-C cancels and
// leaves no file behind.
#include "AppState.h"
#include "CommandLine.h"
#include "InterruptWatcher.h"
#include "media/AssetProbe.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <unistd.h>

#include <cstdio>

namespace orvane {

namespace {

std::optional<ExportConfiguration::Preset> presetNamed(const QString& name) {
    if (name == QLatin1StringView("web1080"))
        return ExportConfiguration::Preset::web1080();
    if (name == QLatin1StringView("web4K"))
        return ExportConfiguration::Preset::web4K();
    if (name == QLatin1StringView("socialSquare"))
        return ExportConfiguration::Preset::socialSquare();
    if (name == QLatin1StringView("socialVertical"))
        return ExportConfiguration::Preset::socialVertical();
    return std::nullopt;
}

QString clockText(double seconds) {
    const int s = int(std::max(0.0, seconds) + 0.5);
    return QString::asprintf("%d:%02d", s / 60, s % 60);
}

// Source frames of the project's first video clip: what the bar counts frames against.
double expectedFrames(const ProjectBundle& bundle) {
    for (const Clip& c : bundle.project().timeline.clips) {
        if (c.sourceVideoPath.isEmpty())
            continue;
        const auto info = probeAsset(bundle.mediaPath(c.sourceVideoPath));
        if (info && !info->videoTracks.empty()) {
            const auto& track = info->videoTracks.front();
            if (track.frameCount)
                return double(*track.frameCount);
            return info->duration * (track.frameRate > 0 ? track.frameRate : 30);
        }
    }
    return 0;
}

} // namespace

int runRenderCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    const auto output = cli::takeOption(args, QStringLiteral("-o"));
    const QString presetName =
        cli::takeOption(args, QStringLiteral("--preset")).value_or(QStringLiteral("web1080"));
    const QString codecName =
        cli::takeOption(args, QStringLiteral("--codec")).value_or(QStringLiteral("h264"));
    const auto containerName = cli::takeOption(args, QStringLiteral("--container"));
    const bool noAudio = args.removeAll(QStringLiteral("--no-audio")) > 0;
    const QString usage = QStringLiteral("usage: orvane-screen render PROJECT [-o FILE] "
                                         "[--preset web1080|web4K|socialSquare|socialVertical] "
                                         "[--codec h264|hevc|prores] [--container mp4|mov] [--no-audio]");
    const auto preset = presetNamed(presetName);
    const auto codec = enumFromName<ExportConfiguration::Codec>(codecName);
    if (args.size() != 1 || !preset || !codec)
        return cli::fail(usage);
    ExportConfiguration config;
    config.preset = *preset;
    config.codec = *codec;
    config.container = *codec == ExportConfiguration::Codec::prores ? ExportConfiguration::Container::mov
                                                                    : ExportConfiguration::Container::mp4;
    if (containerName) {
        const auto container = enumFromName<ExportConfiguration::Container>(*containerName);
        if (!container || *container == ExportConfiguration::Container::gif)
            return cli::fail(usage);
        config.container = *container;
    }
    if (config.codec == ExportConfiguration::Codec::prores &&
        config.container != ExportConfiguration::Container::mov)
        return cli::fail(QStringLiteral("ProRes goes into a MOV file: use --container mov"));
    config.includeAudio = !noAudio;

    if (!app.openProject(args.front()))
        return cli::fail(app.lastError()->message);
    const std::shared_ptr<ProjectBundle> bundle = app.currentBundle();
    config.outputPath =
        output ? QFileInfo(*output).absoluteFilePath()
               : QDir(bundle->exportDirectory())
                     .filePath(bundle->project().name + QStringLiteral("-export.") + config.fileExtension());
    QDir().mkpath(QFileInfo(config.outputPath).absolutePath());

    ExportQueue& queue = app.exportQueue();
    const QUuid id = queue.enqueue(bundle, config);
    std::optional<InterruptWatcher> interrupt;
    interrupt.emplace([&] {
        std::fputs("\ncancelling...\n", stderr);
        queue.cancel(id);
    });

    const double frames = expectedFrames(*bundle);
    const bool tty = ::isatty(STDERR_FILENO);
    QElapsedTimer clock;
    clock.start();
    double lastPrinted = -1;
    auto drawBar = [&](double progress, bool force) {
        if (!force && (progress - lastPrinted < (tty ? 0.002 : 0.1)))
            return;
        lastPrinted = progress;
        const double elapsed = std::max(0.001, double(clock.elapsed()) / 1000.0);
        const double fps = frames * progress / elapsed;
        const double eta = progress > 0.001 ? elapsed * (1 - progress) / progress : 0;
        constexpr int width = 30;
        const int filled = int(progress * width);
        const QString bar = QString(filled, u'#') + QString(width - filled, u'.');
        const QString line = QStringLiteral("[%1] %2%  %3 fps  ETA %4")
                                 .arg(bar)
                                 .arg(progress * 100, 5, 'f', 1)
                                 .arg(fps, 0, 'f', 1)
                                 .arg(clockText(eta));
        std::fprintf(stderr, tty ? "\r%s" : "%s\n", qPrintable(line));
        std::fflush(stderr);
    };

    QEventLoop loop;
    QObject::connect(&queue, &ExportQueue::jobsChanged, &loop, [&] {
        const ExportQueue::Job* job = queue.job(id);
        if (!job)
            return loop.quit();
        if (const auto* running = std::get_if<ExportQueue::JobState::Running>(&job->state.value))
            drawBar(running->progress, false);
        if (job->state.isFinished())
            loop.quit();
    });
    if (!queue.job(id)->state.isFinished())
        loop.exec();
    interrupt.reset();

    const ExportQueue::Job* job = queue.job(id);
    if (const auto* done = std::get_if<ExportQueue::JobState::Completed>(&job->state.value)) {
        drawBar(1.0, true);
        if (tty)
            std::fputc('\n', stderr);
        cli::print(
            QStringLiteral("%1 (%2 s)").arg(done->path).arg(double(clock.elapsed()) / 1000.0, 0, 'f', 1));
        return 0;
    }
    if (tty)
        std::fputc('\n', stderr);
    if (std::holds_alternative<ExportQueue::JobState::Cancelled>(job->state.value))
        return cli::fail(QStringLiteral("Export cancelled.")) + 129; // 130, as shells report SIGINT
    const auto* failed = std::get_if<ExportQueue::JobState::Failed>(&job->state.value);
    return cli::fail(failed ? failed->message : QStringLiteral("the export did not finish"));
}

} // namespace orvane
