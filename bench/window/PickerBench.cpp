// orvane-picker-bench [--windows N]
//
// The source picker with N other programs' windows (20 by default) on a private X server: the time from
// opening the picker on the windows filter to every card on screen showing its live picture, and the
// longest gap between frames while the pictures load, against the longest gap of the same window
// rendering continuously with nothing loading (measured right after, same run).

#include "app/AppState.h"
#include "capture/SourceThumbnailCache.h"
#include "capture/X11TestSupport.h"
#include "capture/x11/DemoWindow.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"
#include "ui/GraphicsBackend.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <deque>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace {

using namespace orvane;

std::vector<QQuickItem*> itemsOfClass(QQuickItem* root, const char* className) {
    std::vector<QQuickItem*> found;
    std::deque<QQuickItem*> queue{root};
    while (!queue.empty()) {
        QQuickItem* item = queue.front();
        queue.pop_front();
        if (qstrcmp(item->metaObject()->className(), className) == 0 && item->isVisible())
            found.push_back(item);
        for (QQuickItem* child : item->childItems())
            queue.push_back(child);
    }
    return found;
}

QQuickItem* itemNamed(QQuickItem* root, const QString& name) {
    std::deque<QQuickItem*> queue{root};
    while (!queue.empty()) {
        QQuickItem* item = queue.front();
        queue.pop_front();
        if (item->objectName() == name && item->isVisible())
            return item;
        for (QQuickItem* child : item->childItems())
            queue.push_back(child);
    }
    return nullptr;
}

// Keeps the window drawing frame after frame and records the longest gap between two frames.
class FrameGapMeter : public QObject {
public:
    explicit FrameGapMeter(QQuickWindow* window)
        : m_window(window) {
        connect(
            window, &QQuickWindow::frameSwapped, this,
            [this] {
                const qint64 now = m_clock.nsecsElapsed();
                if (m_last >= 0 && m_running)
                    m_maxGapNs = std::max(m_maxGapNs, now - m_last);
                m_last = now;
                ++m_frames;
                m_window->update();
            },
            Qt::QueuedConnection);
        m_clock.start();
    }
    void start() {
        m_running = true;
        m_maxGapNs = 0;
        m_frames = 0;
        m_last = -1;
        m_window->update();
    }
    void stop() { m_running = false; }
    double maxGapMs() const { return double(m_maxGapNs) / 1e6; }
    int frames() const { return m_frames; }

private:
    QQuickWindow* m_window;
    QElapsedTimer m_clock;
    qint64 m_last = -1;
    qint64 m_maxGapNs = 0;
    int m_frames = 0;
    bool m_running = false;
};

} // namespace

int main(int argc, char** argv) {
    QByteArray failure;
    auto server = test::XvfbServer::start(1920, 1080, &failure);
    if (!server) {
        std::fprintf(stderr, "orvane-picker-bench: no X server: %s\n", failure.constData());
        return 1;
    }
    qputenv("DISPLAY", server->displayName());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("PULSE_SERVER", "unix:/nonexistent");
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QGuiApplication application(argc, argv);
    chooseGraphicsBackend();
    int windowCount = 20;
    const QStringList args = QGuiApplication::arguments();
    if (args.size() == 3 && args[1] == QLatin1String("--windows"))
        windowCount = args[2].toInt();

    // Other programs' windows: still pictures, each claiming a process that is not this one.
    std::vector<std::unique_ptr<DemoWindow>> windows;
    for (int i = 0; i < windowCount; ++i) {
        DemoWindow::Options options;
        options.displayName = server->displayName();
        options.x = 40 + (i % 5) * 360;
        options.y = 60 + (i / 5) * 240;
        options.width = 640;
        options.height = 400;
        options.title = QStringLiteral("Document %1 - Editor").arg(i + 1);
        options.processID = 100000 + std::uint32_t(i);
        options.background = 0x203040 + std::uint32_t(i) * 0x060402;
        options.framesPerSecond = 0;
        auto window = DemoWindow::open(options);
        if (!window) {
            std::fprintf(stderr, "orvane-picker-bench: %s\n", qPrintable(window.error()));
            return 1;
        }
        windows.push_back(std::move(*window));
    }

    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("defaults.ini")));
    defaults.setValue(QStringLiteral("orvane.screen.hasCompletedOnboarding"), true);
    RecentProjectsStore recents(defaults);
    AppState app({defaults, recents, Clock::system()});
    DesktopApplication desktop(app, recents, defaults, {std::nullopt});
    if (!desktop.load())
        return 1;
    QQuickWindow* window = desktop.mainWindow();
    (void)QTest::qWaitForWindowExposed(window);
    QTest::qWait(500);
    // Sources discovered once, so that the measurement starts with the picker opening on the windows.
    (void)QTest::qWaitFor([&] { return int(app.availableSources().size()) > windowCount; }, 10000);

    FrameGapMeter meter(window);
    desktop.viewModel().newRecording();
    (void)QTest::qWaitFor(
        [&] { return itemNamed(window->contentItem(), QStringLiteral("source.filter.windows")) != nullptr; });
    QQuickItem* windowsFilter = itemNamed(window->contentItem(), QStringLiteral("source.filter.windows"));
    QTest::qWait(300);
    SourceThumbnailCache::shared().clear();
    meter.start();
    QElapsedTimer clock;
    clock.start();
    const QPointF centre =
        windowsFilter->mapToScene(QPointF(windowsFilter->width() / 2, windowsFilter->height() / 2));
    QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    double allShownMs = -1;
    int shown = 0;
    int cards = 0;
    (void)QTest::qWaitFor(
        [&] {
            const auto pictures = itemsOfClass(window->contentItem(), "orvane::SourceThumbnailItem");
            cards = int(pictures.size());
            shown = 0;
            for (QQuickItem* picture : pictures)
                shown += picture->property("hasPicture").toBool() ? 1 : 0;
            if (cards > 0 && shown == cards) {
                allShownMs = double(clock.nsecsElapsed()) / 1e6;
                return true;
            }
            return false;
        },
        10000);
    QTest::qWait(200);
    meter.stop();
    const double loadingGap = meter.maxGapMs();
    const int loadingFrames = meter.frames();

    // The same window drawing continuously with nothing to load, for as long.
    meter.start();
    QTest::qWait(std::max(1000, int(allShownMs) + 200));
    meter.stop();
    const double idleGap = meter.maxGapMs();

    std::printf(
        "picker with %d windows: %d of %d cards on screen showed their pictures after %.0f ms (goal under "
        "1000 ms); %d pictures in the cache\n",
        windowCount, shown, cards, allShownMs, SourceThumbnailCache::shared().count());
    std::printf(
        "longest frame gap while loading %.1f ms over %d frames (goal under 50 ms); drawing with nothing to "
        "load %.1f ms; ratio %.2f\n",
        loadingGap, loadingFrames, idleGap, idleGap > 0 ? loadingGap / idleGap : 0.0);
    return allShownMs >= 0 ? 0 : 1;
}
