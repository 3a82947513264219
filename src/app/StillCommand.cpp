// `still`: one composed frame as a PNG, from a clip's movie or from the built-in demo recording.
#include "AppState.h"
#include "CommandLine.h"
#include "capture/CursorSmoothing.h"
#include "capture/TelemetryFiles.h"
#include "media/FrameReader.h"
#include "rendering/DemoSource.h"
#include "rendering/StillRenderer.h"
#include "rendering/VideoFrameImage.h"

#include <QDir>
#include <QFileInfo>

namespace orvane {

int runStillCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    const auto output = cli::takeOption(args, QStringLiteral("-o"));
    const auto clipText = cli::takeOption(args, QStringLiteral("--clip"));
    const auto timeText = cli::takeOption(args, QStringLiteral("--time"));
    const bool demo = args.removeAll(QStringLiteral("--demo")) > 0;
    const QString usage =
        QStringLiteral("usage: orvane-screen still PROJECT [--clip ID] [--time SECONDS] -o FILE.png\n"
                       "       orvane-screen still --demo [--time SECONDS] -o FILE.png");
    bool timeOK = true;
    const double seconds =
        timeText ? timeText->toDouble(&timeOK) : (demo ? DemoSource::clickTime + 0.15 : 0.0);
    if (!output || !timeOK || (demo ? !args.isEmpty() : args.size() != 1))
        return cli::fail(usage);

    if (demo) {
        const Size canvas{1920, 1080};
        const auto written =
            StillRenderer::writeDemoPng(DemoSource::clip(canvas), ProjectTime(seconds), canvas, *output);
        if (!written)
            return cli::fail(written.error());
        cli::print(QFileInfo(*output).absoluteFilePath());
        return 0;
    }

    if (!app.openProject(args.front()))
        return cli::fail(app.lastError()->message);
    const std::shared_ptr<ProjectBundle> bundle = app.currentBundle();
    const Project& project = bundle->project();
    const Clip* clip = nullptr;
    if (clipText) {
        const auto id = parseUuid(*clipText);
        if (!id)
            return cli::fail(QStringLiteral("Invalid clip ID '%1'").arg(*clipText));
        clip = project.timeline.clip(*id);
        if (!clip)
            return cli::fail(QStringLiteral("Clip not found: %1").arg(uuidString(*id)));
    } else {
        for (const Clip& c : project.timeline.clips)
            if (!c.sourceVideoPath.isEmpty()) {
                clip = &c;
                break;
            }
        if (!clip)
            return cli::fail(QStringLiteral("The project has no video clip"));
    }
    if (clip->sourceVideoPath.isEmpty())
        return cli::fail(QStringLiteral("Clip \"%1\" has no video").arg(clip->name));

    auto reader = FrameReader::open(bundle->mediaPath(clip->sourceVideoPath));
    if (!reader)
        return cli::fail(reader.error().description);
    auto frame = (*reader)->frameAt(seconds);
    if (!frame)
        return cli::fail(frame.error().description);
    if (!*frame)
        return cli::fail(QStringLiteral("No frame at %1 s").arg(seconds));
    const Image wrapped = imageFromVideoFrame(**frame);

    CursorTrack cursor;
    if (clip->sourceCursorPath)
        cursor = CursorSmoothing::smooth(
            TelemetryFiles::loadCursorTrack(bundle->mediaPath(*clip->sourceCursorPath)),
            clip->cursor.smoothing);
    EventTrack events;
    if (clip->sourceEventsPath)
        events = TelemetryFiles::loadEventTrack(bundle->mediaPath(*clip->sourceEventsPath));
    const auto written = StillRenderer::writePng(wrapped, *clip, ProjectTime(seconds), cursor, events,
                                                 project.canvasSize, *output);
    if (!written)
        return cli::fail(written.error());
    cli::print(QFileInfo(*output).absoluteFilePath());
    return 0;
}

} // namespace orvane
