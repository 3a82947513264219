// Clicks and keys on Wayland from the kernel's input events: what each event becomes (buttons at the
// pointer's place, the wheel's directions, keys with their Mac code, text and modifiers), and the device
// path end to end against a uinput device where the kernel lets the test make one.
#include "X11TestSupport.h"
#include "capture/wayland/EvdevInputInterpreter.h"
#include "capture/wayland/EvdevInputMonitor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <libevdev/libevdev-uinput.h>
#include <libevdev/libevdev.h>
#include <linux/input-event-codes.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

const std::optional<Point> at{Point{100, 50}};
const ProjectTime t{1.5};

TEST(EvdevInputInterpreterTest, ButtonsAndTheWheelLandWhereThePointerIs) {
    EvdevInputInterpreter in;
    EXPECT_EQ(in.interpret(EV_KEY, BTN_LEFT, 1, t, at), (InputEvent{InputEvent::LeftMouseDown{t, 100, 50}}));
    EXPECT_EQ(in.interpret(EV_KEY, BTN_LEFT, 0, t, at), (InputEvent{InputEvent::LeftMouseUp{t, 100, 50}}));
    EXPECT_EQ(in.interpret(EV_KEY, BTN_RIGHT, 1, t, at),
              (InputEvent{InputEvent::RightMouseDown{t, 100, 50}}));
    EXPECT_EQ(in.interpret(EV_KEY, BTN_RIGHT, 0, t, at), (InputEvent{InputEvent::RightMouseUp{t, 100, 50}}));
    EXPECT_EQ(in.interpret(EV_KEY, BTN_MIDDLE, 1, t, at),
              (InputEvent{InputEvent::OtherMouseDown{t, 100, 50, 2}}));
    EXPECT_EQ(in.interpret(EV_KEY, BTN_SIDE, 1, t, at),
              (InputEvent{InputEvent::OtherMouseDown{t, 100, 50, 3}}));
    EXPECT_EQ(in.interpret(EV_KEY, BTN_EXTRA, 1, t, at),
              (InputEvent{InputEvent::OtherMouseDown{t, 100, 50, 4}}));
    EXPECT_FALSE(in.interpret(EV_KEY, BTN_MIDDLE, 0, t, at)) << "other buttons' releases are not recorded";
    EXPECT_TRUE(in.interpret(EV_KEY, BTN_LEFT, 1, t, at)->isClick());

    // Up and left are positive, as the event files have them; evdev's horizontal wheel is positive right.
    EXPECT_EQ(in.interpret(EV_REL, REL_WHEEL, 1, t, at), (InputEvent{InputEvent::Scroll{t, 100, 50, 0, 1}}));
    EXPECT_EQ(in.interpret(EV_REL, REL_WHEEL, -2, t, at),
              (InputEvent{InputEvent::Scroll{t, 100, 50, 0, -2}}));
    EXPECT_EQ(in.interpret(EV_REL, REL_HWHEEL, 1, t, at),
              (InputEvent{InputEvent::Scroll{t, 100, 50, -1, 0}}));
    EXPECT_FALSE(in.interpret(EV_REL, REL_X, 5, t, at)) << "motion comes from the screen stream";
    EXPECT_FALSE(in.interpret(EV_SYN, SYN_REPORT, 0, t, at));

    // Before the stream has shown the pointer there is no place to put a click.
    EXPECT_FALSE(in.interpret(EV_KEY, BTN_LEFT, 1, t, std::nullopt));
    EXPECT_FALSE(in.interpret(EV_REL, REL_WHEEL, 1, t, std::nullopt));
}

TEST(EvdevInputInterpreterTest, KeysCarryTheirCodeTextAndTheModifiersHeld) {
    qputenv("XKB_DEFAULT_LAYOUT", "us");
    EvdevInputInterpreter in;
    // A is 0 and Return 36 in the Mac numbering; keys read without Shift.
    EXPECT_EQ(in.interpret(EV_KEY, KEY_A, 1, t, at),
              (InputEvent{InputEvent::KeyDown{t, 0, QStringLiteral("a"), 0}}));
    EXPECT_FALSE(in.interpret(EV_KEY, KEY_A, 2, t, at)) << "a held key's repeats are not presses";
    EXPECT_EQ(in.interpret(EV_KEY, KEY_A, 0, t, at), (InputEvent{InputEvent::KeyUp{t, 0}}));
    const auto enter = in.interpret(EV_KEY, KEY_ENTER, 1, t, std::nullopt);
    ASSERT_TRUE(enter) << "keys need no pointer";
    EXPECT_EQ(std::get<InputEvent::KeyDown>(enter->value).keyCode, 36);
    EXPECT_TRUE(std::get<InputEvent::KeyDown>(enter->value).characters.isEmpty())
        << "control keys have no text";

    // Modifier keys make no events; both sides count, and letting go of one keeps the other's bit.
    EXPECT_FALSE(in.interpret(EV_KEY, KEY_LEFTCTRL, 1, t, at));
    EXPECT_FALSE(in.interpret(EV_KEY, KEY_RIGHTCTRL, 1, t, at));
    EXPECT_FALSE(in.interpret(EV_KEY, KEY_LEFTSHIFT, 1, t, at));
    EXPECT_FALSE(in.interpret(EV_KEY, KEY_LEFTCTRL, 0, t, at));
    EXPECT_EQ(in.modifiers(), InputEvent::control | InputEvent::shift);
    const auto z = in.interpret(EV_KEY, KEY_Z, 1, t, at);
    ASSERT_TRUE(z);
    EXPECT_EQ(*z, (InputEvent{InputEvent::KeyDown{t, 6, QStringLiteral("z"),
                                                  InputEvent::control | InputEvent::shift}}));
    in.interpret(EV_KEY, KEY_RIGHTCTRL, 0, t, at);
    in.interpret(EV_KEY, KEY_LEFTSHIFT, 0, t, at);
    in.interpret(EV_KEY, KEY_LEFTMETA, 1, t, at);
    in.interpret(EV_KEY, KEY_RIGHTALT, 1, t, at);
    EXPECT_EQ(in.modifiers(), InputEvent::command | InputEvent::option);
    EXPECT_FALSE(in.interpret(EV_KEY, KEY_CAPSLOCK, 1, t, at)) << "Caps Lock makes no key event";
}

