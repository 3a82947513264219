// orvane-demo-window: opens a window with moving content on an X display and keeps it there for a while,
// so that there is something to record.
//
//   orvane-demo-window [--display :N] [--geometry WxH+X+Y] [--title TEXT] [--class NAME] [--seconds S]
//
// Without --seconds it stays until it is interrupted.
#include "capture/x11/DemoWindow.h"

#include <QRegularExpression>
#include <QString>

#include <csignal>
#include <cstdio>
#include <thread>

using namespace orvane;

namespace {

volatile std::sig_atomic_t interrupted = 0;

int usage() {
    std::fprintf(stderr, "usage: orvane-demo-window [--display :N] [--geometry WxH+X+Y] [--title TEXT] "
                         "[--class NAME] [--seconds S]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    DemoWindow::Options options;
    double seconds = -1;
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
    while (!interrupted && (seconds < 0 || std::chrono::steady_clock::now() < end))
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return 0;
}
