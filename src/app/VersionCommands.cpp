// `versions` and `restore`: the project's saved versions from the command line.
#include "AppState.h"
#include "CommandLine.h"

#include <QLocale>

namespace orvane {

namespace {

QString clipCount(std::size_t n) {
    return n == 1 ? QStringLiteral("1 clip") : QStringLiteral("%1 clips").arg(n);
}

QString savedAtText(const QDateTime& date) {
    return QLocale::c().toString(date.toLocalTime(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

// The version `id` names: its file's name, with or without ".json".
const VersionSnapshot* findVersion(const std::vector<VersionSnapshot>& versions, QString id) {
    if (id.endsWith(QLatin1StringView(".json")))
        id.chop(5);
    for (const VersionSnapshot& version : versions)
        if (version.rawName == id)
            return &version;
    return nullptr;
}

} // namespace

int runVersionsCommand(AppState& app, const QStringList& args) {
    Q_UNUSED(app);
    if (args.size() != 1)
        return cli::fail(QStringLiteral("usage: orvane-screen versions PROJECT"));
    auto bundle = ProjectBundle::load(args.front());
    if (!bundle)
        return cli::fail(bundle.error().description);
    // One line per version, newest first, the name `restore` takes first; tab-separated so that names with
    // spaces stay one field.
    for (const VersionSnapshot& version : (*bundle)->listVersions()) {
        const auto project = (*bundle)->loadVersion(version);
        const QString about = project ? project->name + u'\t' + clipCount(project->timeline.clips.size())
                                      : QStringLiteral("(unreadable: %1)").arg(project.error().description);
        cli::print(version.rawName + u'\t' + savedAtText(version.savedAt) + u'\t' + about);
    }
    return 0;
}

int runRestoreCommand(AppState& app, const QStringList& args) {
    Q_UNUSED(app);
    if (args.size() != 2)
        return cli::fail(QStringLiteral("usage: orvane-screen restore PROJECT VERSION"));
    auto loaded = ProjectBundle::load(args.front());
    if (!loaded)
        return cli::fail(loaded.error().description);
    ProjectBundle& bundle = **loaded;
    const std::vector<VersionSnapshot> versions = bundle.listVersions();
    const VersionSnapshot* chosen = findVersion(versions, args.at(1));
    if (!chosen)
        return cli::fail(QStringLiteral("No version \"%1\" in %2 (`orvane-screen versions` lists them)")
                             .arg(args.at(1), args.front()));
    // Decoded before anything is written: a version that cannot be read leaves the project as it was.
    auto project = bundle.loadVersion(*chosen);
    if (!project)
        return cli::fail(
            QStringLiteral("Couldn't load version %1: %2").arg(chosen->rawName, project.error().description));

    // The state being replaced becomes a version of its own first, so the restore loses nothing; saving
    // the chosen one then makes it the newest version.
    if (auto saved = bundle.save(); !saved)
        return cli::fail(saved.error().description);
    const std::vector<VersionSnapshot> before = bundle.listVersions();
    const QString kept = before.empty() ? QString() : before.front().rawName;
    if (auto restored = bundle.restore(std::move(*project)); !restored)
        return cli::fail(restored.error().description);
    cli::print(QStringLiteral("restored %1 (%2, %3); the state before it is version %4")
                   .arg(chosen->rawName, bundle.project().name,
                        clipCount(bundle.project().timeline.clips.size()), kept));
    return 0;
}

} // namespace orvane
