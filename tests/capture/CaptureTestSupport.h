#pragma once

// What the capture engine's tests share: a private X server and PulseAudio daemon for a whole suite, and a
// way to wait for a coroutine on the main thread's event loop.

#include "PulseTestSupport.h"
#include "X11TestSupport.h"
#include "capture/CaptureEnvironment.h"

#include <QCoro/QCoroTask>
#include <QProcess>
#include <QtGlobal>

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <optional>

namespace orvane::test {

// Runs the event loop until `task` has finished and gives its result; fails the test (and gives nothing)
// when it takes longer than `timeout`.
template <class T>
std::optional<T> awaitTask(QCoro::Task<T> task,
                           std::chrono::milliseconds timeout = std::chrono::seconds(60)) {
    auto result = std::make_shared<std::optional<T>>();
    auto done = task.then([result](T value) { *result = std::move(value); });
    if (!processEventsUntil([&] { return result->has_value(); }, timeout))
        ADD_FAILURE() << "the task did not finish in time";
    return *result;
}

// The frames a movie's first video track holds, as FFmpeg's own probe counts them by decoding.
inline std::optional<std::int64_t> countedFrames(const QString& path) {
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_frames"),
                 QStringLiteral("-select_streams"), QStringLiteral("v:0"), QStringLiteral("-show_entries"),
                 QStringLiteral("stream=nb_read_frames"), QStringLiteral("-of"), QStringLiteral("csv=p=0"),
                 path});
    if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
        return std::nullopt;
    bool ok = false;
    const qint64 n = QString::fromUtf8(probe.readAllStandardOutput()).trimmed().toLongLong(&ok);
    return ok ? std::optional<std::int64_t>(n) : std::nullopt;
}

// An X server and a sound server for one suite. Tests call `require()` first; it skips them when either
// cannot be started.
class CaptureServers : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        QByteArray failure;
        xserver = XvfbServer::start(1280, 720, &failure).release();
        if (!xserver) {
            skipReason = failure;
            return;
        }
        pulse = PulseServer::start(&failure).release();
        if (!pulse)
            skipReason = failure;
    }
    static void TearDownTestSuite() {
        delete pulse;
        pulse = nullptr;
        delete xserver;
        xserver = nullptr;
    }

    bool require() {
        if (xserver && pulse)
            return true;
        return false;
    }

    static CaptureEnvironment environment() {
        CaptureEnvironment env;
        env.displayName = xserver->displayName();
        env.pulseServer = pulse->serverString();
        env.own = {QStringLiteral("orvane-screen-tests"), std::uint32_t(::getpid())};
        return env;
    }

    static inline XvfbServer* xserver = nullptr;
    static inline PulseServer* pulse = nullptr;
    static inline QByteArray skipReason;
};

#define ORVANE_REQUIRE_CAPTURE_SERVERS()                                                                     \
    if (!require())                                                                                          \
    GTEST_SKIP() << "no private X server or PulseAudio daemon: " << skipReason.constData()

} // namespace orvane::test
