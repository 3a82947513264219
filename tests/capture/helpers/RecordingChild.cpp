// A recording process for the tests to kill: records the first display of DISPLAY, with the system's
// sound from the PulseAudio SERVER, into a new project folder at BUNDLE for SECONDS, printing
// "recording <movie path>" once the recording runs and "stopped" when it has ended.
//
//   orvane_capture_recording_child DISPLAY SERVER BUNDLE SECONDS
#include "capture/CaptureEngine.h"

#include <QCoreApplication>
#include <QCoro/QCoroTimer>
#include <QTimer>

#include <cstdio>

using namespace orvane;

namespace {

QCoro::Task<int> run(QStringList args) {
    CaptureEnvironment env = CaptureEnvironment::fromSystem();
    env.displayName = args[1].toLocal8Bit();
    env.pulseServer = args[2].toLocal8Bit();
    auto bundle = std::make_shared<ProjectBundle>(args[3], Project{});
    if (auto made = bundle->ensureOnDisk(); !made) {
        std::fprintf(stderr, "%s\n", qPrintable(made.error().description));
        co_return 1;
    }
    auto finding = CaptureEngine::findSource(QString(), env);
    const auto source = co_await finding;
    if (!source) {
        std::fprintf(stderr, "%s\n", qPrintable(source.error().message()));
        co_return 1;
    }
    CaptureEngine engine(env);
    auto starting = engine.start(*source, bundle, false, true);
    const auto started = co_await starting;
    if (!started) {
        std::fprintf(stderr, "%s\n", qPrintable(started.error().message()));
        co_return 1;
    }
    std::printf("recording %s\n", qPrintable(engine.videoURL().value_or(QString())));
    std::fflush(stdout);
    auto waiting = QCoro::sleepFor(std::chrono::milliseconds(qint64(args[4].toDouble() * 1000)));
    co_await waiting;
    auto stopping = engine.stop();
    const auto stopped = co_await stopping;
    std::printf("stopped\n");
    co_return stopped ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 5) {
        std::fprintf(stderr, "usage: orvane_capture_recording_child DISPLAY SERVER BUNDLE SECONDS\n");
        return 2;
    }
    int code = 1;
    auto task = run(args);
    task.then([&](int result) {
        code = result;
        app.quit();
    });
    app.exec();
    return code;
}
