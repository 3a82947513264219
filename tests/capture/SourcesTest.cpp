#include "CaptureTestSupport.h"
#include "capture/CaptureEngine.h"
#include "capture/PermissionsManager.h"
#include "capture/SourceThumbnailCache.h"
#include "capture/x11/DemoWindow.h"
#include "capture/x11/X11ContentQuery.h"
#include "capture/x11/X11FrameGrabber.h"
#include "capture/x11/XcbHandles.h"
#include "common/LogCapture.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

// What a window manager would do to the server.
class ServerControl {
public:
    explicit ServerControl(const QByteArray& display) {
        const xcb_screen_t* screen = nullptr;
        m_connection = xcb::connect(display, &screen);
        if (m_connection)
            m_root = screen->root;
    }
    bool isOpen() const { return m_connection != nullptr; }

    void setClientList(const std::vector<std::uint32_t>& windows) {
        xcb_connection_t* c = m_connection.get();
        const xcb_atom_t list = xcb::internAtom(c, "_NET_CLIENT_LIST");
        if (windows.empty())
            xcb_delete_property(c, m_root, list);
        else
            xcb_change_property(c, XCB_PROP_MODE_REPLACE, m_root, list, XCB_ATOM_WINDOW, 32,
                                std::uint32_t(windows.size()), windows.data());
        xcb::sync(c);
    }

private:
    xcb::ConnectionPtr m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
};

std::vector<std::string> ids(const std::vector<CaptureSource>& sources) {
    std::vector<std::string> result;
    for (const auto& s : sources)
        result.push_back(s.id.toStdString());
    return result;
}

std::string windowID(const std::unique_ptr<DemoWindow>& w) {
    return "window-" + std::to_string(w->windowID());
}

class SourcesTest : public test::CaptureServers {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_CAPTURE_SERVERS();
        control = std::make_unique<ServerControl>(xserver->displayName());
        ASSERT_TRUE(control->isOpen());
    }

    std::unique_ptr<DemoWindow> window(const char* title, const char* wmClass, Rect frame,
                                       std::uint32_t colour = 0x336699) {
        DemoWindow::Options o;
        o.displayName = xserver->displayName();
        o.title = QString::fromUtf8(title);
        o.wmClass = wmClass;
        o.x = int(frame.x);
        o.y = int(frame.y);
        o.width = int(frame.width);
        o.height = int(frame.height);
        o.background = colour;
        o.framesPerSecond = 0;
        auto w = DemoWindow::open(o);
        EXPECT_TRUE(w);
        return w ? std::move(*w) : nullptr;
    }
    std::unique_ptr<DemoWindow> window(DemoWindow::Options o) {
        o.displayName = xserver->displayName();
        o.framesPerSecond = 0;
        auto w = DemoWindow::open(o);
        EXPECT_TRUE(w);
        return w ? std::move(*w) : nullptr;
    }

    std::vector<CaptureSource> discover() {
        return test::awaitTask(CaptureEngine::discoverSources(environment())).value().value();
    }

    std::unique_ptr<ServerControl> control;
};

