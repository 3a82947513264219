// The Wayland screen half against a real PipeWire daemon and a numbered test source: images reach the
// handler in the writer's byte order whatever order the source sends, stamped on the capture clock, at
// no more than the rate asked for; a node that never sends fails the start with a reason.
#include "capture/wayland/PipeWireScreenCapture.h"

#include "PipeWireTestSupport.h"
#include "capture/CaptureClock.h"

#include <QDeadlineTimer>
#include <QThread>

#include <gtest/gtest.h>
#include <unistd.h>

#include <mutex>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

struct Got {
    std::uint8_t b = 0;
    std::uint8_t g = 0;
    std::uint8_t r = 0;
    int width = 0;
    int height = 0;
    int stride = 0;
    double time = 0;
    double receivedAt = 0;
};

class PipeWireScreenCaptureTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString why;
        session = PipeWireSession::start(&why);
        if (!session)
            GTEST_SKIP() << "no PipeWire session: " << why.toStdString();
    }

    std::unique_ptr<TestVideoSource> makeSource(int fps, bool rgbOrder) {
        QString why;
        auto source = TestVideoSource::start(session->connect(), 64, 48, fps, &why, rgbOrder);
        EXPECT_NE(source, nullptr) << why.toStdString();
        QDeadlineTimer deadline(5000);
        while (source && source->nodeId() == 0 && !deadline.hasExpired())
            QThread::msleep(20);
        return source;
    }

    // Captures `node` for `seconds` into `got`.
    PipeWireScreenCapture::Statistics capture(std::uint32_t node, std::chrono::nanoseconds interval,
                                              double seconds) {
        const int remote = session->connect();
        PipeWireScreenCapture::Configuration config;
        config.remoteFd = remote;
        config.nodeId = node;
        config.minimumFrameInterval = interval;
        PipeWireScreenCapture screen(config, [this](const VideoSample& s) {
            const std::lock_guard lock(mutex);
            got.push_back({s.pixels[0], s.pixels[1], s.pixels[2], s.width, s.height, s.stride,
                           s.time.seconds(), captureClock::nowSeconds()});
        });
        const auto started = screen.start(5s);
        ::close(remote);
        EXPECT_TRUE(started.has_value()) << (started ? "" : started.error().toStdString());
        QThread::msleep(int(seconds * 1000));
        screen.stop();
        return screen.statistics();
    }

    std::unique_ptr<PipeWireSession> session;
    std::mutex mutex; // guards got
    std::vector<Got> got;
};

// BGRx arrives as it is and RGBx is turned around; every frame of the source is there in order, each
// stamped at its arrival on the clock the sound uses, and the counts add up.
TEST_F(PipeWireScreenCaptureTest, ImagesArriveInTheWritersOrderOnTheCaptureClock) {
    for (const bool rgb : {false, true}) {
        SCOPED_TRACE(rgb ? "RGBx source" : "BGRx source");
        got.clear();
        const auto source = makeSource(30, rgb);
        ASSERT_NE(source, nullptr);
        const auto stats = capture(source->nodeId(), 1ms, 1.2);
        ASSERT_GE(got.size(), 20u);
        EXPECT_EQ(stats.framesDelivered, std::int64_t(got.size()));
        EXPECT_EQ(stats.framesReceived, stats.framesDelivered + stats.framesDropped + stats.framesSkipped);
        EXPECT_EQ(stats.framesDropped, 0);
        EXPECT_EQ(stats.sourceGaps, 0);
        for (std::size_t i = 0; i < got.size(); ++i) {
            const Got& g = got[i];
            SCOPED_TRACE(i);
            EXPECT_EQ(g.width, 64);
            EXPECT_EQ(g.height, 48);
            EXPECT_EQ(g.stride, 64 * 4);
            EXPECT_EQ(g.g, 0x5A);
            const std::uint8_t number = rgb ? g.r : g.b;
            EXPECT_EQ(rgb ? g.b : g.r, 0) << "the bytes are in B, G, R order";
            if (i > 0) {
                const std::uint8_t before = rgb ? got[i - 1].r : got[i - 1].b;
                EXPECT_EQ(number, std::uint8_t(before + 1)) << "every frame, in order";
                EXPECT_GT(g.time, got[i - 1].time);
            }
            EXPECT_LE(g.time, g.receivedAt);
            EXPECT_GT(g.time, g.receivedAt - 0.5) << "stamped on the capture clock";
        }
        source->stop();
    }
}

// A source faster than the rate asked for is thinned to it.
TEST_F(PipeWireScreenCaptureTest, FramesCloserThanTheIntervalAreSkipped) {
    const auto source = makeSource(60, false);
    ASSERT_NE(source, nullptr);
    const auto stats = capture(source->nodeId(), std::chrono::nanoseconds(1'000'000'000 / 20), 1.5);
    ASSERT_GE(got.size(), 10u);
    EXPECT_GT(stats.framesSkipped, 0);
    for (std::size_t i = 1; i < got.size(); ++i)
        EXPECT_GE(got[i].time - got[i - 1].time, 0.05 - 0.0005) << i;
}

// A node that sends nothing: the start gives up at its timeout with a reason, and nothing is left running.
TEST_F(PipeWireScreenCaptureTest, ANodeThatSendsNothingFailsTheStart) {
    const int remote = session->connect();
    PipeWireScreenCapture::Configuration config;
    config.remoteFd = remote;
    config.nodeId = 999'999;
    int delivered = 0;
    PipeWireScreenCapture screen(config, [&](const VideoSample&) { ++delivered; });
    const auto started = screen.start(1500ms);
    ::close(remote);
    ASSERT_FALSE(started.has_value());
    EXPECT_FALSE(started.error().isEmpty());
    screen.stop();
    EXPECT_EQ(delivered, 0);
}

} // namespace
} // namespace orvane::test
