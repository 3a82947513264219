#pragma once

// A private X server and a remote control for it: tests start Xvfb on a free display (so parallel test
// processes never meet) and send it input through XTest, as a user's devices would.

#include "project/Geometry.h"

#include <QByteArray>

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct _XDisplay;

namespace orvane::test {

class XvfbServer {
public:
    // Nothing when Xvfb cannot be started; the reason is in `failure`.
    static std::unique_ptr<XvfbServer> start(int width, int height, QByteArray* failure = nullptr);
    ~XvfbServer();

    const QByteArray& displayName() const { return m_displayName; }

private:
    XvfbServer(pid_t pid, QByteArray displayName)
        : m_pid(pid)
        , m_displayName(std::move(displayName)) {}

    pid_t m_pid;
    QByteArray m_displayName;
};

// Input sent through XTest on a connection of its own. Every call waits until the server has handled it.
class XTestDriver {
public:
    explicit XTestDriver(const QByteArray& displayName);
    bool isOpen() const { return m_display != nullptr; }

    // An absolute warp: no raw motion, so collectors that listen to devices see nothing.
    void warp(int x, int y);
    // Relative motion as a mouse makes it.
    void moveBy(int dx, int dy);
    void press(int button);
    void release(int button);
    void click(int button);
    // Presses the modifiers in order, taps the key, releases the modifiers in reverse.
    void tapKey(unsigned long keysym, const std::vector<unsigned long>& modifierKeysyms = {});
    Point pointer();

    // A mapped top-level window, optionally claiming a process id through _NET_WM_PID.
    unsigned long createWindow(std::optional<unsigned long> pid);
    void focus(unsigned long window);
    // Sets or removes (0) the root's _NET_ACTIVE_WINDOW, as a window manager would.
    void setActiveWindow(unsigned long window);

private:
    // Xlib rather than XCB: XTest and keysym lookup come with it.
    struct DisplayCloser {
        void operator()(_XDisplay* display) const;
    };

    void key(unsigned long keysym, bool down);
    void sync();
    _XDisplay* display() const { return m_display.get(); }

    std::unique_ptr<_XDisplay, DisplayCloser> m_display;
};

// Runs the main thread's event loop until `done` holds or the time is up.
bool processEventsUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);
void processEventsFor(std::chrono::milliseconds duration);

// A private X server of the given size for one suite and an XTest driver for each test; the tests skip
// when Xvfb cannot be started.
template <int Width, int Height>
class XServerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        QByteArray failure;
        server = XvfbServer::start(Width, Height, &failure).release();
        if (!server)
            skipReason = failure;
    }
    static void TearDownTestSuite() {
        delete server;
        server = nullptr;
    }
    void SetUp() override {
        if (!server)
            GTEST_SKIP() << "no X server for the collector tests: " << skipReason.constData();
        driver = std::make_unique<XTestDriver>(server->displayName());
        ASSERT_TRUE(driver->isOpen());
    }

    static inline XvfbServer* server = nullptr;
    static inline QByteArray skipReason;
    std::unique_ptr<XTestDriver> driver;
};

} // namespace orvane::test
