#pragma once

#include <QStringList>

#include <functional>
#include <map>

namespace orvane {

class AppState;

// `orvane-screen <command> ...`: headless doors onto the same AppState operations the window uses.
// Each command prints a one-line summary and exits non-zero with the error's text.
class CommandLine {
public:
    using Command = std::function<int(AppState& app, const QStringList& args)>;

    CommandLine();
    // Commands of the layers above the application core register here (render, serve, ...).
    void add(const QString& name, const QString& synopsis, Command command);
    // Runs `args` (without the program name). Prints usage for no command or an unknown one.
    int run(AppState& app, const QStringList& args);
    QString usage() const;

private:
    struct Entry {
        QString synopsis;
        Command command;
    };
    std::map<QString, Entry> m_commands;
};

// Helpers shared by the command implementations.
namespace cli {
int fail(const QString& message);   // prints to stderr, returns 1
void print(const QString& message); // stdout, one line
// Reads "--name value" from `args`, removing both; none when absent.
std::optional<QString> takeOption(QStringList& args, const QString& name);
std::optional<int> takeIntOption(QStringList& args, const QString& name, bool& bad);
} // namespace cli

// Commands, each in the file of its subject.
int runInfoCommand(AppState& app, const QStringList& args);
int runNewCommand(AppState& app, const QStringList& args);
int runSampleCommand(AppState& app, const QStringList& args);
int runImportCommand(AppState& app, const QStringList& args);
int runAutoZoomCommand(AppState& app, const QStringList& args);
int runTelemetryCommand(AppState& app, const QStringList& args);
int runRenderCommand(AppState& app, const QStringList& args);
int runStillCommand(AppState& app, const QStringList& args);
int runSourcesCommand(AppState& app, const QStringList& args);
int runRecordCommand(AppState& app, const QStringList& args);
int runRecoverCommand(AppState& app, const QStringList& args);
int runVersionsCommand(AppState& app, const QStringList& args);
int runRestoreCommand(AppState& app, const QStringList& args);
int runSetCommand(AppState& app, const QStringList& args);

} // namespace orvane
