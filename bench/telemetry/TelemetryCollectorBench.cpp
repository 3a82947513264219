// What collecting telemetry costs the recording process: user+sys CPU time of this process while a
// separate process drives a private Xvfb at a steady 1,000 input events a second, against the same
// collectors running idle for as long. The driver and the X server are other processes, so only the
// collectors' work is counted. Prints its figures; takes the seconds per phase as an optional argument.
#include "capture/X11TestSupport.h"
#include "capture/x11/CursorTracker.h"
#include "capture/x11/EventMonitor.h"
#include "capture/x11/MouseTracker.h"

#include <QCoreApplication>

#include <X11/keysym.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

extern char** environ;

using namespace orvane;
using namespace std::chrono_literals;

namespace {

constexpr int eventsPerSecond = 1000;

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& t) {
        return double(t.tv_sec) + double(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The driver process: one XTest event per millisecond on an absolute schedule, mostly small relative
// moves, with a click and a key tap in every fifty events.
int generate(const char* display, double seconds) {
    test::XTestDriver driver{QByteArray(display)};
    if (!driver.isOpen())
        return 1;
    timespec next{};
    clock_gettime(CLOCK_MONOTONIC, &next);
    auto waitEvents = [&](int count) {
        next.tv_nsec += long(count) * (1'000'000'000L / eventsPerSecond);
        while (next.tv_nsec >= 1'000'000'000L) {
            next.tv_nsec -= 1'000'000'000L;
            ++next.tv_sec;
        }
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
    };
    const int total = int(seconds * eventsPerSecond);
    for (int sent = 0; sent < total;) {
        for (int i = 0; i < 46 && sent < total; ++i, ++sent) {
            driver.moveBy(i % 2 ? -3 : 3, i % 4 < 2 ? 1 : -1);
            waitEvents(1);
        }
        driver.click(1);
        waitEvents(2);
        driver.tapKey(XK_a);
        waitEvents(2);
        sent += 4;
    }
    return 0;
}

pid_t spawnGenerator(const QByteArray& display, double seconds) {
    const std::string secondsText = std::to_string(seconds);
    char* argv[] = {const_cast<char*>("orvane-telemetry-bench"), const_cast<char*>("--generate"),
                    const_cast<char*>(display.constData()), const_cast<char*>(secondsText.c_str()), nullptr};
    pid_t pid = -1;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, environ) != 0)
        return -1;
    return pid;
}

struct Phase {
    double cpu = 0;
    double wall = 0;
};

Phase idlePhase(double seconds) {
    const double cpu = cpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    test::processEventsFor(std::chrono::milliseconds(long(seconds * 1000)));
    return {cpuSeconds() - cpu,
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()};
}

Phase burstPhase(const QByteArray& display, double seconds) {
    const double cpu = cpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = spawnGenerator(display, seconds);
    if (child < 0) {
        std::fprintf(stderr, "cannot start the input driver\n");
        std::exit(1);
    }
    // The driver keeps its own schedule, so the loop just runs for as long (plus the events still on their
    // way, which are part of the burst's cost) and the driver is reaped afterwards; polling for its exit
    // would add wake-ups of our own to the measurement.
    test::processEventsFor(std::chrono::milliseconds(long(seconds * 1000) + 200));
    waitpid(child, nullptr, 0);
    return {cpuSeconds() - cpu,
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()};
}

void report(const char* name, const Phase& idle, const Phase& burst, std::size_t samples,
            std::size_t events) {
    const double idleShare = idle.cpu / idle.wall;
    const double burstShare = burst.cpu / burst.wall;
    const double sent = eventsPerSecond * (burst.wall - 0.2);
    std::printf("%s\n", name);
    std::printf("  idle baseline : %6.3f %% of one core (%.3f s CPU over %.1f s)\n", 100 * idleShare,
                idle.cpu, idle.wall);
    std::printf("  1,000 events/s: %6.3f %% of one core (%.3f s CPU over %.1f s)\n", 100 * burstShare,
                burst.cpu, burst.wall);
    std::printf(
        "  collecting    : %6.3f %% of one core above idle (goal: under 2 %%), %.2f us per event sent\n",
        100 * (burstShare - idleShare), 1e6 * (burst.cpu - idleShare * burst.wall) / sent);
    std::printf("  recorded      : %zu cursor samples, %zu input events\n", samples, events);
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 4 && std::strcmp(argv[1], "--generate") == 0)
        return generate(argv[2], std::atof(argv[3]));
    QCoreApplication app(argc, argv);
    const double seconds = argc >= 2 ? std::atof(argv[1]) : 10.0;

    QByteArray failure;
    const auto server = test::XvfbServer::start(1920, 1080, &failure);
    if (!server) {
        std::fprintf(stderr, "no X server: %s\n", failure.constData());
        return 1;
    }
    const QByteArray display = server->displayName();
    const Rect frame{0, 0, 1920, 1080};
    std::printf("Telemetry collectors on Xvfb %s, %.0f s per phase\n", display.constData(), seconds);

    {
        MouseTracker tap(frame, Size{1920, 1080}, true, display);
        if (!tap.start()) {
            std::fprintf(stderr, "the XInput 2 tap did not start\n");
            return 1;
        }
        const Phase idle = idlePhase(seconds);
        const Phase burst = burstPhase(display, seconds);
        const auto tracks = tap.stop();
        report("MouseTracker (XInput 2 raw events, pointer queried per batch)", idle, burst,
               tracks.cursor.samples.size(), tracks.events.events.size());
    }
    {
        CursorTracker tracker(frame, Size{1920, 1080}, 120, display);
        EventMonitor monitor(frame, Size{1920, 1080}, true, display);
        tracker.start();
        monitor.start();
        const Phase idle = idlePhase(seconds);
        const Phase burst = burstPhase(display, seconds);
        const CursorTrack cursor = tracker.stop();
        const EventTrack events = monitor.stop();
        report("CursorTracker (120 Hz) + EventMonitor (RECORD)", idle, burst, cursor.samples.size(),
               events.events.size());
    }
    return 0;
}
