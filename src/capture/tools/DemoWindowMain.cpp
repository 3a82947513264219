// orvane-demo-window: opens a window with moving content on an X display and keeps it there for a while,
// so that there is something to record.
//
//   orvane-demo-window [--display :N] [--geometry WxH+X+Y] [--title TEXT] [--class NAME] [--seconds S]
//                      [--tour DELAY]
//
// Without --seconds it stays until it is interrupted. With --tour the pointer, after DELAY seconds, glides
// over the window and clicks a few times, as a presenter's hand would: something for auto-zoom to follow.
#include "capture/x11/DemoWindow.h"

#include <QRegularExpression>
#include <QString>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>

using namespace orvane;

namespace {

volatile std::sig_atomic_t interrupted = 0;

int usage() {
    std::fprintf(stderr, "usage: orvane-demo-window [--display :N] [--geometry WxH+X+Y] [--title TEXT] "
                         "[--class NAME] [--seconds S] [--tour DELAY]\n");
    return 2;
}

struct DisplayCloser {
    void operator()(Display* display) const { XCloseDisplay(display); }
};

// Sleeps in small steps so that Ctrl-C ends a tour at once; false once interrupted.
bool pause(double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!interrupted && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return !interrupted;
}

// The pointer's part, through XTest so that the server treats it as a device's input (raw events, which is
// what the recorder listens to) rather than a warp. Points are fractions of the window.
void tour(const DemoWindow::Options& options, double delay) {
    std::unique_ptr<Display, DisplayCloser> display(
        XOpenDisplay(options.displayName.isEmpty() ? nullptr : options.displayName.constData()));
    if (!display)
        return;
    struct Stop {
        double x, y;
        int clicks;
    };
    static constexpr Stop stops[] = {
        {0.15, 0.2, 0}, {0.35, 0.42, 1}, {0.78, 0.3, 2}, {0.6, 0.82, 1}, {0.3, 0.7, 0}};
    const auto at = [&](double fx, double fy) {
        return std::pair<int, int>(options.x + int(fx * options.width), options.y + int(fy * options.height));
    };
    const auto move = [&](int x, int y) {
        XTestFakeMotionEvent(display.get(), -1, x, y, CurrentTime);
        XFlush(display.get());
    };
    auto [x, y] = at(stops[0].x, stops[0].y);
    move(x, y);
    if (!pause(delay))
        return;
    for (const Stop& stop : stops) {
        const auto [tx, ty] = at(stop.x, stop.y);
        constexpr int steps = 45;
        for (int i = 1; i <= steps; ++i) {
            const double t = double(i) / steps;
            const double eased = t * t * (3 - 2 * t);
            move(x + int(std::lround((tx - x) * eased)), y + int(std::lround((ty - y) * eased)));
            if (!pause(0.016))
                return;
        }
        x = tx;
        y = ty;
        for (int c = 0; c < stop.clicks; ++c) {
            XTestFakeButtonEvent(display.get(), 1, True, CurrentTime);
            XTestFakeButtonEvent(display.get(), 1, False, 30);
            XFlush(display.get());
            if (!pause(0.25))
                return;
        }
        if (!pause(0.7))
            return;
    }
}

} // namespace

int main(int argc, char** argv) {
    DemoWindow::Options options;
    double seconds = -1;
    std::optional<double> tourDelay;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (i + 1 >= argc)
            return usage();
        const QString value = QString::fromLocal8Bit(argv[++i]);
        if (arg == QLatin1String("--display")) {
            options.displayName = value.toLocal8Bit();
        } else if (arg == QLatin1String("--geometry")) {
            static const QRegularExpression geometry(
                QStringLiteral("^(\\d+)x(\\d+)(?:\\+(\\d+)\\+(\\d+))?$"));
            const auto match = geometry.match(value);
            if (!match.hasMatch())
                return usage();
            options.width = match.captured(1).toInt();
            options.height = match.captured(2).toInt();
            options.x = match.captured(3).toInt();
            options.y = match.captured(4).toInt();
        } else if (arg == QLatin1String("--title")) {
            options.title = value;
        } else if (arg == QLatin1String("--class")) {
            options.wmClass = value.toUtf8();
        } else if (arg == QLatin1String("--seconds")) {
            seconds = value.toDouble();
        } else if (arg == QLatin1String("--tour")) {
            tourDelay = value.toDouble();
        } else {
            return usage();
        }
    }
    auto window = DemoWindow::open(options);
    if (!window) {
        std::fprintf(stderr, "orvane-demo-window: %s\n", qPrintable(window.error()));
        return 1;
    }
    std::signal(SIGINT, [](int) { interrupted = 1; });
    std::signal(SIGTERM, [](int) { interrupted = 1; });
    std::printf("window %u on %s\n", (*window)->windowID(),
                options.displayName.isEmpty() ? "$DISPLAY" : options.displayName.constData());
    std::fflush(stdout);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    if (tourDelay)
        tour(options, *tourDelay);
    if (tourDelay)
        tour(options, *tourDelay);
    while (!interrupted && (seconds < 0 || std::chrono::steady_clock::now() < end))
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return 0;
}
