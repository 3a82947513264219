#include "capture/x11/MouseTracker.h"

#include "X11TestSupport.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <thread>

using namespace orvane;
using namespace std::chrono_literals;
using E = InputEvent;

namespace {

class MouseTrackerTest : public test::XServerTest<1280, 800> {
protected:
    // Moves by (dx, dy), waits until the tracker has the sample, and returns the pointer's position.
    Point moveAndWait(MouseTracker& tracker, int dx, int dy) {
        const std::size_t before = tracker.sampleCount();
        driver->moveBy(dx, dy);
        EXPECT_TRUE(test::processEventsUntil([&] { return tracker.sampleCount() > before; }, 2s));
        return driver->pointer();
    }

    static void expectAscendingTimes(const MouseTracker::Tracks& tracks) {
        for (std::size_t i = 1; i < tracks.cursor.samples.size(); ++i)
            EXPECT_LE(tracks.cursor.samples[i - 1].time, tracks.cursor.samples[i].time) << "sample " << i;
        for (std::size_t i = 1; i < tracks.events.events.size(); ++i)
            EXPECT_LE(tracks.events.events[i - 1].time(), tracks.events.events[i].time()) << "event " << i;
    }
};

TEST_F(MouseTrackerTest, RecordsMotionButtonsWheelAndKeysAsSent) {
    driver->warp(640, 400);
    // A display at twice the density: every position doubles.
    MouseTracker tracker(Rect{0, 0, 1280, 800}, Size{2560, 1600}, true, server->displayName());
    ASSERT_TRUE(tracker.start());
    ASSERT_TRUE(tracker.isRunning());

    const std::vector<std::pair<int, int>> moves = {{10, 0}, {0, 7}, {-25, -3}, {1, 1}, {300, 200}};
    std::vector<Point> expected;
    Point at{640, 400};
    for (auto [dx, dy] : moves) {
        const Point reached = moveAndWait(tracker, dx, dy);
        at = at + Point{double(dx), double(dy)};
        // XTest motion is not accelerated: the pointer lands where the move says.
        EXPECT_EQ(reached, at);
        expected.push_back(reached);
    }
    // A drag: motion while the button is held still makes samples.
    driver->press(1);
    ASSERT_TRUE(test::processEventsUntil([&] { return tracker.eventCount() == 1; }, 2s));
    const Point dragged = moveAndWait(tracker, 5, 5);
    driver->release(1);
    expected.push_back(dragged);

    driver->click(2);
    driver->click(3);
    for (int wheel : {4, 5, 6, 7})
        driver->click(wheel);
    driver->tapKey(XK_a, {XK_Control_L});
    driver->tapKey(XK_b, {XK_Shift_L});
    driver->tapKey(XK_z, {XK_Super_L, XK_Alt_L});
    driver->tapKey(XK_Return);
    driver->tapKey(XK_F5);

    const MouseTracker::Tracks tracks = tracker.stop();
    EXPECT_FALSE(tracker.isRunning());

    ASSERT_EQ(tracks.cursor.samples.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const CursorSample& s = tracks.cursor.samples[i];
        EXPECT_EQ(s.x, 2 * expected[i].x) << "sample " << i;
        EXPECT_EQ(s.y, 2 * expected[i].y) << "sample " << i;
        EXPECT_EQ(s.pressure, 0);
    }

    const double x = 2 * dragged.x;
    const double y = 2 * dragged.y;
    auto t = [&](std::size_t i) {
        return tracks.events.events.at(i).time();
    };
    // Modifier keys make no events of their own; the middle button's release makes none either.
    const std::vector<InputEvent> want = {
        {E::LeftMouseDown{t(0), 2 * expected[4].x, 2 * expected[4].y}},
        {E::LeftMouseUp{t(1), x, y}},
        {E::OtherMouseDown{t(2), x, y, 2}},
        {E::RightMouseDown{t(3), x, y}},
        {E::RightMouseUp{t(4), x, y}},
        {E::Scroll{t(5), x, y, 0, 1}},
        {E::Scroll{t(6), x, y, 0, -1}},
        {E::Scroll{t(7), x, y, 1, 0}},
        {E::Scroll{t(8), x, y, -1, 0}},
        {E::KeyDown{t(9), 0, QStringLiteral("a"), E::control}},
        {E::KeyUp{t(10), 0}},
        {E::KeyDown{t(11), 11, QStringLiteral("b"), E::shift}},
        {E::KeyUp{t(12), 11}},
        {E::KeyDown{t(13), 6, QStringLiteral("z"), E::command | E::option}},
        {E::KeyUp{t(14), 6}},
        {E::KeyDown{t(15), 36, QStringLiteral("\r"), 0}},
        {E::KeyUp{t(16), 36}},
        {E::KeyDown{t(17), 0x60, QString(), 0}},
        {E::KeyUp{t(18), 0x60}},
    };
    ASSERT_EQ(tracks.events.events.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i)
        EXPECT_EQ(tracks.events.events[i], want[i]) << "event " << i;
    expectAscendingTimes(tracks);
    EXPECT_GE(tracks.cursor.samples.front().time.seconds, 0);
}

TEST_F(MouseTrackerTest, PositionsOutsideASmallerSourceStayUnclamped) {
    // The captured region is a 640x400 area at (200, 150), recorded at 1280x800.
    MouseTracker tracker(Rect{200, 150, 640, 400}, Size{1280, 800}, false, server->displayName());
    driver->warp(100, 100);
    ASSERT_TRUE(tracker.start());
    moveAndWait(tracker, 1, 1);
    driver->click(1);
    // A click is placed where the pointer is when the server answers, so let it answer before moving on.
    ASSERT_TRUE(test::processEventsUntil([&] { return tracker.eventCount() == 2; }, 2s));
    driver->warp(1000, 700);
    moveAndWait(tracker, 1, 1);
    driver->click(3);
    // Without keystrokes in the mask keys leave no trace.
    driver->tapKey(XK_q);
    const auto tracks = tracker.stop();

    ASSERT_EQ(tracks.cursor.samples.size(), 2u);
    EXPECT_EQ(tracks.cursor.samples[0].x, 2 * (101 - 200));
    EXPECT_EQ(tracks.cursor.samples[0].y, 2 * (101 - 150));
    EXPECT_EQ(tracks.cursor.samples[1].x, 2 * (1001 - 200));
    EXPECT_EQ(tracks.cursor.samples[1].y, 2 * (701 - 150));
    EXPECT_GT(tracks.cursor.samples[1].x, 1280);
    EXPECT_GT(tracks.cursor.samples[1].y, 800);

    ASSERT_EQ(tracks.events.events.size(), 4u);
    EXPECT_EQ(tracks.events.events[0].location(), (Point{-198, -98}));
    EXPECT_EQ(tracks.events.events[1].location(), (Point{-198, -98}));
    EXPECT_EQ(tracks.events.events[2].location(), (Point{1602, 1102}));
    EXPECT_TRUE(std::holds_alternative<E::RightMouseUp>(tracks.events.events[3].value));
}

TEST_F(MouseTrackerTest, StillPointerGivesAnEmptyTrackAndRestartEmptiesIt) {
    MouseTracker tracker(Rect{0, 0, 1280, 800}, Size{1280, 800}, true, server->displayName());
    ASSERT_TRUE(tracker.start());
    moveAndWait(tracker, 3, 3);
    driver->click(1);
    EXPECT_EQ(tracker.stop().cursor.samples.size(), 1u);

    // Events between runs are not heard, and a new run starts from nothing.
    driver->moveBy(1, 1);
    ASSERT_TRUE(tracker.start());
    driver->warp(20, 20);
    const auto tracks = tracker.stop();
    EXPECT_TRUE(tracks.cursor.samples.empty());
    EXPECT_TRUE(tracks.events.events.empty());
}

TEST_F(MouseTrackerTest, ABurstOfMotionStaysOnThePointersPath) {
    driver->warp(100, 100);
    MouseTracker tracker(Rect{0, 0, 1280, 800}, Size{1280, 800}, false, server->displayName());
    ASSERT_TRUE(tracker.start());
    moveAndWait(tracker, 1, 0);
    // Sent 2 ms apart, these are mostly read in batches of several that share one pointer answer:
    // every sample must still be there, spread along the way the pointer went.
    for (int i = 0; i < 6; ++i) {
        driver->moveBy(10, 5);
        std::this_thread::sleep_for(2ms);
    }
    driver->click(3);
    ASSERT_TRUE(test::processEventsUntil([&] { return tracker.sampleCount() == 7; }, 2s));
    const auto tracks = tracker.stop();
    const auto& samples = tracks.cursor.samples;
    ASSERT_EQ(samples.size(), 7u);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(samples[i].x, 101 + 10 * double(i)) << "sample " << i;
        EXPECT_EQ(samples[i].y, 100 + 5 * double(i)) << "sample " << i;
    }
    ASSERT_EQ(tracks.events.events.size(), 2u);
    EXPECT_EQ(tracks.events.events[0].location(), (Point{161, 130}));
    expectAscendingTimes(tracks);
}

TEST(MouseTrackerWithoutServer, StartFailsButKeepsItsStartTime) {
    MouseTracker tracker(Rect{0, 0, 100, 100}, Size{100, 100}, true, QByteArrayLiteral(":65000"));
    EXPECT_FALSE(tracker.start());
    EXPECT_FALSE(tracker.isRunning());
    const auto tracks = tracker.stop();
    EXPECT_TRUE(tracks.cursor.samples.empty());
    EXPECT_TRUE(tracks.events.events.empty());
}

} // namespace
