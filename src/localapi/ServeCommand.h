#pragma once

#include <QStringList>

namespace orvane {

class AppState;

// `orvane-screen serve [--port N]`: the application state and the loopback API without a window, until
// SIGINT, SIGTERM or SIGHUP, each of which quits as the window does: a recording under way is stopped and
// kept, and the open project is flushed before the process ends.
int runServeCommand(AppState& app, const QStringList& args);

} // namespace orvane
