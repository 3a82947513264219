#include "ExportController.h"

#include "AppState.h"
#include "export/ExportQueue.h"

#include <QDir>
#include <QFileInfo>

namespace orvane {

ExportController::ExportController(AppState& app, ExportQueue& queue)
    : m_app(app)
    , m_queue(queue) {
    connect(&m_queue, &ExportQueue::jobsChanged, this, &ExportController::followQueue);
}

void ExportController::followQueue() {
    // A job queued from the export sheet, the command line or automation all count. A job waiting behind
    // the running one counts too, so the flag does not drop for the instant between two jobs and let a
    // recording start just as the next render takes the machine.
    m_app.setIsExporting(m_queue.hasActiveWork());
}

tl::expected<QString, Error> ExportController::apiExport(const QString& presetText, const QString& codecText,
                                                         const std::optional<QString>& outputPath) {
    const std::shared_ptr<ProjectBundle>& bundle = m_app.currentBundle();
    if (!bundle)
        return tl::unexpected(AppState::apiError(QStringLiteral("No project open")));
    if (bundle->project().timeline.clips.empty())
        return tl::unexpected(AppState::apiError(QStringLiteral("Project has no clips to export")));

    ExportConfiguration config;
    using P = ExportConfiguration::Preset;
    const bool gif = presetText == QLatin1StringView("gif") || presetText == QLatin1StringView("GIF");
    if (presetText == QLatin1StringView("web4K") || presetText == QLatin1StringView("4k") ||
        presetText == QLatin1StringView("4K"))
        config.preset = P::web4K();
    else if (presetText == QLatin1StringView("socialSquare") || presetText == QLatin1StringView("square"))
        config.preset = P::socialSquare();
    else if (presetText == QLatin1StringView("socialVertical") || presetText == QLatin1StringView("vertical"))
        config.preset = P::socialVertical();
    else if (gif)
        config.preset = P::gif();
    else
        config.preset = P::web1080();

    if (codecText == QLatin1StringView("hevc") || codecText == QLatin1StringView("HEVC") ||
        codecText == QLatin1StringView("h265")) {
        config.codec = ExportConfiguration::Codec::hevc;
        config.container = ExportConfiguration::Container::mp4;
    } else if (codecText == QLatin1StringView("prores") || codecText == QLatin1StringView("ProRes")) {
        config.codec = ExportConfiguration::Codec::prores;
        config.container = ExportConfiguration::Container::mov;
    } else {
        config.codec = ExportConfiguration::Codec::h264;
        config.container = ExportConfiguration::Container::mp4;
    }
    if (gif)
        config.container = ExportConfiguration::Container::gif;
    config.includeAudio = !gif;

    config.outputPath =
        outputPath && !outputPath->isEmpty()
            ? *outputPath
            : QDir(bundle->exportDirectory())
                  .filePath(bundle->project().name + QStringLiteral("-export.") + config.fileExtension());
    QDir().mkpath(QFileInfo(config.outputPath).absolutePath());
    m_queue.enqueue(bundle, config);
    return config.outputPath;
}

} // namespace orvane
