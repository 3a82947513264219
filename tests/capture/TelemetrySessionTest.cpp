#include "capture/TelemetrySession.h"

#include "X11TestSupport.h"
#include "capture/TelemetryFiles.h"
#include "capture/TelemetryJournal.h"
#include "common/LogCapture.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

using namespace orvane;
using namespace std::chrono_literals;

namespace {

class TelemetrySessionTest : public test::XServerTest<800, 600> {
protected:
    QStringList captured() const { return log.lines(); }

    using Result = tl::expected<TelemetryRecording, QString>;
    static Result record(std::chrono::milliseconds duration, const QString& cursor, const QString& events,
                         const QByteArray& display, const std::function<void()>& during = {}) {
        std::optional<Result> result;
        QEventLoop loop;
        auto task = TelemetrySession::recordDisplay(duration, cursor, events, display);
        task.then([&](Result r) {
            result = std::move(r);
            loop.quit();
        });
        if (during)
            QTimer::singleShot(duration / 3, during);
        QTimer::singleShot(duration + 5s, &loop, &QEventLoop::quit);
        if (!result)
            loop.exec();
        return result.value_or(tl::unexpected(QStringLiteral("timed out")));
    }

    test::LogCapture log;
};

TEST_F(TelemetrySessionTest, PrefersTheTapAndLogsWhatItChose) {
    TelemetrySession session({Rect{0, 0, 800, 600}, Size{800, 600}, server->displayName()});
    session.start();
    EXPECT_TRUE(session.usesInputTap());
    driver->moveBy(2, 2);
    driver->click(1);
    test::processEventsUntil([] { return false; }, 50ms);
    const TelemetryRecording r = session.stop();
    EXPECT_EQ(r.cursor.samples.size(), 1u);
    EXPECT_EQ(r.events.events.size(), 2u);
    EXPECT_TRUE(captured().contains(
        QStringLiteral("[CaptureEngine] MouseTracker (XInput2 tap) started successfully")));
    EXPECT_TRUE(captured().contains(
        QStringLiteral("[CaptureEngine] MouseTracker stopped: 1 cursor samples, 2 events")));
}

TEST_F(TelemetrySessionTest, WithoutTheTapThePollingPairCollects) {
    driver->warp(400, 300);
    TelemetrySession session({Rect{0, 0, 800, 600}, Size{400, 300}, server->displayName(), false});
    session.start();
    EXPECT_FALSE(session.usesInputTap());
    driver->click(3);
    test::processEventsFor(100ms);
    const TelemetryRecording r = session.stop();
    EXPECT_GT(r.cursor.samples.size(), 3u);
    EXPECT_EQ(r.cursor.samples.front().x, 200);
    ASSERT_EQ(r.events.events.size(), 2u);
    EXPECT_EQ(r.events.events[0].location(), (Point{200, 150}));
    EXPECT_TRUE(captured().contains(
        QStringLiteral("[CaptureEngine] Using CursorTracker + EventMonitor (no XInput2)")));
    EXPECT_TRUE(captured().filter(QStringLiteral("[CaptureEngine] Trackers stopped: ")).size() == 1);
}

TEST_F(TelemetrySessionTest, ATapThatCannotStartFallsBack) {
    TelemetrySession session({Rect{0, 0, 800, 600}, Size{800, 600}, QByteArrayLiteral(":65002")});
    session.start();
    EXPECT_FALSE(session.usesInputTap());
    const TelemetryRecording r = session.stop();
    EXPECT_TRUE(r.cursor.samples.empty());
    EXPECT_TRUE(captured().contains(
        QStringLiteral("[CaptureEngine] MouseTracker failed, falling back to CursorTracker + EventMonitor")));
    EXPECT_TRUE(
        captured().contains(QStringLiteral("[CaptureEngine] Trackers stopped: 0 cursor samples, 0 events")));
}

TEST_F(TelemetrySessionTest, RecordingADisplayWritesBothFiles) {
    QTemporaryDir dir;
    const QString cursor = QDir(dir.path()).filePath(QStringLiteral("clip-cursor.json"));
    const QString events = QDir(dir.path()).filePath(QStringLiteral("clip-events.json"));
    ASSERT_EQ(TelemetrySession::displayFrame(server->displayName()), (Rect{0, 0, 800, 600}));
    driver->warp(10, 20);
    const Result r = record(300ms, cursor, events, server->displayName(), [&] {
        driver->moveBy(5, 5);
        driver->click(1);
    });
    ASSERT_TRUE(r) << r.error().toStdString();
    EXPECT_EQ(TelemetryFiles::readCursorTrack(cursor).value(), r->cursor);
    EXPECT_EQ(TelemetryFiles::readEventTrack(events).value(), r->events);
    ASSERT_EQ(r->cursor.samples.size(), 1u);
    EXPECT_EQ(r->cursor.samples[0].x, 15);
    EXPECT_EQ(r->events.events.size(), 2u);
}

TEST_F(TelemetrySessionTest, RecordingReportsFilesThatCannotBeWritten) {
    QTemporaryDir dir;
    const QString cursor = QDir(dir.path()).filePath(QStringLiteral("missing/clip-cursor.json"));
    const QString events = QDir(dir.path()).filePath(QStringLiteral("clip-events.json"));
    const Result r = record(20ms, cursor, events, server->displayName());
    ASSERT_FALSE(r);
    EXPECT_FALSE(QFile::exists(events));
    EXPECT_EQ(
        captured().filter(QStringLiteral("[CaptureEngine] failed to write cursor/event tracks: ")).size(), 1);

    const Result noDisplay = record(20ms, cursor, events, QByteArrayLiteral(":65003"));
    ASSERT_FALSE(noDisplay);
    EXPECT_TRUE(noDisplay.error().contains(QStringLiteral(":65003")));
}

TEST_F(TelemetrySessionTest, TheJournalHoldsWhatWasCollectedWhileTheRecordingRuns) {
    QTemporaryDir dir;
    const QString journal = dir.filePath(QStringLiteral("clip-telemetry.jsonl"));
    for (const bool tap : {true, false}) {
        TelemetrySession session({Rect{0, 0, 800, 600}, Size{800, 600}, server->displayName(), tap, journal});
        session.start();
        driver->warp(100, 100);
        for (int i = 0; i < 5; ++i) {
            driver->moveBy(3, 1);
            test::processEventsFor(10ms);
        }
        driver->click(1);
        // Past one journal interval, and the session still running: what a kill would leave.
        test::processEventsFor(TelemetrySession::journalInterval + 300ms);
        const auto running = TelemetryJournal::read(journal);
        ASSERT_TRUE(running.has_value()) << running.error().toStdString();
        EXPECT_GE(running->cursor.samples.size(), tap ? 5u : 10u) << tap;
        EXPECT_EQ(running->events.events.size(), 2u) << tap;

        // At the stop the journal holds exactly the tracks stop() gives.
        driver->click(3);
        const TelemetryRecording stopped = session.stop();
        const auto final = TelemetryJournal::read(journal);
        ASSERT_TRUE(final.has_value());
        EXPECT_EQ(final->cursor, stopped.cursor) << tap;
        EXPECT_EQ(final->events, stopped.events) << tap;
    }

    // A journal that cannot be made costs the journal, not the recording.
    TelemetrySession session({Rect{0, 0, 800, 600}, Size{800, 600}, server->displayName(), true,
                              dir.filePath(QStringLiteral("missing/clip-telemetry.jsonl"))});
    session.start();
    driver->moveBy(4, 4);
    test::processEventsFor(50ms);
    EXPECT_EQ(session.stop().cursor.samples.size(), 1u);
    EXPECT_EQ(captured().filter(QStringLiteral("[CaptureEngine] telemetry journal not written: ")).size(), 1);
}

} // namespace
