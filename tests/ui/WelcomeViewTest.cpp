#include "UiTestSupport.h"
#include "direction/ThumbnailGenerator.h"
#include "ui/RecentProjectsModel.h"

#include <QDir>
#include <QProcess>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

TEST(RecentProjectsModelText, TimeSinceInWholeUnitsAndDurations) {
    const QDateTime now = QDateTime::fromString(QStringLiteral("2026-11-23T12:00:00Z"), Qt::ISODate);
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-59), now), QStringLiteral("Just now"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(30), now), QStringLiteral("Just now"))
        << "a clock ahead";
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-60), now), QStringLiteral("1 minute ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-3599), now), QStringLiteral("59 minutes ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-7200), now), QStringLiteral("2 hours ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-1), now), QStringLiteral("Yesterday"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-13), now), QStringLiteral("13 days ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-14), now), QStringLiteral("2 weeks ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-90), now), QStringLiteral("3 months ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-800), now), QStringLiteral("2 years ago"));
    EXPECT_EQ(RecentProjectsModel::durationText(0), QStringLiteral("0:00"));
    EXPECT_EQ(RecentProjectsModel::durationText(42.9), QStringLiteral("0:42"));
    EXPECT_EQ(RecentProjectsModel::durationText(725), QStringLiteral("12:05"));
    EXPECT_EQ(RecentProjectsModel::durationText(3723), QStringLiteral("1:02:03"));
}

class WelcomeViewTest : public UiTest {
protected:
    // A project on disk whose first clip is a real movie, registered as a user opening it would.
    QString makeProject(UiHarness& ui, const QString& name) {
        const QString movie = ui.dir.filePath(name + QStringLiteral(".mp4"));
        EXPECT_EQ(QProcess::execute(QStringLiteral("ffmpeg"),
                                    {QStringLiteral("-loglevel"), QStringLiteral("error"),
                                     QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                                     QStringLiteral("testsrc2=size=640x360:rate=30"), QStringLiteral("-t"),
                                     QStringLiteral("1.5"), QStringLiteral("-pix_fmt"),
                                     QStringLiteral("yuv420p"), movie}),
                  0);
        const QString folder = ui.dir.filePath(QStringLiteral("Projects/%1.orvanescreen").arg(name));
        EXPECT_TRUE(ui.app->createProjectAt(folder).has_value());
        bool imported = false;
        auto import = [&]() -> QCoro::Task<void> {
            auto result = co_await ui.app->importVideo(movie);
            imported = result.has_value();
        };
        import();
        EXPECT_TRUE(waitUntil([&] { return imported; }, 15s));
        ui.recents->registerBundle(*ui.app->currentBundle());
        return folder;
    }
};

TEST_F(WelcomeViewTest, RecentProjectsShowTheirThumbnailsOpenOnPressAndLeaveWhenGone) {
    UiHarness ui;
    ui.recents->setThumbnailGenerator(&ThumbnailGenerator::generate);
    const QString first = makeProject(ui, QStringLiteral("First"));
    const QString second = makeProject(ui, QStringLiteral("Second"));
    ASSERT_TRUE(waitUntil(
        [&] {
            for (const auto& entry : ui.recents->projects())
                if (!ui.recents->thumbnailPath(entry))
                    return false;
            return true;
        },
        15s));
    ASSERT_TRUE(ui.load());
    ui.app->setScreen(AppScreen::welcome);
    QQuickItem* newest = ui.waitFor(QStringLiteral("welcome.recent.card.0"));
    ASSERT_NE(newest, nullptr);
    EXPECT_EQ(newest->property("name").toString(), QStringLiteral("Second"));
    QQuickItem* thumbnail = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        thumbnail = ui.find(QStringLiteral("welcome.recent.thumbnail"));
        return thumbnail && thumbnail->property("status").toInt() == 1; // Image.Ready
    }));

    ui.click(newest);
    EXPECT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::editor; }));
    EXPECT_EQ(ui.app->currentBundle()->path(), QDir(second).absolutePath());

    // The first project's folder goes away; the welcome screen drops it when it shows.
    ASSERT_TRUE(QDir(first).removeRecursively());
    ui.app->setScreen(AppScreen::welcome);
    ASSERT_TRUE(waitUntil([&] { return ui.recents->projects().size() == 1; }));
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.1")), nullptr);

    ui.click(ui.waitFor(QStringLiteral("welcome.recent.clear")));
    EXPECT_TRUE(ui.recents->projects().empty());
    EXPECT_NE(ui.waitFor(QStringLiteral("welcome.recent.empty")), nullptr);
}

