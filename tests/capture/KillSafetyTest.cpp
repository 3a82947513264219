#include "CaptureTestSupport.h"
#include "capture/x11/DemoWindow.h"
#include "media/AssetProbe.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

class KillSafetyTest : public test::CaptureServers {};

// A recording process killed outright after three seconds leaves a movie that opens, here and in ffprobe,
// and holds everything up to its last whole second.
TEST_F(KillSafetyTest, AKilledRecordingKeepsItsMovie) {
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
    test::processEventsFor(3s);
    child.kill();
    ASSERT_TRUE(child.waitForFinished(10000));
    ASSERT_EQ(child.exitStatus(), QProcess::CrashExit);

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
