#include "ExportUiTestSupport.h"
#include "common/PrivateSessionBus.h"
#include "export/ExportQueue.h"
#include "ui/ExportQueueViewModel.h"
#include "ui/FileManagerReveal.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QTimer>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// Stands in for the desktop's file manager: records what it was asked to show.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QList<QStringList> shown;
public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& startupId) {
        Q_UNUSED(startupId);
        shown << uris;
    }
};

// The panel's own window, once it is on screen and fully faded in.
QQuickWindow* shownPanel(UiHarness& ui) {
    QQuickWindow* panel = nullptr;
    waitUntil([&] {
        panel = ui.desktop->exportQueuePanel();
        return panel && panel->isVisible() && panel->opacity() > 0.99;
    });
    return panel;
}

bool rowsInView(UiHarness& ui, QQuickWindow* panel) {
    return waitUntil([&] {
        QQuickItem* list = ui.findIn(panel, QStringLiteral("exportQueue.list"));
        return list && list->height() + 0.5 >= list->property("contentHeight").toDouble();
    });
}

QString rowStatus(UiHarness& ui, QQuickWindow* panel, int row) {
    QQuickItem* item = ui.findIn(panel, QStringLiteral("exportQueue.row.%1").arg(row));
    if (!item)
        return {};
    QQuickItem* status = findItem(
        item, [](const QQuickItem& i) { return i.objectName() == QLatin1String("exportQueue.row.status"); });
    return itemText(status);
}

QQuickItem* rowControl(UiHarness& ui, QQuickWindow* panel, int row, const QString& name) {
    QQuickItem* item = ui.findIn(panel, QStringLiteral("exportQueue.row.%1").arg(row));
    return item ? findItem(item, [&](const QQuickItem& i) { return i.objectName() == name && i.isVisible(); })
                : nullptr;
}

QString indicatorHint(UiHarness& ui) {
    QQuickItem* indicator = ui.find(QStringLiteral("editor.exportQueue"));
    return indicator ? indicator->property("hint").toString() : QString();
}

// _NET_WM_USER_TIME of a window: 0 asks the window manager not to give it the keyboard when it maps.
std::optional<quint32> netWmUserTime(QWindow* window) {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11)
        return std::nullopt;
    xcb_connection_t* c = x11->connection();
    const QByteArray name("_NET_WM_USER_TIME");
    auto* atom =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(name.size()), name.constData()), nullptr);
    if (!atom)
        return std::nullopt;
    auto* reply = xcb_get_property_reply(
        c, xcb_get_property(c, 0, xcb_window_t(window->winId()), atom->atom, XCB_ATOM_CARDINAL, 0, 1),
        nullptr);
    std::free(atom);
    std::optional<quint32> value;
    if (reply && xcb_get_property_value_length(reply) == 4)
        value = *static_cast<const quint32*>(xcb_get_property_value(reply));
    std::free(reply);
    return value;
}

// The panel's auto-hide timers among the clock's: the project's saves share the clock.
int countdowns(const ManualClock& clock) {
    const std::vector<double> delays = clock.pendingDelays();
    return int(std::count(delays.begin(), delays.end(), ExportQueueController::autoHideSeconds));
}

class ExportQueuePanelTest : public UiTest {};

