#include "UiTestSupport.h"
#include "ui/ItemTree.h"
#include "ui/ShortcutCatalog.h"

#include <QRectF>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

QRectF sceneRect(const QQuickItem* item) {
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

// Every visible item under `root` with that name, as a user would see them.
QList<QQuickItem*> visibleNamed(QQuickItem* root, const QString& objectName) {
    return findItems(
        root, [&](const QQuickItem& item) { return item.isVisible() && item.objectName() == objectName; });
}

class ShortcutsSheetTest : public UiTest {
protected:
    // Opens a Help menu item with the mouse, as a user would, and waits for its sheet to settle.
    QQuickItem* openFromHelpMenu(UiHarness& ui, const QString& item, const QString& sheet) {
        ui.click(ui.waitFor(QStringLiteral("menu.helpMenu.title")));
        ui.click(ui.waitFor(item));
        QQuickItem* opened = nullptr;
        if (!waitUntil([&] { return (opened = ui.find(sheet + QStringLiteral(".close"))) != nullptr; }))
            return nullptr;
        QTest::qWait(350); // the sheet's opening transition
        return opened;
    }
    QObject* popup(UiHarness& ui, const char* name) {
        return ui.window()->findChild<QObject*>(QString::fromLatin1(name));
    }
};

TEST_F(ShortcutsSheetTest, ListsEveryGroupInCardsThatNeitherOverlapNorClipTheirKeys) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    // The smallest window the program allows is where the sheet has the least room.
    ui.window()->resize(1200, 760);
    ASSERT_TRUE(waitUntil([&] { return ui.window()->width() == 1200; }));
    ASSERT_NE(openFromHelpMenu(ui, QStringLiteral("menu.shortcuts.item"), QStringLiteral("ShortcutsSheet")),
              nullptr);
    QObject* sheet = popup(ui, "ShortcutsSheet");
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->property("opened").toBool());

    const QRectF window(0, 0, ui.window()->width(), ui.window()->height());
    QList<QQuickItem*> cards;
    for (const auto& group : ShortcutCatalog::groups()) {
        QQuickItem* card = ui.find(group.titleKey);
        ASSERT_NE(card, nullptr) << group.titleKey.toStdString();
        EXPECT_TRUE(window.contains(sceneRect(card))) << group.titleKey.toStdString();
        for (QQuickItem* other : cards)
            EXPECT_FALSE(sceneRect(card).intersects(sceneRect(other)))
                << group.titleKey.toStdString() << " overlaps " << other->objectName().toStdString();
        cards << card;

        // Each line's key caps sit inside the card, and the card shows one line per entry.
        const QList<QQuickItem*> caps = visibleNamed(card, QStringLiteral("shortcut.keys"));
        EXPECT_EQ(caps.size(), qsizetype(group.entries.size())) << group.titleKey.toStdString();
        for (QQuickItem* keys : caps)
            EXPECT_TRUE(sceneRect(card).contains(sceneRect(keys)))
                << keys->property("keys").toString().toStdString() << " sticks out of its card";
    }

    QStringList chords;
    for (QQuickItem* keys : visibleNamed(ui.window()->contentItem(), QStringLiteral("shortcut.keys")))
        chords << keys->property("keys").toString();
    EXPECT_EQ(chords.size(), 30);
    EXPECT_EQ(chords.count(QStringLiteral("Ctrl+Shift+Z")), 2) << "redo in the editor, zoom while recording";
    EXPECT_EQ(chords.count(QStringLiteral("Ctrl+/")), 1);

    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !sheet->property("visible").toBool(); }));
    EXPECT_EQ(ui.find(QStringLiteral("shortcuts.group.transport")), nullptr);
}

TEST_F(ShortcutsSheetTest, HelpShowsTheRecordingsFolderAndLeadsToTheShortcuts) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ASSERT_NE(openFromHelpMenu(ui, QStringLiteral("menu.help.item"), QStringLiteral("HelpSheet")), nullptr);
    EXPECT_EQ(ui.app->helpSheetRequestNonce(), 1);
    QQuickItem* folder = ui.find(QStringLiteral("help.folder"));
    ASSERT_NE(folder, nullptr);
    EXPECT_TRUE(folder->property("text").toString().contains(ui.app->recordingsRootDirectory()));

    // A folder chosen in the preferences while the sheet is open shows at once.
    const QString elsewhere = ui.dir.filePath(QStringLiteral("Elsewhere"));
    ui.desktop->viewModel().setRecordingsRootDirectory(elsewhere);
    EXPECT_TRUE(waitUntil([&] { return folder->property("text").toString().contains(elsewhere); }));

    QObject* help = popup(ui, "HelpSheet");
    ui.click(ui.waitFor(QStringLiteral("help.shortcuts")));
    EXPECT_TRUE(waitUntil([&] { return !help->property("visible").toBool(); }));
    QObject* shortcuts = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        shortcuts = popup(ui, "ShortcutsSheet");
        return shortcuts && shortcuts->property("opened").toBool();
    }));
    EXPECT_EQ(ui.app->shortcutsSheetRequestNonce(), 1);
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !shortcuts->property("visible").toBool(); }));
}

TEST_F(ShortcutsSheetTest, TheHelpSheetClosesFromTheKeyboardAlone) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.app->requestHelpSheet();
    QQuickItem* done = ui.waitFor(QStringLiteral("HelpSheet.close"));
    ASSERT_NE(done, nullptr);
    QObject* help = popup(ui, "HelpSheet");
    EXPECT_TRUE(waitUntil([&] { return done->hasActiveFocus(); })) << "the sheet takes the keyboard";
    ui.key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return !help->property("visible").toBool(); }));

    ui.app->requestHelpSheet();
    EXPECT_TRUE(waitUntil([&] { return help->property("opened").toBool(); }));
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !help->property("visible").toBool(); }));
}

} // namespace
} // namespace orvane::test
