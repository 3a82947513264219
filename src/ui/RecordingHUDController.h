#pragma once

#include "app/RecordingHUDPresenter.h"

#include <QPointer>
#include <QRect>

#include <functional>
#include <memory>
#include <optional>

class QQmlEngine;
class QQuickWindow;
class QWindow;

namespace orvane {

// The small floating control of a recording: elapsed time, a pulsing dot, stop and cancel. It is a
// frameless window of this program that stays above the others at the top centre of the screen; the
// capture never shows it, since windows of this program are never sources. Showing it hides the main
// window, which comes back, where it was, when the control goes.
class RecordingHUDController : public RecordingHUDPresenter {
public:
    static constexpr int width = 340;
    static constexpr int height = 88;
    static constexpr int topMargin = 20;

    struct SavedMainWindowState {
        QPointer<QWindow> window;
        bool wasVisible = false;
        QRect frame;
    };

    // `mainWindow` names the window to hide; it may give none.
    RecordingHUDController(QQmlEngine& engine, std::function<QWindow*()> mainWindow);
    ~RecordingHUDController() override;

    void show() override;
    void hide() override;

    QQuickWindow* panel() const { return m_panel.get(); }
    const std::optional<SavedMainWindowState>& savedMainWindowState() const { return m_saved; }
    // Where the panel goes on a screen whose free area is `available`: centred, 20 below the top.
    static QRect panelGeometry(const QRect& available);

private:
    QQmlEngine& m_engine;
    std::function<QWindow*()> m_mainWindow;
    std::unique_ptr<QQuickWindow> m_panel;
    std::optional<SavedMainWindowState> m_saved;
};

} // namespace orvane