TEST_F(SourcesTest, WindowsFollowTheClientListAndItsRules) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    DemoWindow::Options dockOptions;
    dockOptions.title = QStringLiteral("Panel");
    dockOptions.wmClass = "panel";
    dockOptions.windowType = "_NET_WM_WINDOW_TYPE_DOCK";
    dockOptions.width = 1280;
    dockOptions.height = 30;
    auto dock = window(dockOptions);
    auto editor = window("  Notes.txt  ", "editor", {40, 40, 400, 300});
    auto tiny = window("Tiny", "editor", {500, 40, 60, 300});
    DemoWindow::Options mineOptions;
    mineOptions.title = QStringLiteral("Preview");
    mineOptions.wmClass = "helper";
    mineOptions.processID = std::uint32_t(::getpid());
    auto mine = window(mineOptions);
    auto ownClass = window("Settings", "orvane-screen-tests", {40, 40, 300, 300});
    auto noClass = window("Nameless", "", {40, 40, 300, 300});
    auto junk = window(" Item-0 ", "editor", {40, 40, 300, 300});
    DemoWindow::Options songOptions;
    songOptions.wmClass = "Player";
    songOptions.title = QStringLiteral("Song A");
    songOptions.processID = 1001;
    auto songA = window(songOptions);
    songOptions.title = QStringLiteral("Song B");
    songOptions.processID = 1002;
    auto songB = window(songOptions);
    DemoWindow::Options paletteOptions;
    paletteOptions.title = QStringLiteral("Palette");
    paletteOptions.wmClass = "tools";
    paletteOptions.skipTaskbar = true;
    auto palette = window(paletteOptions);
    const std::vector<DemoWindow*> all{dock.get(),    editor.get(), tiny.get(),  mine.get(),  ownClass.get(),
                                       noClass.get(), junk.get(),   songA.get(), songB.get(), palette.get()};
    ASSERT_TRUE(std::all_of(all.begin(), all.end(), [](auto* w) { return w != nullptr; }));

    // A window manager lists its clients, oldest first.
    std::vector<std::uint32_t> clients;
    for (auto* w : all)
        clients.push_back(w->windowID());
    control->setClientList(clients);
    auto sources = discover();
    ASSERT_FALSE(sources.empty());
    EXPECT_EQ(sources.front().kind, CaptureSource::Kind::display);
    std::vector<CaptureSource> rest(sources.begin() + 1, sources.end());
    EXPECT_EQ(ids(rest), (std::vector<std::string>{windowID(editor), windowID(songA), windowID(songB),
                                                   windowID(palette), "app-editor", "app-Player"}));
    const CaptureSource& notes = rest[0];
    EXPECT_EQ(notes.title, QStringLiteral("Notes.txt"));
    EXPECT_EQ(notes.subtitle, QStringLiteral("editor"));
    EXPECT_EQ(notes.pixelSize, (Size{400, 300}));
    EXPECT_EQ(rest[4].pixelSize, (Size{1280, 720}));

    // Without a window manager, what is on the screen counts, in stacking order.
    control->setClientList({});
    sources = discover();
    rest.assign(sources.begin() + 1, sources.end());
    EXPECT_EQ(ids(rest), (std::vector<std::string>{windowID(editor), windowID(songA), windowID(songB),
                                                   windowID(palette), "app-editor", "app-Player"}));
}

TEST_F(SourcesTest, DisplaysComeFromRandRAndThumbnailsFitTheirBox) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    auto red = window("Left", "paint", {0, 0, 640, 720}, 0xff0000);
    auto blue = window("Tall", "paint", {640, 0, 200, 500}, 0x0000ff);
    ASSERT_TRUE(red && blue);
    const auto content = X11ContentQuery::query(xserver->displayName());
    ASSERT_TRUE(content);
    // Xvfb has one output and so one monitor; the display is named after the output, not numbered.
    ASSERT_EQ(content->displays.size(), 1u);
    const auto& display = content->displays[0];
    EXPECT_NE(display.displayID, 0u);
    EXPECT_EQ(display.frame, (Rect{0, 0, 1280, 720}));
    const auto sources = discover();
    EXPECT_EQ(sources.front().id, QStringLiteral("display-%1").arg(display.displayID));

    // A display's region is read at its place on the root window: the right half holds only the blue window.
    CaptureTarget rightHalf{CaptureTarget::Kind::display, 1, 0, {640, 0, 640, 720}, {640, 720}};
    auto grabber = X11FrameGrabber::open(xserver->displayName(), rightHalf, 640, 720, 1);
    ASSERT_TRUE(grabber);
    EXPECT_TRUE((*grabber)->usesSharedMemory());
    const auto image = (*grabber)->grab(0);
    ASSERT_TRUE(image);
    auto at = [&](int x, int y) {
        std::uint32_t p;
        std::memcpy(&p, image->pixels + y * image->stride + x * 4, 4);
        return p & 0xffffffu;
    };
    EXPECT_EQ(at(100, 100), 0x0000ffu);
    EXPECT_EQ(at(300, 100), 0x000000u);

    // The whole display fits a 640 by 360 box exactly.
    const auto whole = SourceThumbnailCache::takeSnapshot(sources.front(), environment());
    ASSERT_TRUE(whole) << whole.error().toStdString();
    EXPECT_EQ(whole->width(), 640);
    EXPECT_EQ(whole->height(), 360);
    EXPECT_EQ(whole->pixel(100, 100), 0xffff0000u);
    EXPECT_EQ(whole->pixel(370, 100), 0xff0000ffu);

    // A tall window's box is 200 by 360, each side limited on its own, and the window is fitted inside it.
    const CaptureSource tall = *std::find_if(sources.begin(), sources.end(), [&](const CaptureSource& s) {
        return s.windowID == blue->windowID();
    });
    const auto picture = SourceThumbnailCache::takeSnapshot(tall, environment());
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), 200);
    EXPECT_EQ(picture->height(), 360);
    // A scale of 0.72 rounds by a step or two.
    const std::uint32_t inside = picture->pixel(100, 180);
    EXPECT_GE(inside >> 24, 0xfau);
    EXPECT_GE(inside & 0xff, 0xfau);
    EXPECT_EQ(inside & 0xffff00u, 0u);
    EXPECT_EQ(picture->pixel(5, 180) >> 24, 0u);
}

