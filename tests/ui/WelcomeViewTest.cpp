#include "UiTestSupport.h"
#include "direction/ThumbnailGenerator.h"
#include "ui/ItemTree.h"
#include "ui/RecentProjectsModel.h"

#include <QDir>
#include <QPointer>
#include <QProcess>
#include <QSet>
#include <QThreadPool>

#include <atomic>
#include <thread>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// Pictures of the window for a person to look at, when ORVANE_UI_SHOTS names a folder.
void shoot(const UiHarness& ui, const char* name) {
    const QString folder = qEnvironmentVariable("ORVANE_UI_SHOTS");
    if (folder.isEmpty())
        return;
    QTest::qWait(400); // past the screen's fade
    ui.grab().save(QDir(folder).filePath(QStringLiteral("welcome-%1.png").arg(QLatin1String(name))));
}

// How many different colours the window shows inside `item`: a picture has hundreds, a symbol on a
// flat tile a handful.
int coloursIn(const UiHarness& ui, QQuickItem* item) {
    const QImage image = ui.grab();
    const qreal ratio = ui.window()->effectiveDevicePixelRatio();
    const QRectF box = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    const QRect pixels = QRectF(box.topLeft() * ratio, box.size() * ratio).toRect() & image.rect();
    QSet<QRgb> colours;
    for (int y = pixels.top(); y <= pixels.bottom(); y += 2)
        for (int x = pixels.left(); x <= pixels.right(); x += 2)
            colours.insert(image.pixel(x, y));
    return int(colours.size());
}

TEST(RecentProjectsModelText, TimeSinceInWholeUnitsAndDurations) {
    const QDateTime now = QDateTime::fromString(QStringLiteral("2026-11-23T12:00:00Z"), Qt::ISODate);
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-59), now), QStringLiteral("Just now"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(30), now), QStringLiteral("Just now"))
        << "a clock ahead";
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-60), now), QStringLiteral("1 minute ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-3599), now), QStringLiteral("59 minutes ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-3600), now), QStringLiteral("1 hour ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-7200), now), QStringLiteral("2 hours ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addSecs(-86399), now), QStringLiteral("23 hours ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-1), now), QStringLiteral("Yesterday"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-2), now), QStringLiteral("2 days ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-13), now), QStringLiteral("13 days ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-14), now), QStringLiteral("2 weeks ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-90), now), QStringLiteral("3 months ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-364), now), QStringLiteral("12 months ago"));
    EXPECT_EQ(RecentProjectsModel::timeSince(now.addDays(-800), now), QStringLiteral("2 years ago"));
    EXPECT_EQ(RecentProjectsModel::durationText(0), QStringLiteral("0:00"));
    EXPECT_EQ(RecentProjectsModel::durationText(-3), QStringLiteral("0:00"));
    EXPECT_EQ(RecentProjectsModel::durationText(42.9), QStringLiteral("0:42"));
    EXPECT_EQ(RecentProjectsModel::durationText(725), QStringLiteral("12:05"));
    EXPECT_EQ(RecentProjectsModel::durationText(3723), QStringLiteral("1:02:03"));
}

class WelcomeViewTest : public UiTest {
protected:
    // A project on disk, opened as a user would; with `pattern`, its first clip is a real movie of that
    // test source.
    QString makeProject(UiHarness& ui, const QString& name, const QString& pattern = {}) {
        const QString folder = ui.dir.filePath(QStringLiteral("Projects/%1.orvanescreen").arg(name));
        EXPECT_TRUE(ui.app->createProjectAt(folder).has_value());
        if (pattern.isEmpty())
            return folder;
        const QString movie = ui.dir.filePath(name + QStringLiteral(".mp4"));
        EXPECT_EQ(QProcess::execute(QStringLiteral("ffmpeg"),
                                    {QStringLiteral("-loglevel"), QStringLiteral("error"),
                                     QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                                     pattern + QStringLiteral("=size=640x360:rate=30"), QStringLiteral("-t"),
                                     QStringLiteral("2"), QStringLiteral("-pix_fmt"),
                                     QStringLiteral("yuv420p"), movie}),
                  0);
        bool imported = false;
        auto import = [&]() -> QCoro::Task<void> {
            auto result = co_await ui.app->importVideo(movie);
            imported = result.has_value();
        };
        import();
        EXPECT_TRUE(waitUntil([&] { return imported; }, 15s));
        // Registered again now that it has a clip, so its entry knows its length and gets a picture.
        ui.recents->registerBundle(*ui.app->currentBundle());
        return folder;
    }
};

