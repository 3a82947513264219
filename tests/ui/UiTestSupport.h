#pragma once

// A desktop application of a test's own on the suite's private X server: its settings, recent projects
// and new projects live in a temporary folder; QTest events drive its real window.

#include "app/AppState.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"

#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace orvane::test {

// Why the window tests skip (no Xvfb), empty when they run; and the private display's name.
QByteArray& uiSkipReason();
QByteArray& uiDisplayName();

struct UiOptions {
    bool onboardingCompleted = true;
    std::optional<quint16> apiPort;
    // The editor's first-run tour covers the screen; only its own tests want it.
    bool editorTutorialCompleted = true;
    // The application's clock; the system's when none is given. Tests that step timers give their own.
    Clock* clock = nullptr;
};

class UiHarness {
public:
    explicit UiHarness(UiOptions options = {});
    ~UiHarness();

    bool load();
    QQuickWindow* window() const { return desktop->mainWindow(); }

    // The first item named `objectName` in the window (popups and sheets included); visible ones only
    // unless `anyVisibility`.
    QQuickItem* find(const QString& objectName, bool anyVisibility = false) const;
    QQuickItem* findIn(QQuickWindow* window, const QString& objectName, bool anyVisibility = false) const;
    // Waits up to `timeout` for the item to show.
    QQuickItem* waitFor(const QString& objectName,
                        std::chrono::milliseconds timeout = std::chrono::seconds(5));

    // A left click at the item's centre, through the window as a mouse would.
    void click(QQuickItem* item);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void key(QQuickWindow* window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    QImage grab() const { return window()->grabWindow(); }

    QTemporaryDir dir;
    std::unique_ptr<UserDefaults> defaults;
    std::unique_ptr<RecentProjectsStore> recents;
    std::unique_ptr<AppState> app;
    std::unique_ptr<DesktopApplication> desktop;
};

// Runs the event loop until `done` holds; false when the time ran out.
bool waitUntil(const std::function<bool()>& done,
               std::chrono::milliseconds timeout = std::chrono::seconds(5));

// Fixture: skips with the reason when there is no X server.
class UiTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!uiSkipReason().isEmpty())
            GTEST_SKIP() << "no X server for the window tests: " << uiSkipReason().constData();
    }
};

} // namespace orvane::test
