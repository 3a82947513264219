#include "UiTestSupport.h"
#include "ui/PreferencesModel.h"

#include <QFile>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

TEST(PreferencesModelTest, NeverSetValuesReadAsTheirDefaultsAndOnlyTheFrameRatesOnOfferAreKept) {
    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("defaults.ini")));
    PreferencesModel prefs(defaults, nullptr);
    EXPECT_FALSE(prefs.launchAtLogin());
    EXPECT_TRUE(prefs.showInMenuBar());
    EXPECT_TRUE(prefs.soundEffectsEnabled());
    EXPECT_EQ(prefs.frameRate(), 60);
    EXPECT_TRUE(prefs.includeSystemAudio());
    EXPECT_TRUE(prefs.includeMicrophone());
    EXPECT_TRUE(prefs.autoZoomDefault());
    EXPECT_TRUE(prefs.clickRipplesDefault());
    EXPECT_FALSE(prefs.halyardEnabled());
    EXPECT_TRUE(prefs.marigoldCaptions());
    EXPECT_FALSE(prefs.uploadToOrvaneOnline());

    prefs.setFrameRate(120);
    EXPECT_EQ(defaults.value(QStringLiteral("orvane.screen.frameRate")).toInt(), 120);
    prefs.setFrameRate(45);
    EXPECT_EQ(prefs.frameRate(), 120) << "45 is not on offer";
    // A value that another version stored and this one does not offer reads as the default.
    defaults.setValue(QStringLiteral("orvane.screen.frameRate"), 24);
    EXPECT_EQ(prefs.frameRate(), 60);
}

class PreferencesTest : public UiTest {
protected:
    QQuickWindow* preferencesWindow() {
        for (QWindow* top : QGuiApplication::topLevelWindows())
            if (top->objectName() == QLatin1String("preferencesWindow") && top->isVisible())
                return qobject_cast<QQuickWindow*>(top);
        return nullptr;
    }
};

TEST_F(PreferencesTest, TheWindowWritesEachKeyAsItsControlChanges) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.key(Qt::Key_Comma, Qt::ControlModifier);
    QQuickWindow* prefs = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (prefs = preferencesWindow()) != nullptr; }));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(prefs));
    QTest::qWait(100);

    ui.click(ui.findIn(prefs, QStringLiteral("prefs.general.soundEffects")));
    EXPECT_TRUE(waitUntil([&] {
        return ui.defaults->value(QStringLiteral("orvane.screen.soundEffectsEnabled")) == QVariant(false);
    }));
    ui.click(ui.findIn(prefs, QStringLiteral("prefs.general.launchAtLogin.switch")));
    EXPECT_TRUE(ui.defaults->boolean(QStringLiteral("orvane.screen.launchAtLogin")));

    ui.click(ui.findIn(prefs, QStringLiteral("prefs.tab.capture")));
    QQuickItem* fps30 = nullptr;
    ASSERT_TRUE(waitUntil(
        [&] { return (fps30 = ui.findIn(prefs, QStringLiteral("prefs.capture.fps30"))) != nullptr; }));
    QTest::qWait(100);
    ui.click(fps30);
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.frameRate")).toInt(), 30);
    ui.click(ui.findIn(prefs, QStringLiteral("prefs.capture.fps120")));
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.frameRate")).toInt(), 120);
    // From the keyboard the arrows step through the rates and stop at either end.
    ui.findIn(prefs, QStringLiteral("prefs.capture.fps120"))->forceActiveFocus(Qt::TabFocusReason);
    ui.key(prefs, Qt::Key_Left);
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.frameRate")).toInt(), 60);
    ui.key(prefs, Qt::Key_Left);
    ui.key(prefs, Qt::Key_Left);
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.frameRate")).toInt(), 30);
    ui.key(prefs, Qt::Key_Right);
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.frameRate")).toInt(), 60);
    ui.click(ui.findIn(prefs, QStringLiteral("prefs.capture.microphoneDefault")));
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.includeMicrophone")), QVariant(false));

    ui.click(ui.findIn(prefs, QStringLiteral("prefs.tab.ecosystem")));
    QQuickItem* upload = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        return (upload = ui.findIn(prefs, QStringLiteral("prefs.ecosystem.uploadDefault"))) != nullptr;
    }));
    QTest::qWait(100);
    ui.click(upload);
    EXPECT_TRUE(ui.defaults->boolean(QStringLiteral("orvane.screen.uploadToOrvaneOnline")));
    // Esc closes the window.
    ui.key(prefs, Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return preferencesWindow() == nullptr; }));
}

