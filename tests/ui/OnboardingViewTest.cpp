#include "UiTestSupport.h"
#include "ui/AppViewModel.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

void shoot(const UiHarness& ui, const QString& name) {
    const QString folder = qEnvironmentVariable("ORVANE_UI_SHOTS");
    if (folder.isEmpty())
        return;
    QTest::qWait(400); // past the page's fade
    ui.grab().save(QDir(folder).filePath(QStringLiteral("onboarding-%1.png").arg(name)));
}

class OnboardingViewTest : public UiTest {
protected:
    static UiOptions firstRun() { return {.onboardingCompleted = false, .apiPort = std::nullopt}; }
    static bool completed(const UiHarness& ui) {
        return ui.defaults->boolean(QString::fromLatin1(AppViewModel::onboardingKey));
    }
};

TEST_F(OnboardingViewTest, ArrowsButtonsAndDotsMoveBetweenPagesAndEscapeLeavesForGood) {
    UiHarness ui(firstRun());
    ASSERT_TRUE(ui.load());
    QQuickItem* view = ui.waitFor(QStringLiteral("OnboardingView"));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->property("page").toInt(), 0);
    EXPECT_EQ(ui.find(QStringLiteral("onboarding.back")), nullptr) << "nothing before the first page";
    ui.key(Qt::Key_Left);
    EXPECT_EQ(view->property("page").toInt(), 0);
    shoot(ui, QStringLiteral("page0"));

    ui.key(Qt::Key_Right);
    ui.key(Qt::Key_Right);
    EXPECT_EQ(view->property("page").toInt(), 2);
    EXPECT_NE(ui.waitFor(QStringLiteral("onboarding.page.2")), nullptr);
    ui.key(Qt::Key_Left);
    EXPECT_EQ(view->property("page").toInt(), 1);
    ui.click(ui.waitFor(QStringLiteral("onboarding.back")));
    EXPECT_EQ(view->property("page").toInt(), 0);
    ui.click(ui.waitFor(QStringLiteral("onboarding.next")));
    EXPECT_EQ(view->property("page").toInt(), 1);
    shoot(ui, QStringLiteral("page1"));
    ui.click(ui.waitFor(QStringLiteral("onboarding.dot.3")));
    EXPECT_EQ(view->property("page").toInt(), 3);

    // The last page offers the sample in place of Next, and the arrows stop there.
    EXPECT_EQ(ui.find(QStringLiteral("onboarding.next")), nullptr);
    EXPECT_NE(ui.waitFor(QStringLiteral("onboarding.recordSample")), nullptr);
    EXPECT_NE(ui.find(QStringLiteral("onboarding.skip")), nullptr);
    ui.key(Qt::Key_Right);
    EXPECT_EQ(view->property("page").toInt(), 3);
    shoot(ui, QStringLiteral("page3"));
    EXPECT_FALSE(completed(ui));

    ui.key(Qt::Key_Escape);
    EXPECT_NE(ui.waitFor(QStringLiteral("WelcomeView")), nullptr);
    EXPECT_TRUE(completed(ui));
    EXPECT_EQ(ui.app->screen(), AppScreen::welcome);
    EXPECT_FALSE(ui.app->isRecording());
}

TEST_F(OnboardingViewTest, SkipFromTheKeyboardShowsTheWelcomeScreen) {
    UiHarness ui(firstRun());
    ASSERT_TRUE(ui.load());
    ASSERT_NE(ui.waitFor(QStringLiteral("OnboardingView")), nullptr);
    QQuickItem* skip = ui.waitFor(QStringLiteral("onboarding.skip"));
    ASSERT_NE(skip, nullptr);
    // Continue holds the keyboard, so Space and Return go on; one Shift+Tab reaches Skip.
    QQuickItem* next = ui.find(QStringLiteral("onboarding.next"));
    ASSERT_NE(next, nullptr);
    EXPECT_TRUE(next->hasActiveFocus());
    ui.key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(skip->hasActiveFocus());
    ui.key(Qt::Key_Space);
    EXPECT_NE(ui.waitFor(QStringLiteral("WelcomeView")), nullptr);
    EXPECT_TRUE(completed(ui));
    EXPECT_FALSE(ui.app->isRecording());
}

