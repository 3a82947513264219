#include "ExportQueuePanelPresenter.h"

#include "export/ExportQueue.h"
#include "support/Log.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

namespace orvane {

ExportQueuePanelPresenter::ExportQueuePanelPresenter(QQmlEngine& engine, ExportQueueController& controller)
    : m_engine(engine)
    , m_controller(controller) {
    QObject::connect(&controller, &ExportQueueController::visibilityChanged, &engine,
                     [this](bool visible) { onVisibilityChanged(visible); });
    // A job queued before the views loaded (from automation, say) still brings the panel up.
    if (controller.isVisible())
        onVisibilityChanged(true);
}

ExportQueuePanelPresenter::~ExportQueuePanelPresenter() {
    QObject::disconnect(&m_controller, &ExportQueueController::visibilityChanged, &m_engine, nullptr);
}

void ExportQueuePanelPresenter::onVisibilityChanged(bool visible) {
    if (!visible || m_panel)
        return;
    QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/qt/qml/Orvane/Ui/ExportQueuePanel.qml")));
    std::unique_ptr<QObject> object(component.beginCreate(m_engine.rootContext()));
    auto* window = qobject_cast<QQuickWindow*>(object.get());
    if (!window) {
        log::warning("Export",
                     QStringLiteral("the export queue panel did not load: ") + component.errorString());
        if (object)
            component.completeCreate();
        return;
    }
    // Set before the view completes: it shows itself at once when the controller already wants it.
    window->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window->setProperty("_q_showWithoutActivating", true);
    component.completeCreate();
    object.release();
    m_panel.reset(window);
}

} // namespace orvane
