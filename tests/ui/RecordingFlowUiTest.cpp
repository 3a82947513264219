#include "UiTestSupport.h"
#include "ui/RecordingClock.h"
#include "ui/RecordingHUDController.h"

#include <QFileInfo>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

TEST(RecordingClockFormat, HudAndViewTimesCutToTheirUnits) {
    EXPECT_EQ(RecordingClock::hudTime(0), QStringLiteral("0:00"));
    EXPECT_EQ(RecordingClock::hudTime(-4), QStringLiteral("0:00"));
    EXPECT_EQ(RecordingClock::hudTime(59.99), QStringLiteral("0:59"));
    EXPECT_EQ(RecordingClock::hudTime(61), QStringLiteral("1:01"));
    EXPECT_EQ(RecordingClock::hudTime(3599.9), QStringLiteral("59:59"));
    EXPECT_EQ(RecordingClock::hudTime(3600), QStringLiteral("1:00:00"));
    EXPECT_EQ(RecordingClock::hudTime(36000 + 62), QStringLiteral("10:01:02"));
    EXPECT_EQ(RecordingClock::viewTime(0), QStringLiteral("00:00:00.00"));
    EXPECT_EQ(RecordingClock::viewTime(-1), QStringLiteral("00:00:00.00"));
    EXPECT_EQ(RecordingClock::viewTime(3.456), QStringLiteral("00:00:03.45"));
    EXPECT_EQ(RecordingClock::viewTime(3661.5), QStringLiteral("01:01:01.50"));
}

TEST(RecordingHUDGeometry, CentredTwentyBelowTheTopOfTheFreeArea) {
    EXPECT_EQ(RecordingHUDController::panelGeometry(QRect(0, 0, 1440, 900)), QRect(550, 20, 340, 88));
    // A second screen to the right with a panel at its top.
    EXPECT_EQ(RecordingHUDController::panelGeometry(QRect(1920, 32, 2560, 1408)), QRect(3030, 52, 340, 88));
}

class RecordingFlowUiTest : public UiTest {};

