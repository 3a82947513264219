#pragma once

// An application state of a test's own: its settings, recent projects and new projects live in a
// temporary folder, and its clock moves only when the test says so.

#include "app/AppState.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"

#include <QTemporaryDir>

namespace orvane::test {

struct PrivateApp {
    PrivateApp() {
        defaults.setValue(QString::fromLatin1(AppState::recordingSaveDirectoryKey),
                          dir.filePath(QStringLiteral("Projects")));
    }

    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(QStringLiteral("defaults.ini"))};
    RecentProjectsStore recents{defaults};
    ManualClock clock;
    AppState app{{defaults, recents, clock}};
};

} // namespace orvane::test
