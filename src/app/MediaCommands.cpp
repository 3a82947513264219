// `sample`, `import`, `auto-zoom` and `telemetry`: media and direction from the command line.
#include "AppState.h"
#include "CommandLine.h"
#include "capture/TelemetrySession.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QFileInfo>

namespace orvane {

int runSampleCommand(AppState& app, const QStringList& args) {
    Q_UNUSED(app);
    if (args.size() > 1)
        return cli::fail(QStringLiteral("usage: orvane-screen sample [DIR]"));
    const QString folder = args.isEmpty() ? AppState::sampleProjectDirectory() : args.front();
    if (QFileInfo::exists(QDir(folder).filePath(QStringLiteral("project.json"))))
        return cli::fail(QStringLiteral("%1 already holds a project").arg(folder));
    const auto made = QCoro::waitFor(AppState::materializeSampleProject(folder));
    if (!made)
        return cli::fail(made.error().description);
    cli::print(QDir(folder).absolutePath());
    return 0;
}

int runImportCommand(AppState& app, const QStringList& args) {
    if (args.size() < 2)
        return cli::fail(QStringLiteral("usage: orvane-screen import PROJECT FILE..."));
    if (!app.openProject(args.front()))
        return cli::fail(app.lastError()->message);
    app.setLastError(std::nullopt);
    // In order, one at a time; the first failure stops the rest, as the list import does.
    for (const QString& file : args.mid(1)) {
        const bool audio = AppState::supportedAudioExtensions().contains(QFileInfo(file).suffix().toLower());
        const auto before = app.currentBundle()->project().timeline.clips.size();
        auto importing = audio ? app.importAudios({file}) : app.importVideos({file});
        QCoro::waitFor(importing);
        if (app.lastError()) {
            (void)app.currentBundle()->flushPendingSave();
            return cli::fail(app.lastError()->message);
        }
        const auto& clips = app.currentBundle()->project().timeline.clips;
        if (clips.size() > before) {
            const Clip& clip = clips.back();
            cli::print(QStringLiteral("imported %1 as \"%2\" (%3 s) on track %4")
                           .arg(QFileInfo(file).fileName(), clip.name)
                           .arg(clip.timelineDuration().seconds, 0, 'f', 2)
                           .arg(clip.trackIndex));
        }
    }
    if (auto flushed = app.currentBundle()->flushPendingSave(); !flushed)
        return cli::fail(flushed.error().description);
    return 0;
}

int runAutoZoomCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    const auto clipText = cli::takeOption(args, QStringLiteral("--clip"));
    if (args.size() != 1)
        return cli::fail(QStringLiteral("usage: orvane-screen auto-zoom PROJECT [--clip ID]"));
    if (!app.openProject(args.front()))
        return cli::fail(app.lastError()->message);
    const Project& project = app.currentBundle()->project();
    std::optional<QUuid> clipID;
    if (clipText) {
        clipID = parseUuid(*clipText);
        if (!clipID)
            return cli::fail(QStringLiteral("Invalid clip ID '%1'").arg(*clipText));
    } else {
        for (const Clip& c : project.timeline.clips)
            if (c.sourceEventsPath) {
                clipID = c.id;
                break;
            }
        if (!clipID)
            return cli::fail(QStringLiteral("No clip in the project has an events file; pass --clip ID"));
    }
    const auto count = QCoro::waitFor(app.apiGenerateAutoZoom(*clipID));
    if (!count)
        return cli::fail(count.error().description);
    if (auto flushed = app.currentBundle()->flushPendingSave(); !flushed)
        return cli::fail(flushed.error().description);
    cli::print(QStringLiteral("%1 zoom keyframes").arg(*count));
    return 0;
}

int runTelemetryCommand(AppState& app, const QStringList& arguments) {
    Q_UNUSED(app);
    QStringList args = arguments;
    bool bad = false;
    const auto seconds = cli::takeIntOption(args, QStringLiteral("--seconds"), bad);
    const QString out = cli::takeOption(args, QStringLiteral("--out")).value_or(QDir::currentPath());
    if (bad || !seconds || *seconds <= 0 || !args.isEmpty())
        return cli::fail(QStringLiteral("usage: orvane-screen telemetry --seconds N [--out DIR]"));
    if (!QDir().mkpath(out))
        return cli::fail(QStringLiteral("cannot create %1").arg(out));
    const QString cursorPath = QDir(out).filePath(QStringLiteral("cursor.json"));
    const QString eventsPath = QDir(out).filePath(QStringLiteral("events.json"));
    cli::print(QStringLiteral("recording the pointer and input for %1 s...").arg(*seconds));
    const auto recorded = QCoro::waitFor(
        TelemetrySession::recordDisplay(std::chrono::seconds(*seconds), cursorPath, eventsPath));
    if (!recorded)
        return cli::fail(recorded.error());
    cli::print(
        QStringLiteral("%1 cursor samples -> %2").arg(recorded->cursor.samples.size()).arg(cursorPath));
    cli::print(QStringLiteral("%1 input events -> %2").arg(recorded->events.events.size()).arg(eventsPath));
    return 0;
}

} // namespace orvane
