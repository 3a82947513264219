// `sources` and `record`: the recording flow without a window. `record` goes through the same AppState
// operations as the start and stop buttons, so what it leaves in the project is what the editor would get.
#include "AppState.h"
#include "CommandLine.h"
#include "InterruptWatcher.h"
#include "capture/CaptureEnvironment.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>

namespace orvane {

namespace {

// Discovery as the picker does it: the permissions first, then the sources. An error text on failure.
std::optional<QString> discover(AppState& app) {
    QCoro::waitFor(app.refreshPermissions());
    if (app.permissions().screenRecording != PermissionsState::Status::granted)
        return CaptureEnvironment::fromSystem().session == CaptureEnvironment::Session::wayland
                   ? QStringLiteral(
                         "The screen can't be recorded: no screen cast portal answers in this Wayland "
                         "session (is xdg-desktop-portal with the desktop's backend installed?)")
                   : QStringLiteral("The screen can't be recorded: no X display answers (is DISPLAY set?)");
    const auto refreshed = QCoro::waitFor(app.refreshSources());
    if (!refreshed)
        return refreshed.error().description;
    return std::nullopt;
}

// An exact id first, then an id in any case, then a title or subtitle that contains the text.
const CaptureSource* findSource(const std::vector<CaptureSource>& sources, const QString& text) {
    for (const CaptureSource& s : sources)
        if (s.id == text)
            return &s;
    for (const CaptureSource& s : sources)
        if (s.id.compare(text, Qt::CaseInsensitive) == 0)
            return &s;
    for (const CaptureSource& s : sources)
        if (s.title.contains(text, Qt::CaseInsensitive) || s.subtitle.contains(text, Qt::CaseInsensitive))
            return &s;
    return nullptr;
}

QString errorText(const AppError& error) {
    return error.message.isEmpty() ? error.title : error.title + QStringLiteral(": ") + error.message;
}

} // namespace

int runSourcesCommand(AppState& app, const QStringList& args) {
    if (!args.isEmpty())
        return cli::fail(QStringLiteral("usage: orvane-screen sources"));
    if (const auto failure = discover(app))
        return cli::fail(*failure);
    for (const CaptureSource& s : app.availableSources())
        cli::print(s.id + u'\t' + s.title + u'\t' + s.subtitle);
    return 0;
}

int runRecordCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    bool bad = false;
    const auto sourceText = cli::takeOption(args, QStringLiteral("--source"));
    const auto secondsText = cli::takeOption(args, QStringLiteral("--seconds"));
    const bool microphone = args.removeAll(QStringLiteral("--mic")) > 0;
    const bool systemAudio = args.removeAll(QStringLiteral("--system-audio")) > 0;
    const bool countdown = args.removeAll(QStringLiteral("--countdown")) > 0;
    std::optional<double> seconds;
    if (secondsText) {
        seconds = secondsText->toDouble(&bad);
        bad = !bad || *seconds <= 0;
    }
    if (bad || args.size() > 1 || (!args.isEmpty() && args.front().startsWith(u'-')))
        return cli::fail(QStringLiteral("usage: orvane-screen record [--source ID] [--seconds N] [--mic] "
                                        "[--system-audio] [--countdown] [PROJECT]"));
    if (!args.isEmpty()) {
        // A path that does not exist yet is where the new project goes.
        if (QFileInfo::exists(args.front())) {
            if (!app.openProject(args.front()))
                return cli::fail(errorText(*app.lastError()));
            // Unfinished recordings are `recover`'s business; this command records a new one.
            app.setLastError(std::nullopt);
        } else if (const auto created = app.createProjectAt(args.front()); !created) {
            return cli::fail(created.error().description);
        }
    }

    if (const auto failure = discover(app))
        return cli::fail(*failure);
    const auto& sources = app.availableSources();
    const CaptureSource* source = nullptr;
    if (sourceText) {
        source = findSource(sources, *sourceText);
        if (!source)
            return cli::fail(
                QStringLiteral("No source matching '%1'. Run `orvane-screen sources` to list them.")
                    .arg(*sourceText));
    } else {
        for (const CaptureSource& s : sources)
            if (s.kind == CaptureSource::Kind::display && !source)
                source = &s;
        if (!source && !sources.empty())
            source = &sources.front();
        if (!source)
            return cli::fail(QStringLiteral("No capture sources available"));
    }
    app.setSelectedSourceID(source->id);
    app.setIncludesMicrophone(microphone);
    app.setIncludesSystemAudio(systemAudio);
    app.setIncludesCamera(false);
    if (!countdown)
        app.setCountdownTick(std::chrono::milliseconds(0));

