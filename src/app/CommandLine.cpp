#include "CommandLine.h"

#include <QTextStream>

#include <cstdio>
#include <optional>

namespace orvane {

CommandLine::CommandLine() {
    add(QStringLiteral("info"), QStringLiteral("info PROJECT"), &runInfoCommand);
    add(QStringLiteral("new"), QStringLiteral("new NAME [--width W] [--height H] [--fps F]"), &runNewCommand);
    add(QStringLiteral("sample"), QStringLiteral("sample [DIR]"), &runSampleCommand);
    add(QStringLiteral("import"), QStringLiteral("import PROJECT FILE..."), &runImportCommand);
    add(QStringLiteral("auto-zoom"), QStringLiteral("auto-zoom PROJECT [--clip ID]"), &runAutoZoomCommand);
    add(QStringLiteral("telemetry"), QStringLiteral("telemetry --seconds N [--out DIR]"),
        &runTelemetryCommand);
    add(QStringLiteral("render"),
        QStringLiteral("render PROJECT [-o FILE] [--preset web1080|web4K|socialSquare|socialVertical] "
                       "[--codec h264|hevc|prores] [--container mp4|mov] [--no-audio]"),
        &runRenderCommand);
    add(QStringLiteral("still"),
        QStringLiteral("still PROJECT [--clip ID] [--time SECONDS] -o FILE.png | still --demo -o FILE.png"),
        &runStillCommand);
    add(QStringLiteral("sources"), QStringLiteral("sources"), &runSourcesCommand);
    add(QStringLiteral("record"),
        QStringLiteral("record [--source ID] [--seconds N] [--mic] [--system-audio] [--countdown] [PROJECT]"),
        &runRecordCommand);
    add(QStringLiteral("recover"), QStringLiteral("recover PROJECT"), &runRecoverCommand);
    add(QStringLiteral("versions"), QStringLiteral("versions PROJECT"), &runVersionsCommand);
    add(QStringLiteral("restore"), QStringLiteral("restore PROJECT VERSION"), &runRestoreCommand);
    add(QStringLiteral("set"),
        QStringLiteral("set PROJECT [--clip ID] KEY=VALUE... (e.g. frame.cornerRadius=24)"), &runSetCommand);
}

void CommandLine::add(const QString& name, const QString& synopsis, Command command) {
    m_commands[name] = {synopsis, std::move(command)};
}

QString CommandLine::usage() const {
    QString text = QStringLiteral("usage: orvane-screen <command> [arguments]\n\ncommands:\n");
    for (const auto& [name, entry] : m_commands)
        text += QStringLiteral("  orvane-screen ") + entry.synopsis + u'\n';
    return text;
}

int CommandLine::run(AppState& app, const QStringList& args) {
    if (args.isEmpty() || args.front() == QLatin1StringView("--help") ||
        args.front() == QLatin1StringView("-h")) {
        std::fputs(qPrintable(usage()), args.isEmpty() ? stderr : stdout);
        return args.isEmpty() ? 2 : 0;
    }
    const auto it = m_commands.find(args.front());
    if (it == m_commands.end()) {
        std::fprintf(stderr, "orvane-screen: unknown command \"%s\"\n\n%s", qPrintable(args.front()),
                     qPrintable(usage()));
        return 2;
    }
    return it->second.command(app, args.mid(1));
}

int cli::fail(const QString& message) {
    std::fprintf(stderr, "orvane-screen: %s\n", qPrintable(message));
    return 1;
}

void cli::print(const QString& message) {
    std::fprintf(stdout, "%s\n", message.toLocal8Bit().constData());
    std::fflush(stdout);
}

std::optional<QString> cli::takeOption(QStringList& args, const QString& name) {
    const qsizetype i = args.indexOf(name);
    if (i < 0 || i + 1 >= args.size())
        return std::nullopt;
    const QString value = args.at(i + 1);
    args.remove(i, 2);
    return value;
}

std::optional<int> cli::takeIntOption(QStringList& args, const QString& name, bool& bad) {
    const auto text = takeOption(args, name);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const int value = text->toInt(&ok);
    if (!ok)
        bad = true;
    return value;
}

} // namespace orvane
