#pragma once

#include "AppViewModel.h"

#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

#include <memory>
#include <optional>

namespace orvane {

class ExportQueuePanelPresenter;
class RecentProjectsStore;
class RecordingHUDController;
class UserDefaults;

// The desktop program around AppState: the QML engine and the main window, the recording HUD, the
// start-up task that runs when the window first shows and on every activation, the window's saved frame,
// and the question every way of quitting goes through (closing the window, the Quit command, a signal).
class DesktopApplication : public QObject {
    Q_OBJECT
public:
    struct Options {
        // Where the loopback API listens; none starts no server (tests that run several windows).
        std::optional<quint16> apiPort;
    };

    // The settings key under which the main window's frame is kept between runs.
    static constexpr const char* frameAutosaveKey = "OrvaneScreenMainWindow";

    DesktopApplication(AppState& app, RecentProjectsStore& recents, UserDefaults& defaults, Options options);
    ~DesktopApplication() override;

    // Loads the views and shows the main window; false (with the engine's warnings logged) if they
    // don't load.
    bool load();

    QQmlApplicationEngine& engine() { return m_engine; }
    QQuickWindow* mainWindow() const { return m_window; }
    AppViewModel& viewModel() { return m_viewModel; }
    RecordingHUDController& hud() { return *m_hud; }
    // The export queue's floating panel, once it has been shown.
    QQuickWindow* exportQueuePanel() const;

    // Brings the main window to the front and gives it the focus.
    void showWindow();
    // What a second start hands over: project folders open, "orvane-screen:" links are passed on.
    void openArguments(const QStringList& arguments);
    // Asks to quit as closing the window does: at once, or after the recording under way has stopped.
    void requestQuit();
    bool isQuitApproved() const { return m_quitApproved; }

    // The start-up task of the window: the loopback server when missing, then permissions and sources.
    void runStartUpTask();

Q_SIGNALS:
    // The window's first frame is on screen.
    void firstFramePainted();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void restoreFrame();
    void saveFrame();
    void approveQuit();

    AppState& m_app;
    UserDefaults& m_defaults;
    Options m_options;
    AppViewModel m_viewModel;
    QQmlApplicationEngine m_engine;
    QPointer<QQuickWindow> m_window;
    std::unique_ptr<RecordingHUDController> m_hud;
    std::unique_ptr<ExportQueuePanelPresenter> m_exportQueuePanel;
    QTimer m_frameSaveTimer;
    bool m_quitApproved = false;
    bool m_quitPending = false;
    bool m_firstFrameSeen = false;
};

} // namespace orvane
