// orvane-picker-bench [--windows N]
//
// The source picker with N other programs' windows (20 by default) on a private X server, in a real
// application window with a small item spinning in its corner so that it draws frame after frame:
// - opening: from the picker appearing (it forgets the pictures and discovers the sources again) with the
//   windows filter chosen at once, to the first frame that shows every card on screen with its picture;
// - refresh: the same from the refresh button on the windows filter;
// - the longest gap between two shown frames during each, against the longest gap of the same window
//   spinning with nothing to load (measured right after, in the same run).

#include "PrivateDisplay.h"
#include "app/AppState.h"
#include "capture/SourceThumbnailCache.h"
#include "capture/x11/DemoWindow.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"
#include "ui/GraphicsBackend.h"
#include "ui/ItemTree.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace {

using namespace orvane;

// Records the time of every frame the window shows and the longest gap between two of them. The window
// keeps drawing on its own because of the spinning item, as it would with any animation on screen.
class FrameGapMeter : public QObject {
public:
    explicit FrameGapMeter(QQuickWindow* window) {
        connect(
            window, &QQuickWindow::frameSwapped, this,
            [this] {
                const qint64 now = m_clock.nsecsElapsed();
                if (m_last >= 0 && m_running)
                    m_maxGapNs = std::max(m_maxGapNs, now - m_last);
                m_last = now;
                ++m_frames;
                ++m_framesEver;
            },
            Qt::DirectConnection);
        m_clock.start();
    }
    void start() {
        m_running = true;
        m_maxGapNs = 0;
        m_frames = 0;
        m_last = -1;
    }
    void stop() { m_running = false; }
    double maxGapMs() const { return double(m_maxGapNs) / 1e6; }
    int frames() const { return m_frames; }
    // Frames shown since the meter was made, running or not.
    int framesEver() const { return m_framesEver; }

private:
    QElapsedTimer m_clock;
    qint64 m_last = -1;
    qint64 m_maxGapNs = 0;
    int m_frames = 0;
    int m_framesEver = 0;
    bool m_running = false;
};

// A small square spinning in the window's corner for the whole run, above every screen.
std::unique_ptr<QObject> spinner(QQmlEngine& engine, QQuickWindow* window) {
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQuick
        Rectangle {
            x: 8; y: parent ? parent.height - 40 : 0; width: 24; height: 24; z: 1000; color: "#7C6CFF"
            RotationAnimation on rotation { from: 0; to: 360; duration: 1000; loops: Animation.Infinite }
        })",
                      QUrl());
    auto* item = qobject_cast<QQuickItem*>(component.create());
    if (!item) {
        std::fprintf(stderr, "orvane-picker-bench: %s\n", qPrintable(component.errorString()));
        return nullptr;
    }
    item->setParentItem(window->contentItem());
    return std::unique_ptr<QObject>(item);
}

struct Loading {
    double allPaintedMs = -1; // every card on screen drawn with its picture, -1 if not within 10 s
    int cards = 0;
    int shown = 0;
    double maxGapMs = 0;
    int frames = 0;
};

// Runs `begin` and waits until every card on screen has its picture and a frame has shown them.
template <typename Begin>
Loading measureLoading(QQuickWindow* window, FrameGapMeter& meter, Begin begin) {
    Loading result;
    meter.start();
    QElapsedTimer clock;
    clock.start();
    begin();
    int framesAtAllLanded = -1;
    (void)QTest::qWaitFor(
        [&] {
            if (framesAtAllLanded < 0) {
                const auto pictures =
                    findVisibleItemsOfClass(window->contentItem(), "orvane::SourceThumbnailItem");
                result.cards = int(pictures.size());
                result.shown = 0;
                for (QQuickItem* picture : pictures)
                    result.shown += picture->property("hasPicture").toBool() ? 1 : 0;
                if (result.cards > 0 && result.shown == result.cards)
                    framesAtAllLanded = meter.framesEver();
                return false;
            }
            // The next frame after the last picture landed is the one that shows it.
            if (meter.framesEver() > framesAtAllLanded) {
                result.allPaintedMs = double(clock.nsecsElapsed()) / 1e6;
                return true;
            }
            return false;
        },
        10000);
    QTest::qWait(200);
    meter.stop();
    result.maxGapMs = meter.maxGapMs();
    result.frames = meter.frames();
    return result;
}

void click(QQuickWindow* window, QQuickItem* item) {
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
}

} // namespace

int main(int argc, char** argv) {
    const auto server = bench::startPrivateDisplay("orvane-picker-bench");
    if (!server)
        return 1;
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

    auto spinning = spinner(desktop.engine(), window);
    if (!spinning)
        return 1;
    FrameGapMeter meter(window);
    QTest::qWait(300);

    // The picker opening: it forgets every picture and discovers the sources again; the windows filter is
    // chosen as soon as it shows, and the pictures of its cards are taken.
    const Loading opening = measureLoading(window, meter, [&] {
        desktop.viewModel().newRecording();
        (void)QTest::qWaitFor([&] {
            return findVisibleItem(window->contentItem(), QStringLiteral("source.filter.windows")) != nullptr;
        });
        click(window, findVisibleItem(window->contentItem(), QStringLiteral("source.filter.windows")));
    });
    // Refresh on the windows filter: the cards stay while the new pictures come.
    QQuickItem* refresh = findVisibleItem(window->contentItem(), QStringLiteral("source.refresh"));
    (void)QTest::qWaitFor([&] { return refresh->isEnabled(); });
    QTest::qWait(200);
    const Loading refreshing = measureLoading(window, meter, [&] {
        click(window, refresh);
        // The cards keep their old pictures until the new ones land: wait for the refresh to have found the
        // windows again and each card to have its new picture in the cache.
        (void)QTest::qWaitFor([&] { return refresh->isEnabled(); });
        (void)QTest::qWaitFor([&] {
            for (QQuickItem* picture :
                 findVisibleItemsOfClass(window->contentItem(), "orvane::SourceThumbnailItem"))
                if (!SourceThumbnailCache::shared().thumbnail(picture->property("sourceID").toString()))
                    return false;
            return true;
        });
    });

    // The same window with the spinner and nothing to load, for as long as the opening took.
    meter.start();
    QTest::qWait(std::max(1000, int(opening.allPaintedMs) + 200));
    meter.stop();
    const double idleGap = meter.maxGapMs();
    const int idleFrames = meter.frames();

    std::printf("picker with %d windows (%s):\n", windowCount,
                window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software
                    ? "software renderer"
                    : "GPU renderer");
    std::printf("  opening on the windows filter: %d of %d cards on screen painted with their pictures after "
                "%.0f ms (goal under 1000 ms)\n",
                opening.shown, opening.cards, opening.allPaintedMs);
    std::printf("  refresh on the windows filter: %d of %d painted after %.0f ms\n", refreshing.shown,
                refreshing.cards, refreshing.allPaintedMs);
    std::printf("  longest frame gap while loading: opening %.1f ms over %d frames, refresh %.1f ms over %d "
                "frames (goal under 50 ms)\n",
                opening.maxGapMs, opening.frames, refreshing.maxGapMs, refreshing.frames);
    std::printf("  baseline, spinning with nothing to load: longest gap %.1f ms over %d frames; ratio "
                "opening/baseline %.2f, refresh/baseline %.2f\n",
                idleGap, idleFrames, idleGap > 0 ? opening.maxGapMs / idleGap : 0.0,
                idleGap > 0 ? refreshing.maxGapMs / idleGap : 0.0);
    return opening.allPaintedMs >= 0 && refreshing.allPaintedMs >= 0 ? 0 : 1;
}
