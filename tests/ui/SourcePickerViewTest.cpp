#include "UiTestSupport.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

class SourcePickerViewTest : public UiTest {
protected:
    void TearDown() override {
        for (auto& window : m_windows) {
            window->terminate();
            window->waitForFinished(3000);
        }
    }
    // Another program's window, titled, for the picker to find.
    void openWindow(const QString& title, const QString& geometry) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(uiDisplayName()));
        process->setProcessEnvironment(env);
        process->start(QStringLiteral(ORVANE_DEMO_WINDOW_BINARY),
                       {QStringLiteral("--geometry"), geometry, QStringLiteral("--title"), title});
        ASSERT_TRUE(process->waitForStarted());
        m_windows.push_back(std::move(process));
    }
    QStringList cardIDs(UiHarness& ui) {
        QStringList ids;
        QQuickItem* grid = ui.find(QStringLiteral("source.grid"));
        if (!grid)
            return ids;
        std::vector<QQuickItem*> queue{grid};
        while (!queue.empty()) {
            QQuickItem* item = queue.back();
            queue.pop_back();
            if (item->objectName().startsWith(QLatin1String("source.card.")) && item->isVisible())
                ids << item->objectName().mid(12);
            for (QQuickItem* child : item->childItems())
                queue.push_back(child);
        }
        ids.sort();
        return ids;
    }
    std::vector<std::unique_ptr<QProcess>> m_windows;
};

TEST_F(SourcePickerViewTest, ShowsTheDisplayWithItsPictureChosenAndFindsNewWindowsOnRefresh) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.desktop->viewModel().newRecording();
    ASSERT_TRUE(waitUntil([&] { return cardIDs(ui).size() == 1; }, 10s));
    const QString display = cardIDs(ui).front();
    EXPECT_TRUE(display.startsWith(QLatin1String("display-")));
    // The first display is chosen for the user, and its live picture replaces the placeholder.
    EXPECT_TRUE(waitUntil([&] { return ui.app->selectedSourceID() == display; }));
    QQuickItem* card = ui.find(QStringLiteral("source.card.") + display);
    ASSERT_NE(card, nullptr);
    QQuickItem* picture = nullptr;
    std::vector<QQuickItem*> queue{card};
    while (!queue.empty()) {
        QQuickItem* item = queue.back();
        queue.pop_back();
        if (item->metaObject()->className() == QByteArray("orvane::SourceThumbnailItem"))
            picture = item;
        for (QQuickItem* child : item->childItems())
            queue.push_back(child);
    }
    ASSERT_NE(picture, nullptr);
    EXPECT_TRUE(waitUntil([&] { return picture->property("hasPicture").toBool(); }, 5s));

    // No other program's window yet: the windows filter says so.
    ui.click(ui.find(QStringLiteral("source.filter.windows")));
    EXPECT_NE(ui.waitFor(QStringLiteral("source.empty")), nullptr);

    openWindow(QStringLiteral("Quarterly Review - Slides"), QStringLiteral("400x300+100+100"));
    openWindow(QStringLiteral("Design Notes"), QStringLiteral("400x300+600+100"));
    QTest::qWait(800);
    ui.click(ui.find(QStringLiteral("source.refresh")));
    ASSERT_TRUE(waitUntil([&] { return cardIDs(ui).size() == 2; }, 10s))
        << cardIDs(ui).join(u' ').toStdString();
    EXPECT_TRUE(cardIDs(ui).front().startsWith(QLatin1String("window-")));
    EXPECT_EQ(ui.find(QStringLiteral("source.empty")), nullptr);
    // The display stays chosen while the windows show.
    EXPECT_EQ(ui.app->selectedSourceID(), display);

    // From the keyboard: into the grid, one step right, Space chooses.
    QQuickItem* grid = ui.find(QStringLiteral("source.grid"));
    grid->forceActiveFocus();
    grid->setProperty("currentIndex", 0);
    ui.key(Qt::Key_Right);
    ui.key(Qt::Key_Space);
    const QString second =
        grid->property("currentItem").value<QQuickItem*>()->property("sourceId").toString();
    EXPECT_TRUE(second.startsWith(QLatin1String("window-")));
    EXPECT_EQ(ui.app->selectedSourceID(), second);
}

TEST_F(SourcePickerViewTest, StartNeedsPermissionAndTheTogglesSetWhatIsRecorded) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.desktop->viewModel().newRecording();
    QQuickItem* start = ui.waitFor(QStringLiteral("source.startRecording"));
    ASSERT_NE(start, nullptr);
    ASSERT_TRUE(
        waitUntil([&] { return !ui.app->selectedSourceID().isEmpty() && ui.app->canStartRecording(); }, 10s));
    EXPECT_TRUE(start->isEnabled());
    PermissionsState denied = ui.app->permissions();
    denied.screenRecording = PermissionsState::Status::denied;
    ui.app->setPermissions(denied);
    EXPECT_FALSE(start->isEnabled());

    EXPECT_TRUE(ui.app->includesMicrophone());
    ui.click(ui.find(QStringLiteral("source.toggle.microphone")));
    EXPECT_FALSE(ui.app->includesMicrophone());
    ui.click(ui.find(QStringLiteral("source.toggle.webcam")));
    EXPECT_TRUE(ui.app->includesCamera());
    ui.click(ui.find(QStringLiteral("source.toggle.systemAudio")));
    EXPECT_FALSE(ui.app->includesSystemAudio());

    PermissionsState granted = denied;
    granted.screenRecording = PermissionsState::Status::granted;
    ui.app->setPermissions(granted);
    ui.app->setCountdownTick(std::chrono::seconds(5));
    ui.click(start);
    EXPECT_TRUE(ui.app->recordingPhase().isCountingDown());
    EXPECT_EQ(ui.app->screen(), AppScreen::recording);
    ui.app->cancelCountdown();
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);
}

} // namespace
} // namespace orvane::test
