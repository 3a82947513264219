#pragma once

#include "capture/x11/XcbHandles.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace orvane {

// A top-level window with something to look at: a coloured field, a bar that sweeps across it and a row of
// tiles that change colour every frame, drawn off-screen and copied in whole so that a capture never sees
// half a frame. It carries the names a window manager would read (title, WM_CLASS, _NET_WM_PID, a window
// type, the skip-task-bar state), so it also stands in for other programs' windows. Used by the demo, the
// capture tests and the benchmark.
//
// Drawing runs on a thread of its own ("demo-window"); fill() may be called from any one thread.
class DemoWindow {
public:
    struct Options {
        QByteArray displayName; // empty: $DISPLAY
        int x = 0;
        int y = 0;
        int width = 640;
        int height = 360;
        QString title = QStringLiteral("Orvane demo");
        QByteArray wmClass = "orvane-demo"; // instance and class alike; empty leaves WM_CLASS unset
        std::optional<std::uint32_t> processID;
        // "_NET_WM_WINDOW_TYPE_DOCK" and the like; empty sets no type.
        QByteArray windowType;
        bool skipTaskbar = false;
        std::uint32_t background = 0x1f2a44; // 0xRRGGBB
        int framesPerSecond = 30;            // 0 draws once and never moves
    };

    static tl::expected<std::unique_ptr<DemoWindow>, QString> open(Options options);
    ~DemoWindow();
    DemoWindow(const DemoWindow&) = delete;
    DemoWindow& operator=(const DemoWindow&) = delete;

    std::uint32_t windowID() const { return m_window; }
    const Options& options() const { return m_options; }

    // Stops the animation and paints the whole window in one colour; returns the monotonic time at which
    // the server had drawn it.
    std::chrono::steady_clock::time_point fill(std::uint32_t rgb);
    // Goes back to the animation.
    void resume();
    // Raises the window above its siblings.
    void raise();

private:
    DemoWindow() = default;
    void animate();
    void drawFrame(std::uint64_t frame);
    void sync();

    Options m_options;
    xcb::ConnectionPtr m_connection;
    std::uint32_t m_window = 0;
    std::uint32_t m_pixmap = 0;
    std::uint32_t m_gc = 0;
    std::mutex m_drawLock; // guards drawing on the connection between the animation and fill()
    std::atomic<bool> m_paused{false};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace orvane
