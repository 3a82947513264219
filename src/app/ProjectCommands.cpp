// `info` and `new`: the project folder from the command line.
#include "AppState.h"
#include "CommandLine.h"

#include <QDir>

namespace orvane {

int runInfoCommand(AppState& app, const QStringList& args) {
    Q_UNUSED(app);
    if (args.size() != 1)
        return cli::fail(QStringLiteral("usage: orvane-screen info PROJECT"));
    auto bundle = ProjectBundle::load(args.front());
    if (!bundle)
        return cli::fail(bundle.error().description);
    const Project& p = (*bundle)->project();
    cli::print(QStringLiteral("name: %1").arg(p.name));
    cli::print(QStringLiteral("canvas: %1x%2").arg(p.canvasSize.width).arg(p.canvasSize.height));
    cli::print(QStringLiteral("frame rate: %1 fps").arg(p.frameRate));
    cli::print(QStringLiteral("clips: %1").arg(p.timeline.clips.size()));
    cli::print(QStringLiteral("duration: %1 (%2 s)")
                   .arg(p.timeline.duration().formatted())
                   .arg(p.timeline.duration().seconds));
    cli::print(QStringLiteral("versions: %1").arg((*bundle)->listVersions().size()));
    return 0;
}

int runNewCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    bool bad = false;
    const int width = cli::takeIntOption(args, QStringLiteral("--width"), bad).value_or(1920);
    const int height = cli::takeIntOption(args, QStringLiteral("--height"), bad).value_or(1080);
    const int fps = cli::takeIntOption(args, QStringLiteral("--fps"), bad).value_or(60);
    if (bad || args.size() != 1)
        return cli::fail(QStringLiteral("usage: orvane-screen new NAME [--width W] [--height H] [--fps F]"));
    auto bundle = app.createProject(args.front(), width, height, fps);
    if (!bundle)
        return cli::fail(bundle.error().description);
    const Project& p = (*bundle)->project();
    cli::print(QStringLiteral("created %1 (%2x%3 at %4 fps)")
                   .arg(QDir::toNativeSeparators((*bundle)->path()))
                   .arg(p.canvasSize.width)
                   .arg(p.canvasSize.height)
                   .arg(p.frameRate));
    return 0;
}

} // namespace orvane
