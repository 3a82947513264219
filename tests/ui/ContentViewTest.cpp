#include "UiTestSupport.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpServer>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

QString loadedView(const UiHarness& ui) {
    auto* loader = ui.find(QStringLiteral("screenLoader"));
    if (!loader)
        return {};
    auto* item = loader->property("item").value<QQuickItem*>();
    return item ? item->objectName() : QString();
}

quint16 freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

class ContentViewTest : public UiTest {};

TEST_F(ContentViewTest, RoutesOnTheOnboardingFlagFirstThenOnTheScreen) {
    UiHarness ui({.onboardingCompleted = false, .apiPort = std::nullopt});
    ASSERT_TRUE(ui.load());
    EXPECT_EQ(loadedView(ui), QStringLiteral("OnboardingView"));
    // The screen alone does not leave the onboarding.
    ui.app->setScreen(AppScreen::sourcePicker);
    QTest::qWait(50);
    EXPECT_EQ(loadedView(ui), QStringLiteral("OnboardingView"));

    ui.desktop->viewModel().completeOnboarding();
    EXPECT_TRUE(waitUntil([&] { return loadedView(ui) == QStringLiteral("SourcePickerView"); }));
    EXPECT_TRUE(ui.defaults->boolean(QString::fromLatin1(AppViewModel::onboardingKey)));

    const std::pair<AppScreen, const char*> routes[] = {
        {AppScreen::welcome, "WelcomeView"}, {AppScreen::recording, "RecordingView"},
        {AppScreen::editor, "EditorView"},   {AppScreen::exporting, "EditorView"},
        {AppScreen::live, "LiveView"},       {AppScreen::sourcePicker, "SourcePickerView"},
    };
    for (const auto& [screen, view] : routes) {
        ui.app->setScreen(screen);
        EXPECT_TRUE(waitUntil([&] { return loadedView(ui) == QLatin1String(view); })) << view;
    }
}

TEST_F(ContentViewTest, ErrorAlertRunsTheChosenRecoveryActionThenClears) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    int browsed = 0;
    int other = 0;
    AppError error;
    error.title = QStringLiteral("Couldn't open project");
    error.message = QStringLiteral("The folder holds no project.json.");
    error.recoveryActions.push_back({QStringLiteral("Browse…"), [&] {
                                         ++browsed;
                                     }});
    error.recoveryActions.push_back({QStringLiteral("Open in Finder"), [&] {
                                         ++other;
                                     }});
    ui.app->setLastError(error);

    QQuickItem* action = ui.waitFor(QStringLiteral("errorAlert.action.0"));
    ASSERT_NE(action, nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("errorAlert.title"))->property("text").toString(), error.title);
    EXPECT_EQ(ui.find(QStringLiteral("errorAlert.action.1"))->property("text").toString(),
              QStringLiteral("Open in Finder"));
    ui.click(action);
    EXPECT_TRUE(waitUntil([&] { return browsed == 1; }));
    EXPECT_EQ(other, 0);
    EXPECT_FALSE(ui.app->lastError().has_value());
    EXPECT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("errorAlert.title")) == nullptr; }));

    // OK, here from the keyboard, clears without running anything.
    ui.app->setLastError(error);
    ASSERT_NE(ui.waitFor(QStringLiteral("common.ok")), nullptr);
    ui.key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return !ui.app->lastError().has_value(); }));
    EXPECT_EQ(browsed, 1);
    EXPECT_EQ(other, 0);
}

TEST_F(ContentViewTest, AnOpeningFailureOffersBrowseWhichOpensThePanel) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    int panels = 0;
    QObject::connect(&ui.desktop->viewModel(), &AppViewModel::openPanelRequested, [&] { ++panels; });
    ui.app->setScreen(AppScreen::welcome);
    EXPECT_FALSE(ui.app->openProject(ui.dir.filePath(QStringLiteral("missing.orvanescreen"))));
    EXPECT_EQ(ui.app->screen(), AppScreen::welcome);
    QQuickItem* browse = ui.waitFor(QStringLiteral("errorAlert.action.0"));
    ASSERT_NE(browse, nullptr);
    ui.click(browse);
    EXPECT_TRUE(waitUntil([&] { return panels == 1; }));
}

TEST_F(ContentViewTest, SaveShowsTheToastEvenWithNothingChangedAndItLeavesAgain) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    QQuickItem* toast = ui.find(QStringLiteral("savedToast"), true);
    ASSERT_NE(toast, nullptr);
    EXPECT_FALSE(toast->property("shown").toBool());
    ui.key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(ui.app->saveAcknowledgementNonce(), 1);
    EXPECT_TRUE(waitUntil([&] { return toast->property("shown").toBool() && toast->opacity() > 0.99; }));
    EXPECT_TRUE(waitUntil([&] { return !toast->isVisible(); }, 3s));
}

TEST_F(ContentViewTest, ShowWindowRouteBringsTheHiddenWindowBack) {
    const quint16 port = freePort();
    UiHarness ui({.onboardingCompleted = true, .apiPort = port});
    ASSERT_TRUE(ui.load());
    // The start-up task starts the loopback server once the first frame is on screen.
    ASSERT_TRUE(waitUntil([&] { return ui.app->localAPIServer() != nullptr; }));
    ui.window()->hide();
    ASSERT_FALSE(ui.window()->isVisible());

    QNetworkAccessManager network;
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/window/show").arg(port)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    std::unique_ptr<QNetworkReply> reply(network.post(request, QByteArray("{}")));
    ASSERT_TRUE(waitUntil([&] { return reply->isFinished(); }));
    EXPECT_EQ(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 200);
    EXPECT_EQ(reply->readAll(), QByteArray(R"({"ok":true})"));
    EXPECT_TRUE(waitUntil([&] { return ui.window()->isVisible(); }));
}

TEST_F(ContentViewTest, ClosingTheWindowDuringARecordingWaitsForTheStopAndKeepsTheClip) {
    UiHarness ui;
    ui.app->setCountdownTick(50ms);
    ASSERT_TRUE(ui.load());
    ASSERT_TRUE(
        waitUntil([&] { return ui.app->canStartRecording() && !ui.app->availableSources().empty(); }, 10s));
    ui.app->setSelectedSourceID(ui.app->availableSources().front().id);
    ui.desktop->viewModel().beginCapture();
    ASSERT_TRUE(waitUntil([&] { return ui.app->recordingPhase().isRecording(); }, 10s));
    QTest::qWait(1000);

    // The window is hidden behind the HUD while recording; closing it (as the desktop's close would) asks
    // first, and the answer comes once the recording has stopped and become a clip.
    ui.window()->close();
    EXPECT_FALSE(ui.desktop->isQuitApproved());
    EXPECT_TRUE(ui.app->recordingPhase().isStopping());
    ASSERT_TRUE(waitUntil([&] { return ui.desktop->isQuitApproved(); }, 10s));
    ASSERT_NE(ui.app->currentBundle(), nullptr);
    EXPECT_EQ(ui.app->currentBundle()->project().timeline.clips.size(), 1u);
}

TEST_F(ContentViewTest, ClosingTheWindowWithNothingRecordingQuitsAtOnce) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.window()->close();
    EXPECT_TRUE(ui.desktop->isQuitApproved());
}

} // namespace
} // namespace orvane::test