TEST_F(SourcesTest, TheThumbnailCacheTakesEachPictureOnce) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    auto green = window("Green", "paint", {100, 100, 320, 180}, 0x00ff00);
    ASSERT_TRUE(green);
    const auto sources = discover();
    const CaptureSource display = sources.front();
    const CaptureSource win = *std::find_if(sources.begin(), sources.end(), [&](const CaptureSource& s) {
        return s.windowID == green->windowID();
    });

    SourceThumbnailCache cache(environment());
    QSignalSpy changed(&cache, &SourceThumbnailCache::changed);
    cache.fetchIfNeeded(win);
    cache.fetchIfNeeded(win);
    EXPECT_TRUE(cache.isFetching(win.id));
    ASSERT_TRUE(test::processEventsUntil([&] { return cache.thumbnail(win.id).has_value(); }, 10s));
    EXPECT_FALSE(cache.isFetching(win.id));
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(cache.thumbnail(win.id)->pixel(160, 90), 0xff00ff00u);
    cache.fetchIfNeeded(win);
    EXPECT_FALSE(cache.isFetching(win.id));

    // A picture under way when the cache is cleared still lands.
    cache.fetchIfNeeded(display);
    cache.clear();
    EXPECT_EQ(cache.count(), 0);
    ASSERT_TRUE(test::processEventsUntil([&] { return cache.thumbnail(display.id).has_value(); }, 10s));
    EXPECT_EQ(cache.thumbnail(display.id)->width(), 640);

    // A source that is gone: a log line, nothing stored, and a later fetch may try again.
    test::LogCapture log;
    CaptureSource gone = win;
    gone.id = QStringLiteral("window-4242");
    gone.windowID = 4242;
    cache.fetchIfNeeded(gone);
    test::processEventsUntil([&] { return !cache.isFetching(gone.id); }, 10s);
    const QStringList lines = log.finish();
    EXPECT_FALSE(cache.thumbnail(gone.id));
    EXPECT_TRUE(lines.contains(QStringLiteral(
        "[SourceThumbnailCache] snapshot failed for window-4242: The selected source could not be found.")));
}

TEST_F(SourcesTest, PermissionsSayWhatThisSessionCanUse) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    QTemporaryDir devices;
    CaptureEnvironment env = environment();
    env.videoDeviceDirectory = devices.path();
    using Status = CapturePermissions::Status;
    PermissionsManager manager(env);
    auto permissions = test::awaitTask(manager.refresh()).value();
    EXPECT_EQ(permissions,
              (CapturePermissions{Status::granted, Status::denied, Status::granted, Status::granted}));
    EXPECT_FALSE(test::awaitTask(manager.requestCamera()).value());

    QFile camera(devices.filePath(QStringLiteral("video0")));
    ASSERT_TRUE(camera.open(QIODevice::WriteOnly));
    camera.close();
    EXPECT_TRUE(test::awaitTask(manager.requestCamera()).value());
    EXPECT_TRUE(test::awaitTask(manager.requestMicrophone()).value());

    // No X server and no sound server: nothing is granted, and nothing is ever "not determined".
    env.displayName = ":65004";
    env.pulseServer = "unix:" + QFile::encodeName(devices.path()) + "/none";
    PermissionsManager nowhere(env);
    permissions = test::awaitTask(nowhere.refresh()).value();
    EXPECT_EQ(permissions,
              (CapturePermissions{Status::denied, Status::granted, Status::denied, Status::denied}));
    const auto discovery = test::awaitTask(CaptureEngine::discoverSources(env)).value();
    ASSERT_FALSE(discovery);
    EXPECT_EQ(discovery.error().kind, CaptureEngineError::Kind::system);
    EXPECT_TRUE(discovery.error().message().contains(QStringLiteral(":65004")));
}

} // namespace