// The whole path a user takes: a display chosen, a countdown cancelled with Esc, a second start, three
// seconds of recording stopped from the floating control, and the recording as a clip of the project.
TEST_F(RecordingFlowUiTest, CountdownCancelsOnEscThenARecordingStoppedFromTheHudLandsAsAClip) {
    UiHarness ui({.onboardingCompleted = false, .apiPort = std::nullopt});
    ui.app->setCountdownTick(400ms);
    ASSERT_TRUE(ui.load());
    ASSERT_TRUE(
        waitUntil([&] { return ui.app->canStartRecording() && !ui.app->availableSources().empty(); }, 10s))
        << "screen recording is not granted on the test display";

    // Onboarding skipped, New Recording on the welcome screen, the display's card, Start.
    ui.click(ui.waitFor(QStringLiteral("onboarding.skip")));
    ui.click(ui.waitFor(QStringLiteral("welcome.newRecording")));
    ASSERT_EQ(ui.app->screen(), AppScreen::sourcePicker);
    const QString display = ui.app->availableSources().front().id;
    ASSERT_TRUE(display.startsWith(QLatin1String("display-")));
    QQuickItem* start = ui.waitFor(QStringLiteral("source.startRecording"));
    ASSERT_NE(start, nullptr);
    ui.app->setSelectedSourceID(QString());
    EXPECT_FALSE(start->isEnabled()) << "nothing chosen";
    ui.click(ui.waitFor(QStringLiteral("source.card.") + display));
    EXPECT_EQ(ui.app->selectedSourceID(), display);
    ui.click(start);
    ASSERT_NE(ui.waitFor(QStringLiteral("recording.countdown.cancel")), nullptr);
    EXPECT_EQ(ui.app->screen(), AppScreen::recording);
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return ui.app->recordingPhase().isIdle(); }));
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);
    // The abandoned start never shows the HUD, even after its countdown would have ended.
    QTest::qWait(1500);
    EXPECT_EQ(ui.desktop->hud().panel(), nullptr);
    EXPECT_TRUE(ui.app->recordingPhase().isIdle());

    ui.click(ui.waitFor(QStringLiteral("source.startRecording")));
    ASSERT_TRUE(waitUntil([&] { return ui.app->recordingPhase().isRecording(); }, 10s));
    QQuickWindow* panel = ui.desktop->hud().panel();
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel, 5000));
    EXPECT_FALSE(ui.window()->isVisible()) << "the main window hides while recording";
    EXPECT_EQ(panel->geometry().size(), QSize(340, 88));
    QTest::qWait(3000);
    QQuickItem* time = ui.findIn(panel, QStringLiteral("hud.recordingTime"));
    ASSERT_NE(time, nullptr);
    EXPECT_TRUE(time->property("text").toString().startsWith(QLatin1String("0:0")));
    EXPECT_NE(time->property("text").toString(), QStringLiteral("0:00"));

    QQuickItem* stop = ui.findIn(panel, QStringLiteral("hud.stop"));
    ASSERT_NE(stop, nullptr);
    ui.click(stop);
    EXPECT_TRUE(waitUntil([&] { return ui.window()->isVisible(); }, 2s)) << "the window comes back at once";
    ASSERT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::editor; }, 20s));
    EXPECT_EQ(ui.desktop->hud().panel(), nullptr);
    EXPECT_FALSE(ui.app->lastError().has_value());

    const auto& bundle = ui.app->currentBundle();
    ASSERT_NE(bundle, nullptr);
    ASSERT_EQ(bundle->project().timeline.clips.size(), 1u);
    const Clip& clip = bundle->project().timeline.clips.front();
    EXPECT_EQ(clip.name, QStringLiteral("Recording 1"));
    EXPECT_GT(clip.sourceOut.seconds, 2.5);
    EXPECT_LT(clip.sourceOut.seconds, 6.0);
    EXPECT_TRUE(QFileInfo(bundle->mediaPath(clip.sourceVideoPath)).size() > 0);
}

TEST_F(RecordingFlowUiTest, DiscardingFromTheHudNeedsTwoPressesAndKeepsNothing) {
    UiHarness ui;
    ui.app->setCountdownTick(100ms);
    ASSERT_TRUE(ui.load());
    ASSERT_TRUE(
        waitUntil([&] { return ui.app->canStartRecording() && !ui.app->availableSources().empty(); }, 10s));
    ui.desktop->viewModel().setSelectedSourceID(ui.app->availableSources().front().id);
    ui.desktop->viewModel().beginCapture();
    ASSERT_TRUE(waitUntil([&] { return ui.app->recordingPhase().isRecording(); }, 10s));
    QQuickWindow* panel = ui.desktop->hud().panel();
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel, 5000));
    QTest::qWait(800);

    QQuickItem* cancel = ui.findIn(panel, QStringLiteral("hud.cancel"));
    ASSERT_NE(cancel, nullptr);
    ui.click(cancel);
    QTest::qWait(300);
    EXPECT_TRUE(ui.app->recordingPhase().isRecording()) << "one press only arms the discard";
    ui.click(cancel);
    ASSERT_TRUE(waitUntil([&] { return ui.app->recordingPhase().isIdle(); }, 15s));
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);
    EXPECT_TRUE(ui.window()->isVisible());
    ASSERT_NE(ui.app->currentBundle(), nullptr);
    EXPECT_TRUE(ui.app->currentBundle()->project().timeline.clips.empty());
    const QDir media(ui.app->currentBundle()->mediaDirectory());
    EXPECT_TRUE(media.entryList(QDir::Files).isEmpty())
        << media.entryList(QDir::Files).join(u' ').toStdString();
}

} // namespace
} // namespace orvane::test
