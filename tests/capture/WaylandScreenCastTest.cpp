// The whole Wayland picture path on a real headless desktop: the portal casts sway's output without a
// dialog, PipeWire delivers it to the screen half of the capture stream at the output's size, and the
// restore token of the first cast starts the second.
#include "WaylandSessionSupport.h"
#include "capture/wayland/PipeWireScreenCapture.h"
#include "capture/wayland/PortalScreenCast.h"

#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

class WaylandScreenCastTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString why;
        session = WaylandSession::start(&why);
        if (!session)
            GTEST_SKIP() << "no headless Wayland session: " << why.toStdString();
        bus = QDBusConnection::connectToBus(session->busAddress(), QStringLiteral("wayland-cast-test"));
        ASSERT_TRUE(bus.isConnected());
    }
    void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("wayland-cast-test")); }

    std::unique_ptr<WaylandSession> session;
    QDBusConnection bus{QStringLiteral("unset")};
};

TEST_F(WaylandScreenCastTest, TheOutputArrivesThroughThePortalAndPipeWire) {
    PortalScreenCast cast(bus);
    const auto caps = QCoro::waitFor(cast.capabilities());
    ASSERT_TRUE(caps.has_value()) << caps.error().detail.toStdString();
    EXPECT_TRUE(caps->sourceTypes & PortalScreenCast::monitor);
    // wlroots' portal draws the cursor in or leaves it out; it has no metadata to give.
    const uint cursorMode = PortalScreenCast::preferredCursorMode(caps->cursorModes);
    EXPECT_NE(cursorMode, 0u);

    PortalScreenCast::Options options;
    options.cursorMode = cursorMode;
    options.timeout = 20s;
    const auto started = QCoro::waitFor(cast.start(options));
    if (!started && session->portalLog().contains("unable to receive a valid format"))
        GTEST_SKIP() << "the portal's wlroots backend wants a DMA-BUF format, which sway's software renderer "
                        "offers only with a GPU render node; this machine has none";
    ASSERT_TRUE(started.has_value()) << started.error().detail.toStdString();
    ASSERT_EQ(started->streams.size(), 1u);
    EXPECT_EQ(started->streams[0].size, QSize(1920, 1080));

    // Something moves on the output while it is read, so new frames have a reason to come.
    std::atomic<bool> moving{true};
    std::thread painter([&] {
        const char* colours[] = {"#203040", "#402030", "#304020"};
        for (int i = 0; moving; ++i) {
            session->swaymsg({QStringLiteral("output"), QStringLiteral("HEADLESS-1"), QStringLiteral("bg"),
                              QString::fromLatin1(colours[i % 3]), QStringLiteral("solid_color")});
            QThread::msleep(50);
        }
    });

    std::mutex lock;
    std::vector<std::pair<int, int>> sizes;
    PipeWireScreenCapture::Configuration config;
    config.remoteFd = started->remote.fileDescriptor();
    config.nodeId = started->streams[0].nodeId;
    PipeWireScreenCapture screen(config, [&](const VideoSample& sample) {
        const std::lock_guard guard(lock);
        sizes.emplace_back(sample.width, sample.height);
    });
    const auto running = screen.start(10s);
    ASSERT_TRUE(running.has_value()) << running.error().toStdString();
    QThread::msleep(1500);
    screen.stop();
    moving = false;
    painter.join();
    cast.close();

    ASSERT_FALSE(sizes.empty());
    for (const auto& size : sizes)
        EXPECT_EQ(size, std::make_pair(1920, 1080));
    std::printf("wayland cast: %zu frames in 1.5 s; restore token %s\n", sizes.size(),
                started->restoreToken ? "given" : "not given");

    // The second cast of the same output, named by the first one's token where the portal gave one.
    options.restoreToken = started->restoreToken;
    const auto again = QCoro::waitFor(cast.start(options));
    ASSERT_TRUE(again.has_value()) << again.error().detail.toStdString();
    EXPECT_EQ(again->streams.size(), 1u);
    cast.close();
}

} // namespace
} // namespace orvane::test