TEST_F(OnboardingViewTest, ThePermissionsPageTellsWhatTheSystemAllowsAndLooksAgainOnRequest) {
    UiHarness ui(firstRun());
    // No camera at first, and a sound server that isn't there.
    QDir devices(ui.dir.filePath(QStringLiteral("dev")));
    ASSERT_TRUE(devices.mkpath(QStringLiteral(".")));
    CaptureEnvironment environment = ui.app->captureEnvironment();
    environment.videoDeviceDirectory = devices.path();
    environment.pulseServer =
        QFile::encodeName(QStringLiteral("unix:") + ui.dir.filePath(QStringLiteral("no-pulse")));
    ui.app->setCaptureEnvironment(environment);
    ASSERT_TRUE(ui.load());
    QQuickItem* view = ui.waitFor(QStringLiteral("OnboardingView"));
    ASSERT_NE(view, nullptr);
    view->setProperty("page", 2);
    QQuickItem* screen = ui.waitFor(QStringLiteral("onboarding.permissions.screen"));
    QQuickItem* microphone = ui.waitFor(QStringLiteral("onboarding.permissions.microphone"));
    QQuickItem* camera = ui.waitFor(QStringLiteral("onboarding.permissions.camera"));
    ASSERT_TRUE(screen && microphone && camera);
    const auto status = [](QQuickItem* row) {
        return row->property("status").toString();
    };
    ASSERT_TRUE(waitUntil([&] { return status(camera) != QLatin1String("checking"); }, 10s));
    EXPECT_EQ(status(screen), QStringLiteral("granted"));
    EXPECT_EQ(status(microphone), QStringLiteral("denied"));
    EXPECT_EQ(status(camera), QStringLiteral("denied"));
    shoot(ui, QStringLiteral("page2"));

    // A camera is plugged in; asking again finds it, and the whole application hears of it.
    QFile device(devices.filePath(QStringLiteral("video0")));
    ASSERT_TRUE(device.open(QIODevice::WriteOnly));
    device.close();
    QQuickItem* request = ui.waitFor(QStringLiteral("onboarding.permissions.camera.request"));
    ASSERT_NE(request, nullptr);
    // A fast answer can come back within the click itself, so the steps are counted, not caught.
    QSignalSpy cameraSteps(camera, SIGNAL(statusChanged()));
    ui.click(request);
    ASSERT_TRUE(waitUntil([&] { return status(camera) == QLatin1String("granted"); }, 10s));
    EXPECT_EQ(cameraSteps.count(), 2) << "denied, then checking, then granted";
    EXPECT_EQ(ui.app->permissions().camera, PermissionsState::Status::granted);
    EXPECT_TRUE(request->isEnabled());

    // The microphone's button reads again too: an answer the application holds from before gives way
    // to what the sound server says now (nothing: there is none).
    PermissionsState stale = ui.app->permissions();
    stale.microphone = PermissionsState::Status::granted;
    ui.app->setPermissions(stale);
    ASSERT_EQ(status(microphone), QStringLiteral("granted"));
    QSignalSpy microphoneSteps(microphone, SIGNAL(statusChanged()));
    ui.click(ui.waitFor(QStringLiteral("onboarding.permissions.microphone.request")));
    ASSERT_TRUE(waitUntil([&] { return status(microphone) == QLatin1String("denied"); }, 15s));
    EXPECT_EQ(microphoneSteps.count(), 2) << "granted, then checking, then denied";
    EXPECT_EQ(status(camera), QStringLiteral("granted")) << "the camera's answer stays";
    EXPECT_FALSE(completed(ui)) << "checking is not finishing";
}

// Without a readable screen the sample button opens the sample project instead of recording.
TEST_F(OnboardingViewTest, TheSampleWithoutAScreenOpensTheSampleProject) {
    UiHarness ui(firstRun());
    // The sample project lives in the user's Movies folder: a private one, for this test only.
    struct HomeFor {
        QByteArray saved = qgetenv("HOME");
        explicit HomeFor(const QString& home) { qputenv("HOME", QFile::encodeName(home)); }
        ~HomeFor() { qputenv("HOME", saved); }
    } home(ui.dir.path());
    CaptureEnvironment nowhere = ui.app->captureEnvironment();
    nowhere.displayName = QByteArray(":9999");
    ui.app->setCaptureEnvironment(nowhere);
    ASSERT_TRUE(ui.load());
    QQuickItem* view = ui.waitFor(QStringLiteral("OnboardingView"));
    ASSERT_NE(view, nullptr);
    view->setProperty("page", 3);
    ui.click(ui.waitFor(QStringLiteral("onboarding.recordSample")));
    EXPECT_TRUE(completed(ui));
    EXPECT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::editor; }, 30s));
    ASSERT_NE(ui.app->currentBundle(), nullptr);
    EXPECT_TRUE(ui.app->currentBundle()->path().endsWith(QLatin1String("Sample.orvanescreen")));
    EXPECT_FALSE(ui.app->isRecording());
    EXPECT_EQ(ui.find(QStringLiteral("OnboardingView")), nullptr);
}

} // namespace
} // namespace orvane::test
