// `set`: the inspector's fields from the command line, with its ranges, clamping and undo names.
#include "AppState.h"
#include "CommandLine.h"
#include "InspectorControls.h"
#include "InspectorEditing.h"

#include <QLoggingCategory>

namespace orvane {

namespace {

Q_LOGGING_CATEGORY(lcInspector, "orvane.inspector")

constexpr auto kSetUsage = "usage: orvane-screen set PROJECT [--clip ID] KEY=VALUE...";

} // namespace

int runSetCommand(AppState& app, const QStringList& arguments) {
    QStringList args = arguments;
    const auto clipText = cli::takeOption(args, QStringLiteral("--clip"));
    if (args.size() < 2)
        return cli::fail(QString::fromLatin1(kSetUsage));
    const QString projectPath = args.takeFirst();
    std::vector<std::pair<QString, QString>> assignments;
    for (const QString& arg : args) {
        const auto eq = arg.indexOf(u'=');
        if (eq <= 0)
            return cli::fail(
                QStringLiteral("\"%1\" is not KEY=VALUE; %2").arg(arg, QString::fromLatin1(kSetUsage)));
        assignments.emplace_back(arg.left(eq), arg.mid(eq + 1));
    }

    if (!app.openProject(projectPath))
        return cli::fail(app.lastError()->message);
    const Project& project = app.currentBundle()->project();
    std::optional<QUuid> clipID;
    if (clipText) {
        clipID = parseUuid(*clipText);
        if (!clipID || !project.timeline.clip(*clipID))
            return cli::fail(QStringLiteral("Clip not found: %1").arg(*clipText));
    } else if (project.timeline.clips.size() == 1) {
        clipID = project.timeline.clips.front().id;
    } else {
        return cli::fail(
            QStringLiteral("The project has %1 clips; pass --clip ID").arg(project.timeline.clips.size()));
    }

    // Every value is checked on a copy first, so one bad pair leaves the project untouched.
    Clip trial = *project.timeline.clip(*clipID);
    for (const auto& [key, value] : assignments)
        if (auto written = writeInspectorField(trial, key, value); !written)
            return cli::fail(written.error());

    InspectorEditing editing(app);
    editing.setSelectedClipID(clipID);
    for (const auto& [key, value] : assignments) {
        InspectorWrite written;
        const Project before = app.currentBundle()->project();
        editing.update([&](Clip& clip) { written = writeInspectorField(clip, key, value).value(); });
        // The step a drag of the same control makes in the window, under the same name.
        if (written.undoName)
            app.commitEdit(*written.undoName, before);
        qCInfo(lcInspector).noquote()
            << QStringLiteral("[Inspector] %1%2 = %3%4")
                   .arg(written.undoName ? *written.undoName + QStringLiteral(": ") : QString(),
                        written.keyPath, written.shown,
                        written.clamped ? QStringLiteral(" (clamped)") : QString());
    }
    if (auto flushed = app.currentBundle()->flushPendingSave(); !flushed)
        return cli::fail(flushed.error().description);
    cli::print(QStringLiteral("set %1 field%2 on clip %3")
                   .arg(assignments.size())
                   .arg(assignments.size() == 1 ? QString() : QStringLiteral("s"))
                   .arg(uuidString(*clipID)));
    return 0;
}

} // namespace orvane
