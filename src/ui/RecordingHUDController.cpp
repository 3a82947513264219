#include "RecordingHUDController.h"

#include "support/Log.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>

namespace orvane {

RecordingHUDController::RecordingHUDController(QQmlEngine& engine, std::function<QWindow*()> mainWindow)
    : m_engine(engine)
    , m_mainWindow(std::move(mainWindow)) {}

RecordingHUDController::~RecordingHUDController() = default;

QRect RecordingHUDController::panelGeometry(const QRect& available) {
    return QRect(available.x() + available.width() / 2 - width / 2, available.y() + topMargin, width, height);
}

void RecordingHUDController::show() {
    if (QWindow* main = m_mainWindow ? m_mainWindow() : nullptr; main && main->isVisible()) {
        m_saved = SavedMainWindowState{main, true, main->geometry()};
        main->hide();
    }
    if (!m_panel) {
        QQmlComponent component(&m_engine, QUrl(QStringLiteral("qrc:/qt/qml/Orvane/Ui/RecordingHUD.qml")));
        std::unique_ptr<QObject> object(component.create());
        auto* window = qobject_cast<QQuickWindow*>(object.get());
        if (!window) {
            log::warning("HUD",
                         QStringLiteral("the recording control did not load: ") + component.errorString());
            return;
        }
        object.release();
        m_panel.reset(window);
    }
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect(0, 0, 1440, 900);
    m_panel->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                      Qt::WindowDoesNotAcceptFocus);
    m_panel->setColor(Qt::transparent);
    m_panel->setGeometry(panelGeometry(available));
    m_panel->show();
    m_panel->raise();
}

void RecordingHUDController::hide() {
    // Stop is pressed on the panel itself: it goes once its click handler has returned.
    if (m_panel) {
        m_panel->hide();
        m_panel.release()->deleteLater();
    }
    if (!m_saved)
        return;
    if (QWindow* window = m_saved->window) {
        window->setGeometry(m_saved->frame);
        window->show();
        window->raise();
        window->requestActivate();
    }
    m_saved.reset();
}

} // namespace orvane
