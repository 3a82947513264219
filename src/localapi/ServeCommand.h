#pragma once

#include <QStringList>

namespace orvane {

class AppState;

// `orvane-screen serve [--port N]`: the application state and the loopback API without a window, until
// SIGINT or SIGTERM; the open project is flushed before the process ends.
int runServeCommand(AppState& app, const QStringList& args);

} // namespace orvane