TEST_F(WelcomeViewTest, CardsShowTheirThumbnailsWhenTheyArriveAndOpenTheirProject) {
    UiHarness ui;
    // The pictures are held back until the cards are on screen, as with a slow disk. They wait on the
    // shared pool, so it gets room for them and the imports go on beside them.
    QThreadPool* pool = QThreadPool::globalInstance();
    const int threads = pool->maxThreadCount();
    pool->setMaxThreadCount(threads + 4);
    auto release = std::make_shared<std::atomic<bool>>(false);
    ui.recents->setThumbnailGenerator(
        [release](const QString& source, double atSecond, QSize size, const QString& target) {
            while (!release->load())
                std::this_thread::sleep_for(10ms);
            return ThumbnailGenerator::generate(source, atSecond, size, target);
        });
    struct Release {
        std::shared_ptr<std::atomic<bool>> flag;
        QThreadPool* pool;
        int threads;
        ~Release() {
            flag->store(true);
            pool->waitForDone();
            pool->setMaxThreadCount(threads);
        }
    } releaseAtEnd{release, pool, threads};

    const QString bars = makeProject(ui, QStringLiteral("Product Tour"), QStringLiteral("smptehdbars"));
    makeProject(ui, QStringLiteral("Bug Report 1432"), QStringLiteral("mandelbrot"));
    makeProject(ui, QStringLiteral("Onboarding Walkthrough"), QStringLiteral("testsrc2"));
    ASSERT_TRUE(ui.load());
    ui.app->setScreen(AppScreen::welcome);

    // Watched rather than held: a card made again would leave a dangling pointer here.
    QPointer<QQuickItem> newest = ui.waitFor(QStringLiteral("welcome.recent.card.0"));
    ASSERT_NE(newest, nullptr);
    EXPECT_EQ(newest->property("name").toString(), QStringLiteral("Onboarding Walkthrough"));
    EXPECT_EQ(newest->property("lastOpenedText").toString(), QStringLiteral("Just now"));
    EXPECT_EQ(newest->property("durationText").toString(), QStringLiteral("0:02"));
    QQuickItem* oldest = ui.waitFor(QStringLiteral("welcome.recent.card.2"));
    ASSERT_NE(oldest, nullptr);
    EXPECT_EQ(oldest->property("name").toString(), QStringLiteral("Product Tour"));

    // Without a picture each card shows the symbol on a flat tile.
    const auto frameOfNewest = [&]() -> QQuickItem* {
        QQuickItem* card = ui.find(QStringLiteral("welcome.recent.card.0"));
        const auto frames =
            card ? findNamedItems(card, QStringLiteral("welcome.recent.frame")) : QList<QQuickItem*>();
        return frames.size() == 1 ? frames.front() : nullptr;
    };
    ASSERT_NE(frameOfNewest(), nullptr);
    const int symbolColours = coloursIn(ui, frameOfNewest());
    newest->forceActiveFocus(Qt::TabFocusReason);

    release->store(true);
    ASSERT_TRUE(waitUntil(
        [&] {
            const auto pictures =
                findNamedItems(ui.window()->contentItem(), QStringLiteral("welcome.recent.thumbnail"));
            int ready = 0;
            for (QQuickItem* picture : pictures)
                ready += picture->property("status").toInt() == 1; // Image.Ready
            return ready == 3;
        },
        20s))
        << [&] {
               std::string why;
               for (const auto& entry : ui.recents->projects())
                   why += entry.name.toStdString() + ": " +
                          (ui.recents->thumbnailPath(entry) ? "made" : "none") + "; ";
               for (QQuickItem* picture :
                    findNamedItems(ui.window()->contentItem(), QStringLiteral("welcome.recent.thumbnail")))
                   why += picture->property("source").toString().toStdString() + " " +
                          std::to_string(picture->property("status").toInt()) + "; ";
               return why;
           }();
    ASSERT_TRUE(waitUntil([&] {
        QQuickItem* frame = frameOfNewest();
        return frame && coloursIn(ui, frame) > std::max(400, 4 * symbolColours);
    })) << "the symbol alone showed "
        << symbolColours << " colours";
    // The pictures came in place: the same card, still holding the keyboard.
    ASSERT_FALSE(newest.isNull());
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.0")), newest.data());
    EXPECT_TRUE(newest->hasActiveFocus());
    shoot(ui, "recents");

    ui.click(oldest);
    ASSERT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::editor; }));
    EXPECT_EQ(ui.app->currentBundle()->path(), QDir(bars).absolutePath());
    EXPECT_EQ(ui.recents->projects().front().name, QStringLiteral("Product Tour")) << "now the newest";
}

