#pragma once

#include <memory>

class QQmlEngine;
class QQuickWindow;

namespace orvane {

class ExportQueueController;

// Makes the export queue's floating panel the first time the controller shows it: a frameless tool window
// of its own above the others that doesn't take the keyboard when it appears (a click on it still does).
// From then on the view follows the controller by itself: it places itself at the top right of the
// screen each time it shows, and fades in and out.
class ExportQueuePanelPresenter {
public:
    ExportQueuePanelPresenter(QQmlEngine& engine, ExportQueueController& controller);
    ~ExportQueuePanelPresenter();

    QQuickWindow* panel() const { return m_panel.get(); }

private:
    void onVisibilityChanged(bool visible);

    QQmlEngine& m_engine;
    ExportQueueController& m_controller;
    std::unique_ptr<QQuickWindow> m_panel;
};

} // namespace orvane