TEST_F(WelcomeViewTest, TheBannerShowsOnlyWithoutTheScreenAndActionsWorkFromTheKeyboard) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    // The window's own check at start-up comes first.
    ASSERT_TRUE(waitUntil(
        [&] { return ui.app->permissions().screenRecording == PermissionsState::Status::granted; }, 10s));
    PermissionsState permissions;
    permissions.screenRecording = PermissionsState::Status::denied;
    ui.app->setPermissions(permissions);
    EXPECT_NE(ui.waitFor(QStringLiteral("welcome.permissions")), nullptr);
    permissions.screenRecording = PermissionsState::Status::granted;
    ui.app->setPermissions(permissions);
    EXPECT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("welcome.permissions")) == nullptr; }));

    // New Recording has the focus; Space presses it.
    QQuickItem* newRecording = ui.waitFor(QStringLiteral("welcome.newRecording"));
    ASSERT_NE(newRecording, nullptr);
    EXPECT_TRUE(newRecording->hasActiveFocus());
    ui.key(Qt::Key_Space);
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);
    ui.app->setScreen(AppScreen::welcome);
    // Tab moves to Open Project, which asks the window for the open panel.
    int panels = 0;
    QObject::connect(&ui.desktop->viewModel(), &AppViewModel::openPanelRequested, [&] { ++panels; });
    ASSERT_NE(ui.waitFor(QStringLiteral("welcome.newRecording")), nullptr);
    ui.key(Qt::Key_Tab);
    ui.key(Qt::Key_Return);
    EXPECT_EQ(panels, 1);
}

TEST_F(WelcomeViewTest, OnboardingPagesMoveWithArrowsAndEscapeLeavesForGood) {
    UiHarness ui({.onboardingCompleted = false, .apiPort = std::nullopt});
    ASSERT_TRUE(ui.load());
    QQuickItem* view = ui.waitFor(QStringLiteral("OnboardingView"));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->property("page").toInt(), 0);
    ui.key(Qt::Key_Right);
    ui.key(Qt::Key_Right);
    EXPECT_EQ(view->property("page").toInt(), 2);
    ui.key(Qt::Key_Left);
    EXPECT_EQ(view->property("page").toInt(), 1);
    ui.click(ui.waitFor(QStringLiteral("onboarding.next")));
    ui.click(ui.waitFor(QStringLiteral("onboarding.next")));
    EXPECT_EQ(view->property("page").toInt(), 3);
    EXPECT_NE(ui.waitFor(QStringLiteral("onboarding.finish")), nullptr);
    EXPECT_FALSE(ui.defaults->boolean(QString::fromLatin1(AppViewModel::onboardingKey)));

    ui.key(Qt::Key_Escape);
    EXPECT_NE(ui.waitFor(QStringLiteral("WelcomeView")), nullptr);
    EXPECT_TRUE(ui.defaults->boolean(QString::fromLatin1(AppViewModel::onboardingKey)));
}

// Without a readable screen the sample button opens the sample project instead of recording.
TEST_F(WelcomeViewTest, TheSampleWithoutAScreenOpensTheSampleProject) {
    UiHarness ui({.onboardingCompleted = false, .apiPort = std::nullopt});
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
    EXPECT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::editor; }, 60s));
    ASSERT_NE(ui.app->currentBundle(), nullptr);
    EXPECT_TRUE(ui.app->currentBundle()->path().endsWith(QLatin1String("Sample.orvanescreen")));
    EXPECT_FALSE(ui.app->isRecording());
}

} // namespace
} // namespace orvane::test
