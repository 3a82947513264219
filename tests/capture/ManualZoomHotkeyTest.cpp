#include "capture/x11/ManualZoomHotkey.h"

#include "X11TestSupport.h"
#include "common/LogCapture.h"

#include <QRegularExpression>
#include <QStringList>

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

class ManualZoomHotkeyTest : public test::XServerTest<1280, 720> {
protected:
    QStringList captured() const { return log.lines(); }
    test::LogCapture log;
};

TEST_F(ManualZoomHotkeyTest, TheChordMarksThePointerOnlyWhileAnotherProgramHasTheFocus) {
    const unsigned long other = driver->createWindow(1); // some other process
    const unsigned long own = driver->createWindow(::getpid());
    const unsigned long unnamed = driver->createWindow(std::nullopt);
    driver->setActiveWindow(0);

    ManualZoomHotkey hotkey(Rect{0, 0, 1280, 720}, Size{2560, 1440}, server->displayName());
    hotkey.start();
    ASSERT_TRUE(hotkey.isRunning());

    // The focus and the pointer are read when the press is handled, so each chord is waited for.
    std::size_t chords = 0;
    auto chord = [&](std::vector<unsigned long> modifiers) {
        driver->tapKey(XK_z, modifiers);
        ++chords;
        ASSERT_TRUE(test::processEventsUntil([&] { return hotkey.chordsHeard() == chords; }, 2s));
    };
    driver->focus(other);
    driver->warp(100, 50);
    chord({XK_Super_L, XK_Shift_L});
    driver->warp(640, 360);
    chord({XK_Shift_L, XK_Super_L});
    // Extra modifiers are allowed; missing ones are not.
    chord({XK_Control_L, XK_Super_L, XK_Shift_L});
    driver->tapKey(XK_z, {XK_Shift_L});
    driver->tapKey(XK_z, {XK_Super_L});
    driver->tapKey(XK_x, {XK_Super_L, XK_Shift_L});
    EXPECT_EQ(hotkey.events().size(), 3u);

    // Typed into this program's own window the chord belongs to that window.
    driver->focus(own);
    chord({XK_Super_L, XK_Shift_L});
    // A window manager's word on the active window counts over the keyboard focus.
    driver->focus(other);
    driver->setActiveWindow(own);
    chord({XK_Super_L, XK_Shift_L});
    EXPECT_EQ(hotkey.events().size(), 3u);
    // A window nobody claims is not this program.
    driver->setActiveWindow(0);
    driver->focus(unnamed);
    driver->warp(1279, 719);
    chord({XK_Super_L, XK_Shift_L});

    const std::vector<ManualZoomEvent> marks = hotkey.stop();
    EXPECT_FALSE(hotkey.isRunning());
    ASSERT_EQ(marks.size(), 4u);
    EXPECT_EQ(marks[0].cursorX, 200);
    EXPECT_EQ(marks[0].cursorY, 100);
    EXPECT_EQ(marks[1].cursorX, 1280);
    EXPECT_EQ(marks[1].cursorY, 720);
    EXPECT_EQ(marks[3].cursorX, 2558);
    EXPECT_EQ(marks[3].cursorY, 1438);
    for (std::size_t i = 1; i < marks.size(); ++i)
        EXPECT_LT(marks[i - 1].time, marks[i].time);

    const QRegularExpression line(QStringLiteral(
        R"(^\[ManualZoomHotkey\] dropped zoom keyframe at ProjectTime\(seconds: [0-9.e-]+\) \(200\.0, 100\.0\)$)"));
    ASSERT_FALSE(captured().isEmpty());
    EXPECT_TRUE(line.match(captured().front()).hasMatch()) << captured().front().toStdString();
    EXPECT_EQ(captured().filter(QStringLiteral("dropped zoom keyframe")).size(), 4);
}

} // namespace