    QEventLoop loop;
    bool interrupted = false;
    bool interruptedCountdown = false;
    QTimer stopTimer;
    stopTimer.setSingleShot(true);
    QObject::connect(&stopTimer, &QTimer::timeout, &app, [&] { app.stopCapture(); });
    // Ctrl-C, SIGTERM and SIGHUP quit the way the window does: the recording is stopped and kept, within
    // the same time limit. A second signal while that runs changes nothing.
    InterruptWatcher interrupt([&] {
        if (interrupted)
            return;
        interrupted = true;
        interruptedCountdown = app.recordingPhase().isCountingDown();
        std::fputs("stopping...\n", stderr);
        if (app.applicationShouldTerminate([&](bool) { loop.quit(); }) == AppState::TerminateReply::now)
            loop.quit();
    });
    QObject::connect(&app, &AppState::recordingPhaseChanged, &loop, [&] {
        const RecordingPhase& phase = app.recordingPhase();
        if (const auto* counting = std::get_if<RecordingPhase::CountingDown>(&phase.value);
            counting && countdown) {
            std::fprintf(stderr, "%d...\n", counting->remaining);
        } else if (phase.isRecording()) {
            std::fprintf(stderr, "recording %s%s\n", qPrintable(source->id),
                         seconds ? qPrintable(QStringLiteral(" for %1 s").arg(*seconds)) : " until Ctrl-C");
            for (const QString& warning : app.recordingWarnings())
                std::fprintf(stderr, "%s\n", qPrintable(warning));
            if (seconds)
                stopTimer.start(std::chrono::milliseconds(qint64(*seconds * 1000)));
        } else if (phase.isStopping()) {
            std::fputs("finishing the movie...\n", stderr);
        } else if (phase.isIdle()) {
            loop.quit();
        }
    });
    app.setLastError(std::nullopt);
    app.beginCapture();
    if (!app.recordingPhase().isIdle())
        loop.exec();

    if (interruptedCountdown)
        return cli::fail(QStringLiteral("Recording cancelled.")) + 129; // 130, as shells report SIGINT
    if (app.lastError())
        return cli::fail(errorText(*app.lastError()));
    const auto& bundle = app.currentBundle();
    if (!bundle || bundle->project().timeline.clips.empty())
        return cli::fail(QStringLiteral("the recording left no clip"));
    if (auto flushed = bundle->flushPendingSave(); !flushed)
        return cli::fail(flushed.error().description);

    const Clip& clip = bundle->project().timeline.clips.back();
    cli::print(QStringLiteral("%1\t%2\t%3 s")
                   .arg(clip.id.toString(QUuid::WithoutBraces).toUpper(), clip.name)
                   .arg(clip.sourceOut.seconds, 0, 'f', 2));
    cli::print(QStringLiteral("project\t%1").arg(bundle->path()));
    cli::print(QStringLiteral("video\t%1").arg(bundle->mediaPath(clip.sourceVideoPath)));
    if (clip.sourceCursorPath)
        cli::print(QStringLiteral("cursor\t%1").arg(bundle->mediaPath(*clip.sourceCursorPath)));
    if (clip.sourceEventsPath)
        cli::print(QStringLiteral("events\t%1").arg(bundle->mediaPath(*clip.sourceEventsPath)));
    for (const QString& warning : app.recordingWarnings())
        cli::print(QStringLiteral("warning\t%1").arg(warning));
    return 0;
}

int runRecoverCommand(AppState& app, const QStringList& args) {
    if (args.size() != 1 || args.front().startsWith(u'-'))
        return cli::fail(QStringLiteral("usage: orvane-screen recover PROJECT"));
    if (!app.openProject(args.front()))
        return cli::fail(errorText(*app.lastError()));
    // Opening offers the recovery as an alert; here it is simply done.
    app.setLastError(std::nullopt);
    const std::shared_ptr<ProjectBundle> bundle = app.currentBundle();
    const std::size_t before = bundle->project().timeline.clips.size();
    const int recovered = QCoro::waitFor(app.recoverRecordings());
    if (recovered > 0)
        if (auto flushed = bundle->flushPendingSave(); !flushed)
            return cli::fail(flushed.error().description);
    const auto& clips = bundle->project().timeline.clips;
    for (std::size_t i = before; i < clips.size(); ++i) {
        const Clip& clip = clips[i];
        cli::print(QStringLiteral("%1\t%2\t%3 s\t%4")
                       .arg(clip.id.toString(QUuid::WithoutBraces).toUpper(), clip.name)
                       .arg(clip.sourceOut.seconds, 0, 'f', 2)
                       .arg(clip.sourceVideoPath));
    }
    if (app.lastError())
        return cli::fail(errorText(*app.lastError()));
    if (recovered == 0)
        cli::print(QStringLiteral("nothing to recover in %1").arg(bundle->path()));
    return 0;
}

} // namespace orvane