// Without readable devices the recording goes on without clicks, and the reason tells the user what to do.
TEST(EvdevInputMonitorTest, SaysWhyWhenNoDeviceCanBeRead) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    EvdevInputMonitor none(dir.path(), [] { return at; });
    EXPECT_FALSE(none.start());
    EXPECT_TRUE(none.unavailableReason().contains(QStringLiteral("no mouse or keyboard was found")))
        << none.unavailableReason().toStdString();

    // A node that is not an input device is passed over, not taken for one.
    QFile fake(QDir(dir.path()).filePath(QStringLiteral("event0")));
    ASSERT_TRUE(fake.open(QIODevice::WriteOnly));
    fake.write("not a device");
    fake.close();
    EvdevInputMonitor notADevice(dir.path(), [] { return at; });
    EXPECT_FALSE(notADevice.start());
    EXPECT_TRUE(notADevice.stop().events.empty());

    EXPECT_TRUE(EvdevInputMonitor::permissionHelp(QStringLiteral("/dev/input"))
                    .contains(QStringLiteral("\"input\" group")));
}

struct UinputDeleter {
    void operator()(libevdev_uinput* device) const { libevdev_uinput_destroy(device); }
};
struct EvdevDeleter {
    void operator()(libevdev* device) const { libevdev_free(device); }
};

// A mouse and keyboard of the test's own through uinput: presses reach the track in order, at the
// pointer's place and with times on the recording's clock.
TEST(EvdevInputMonitorTest, ReadsAUinputDevice) {
    const int uinput = ::open("/dev/uinput", O_RDWR | O_CLOEXEC);
    if (uinput < 0)
        GTEST_SKIP() << "/dev/uinput cannot be opened here (" << std::strerror(errno)
                     << "): the kernel's uinput module is missing or the device is not writable, so no input "
                        "device can be made";
    std::unique_ptr<libevdev, EvdevDeleter> model(libevdev_new());
    libevdev_set_name(model.get(), "orvane test pointer");
    libevdev_enable_event_type(model.get(), EV_KEY);
    for (int code : {BTN_LEFT, BTN_RIGHT, KEY_A, KEY_LEFTCTRL})
        libevdev_enable_event_code(model.get(), EV_KEY, code, nullptr);
    libevdev_enable_event_type(model.get(), EV_REL);
    for (int code : {REL_X, REL_Y, REL_WHEEL})
        libevdev_enable_event_code(model.get(), EV_REL, code, nullptr);
    libevdev_uinput* raw = nullptr;
    const int created = libevdev_uinput_create_from_device(model.get(), uinput, &raw);
    ::close(uinput);
    ASSERT_EQ(created, 0) << std::strerror(-created);
    std::unique_ptr<libevdev_uinput, UinputDeleter> device(raw);
    const QString node = QString::fromUtf8(libevdev_uinput_get_devnode(raw));
    QThread::msleep(300); // udev makes the node

    EvdevInputMonitor monitor(QFileInfo(node).absolutePath(), [] { return at; });
    ASSERT_TRUE(monitor.start()) << monitor.unavailableReason().toStdString();
    EXPECT_TRUE(monitor.deviceNames().contains(QStringLiteral("orvane test pointer")));
    const auto send = [&](int type, int code, int value) {
        libevdev_uinput_write_event(raw, type, code, value);
        libevdev_uinput_write_event(raw, EV_SYN, SYN_REPORT, 0);
    };
    send(EV_KEY, BTN_LEFT, 1);
    send(EV_KEY, BTN_LEFT, 0);
    send(EV_REL, REL_WHEEL, 1);
    send(EV_KEY, KEY_LEFTCTRL, 1);
    send(EV_KEY, KEY_A, 1);
    ASSERT_TRUE(processEventsUntil([&] { return monitor.eventCount() >= 4; }, 3s));
    const EventTrack track = monitor.stop();
    std::vector<InputEvent> ours;
    for (const InputEvent& e : track.events)
        ours.push_back(e); // other devices on the machine may have spoken too; ours come in order
    ASSERT_GE(ours.size(), 4u);
    const auto down = std::find_if(ours.begin(), ours.end(), [](const InputEvent& e) { return e.isClick(); });
    ASSERT_NE(down, ours.end());
    EXPECT_EQ(down->location(), at);
    EXPECT_GE(down->time().seconds, 0.0);
    EXPECT_LT(down->time().seconds, 2.0);
    const auto key = std::find_if(ours.begin(), ours.end(), [](const InputEvent& e) {
        return std::holds_alternative<InputEvent::KeyDown>(e.value);
    });
    ASSERT_NE(key, ours.end());
    EXPECT_EQ(std::get<InputEvent::KeyDown>(key->value).modifiers, InputEvent::control);
}

} // namespace
} // namespace orvane::test
