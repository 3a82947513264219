#include "CaptureTestSupport.h"
#include "capture/TelemetryJournal.h"
#include "capture/x11/DemoWindow.h"
#include "media/AssetProbe.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <variant>
#include <vector>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

class KillSafetyTest : public test::CaptureServers {};

// A recording process killed outright after three seconds of pointer motion and clicks leaves a movie that
// opens, here and in ffprobe, and holds everything up to its last whole second; its telemetry journal
// holds the motion and the clicks up to about the last second too.
TEST_F(KillSafetyTest, AKilledRecordingKeepsItsMovieAndItsTelemetry) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    DemoWindow::Options options;
    options.displayName = xserver->displayName();
    auto window = DemoWindow::open(options);
    ASSERT_TRUE(window);
    test::PulsePlayer speakers(pulse->serverString(), test::PulseServer::speakers, 440);

    QTemporaryDir folder;
    QProcess child;
    child.start(QStringLiteral(ORVANE_RECORDING_CHILD),
                {QString::fromUtf8(xserver->displayName()), QString::fromUtf8(pulse->serverString()),
                 folder.filePath(QStringLiteral("Killed.orvanescreen")), QStringLiteral("60")});
    ASSERT_TRUE(child.waitForStarted(10000));
    QString movie;
    ASSERT_TRUE(test::processEventsUntil(
        [&] {
            child.waitForReadyRead(10);
            const QString out = QString::fromUtf8(child.peek(4096));
            if (!out.startsWith(QStringLiteral("recording ")) || !out.contains(u'\n'))
                return false;
            movie = out.mid(10).section(u'\n', 0, 0);
            return true;
        },
        15s))
        << child.readAllStandardError().toStdString();
    // A user at work: the pointer moves all the time and clicks every 400 ms.
    test::XTestDriver driver(xserver->displayName());
    ASSERT_TRUE(driver.isOpen());
    driver.warp(200, 200);
    QElapsedTimer recording;
    recording.start();
    std::vector<qint64> clicksAt;
    while (recording.elapsed() < 3000) {
        driver.moveBy(recording.elapsed() % 2000 < 1000 ? 3 : -3, 1);
        if (recording.elapsed() >= 400 * qint64(clicksAt.size() + 1)) {
            driver.click(1);
            clicksAt.push_back(recording.elapsed());
        }
        test::processEventsFor(10ms);
    }
    child.kill();
    const qint64 killedAt = recording.elapsed();
    ASSERT_TRUE(child.waitForFinished(10000));
    ASSERT_EQ(child.exitStatus(), QProcess::CrashExit);

    // The journal sits beside the movie, as the stop never came to turn it into the two files.
    const QString journalPath = movie.chopped(4) + QStringLiteral("-telemetry.jsonl");
    const auto journal = TelemetryJournal::read(journalPath);
    ASSERT_TRUE(journal.has_value()) << journal.error().toStdString();
    EXPECT_EQ(journal->sourceSize, (Size{1280, 720}));
    ASSERT_FALSE(journal->cursor.samples.empty());
    // The collectors started before "recording" was printed, so their clock is ahead of ours: the last
    // sample kept is within about a second of the kill.
    const double killedSeconds = double(killedAt) / 1000;
    EXPECT_GE(journal->cursor.samples.back().time.seconds, killedSeconds - 1.5);
    EXPECT_GE(journal->cursor.samples.size(), 50u);
    std::size_t presses = 0, releases = 0;
    for (const InputEvent& event : journal->events.events) {
        presses += std::holds_alternative<InputEvent::LeftMouseDown>(event.value);
        releases += std::holds_alternative<InputEvent::LeftMouseUp>(event.value);
    }
    const auto clicksBeforeTheLastSecond = std::size_t(
        std::count_if(clicksAt.begin(), clicksAt.end(), [&](qint64 at) { return at < killedAt - 1300; }));
    EXPECT_GE(presses, clicksBeforeTheLastSecond);
    EXPECT_GE(releases, clicksBeforeTheLastSecond);
    EXPECT_LE(presses, clicksAt.size());
    EXPECT_GE(clicksBeforeTheLastSecond, 3u);

    const auto info = probeAsset(movie);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    EXPECT_TRUE(info->isPlayable);
    EXPECT_GE(info->duration, 2.0);
    EXPECT_LE(info->duration, 3.5);
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->audioTracks.size(), 1u);

    if (QStandardPaths::findExecutable(QStringLiteral("ffprobe")).isEmpty())
        GTEST_SKIP() << "ffprobe is not installed (scripts/setup-deps installs it)";
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_frames"),
                 QStringLiteral("-select_streams"), QStringLiteral("v:0"), QStringLiteral("-show_entries"),
                 QStringLiteral("stream=nb_read_frames"), QStringLiteral("-of"), QStringLiteral("csv=p=0"),
                 movie});
    ASSERT_TRUE(probe.waitForFinished(30000));
    EXPECT_EQ(probe.exitCode(), 0) << probe.readAllStandardError().toStdString();
    const int frames = QString::fromUtf8(probe.readAllStandardOutput()).trimmed().toInt();
    EXPECT_GE(frames, 110); // two seconds at 60 fps, less a little
}

} // namespace
