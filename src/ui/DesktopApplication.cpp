#include "DesktopApplication.h"

#include "ExportQueuePanelPresenter.h"
#include "RecordingHUDController.h"
#include "localapi/AppStateAPIDelegate.h"
#include "support/Log.h"
#include "support/UserDefaults.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>
#include <QUrl>

namespace orvane {

DesktopApplication::DesktopApplication(AppState& app, RecentProjectsStore& recents, UserDefaults& defaults,
                                       Options options)
    : m_app(app)
    , m_defaults(defaults)
    , m_options(options)
    , m_viewModel(app, recents, defaults) {
    m_hud = std::make_unique<RecordingHUDController>(m_engine, [this]() -> QWindow* { return m_window; });
    m_app.setRecordingHUD(m_hud.get());
    // Quitting is our decision: closing the window asks AppState first, and the HUD is a window too.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    m_frameSaveTimer.setSingleShot(true);
    m_frameSaveTimer.setInterval(500);
    connect(&m_frameSaveTimer, &QTimer::timeout, this, &DesktopApplication::saveFrame);
    connect(&m_viewModel, &AppViewModel::quitRequested, this, &DesktopApplication::requestQuit);
    m_app.setOpenPanelHandler([this] { Q_EMIT m_viewModel.openPanelRequested(); });
    m_app.setImportPanelHandler([this](bool audio) { Q_EMIT m_viewModel.importPanelRequested(audio); });
    m_app.setShowWindowHandler([this] { showWindow(); });
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive && m_firstFrameSeen)
            runStartUpTask();
    });
}

DesktopApplication::~DesktopApplication() {
    m_app.setRecordingHUD(nullptr);
    m_app.setOpenPanelHandler({});
    m_app.setImportPanelHandler({});
    m_app.setShowWindowHandler({});
    if (m_window)
        m_window->removeEventFilter(this);
    // The HUD's window and the queue's panel belong to the engine's components: they go before the engine.
    m_hud.reset();
    m_exportQueuePanel.reset();
}

QQuickWindow* DesktopApplication::exportQueuePanel() const {
    return m_exportQueuePanel ? m_exportQueuePanel->panel() : nullptr;
}

bool DesktopApplication::load() {
    m_engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Orvane/Ui/MainWindow.qml")));
    if (m_engine.rootObjects().isEmpty()) {
        log::warning("App", QStringLiteral("the main window did not load"));
        return false;
    }
    m_window = qobject_cast<QQuickWindow*>(m_engine.rootObjects().constFirst());
    if (!m_window) {
        log::warning("App", QStringLiteral("the main window is not a window"));
        return false;
    }
    m_window->installEventFilter(this);
    // The queue's panel comes up by itself when a job is added, from any door.
    m_exportQueuePanel = std::make_unique<ExportQueuePanelPresenter>(m_engine, m_app.exportQueueController());
    restoreFrame();
    connect(m_window, &QWindow::xChanged, &m_frameSaveTimer, qOverload<>(&QTimer::start));
    connect(m_window, &QWindow::yChanged, &m_frameSaveTimer, qOverload<>(&QTimer::start));
    connect(m_window, &QWindow::widthChanged, &m_frameSaveTimer, qOverload<>(&QTimer::start));
    connect(m_window, &QWindow::heightChanged, &m_frameSaveTimer, qOverload<>(&QTimer::start));
    // The start-up task runs once the window's content is on screen, so the first frame never waits on it.
    connect(
        m_window, &QQuickWindow::frameSwapped, this,
        [this] {
            if (m_firstFrameSeen)
                return;
            m_firstFrameSeen = true;
            Q_EMIT firstFramePainted();
            QMetaObject::invokeMethod(this, &DesktopApplication::runStartUpTask, Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
    m_window->show();
    // A program the user just started takes the keyboard, as its first window would on any desktop.
    m_window->requestActivate();
    return true;
}

void DesktopApplication::runStartUpTask() {
    if (m_options.apiPort)
        ensureLocalAPIServer(m_app, *m_options.apiPort);
    m_app.checkPermissionsOnLaunch();
}

void DesktopApplication::showWindow() {
    if (!m_window)
        return;
    // While recording the window stays hidden behind the HUD; it comes back when the recording stops.
    if (m_hud->panel())
        return;
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}

void DesktopApplication::openArguments(const QStringList& arguments) {
    for (const QString& argument : arguments) {
        const QUrl url(argument);
        if (url.scheme() == QLatin1String("orvane-screen")) {
            // Links of this scheme answer a sign-in of the online service, which this build doesn't have.
            log::info("App", QStringLiteral("ignoring link ") + url.toString(QUrl::RemoveQuery));
            continue;
        }
        const QString path = url.isLocalFile() ? url.toLocalFile() : argument;
        if (QFileInfo(path).isDir())
            m_app.openProject(QFileInfo(path).absoluteFilePath());
    }
    showWindow();
}

void DesktopApplication::requestQuit() {
    if (m_quitApproved || m_quitPending)
        return;
    saveFrame();
    const auto answer =
        m_app.applicationShouldTerminate([self = QPointer<DesktopApplication>(this)](bool ok) {
            if (self && ok)
                self->approveQuit();
        });
    if (answer == AppState::TerminateReply::now)
        approveQuit();
    else
        m_quitPending = true;
}

void DesktopApplication::approveQuit() {
    m_quitApproved = true;
    m_quitPending = false;
    QCoreApplication::quit();
}

bool DesktopApplication::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_window && event->type() == QEvent::Close && !m_quitApproved) {
        // Closing the last window ends the program, after AppState has had its say.
        event->ignore();
        requestQuit();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void DesktopApplication::restoreFrame() {
    const QRect frame = m_defaults.value(QString::fromLatin1(frameAutosaveKey)).toRect();
    if (!frame.isValid())
        return;
    // A frame saved on a screen that is gone would put the window out of reach: only one that a screen
    // still shows comes back.
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen->availableGeometry().intersects(frame)) {
            m_window->setGeometry(frame);
            return;
        }
    }
}

void DesktopApplication::saveFrame() {
    if (!m_window || !m_window->isVisible() || m_window->visibility() != QWindow::Windowed)
        return;
    m_defaults.setValue(QString::fromLatin1(frameAutosaveKey), m_window->geometry());
}

} // namespace orvane
