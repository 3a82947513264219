#include "X11TestSupport.h"
#include "capture/x11/CursorTracker.h"
#include "capture/x11/EventMonitor.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace orvane;
using namespace std::chrono_literals;
using E = InputEvent;

namespace {

using FallbackCollectorsTest = test::XServerTest<1024, 768>;

TEST_F(FallbackCollectorsTest, CursorTrackerSamplesAt120HzMovingOrNot) {
    driver->warp(300, 200);
    // Half the display, recorded at its own size: positions are offset, not scaled.
    CursorTracker tracker(Rect{100, 0, 512, 768}, Size{512, 768}, 120, server->displayName());
    tracker.start();
    test::processEventsFor(300ms);
    // An absolute warp is invisible to the tap but not to polling.
    driver->warp(700, 100);
    test::processEventsFor(200ms);
    const CursorTrack track = tracker.stop();
    EXPECT_FALSE(tracker.isRunning());

    // 0.5 s at 120 Hz is 60 ticks; a shared machine may drop a few, never add.
    EXPECT_GE(track.samples.size(), 40u);
    EXPECT_LE(track.samples.size(), 62u);
    std::vector<double> gaps;
    for (std::size_t i = 1; i < track.samples.size(); ++i) {
        EXPECT_LT(track.samples[i - 1].time, track.samples[i].time);
        gaps.push_back((track.samples[i].time - track.samples[i - 1].time).seconds);
    }
    std::nth_element(gaps.begin(), gaps.begin() + gaps.size() / 2, gaps.end());
    EXPECT_NEAR(gaps[gaps.size() / 2], 1 / 120.0, 0.002);
    EXPECT_NEAR(track.samples.front().time.seconds, 1 / 120.0, 0.05);
    const CursorSample first{track.samples.front().time, 200, 200, 0};
    const CursorSample last{track.samples.back().time, 600, 100, 0};
    EXPECT_EQ(track.samples.front(), first);
    EXPECT_EQ(track.samples.back(), last);
    for (const auto& s : track.samples)
        EXPECT_TRUE((s.x == 200 && s.y == 200) || (s.x == 600 && s.y == 100)) << s.x << ", " << s.y;
}

TEST_F(FallbackCollectorsTest, EventMonitorRecordsButtonsWheelAndKeysWithoutXInput) {
    driver->warp(50, 60);
    EventMonitor monitor(Rect{0, 0, 1024, 768}, Size{2048, 1536}, true, server->displayName());
    monitor.start();
    ASSERT_EQ(monitor.monitorCount(), 1u);
    driver->click(1);
    driver->warp(1000, 700);
    driver->click(2);
    driver->click(3);
    driver->click(9); // forward
    driver->click(5);
    driver->click(6);
    driver->tapKey(XK_c, {XK_Control_L, XK_Shift_L});
    driver->tapKey(XK_Left, {XK_Alt_L});
    driver->tapKey(XK_7, {XK_Super_L});
    const EventTrack track = monitor.stop();
    EXPECT_FALSE(monitor.isRunning());

    auto t = [&](std::size_t i) {
        return track.events.at(i).time();
    };
    const std::vector<InputEvent> want = {
        {E::LeftMouseDown{t(0), 100, 120}},
        {E::LeftMouseUp{t(1), 100, 120}},
        {E::OtherMouseDown{t(2), 2000, 1400, 2}},
        {E::RightMouseDown{t(3), 2000, 1400}},
        {E::RightMouseUp{t(4), 2000, 1400}},
        {E::OtherMouseDown{t(5), 2000, 1400, 4}},
        {E::Scroll{t(6), 2000, 1400, 0, -1}},
        {E::Scroll{t(7), 2000, 1400, 1, 0}},
        {E::KeyDown{t(8), 8, QStringLiteral("c"), E::control | E::shift}},
        {E::KeyUp{t(9), 8}},
        {E::KeyDown{t(10), 123, QString(), E::option}},
        {E::KeyUp{t(11), 123}},
        {E::KeyDown{t(12), 26, QStringLiteral("7"), E::command}},
        {E::KeyUp{t(13), 26}},
    };
    ASSERT_EQ(track.events.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i)
        EXPECT_EQ(track.events[i], want[i]) << "event " << i;
    for (std::size_t i = 1; i < track.events.size(); ++i)
        EXPECT_LE(t(i - 1), t(i));

    // A second run starts empty, and without keystrokes only buttons count.
    EventMonitor buttonsOnly(Rect{0, 0, 1024, 768}, Size{1024, 768}, false, server->displayName());
    buttonsOnly.start();
    driver->tapKey(XK_x);
    driver->click(3);
    const EventTrack buttons = buttonsOnly.stop();
    ASSERT_EQ(buttons.events.size(), 2u);
    EXPECT_EQ(buttons.events[0], (InputEvent{E::RightMouseDown{buttons.events[0].time(), 1000, 700}}));
}

TEST(FallbackCollectorsWithoutServer, RefusedMonitorsCollectNothing) {
    EventMonitor monitor(Rect{0, 0, 10, 10}, Size{10, 10}, true, QByteArrayLiteral(":65001"));
    monitor.start();
    EXPECT_EQ(monitor.monitorCount(), 0u);
    EXPECT_TRUE(monitor.stop().events.empty());
    CursorTracker tracker(Rect{0, 0, 10, 10}, Size{10, 10}, 120, QByteArrayLiteral(":65001"));
    tracker.start();
    test::processEventsFor(30ms);
    EXPECT_TRUE(tracker.stop().samples.empty());
}

} // namespace