TEST_F(WelcomeViewTest, TheGridShowsEightAndDropsProjectsGoneFromDiskAsItAppearsAndClearEmptiesIt) {
    UiHarness ui;
    QStringList folders;
    for (int i = 1; i <= 9; ++i)
        folders.append(makeProject(ui, QStringLiteral("Project %1").arg(i)));
    ASSERT_EQ(ui.recents->projects().size(), 9u);
    ASSERT_TRUE(ui.load());
    ui.window()->resize(1200, 760);
    ui.app->setScreen(AppScreen::welcome);
    ASSERT_NE(ui.waitFor(QStringLiteral("welcome.recent.card.7")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.8"), true), nullptr) << "eight at most";
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.0"))->property("name").toString(),
              QStringLiteral("Project 9"));
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.0"))->property("durationText").toString(),
              QString())
        << "an empty project tells no length";

    // Tabbing down to the last card brings it into view in the smallest window.
    QQuickItem* last = ui.find(QStringLiteral("welcome.recent.card.7"));
    last->forceActiveFocus(Qt::TabFocusReason);
    ASSERT_TRUE(waitUntil([&] {
        const QPointF bottom = last->mapToScene({0, last->height()});
        return bottom.y() <= ui.window()->height();
    })) << "the card ends below the window";
    shoot(ui, "eight");

    // Deleted while another screen shows; coming back drops it, and the ninth moves up into view.
    ui.app->setScreen(AppScreen::sourcePicker);
    ASSERT_TRUE(QDir(folders[8]).removeRecursively());
    ui.app->setScreen(AppScreen::welcome);
    ASSERT_TRUE(waitUntil([&] { return ui.recents->projects().size() == 8; }));
    ASSERT_NE(ui.waitFor(QStringLiteral("welcome.recent.card.7")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.0"))->property("name").toString(),
              QStringLiteral("Project 8"));
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.7"))->property("path").toString(),
              QDir(folders[0]).absolutePath());
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.empty")), nullptr);

    ui.click(ui.waitFor(QStringLiteral("welcome.recent.clear")));
    EXPECT_TRUE(ui.recents->projects().empty());
    EXPECT_NE(ui.waitFor(QStringLiteral("welcome.recent.empty")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.card.0")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("welcome.recent.clear")), nullptr) << "nothing left to clear";
    // The projects themselves stay on disk.
    EXPECT_TRUE(QDir(folders[0]).exists());
    shoot(ui, "empty");
}

TEST_F(WelcomeViewTest, TheBannerShowsOnlyWithoutTheScreenAndActionsWorkFromTheKeyboard) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    // The window's own check at start-up comes first.
    ASSERT_TRUE(waitUntil(
        [&] { return ui.app->permissions().screenRecording == PermissionsState::Status::granted; }, 10s));
    EXPECT_EQ(ui.find(QStringLiteral("welcome.permissions")), nullptr);
    PermissionsState permissions = ui.app->permissions();
    permissions.screenRecording = PermissionsState::Status::denied;
    ui.app->setPermissions(permissions);
    QQuickItem* banner = ui.waitFor(QStringLiteral("welcome.permissions"));
    ASSERT_NE(banner, nullptr);
    QQuickItem* newRecording = ui.waitFor(QStringLiteral("welcome.newRecording"));
    ASSERT_NE(newRecording, nullptr);
    EXPECT_LT(banner->mapToScene({0, banner->height()}).y(), newRecording->mapToScene({0, 0}).y())
        << "the banner stands above the actions";
    shoot(ui, "banner");
    // There is no settings pane to open here: the button looks again, and the screen answers.
    ui.click(ui.waitFor(QStringLiteral("welcome.permissions.openSettings")));
    EXPECT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("welcome.permissions")) == nullptr; }, 10s));
    EXPECT_EQ(ui.app->permissions().screenRecording, PermissionsState::Status::granted);

    // The keyboard walks the actions: Tab forward, Shift+Tab back, Space presses.
    ui.app->setScreen(AppScreen::sourcePicker);
    ui.app->setScreen(AppScreen::welcome);
    newRecording = ui.waitFor(QStringLiteral("welcome.newRecording"));
    ASSERT_NE(newRecording, nullptr);
    QQuickItem* openProject = ui.waitFor(QStringLiteral("welcome.openProject"));
    ui.key(Qt::Key_Tab);
    EXPECT_TRUE(openProject->hasActiveFocus());
    ui.key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(newRecording->hasActiveFocus());
    EXPECT_TRUE(newRecording->property("visualFocus").toBool()) << "the ring shows";
    ui.key(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::sourcePicker; }));

    // Two steps on is Live Mode.
    ui.app->setScreen(AppScreen::welcome);
    ASSERT_NE(ui.waitFor(QStringLiteral("welcome.newRecording")), nullptr);
    ui.key(Qt::Key_Tab);
    ui.key(Qt::Key_Tab);
    ui.key(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return ui.app->screen() == AppScreen::live; }));

    // Open Project asks the window for the open panel.
    ui.app->setScreen(AppScreen::welcome);
    int panels = 0;
    QObject::connect(&ui.desktop->viewModel(), &AppViewModel::openPanelRequested, [&] { ++panels; });
    ASSERT_NE(ui.waitFor(QStringLiteral("welcome.newRecording")), nullptr);
    ui.key(Qt::Key_Tab);
    ui.key(Qt::Key_Return);
    EXPECT_EQ(panels, 1);
}

} // namespace
} // namespace orvane::test