// The whole way: Export in the sheet brings the panel up at the top right without taking the keyboard;
// the row waits, renders with a moving bar and finishes; the file shows in the file manager and plays
// at the preset's size with every frame.
TEST_F(ExportQueuePanelTest, AnExportFromTheSheetRendersInThePanel) {
    ORVANE_REQUIRE_FFMPEG();
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ASSERT_NE(openExportProject(ui, QStringLiteral("Launch Demo"), 1), nullptr);
    EXPECT_EQ(indicatorHint(ui), QStringLiteral("Export queue (empty)"));
    ExportSheetViewModel* sheet = openExportSheet(ui);
    ASSERT_NE(sheet, nullptr);
    ui.click(ui.waitFor(QStringLiteral("export.preset.socialSquare")));

    const QString output = ui.dir.filePath(QStringLiteral("launch square.mp4"));
    SavePanelAnswers answers({output});
    ui.click(ui.waitFor(QStringLiteral("export.exportButton")));
    EXPECT_EQ(answers.suggested, QStringList{QStringLiteral("Launch Demo.mp4")});

    QQuickWindow* panel = shownPanel(ui);
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->title(), QStringLiteral("Exports"));
    EXPECT_TRUE(panel->flags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(panel->flags().testFlag(Qt::FramelessWindowHint));
    EXPECT_EQ(netWmUserTime(panel), std::optional<quint32>(0)) << "appearing must not take the keyboard";
    EXPECT_EQ(QGuiApplication::focusWindow(), ui.window());
    const QRect available = panel->screen()->availableGeometry();
    EXPECT_EQ(panel->x() + panel->width(), available.x() + available.width() - 24);
    EXPECT_EQ(panel->y(), available.y() + 24);

    // Watch the row as the job goes: waiting, then rendering with a bar, then finished.
    QStringList seen;
    bool sawBar = false;
    bool sawActiveCount = false;
    ASSERT_TRUE(waitUntil(
        [&] {
            const QString status = rowStatus(ui, panel, 0);
            if (!status.isEmpty() && (seen.isEmpty() || seen.back() != status))
                seen << status;
            if (QQuickItem* bar = rowControl(ui, panel, 0, QStringLiteral("exportQueue.row.progress")))
                sawBar = sawBar || (bar->property("value").toDouble() > 0 &&
                                    status.startsWith(QStringLiteral("Rendering")));
            sawActiveCount =
                sawActiveCount || (indicatorHint(ui) == QStringLiteral("Export queue (1 active)") &&
                                   itemText(ui.findIn(panel, QStringLiteral("exportQueue.activeCount"))) ==
                                       QStringLiteral("(1 active)"));
            return status.startsWith(QStringLiteral("Finished")) || status.contains(QStringLiteral("ail"));
        },
        90s));
    EXPECT_EQ(seen.back(), QStringLiteral("Finished • Launch Demo")) << seen.join(u'|').toStdString();
    EXPECT_TRUE(std::any_of(seen.begin(), seen.end(), [](const QString& s) {
        return s.startsWith(QStringLiteral("Rendering ")) && s.endsWith(QStringLiteral("% • Launch Demo"));
    })) << seen.join(u'|').toStdString();
    EXPECT_TRUE(sawBar);
    EXPECT_TRUE(sawActiveCount);
    EXPECT_EQ(ui.findIn(panel, QStringLiteral("exportQueue.row.0"))->property("accessibleText").toString(),
              QStringLiteral("Export of launch square.mp4 completed"));
    EXPECT_EQ(rowControl(ui, panel, 0, QStringLiteral("exportQueue.stop")), nullptr);
    EXPECT_EQ(indicatorHint(ui), QStringLiteral("Export queue (empty)"));
    EXPECT_EQ(ui.findIn(panel, QStringLiteral("exportQueue.activeCount")), nullptr);

    // Show in Files selects the file in the file manager over the bus.
    PrivateBus bus;
    ASSERT_FALSE(bus.address.isEmpty()) << "dbus-daemon did not start";
    QDBusConnection fileManagerSide = bus.connect(QStringLiteral("fake-file-manager"));
    FakeFileManager fileManager;
    ASSERT_TRUE(fileManagerSide.registerObject(QString::fromLatin1(FileManagerReveal::objectPath),
                                               &fileManager, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(fileManagerSide.registerService(QString::fromLatin1(FileManagerReveal::service)));
    QList<QUrl> foldersOpened;
    FileManagerReveal& reveal = ui.desktop->viewModel().fileManagerReveal();
    reveal.setConnection(bus.connect(QStringLiteral("reveal-client")));
    reveal.setOpenFolder([&](const QUrl& folder) { foldersOpened << folder; });
    QQuickItem* revealButton = rowControl(ui, panel, 0, QStringLiteral("exportQueue.reveal"));
    ASSERT_NE(revealButton, nullptr);
    EXPECT_EQ(revealButton->property("text").toString(), QStringLiteral("Show in Files"));
    ui.click(revealButton);
    ASSERT_TRUE(waitUntil([&] { return !fileManager.shown.isEmpty(); }));
    EXPECT_EQ(fileManager.shown.front(),
              QStringList{QUrl::fromLocalFile(output).toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(foldersOpened.isEmpty());

    // The movie: the preset's size, a frame for each of the source's thirty, and its sound.
    const auto video =
        probeFirstStream(output, QStringLiteral("v"),
                         QStringLiteral("codec_name,width,height,r_frame_rate,nb_read_frames"), true);
    EXPECT_EQ(video.value(QStringLiteral("codec_name")), QStringLiteral("h264"));
    EXPECT_EQ(video.value(QStringLiteral("width")), QStringLiteral("1080"));
    EXPECT_EQ(video.value(QStringLiteral("height")), QStringLiteral("1080"));
    EXPECT_EQ(video.value(QStringLiteral("r_frame_rate")), QStringLiteral("30/1"));
    EXPECT_EQ(video.value(QStringLiteral("nb_read_frames")), QStringLiteral("30"));
    EXPECT_EQ(probeFirstStream(output, QStringLiteral("a"), QStringLiteral("codec_name"))
                  .value(QStringLiteral("codec_name")),
              QStringLiteral("aac"));
}

// With the file manager gone from the bus, or no bus at all, the folder opens instead.
TEST_F(ExportQueuePanelTest, RevealFallsBackToTheFolder) {
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("take.mp4"));
    QFile(file).open(QIODevice::WriteOnly);
    PrivateBus bus;
    ASSERT_FALSE(bus.address.isEmpty()) << "dbus-daemon did not start";

    FileManagerReveal reveal;
    QList<QUrl> opened;
    reveal.setOpenFolder([&](const QUrl& folder) { opened << folder; });
    reveal.setConnection(bus.connect(QStringLiteral("nobody-listens")));
    reveal.reveal(QUrl::fromLocalFile(file).toString());
    ASSERT_TRUE(waitUntil([&] { return !opened.isEmpty(); }));
    EXPECT_EQ(opened, QList<QUrl>{QUrl::fromLocalFile(dir.path())});

    reveal.setConnection(QDBusConnection(QStringLiteral("never-connected")));
    reveal.reveal(file);
    EXPECT_EQ(opened.size(), 2) << "no bus: at once";
    reveal.reveal(dir.path());
    ASSERT_EQ(opened.size(), 3);
    EXPECT_EQ(opened.back(), QUrl::fromLocalFile(dir.path())) << "a folder opens as itself";
}

// A waiting job stops at once and stays listed as cancelled; the running one stops when its render
// notices; clearing takes the finished rows and leaves the empty state. The counts follow throughout.
TEST_F(ExportQueuePanelTest, StoppingAndClearingJobs) {
    ORVANE_REQUIRE_FFMPEG();
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const auto bundle = openExportProject(ui, QStringLiteral("Long Take"), 8);
    ASSERT_NE(bundle, nullptr);
    ExportQueue& queue = ui.app->exportQueue();
    // A 4K HEVC render of eight seconds runs far longer than this test waits.
    ExportConfiguration slow;
    slow.outputPath = ui.dir.filePath(QStringLiteral("slow.mp4"));
    slow.codec = ExportConfiguration::Codec::hevc;
    slow.preset = ExportConfiguration::Preset::web4K();
    ExportConfiguration next = slow;
    next.outputPath = ui.dir.filePath(QStringLiteral("next.mp4"));
    queue.enqueue(bundle, slow);
    queue.enqueue(bundle, next);

    QQuickWindow* panel = shownPanel(ui);
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(
        waitUntil([&] { return rowStatus(ui, panel, 0).startsWith(QStringLiteral("Rendering")); }, 20s));
    // The window grows with its rows a moment after they do (the bar of the running one): a click aims at
    // a row once the window shows all of them.
    ASSERT_TRUE(rowsInView(ui, panel));
    EXPECT_EQ(rowStatus(ui, panel, 1), QStringLiteral("Waiting in queue • Long Take"));
    EXPECT_EQ(indicatorHint(ui), QStringLiteral("Export queue (2 active)"));
    EXPECT_EQ(itemText(ui.findIn(panel, QStringLiteral("exportQueue.activeCount"))),
              QStringLiteral("(2 active)"));
    QQuickItem* clear = ui.findIn(panel, QStringLiteral("exportQueue.clearFinished"));
    ASSERT_NE(clear, nullptr);
    EXPECT_FALSE(clear->isEnabled()) << "nothing finished yet";

    QQuickItem* stopWaiting = rowControl(ui, panel, 1, QStringLiteral("exportQueue.stop"));
    ASSERT_NE(stopWaiting, nullptr);
    EXPECT_EQ(stopWaiting->property("hint").toString(),
              QStringLiteral("Stop this export and remove it from the queue"));
    {
        QQuickItem* list = ui.findIn(panel, QStringLiteral("exportQueue.list"));
        qWarning() << "DBG before" << stopWaiting->mapToScene(QPointF(14, 14)) << panel->size()
                   << panel->contentItem()->size() << list->height() << list->property("contentHeight")
                   << stopWaiting->isVisible() << panel->isExposed();
    }
    {
        const QMetaObject* mo = stopWaiting->metaObject();
        for (const char* name : {"pressed()", "released()", "canceled()", "clicked()"}) {
            const QMetaMethod m = mo->method(mo->indexOfSignal(name));
            auto* spy = new QSignalSpy(stopWaiting, m);
            QObject::connect(stopWaiting, &QObject::destroyed, [spy] { delete spy; });
            QTimer::singleShot(1500, [spy, name] { qWarning() << "DBG" << name << spy->count(); });
        }
    }
    QObject::connect(panel, &QQuickWindow::activeFocusItemChanged, panel, [] { qWarning() << "DBG focus"; });
    {
        const QPointF at = stopWaiting->mapToScene(QPointF(14, 14));
        qWarning() << "DBG childAt" << panel->contentItem()->childAt(at.x(), at.y()) << "modal"
                   << QGuiApplication::modalWindow() << "popup" << QGuiApplication::focusWindow();
    }
    ui.click(stopWaiting);
    qWarning() << "DBG grabber" << panel->mouseGrabberItem();
    if (!waitUntil([&] { return rowStatus(ui, panel, 1) == QStringLiteral("Cancelled"); }, 2s)) {
        QQuickItem* list = ui.findIn(panel, QStringLiteral("exportQueue.list"));
        qWarning() << "DBG after" << stopWaiting->mapToScene(QPointF(14, 14)) << panel->size()
                   << list->height() << list->property("contentHeight") << rowStatus(ui, panel, 1);
        panel->grabWindow().save(QStringLiteral("/tmp/panel-fail.png"));
    }
    ASSERT_TRUE(waitUntil([&] { return rowStatus(ui, panel, 1) == QStringLiteral("Cancelled"); }));
    EXPECT_TRUE(rowStatus(ui, panel, 0).startsWith(QStringLiteral("Rendering"))) << "the running job goes on";
    EXPECT_EQ(indicatorHint(ui), QStringLiteral("Export queue (1 active)"));
    EXPECT_TRUE(clear->isEnabled());

    // Once the panel has the keyboard (a click on it gives it), the keyboard reaches the stop buttons too.
    panel->requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel, 5000));
    QQuickItem* stopRunning = rowControl(ui, panel, 0, QStringLiteral("exportQueue.stop"));
    ASSERT_NE(stopRunning, nullptr);
    stopRunning->forceActiveFocus(Qt::TabFocusReason);
    ASSERT_TRUE(stopRunning->hasActiveFocus());
    ui.key(panel, Qt::Key_Space);
    ASSERT_TRUE(waitUntil([&] { return rowStatus(ui, panel, 0) == QStringLiteral("Cancelled"); }, 30s));
    EXPECT_EQ(indicatorHint(ui), QStringLiteral("Export queue (empty)"));
    EXPECT_FALSE(QFileInfo::exists(slow.outputPath)) << "a stopped render leaves no file";
    EXPECT_FALSE(QFileInfo::exists(next.outputPath));

    ui.click(clear);
    ASSERT_TRUE(waitUntil([&] { return ui.findIn(panel, QStringLiteral("exportQueue.empty")) != nullptr; }));
    EXPECT_TRUE(queue.jobs().empty());
    EXPECT_EQ(ui.findIn(panel, QStringLiteral("exportQueue.row.0")), nullptr);
}

// Pinned, the panel outlasts the work; unpinning with nothing left starts the four-second countdown, a
// new job stops it, and the indicator and close button hide the panel whatever the pin says.
TEST_F(ExportQueuePanelTest, PinningKeepsThePanelAndUnpinningCountsDown) {
    ORVANE_REQUIRE_FFMPEG();
    ManualClock clock;
    UiOptions options;
    options.clock = &clock;
    UiHarness ui(options);
    ASSERT_TRUE(ui.load());
    const auto bundle = openExportProject(ui, QStringLiteral("Pinned"), 0.5);
    ASSERT_NE(bundle, nullptr);
    ExportQueueController& controller = ui.app->exportQueueController();

    // The indicator brings up the empty panel; pinned, it stays through a whole export.
    QQuickItem* indicator = ui.waitFor(QStringLiteral("editor.exportQueue"));
    ASSERT_NE(indicator, nullptr);
    ui.click(indicator);
    QQuickWindow* panel = shownPanel(ui);
    ASSERT_NE(panel, nullptr);
    EXPECT_NE(ui.findIn(panel, QStringLiteral("exportQueue.empty")), nullptr);
    QQuickItem* pin = ui.findIn(panel, QStringLiteral("exportQueue.pin"));
    ASSERT_NE(pin, nullptr);
    EXPECT_EQ(pin->property("text").toString(), QStringLiteral("Pin queue panel open"));
    ui.click(pin);
    EXPECT_EQ(pin->property("text").toString(), QStringLiteral("Unpin queue panel"));

    ExportConfiguration config;
    config.outputPath = ui.dir.filePath(QStringLiteral("pinned.mp4"));
    config.preset = ExportConfiguration::Preset::custom(320, 180, 30, 1'000'000);
    ui.app->exportQueue().enqueue(bundle, config);
    ASSERT_TRUE(waitUntil([&] { return ui.app->exportQueue().isProcessing(); }));
    ASSERT_TRUE(waitUntil([&] { return !ui.app->exportQueue().isProcessing(); }, 60s));
    EXPECT_EQ(countdowns(clock), 0) << "pinned: no countdown";
    clock.advance(30);
    QTest::qWait(400);
    EXPECT_TRUE(panel->isVisible());

    ui.click(pin);
    EXPECT_EQ(countdowns(clock), 1);
    clock.advance(3.9);
    EXPECT_TRUE(controller.isVisible());
    // A job added during the countdown ends it.
    config.outputPath = ui.dir.filePath(QStringLiteral("again.mp4"));
    ui.app->exportQueue().enqueue(bundle, config);
    EXPECT_EQ(countdowns(clock), 0);
    ASSERT_TRUE(waitUntil([&] { return !ui.app->exportQueue().hasActiveWork(); }, 60s));
    ASSERT_TRUE(waitUntil([&] { return countdowns(clock) == 1; }));
    clock.advance(4);
    EXPECT_FALSE(controller.isVisible());
    ASSERT_TRUE(waitUntil([&] { return !panel->isVisible(); })) << "fades out, then goes";

    // Pinned or not, the close button and the indicator hide it.
    ui.click(indicator);
    panel = shownPanel(ui);
    ASSERT_NE(panel, nullptr);
    ui.click(ui.findIn(panel, QStringLiteral("exportQueue.pin")));
    ASSERT_TRUE(controller.isPinned());
    ui.click(ui.findIn(panel, QStringLiteral("exportQueue.close")));
    ASSERT_TRUE(waitUntil([&] { return !panel->isVisible(); }));
    ui.click(indicator);
    ASSERT_NE(shownPanel(ui), nullptr);
    // From the keyboard as well.
    indicator->forceActiveFocus(Qt::TabFocusReason);
    ui.key(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return !panel->isVisible(); }));
    EXPECT_TRUE(controller.isPinned());
}

} // namespace
} // namespace orvane::test

#include "ExportQueuePanelTest.moc"