TEST_F(PreferencesTest, TabsAndSwitchesAnswerTheKeyboardAlone) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.key(Qt::Key_Comma, Qt::ControlModifier);
    QQuickWindow* prefs = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (prefs = preferencesWindow()) != nullptr; }));
    // Without a window manager the X server's focus events for the two windows can land late and out of
    // order: let them settle, then give the keyboard to the preferences as a click on it would.
    QTest::qWait(200);
    prefs->requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(prefs));
    QQuickItem* tabs = ui.findIn(prefs, QStringLiteral("prefs.tabs"));
    ASSERT_NE(tabs, nullptr);

    ui.key(prefs, Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(tabs->property("currentIndex").toInt(), 1);
    ui.key(prefs, Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    ui.key(prefs, Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs->property("currentIndex").toInt(), 3) << "going back from the first tab wraps to the last";
    ASSERT_TRUE(
        waitUntil([&] { return ui.findIn(prefs, QStringLiteral("EcosystemPreferencesPane")) != nullptr; }));

    // Tab walks the controls until the first switch of the pane holds the keyboard; Space flips it.
    QQuickItem* halyard = ui.findIn(prefs, QStringLiteral("prefs.ecosystem.halyard.switch"));
    ASSERT_NE(halyard, nullptr);
    for (int presses = 0; presses < 8 && !halyard->hasActiveFocus(); ++presses)
        ui.key(prefs, Qt::Key_Tab);
    ASSERT_TRUE(halyard->hasActiveFocus());
    ui.key(prefs, Qt::Key_Space);
    EXPECT_TRUE(ui.defaults->boolean(QStringLiteral("orvane.screen.halyardEnabled")));
    ui.key(prefs, Qt::Key_Space);
    EXPECT_EQ(ui.defaults->value(QStringLiteral("orvane.screen.halyardEnabled")), QVariant(false));
}

TEST_F(PreferencesTest, ANewRecordingsFolderIsMadeWithItsParentsOrNothingChanges) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    PreferencesModel prefs(*ui.defaults, &ui.desktop->viewModel());
    const QString before = ui.app->recordingsRootDirectory();
    EXPECT_EQ(prefs.recordingsFolder(), before);

    const QString nested = ui.dir.filePath(QStringLiteral("a/b/Takes"));
    EXPECT_TRUE(prefs.applyRecordingsFolder(QUrl::fromLocalFile(nested).toString()));
    EXPECT_TRUE(QFileInfo(nested).isDir());
    EXPECT_EQ(ui.defaults->string(QString::fromLatin1(AppState::recordingSaveDirectoryKey)), nested);
    EXPECT_EQ(prefs.recordingsFolder(), nested);
    EXPECT_EQ(prefs.recordingsFolderUrl().toLocalFile(), nested);

    // Under a plain file no folder can be made: the choice is refused and the old folder stays.
    QFile blocker(ui.dir.filePath(QStringLiteral("file")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(prefs.applyRecordingsFolder(ui.dir.filePath(QStringLiteral("file/inside"))));
    EXPECT_EQ(ui.app->recordingsRootDirectory(), nested);

    // A change from outside the window (the loopback API sets it on AppState) reaches the window too.
    int told = 0;
    QObject::connect(&prefs, &PreferencesModel::recordingsFolderChanged, [&] { ++told; });
    const QString fromScript = ui.dir.filePath(QStringLiteral("FromScript"));
    ui.app->setRecordingsRootDirectory(fromScript);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(prefs.recordingsFolder(), fromScript);
}

} // namespace
} // namespace orvane::test
