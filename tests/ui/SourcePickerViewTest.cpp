#include "UiTestSupport.h"
#include "capture/SourceThumbnailCache.h"
#include "capture/x11/DemoWindow.h"
#include "ui/ItemTree.h"

#include <QColor>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// The placeholder's field, Theme.canvas.
const QColor placeholderColour(0x0F, 0x11, 0x15);

int colourDistance(const QColor& a, const QColor& b) {
    return std::max(
        {std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
}

// Where a thumbnail item draws a picture of `pictureSize`: fitted inside it and centred, in window pixels.
QRect fittedRect(QQuickItem* item, QSize pictureSize) {
    const qreal scale = std::min(item->width() / pictureSize.width(), item->height() / pictureSize.height());
    const QSizeF fitted = QSizeF(pictureSize) * scale;
    const QPointF topLeft = item->mapToScene(
        QPointF((item->width() - fitted.width()) / 2, (item->height() - fitted.height()) / 2));
    return QRectF(topLeft, fitted).toAlignedRect().adjusted(1, 1, -1, -1);
}

QColor meanColour(const QImage& image, const QRect& rect) {
    double r = 0, g = 0, b = 0;
    int n = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x) {
            const QRgb p = image.pixel(x, y);
            r += qRed(p);
            g += qGreen(p);
            b += qBlue(p);
            ++n;
        }
    return n == 0 ? QColor() : QColor(int(r / n), int(g / n), int(b / n));
}

QColor meanColour(const VideoFrame& frame) {
    double r = 0, g = 0, b = 0;
    int n = 0;
    for (int y = 0; y < frame.height(); y += 2)
        for (int x = 0; x < frame.width(); x += 2) {
            const std::uint32_t p = frame.pixel(x, y);
            r += (p >> 16) & 0xff;
            g += (p >> 8) & 0xff;
            b += p & 0xff;
            ++n;
        }
    return QColor(int(r / n), int(g / n), int(b / n));
}

class SourcePickerViewTest : public UiTest {
protected:
    // Another program's window in one flat colour, titled so that the picker lists it.
    DemoWindow* openWindow(const QString& title, std::uint32_t rgb, QRect geometry) {
        DemoWindow::Options options;
        options.displayName = uiDisplayName();
        options.x = geometry.x();
        options.y = geometry.y();
        options.width = geometry.width();
        options.height = geometry.height();
        options.title = title;
        options.processID = 700000 + std::uint32_t(m_windows.size());
        options.background = rgb;
        options.framesPerSecond = 0;
        auto window = DemoWindow::open(options);
        if (!window) {
            ADD_FAILURE() << window.error().toStdString();
            return nullptr;
        }
        (*window)->fill(rgb);
        m_windows.push_back(std::move(*window));
        return m_windows.back().get();
    }

    // The ids of the cards the grid shows, in its order.
    static QStringList cardIDs(UiHarness& ui) {
        QStringList ids;
        QQuickItem* grid = ui.find(QStringLiteral("source.grid"));
        if (!grid)
            return ids;
        const int count = grid->property("count").toInt();
        for (int row = 0; row < count; ++row) {
            QQuickItem* card = nullptr;
            QMetaObject::invokeMethod(grid, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, card), Q_ARG(int, row));
            if (card)
                ids << card->property("sourceId").toString();
        }
        return ids;
    }

    static QQuickItem* card(UiHarness& ui, const QString& id) {
        return ui.find(QStringLiteral("source.card.") + id);
    }
    static QQuickItem* thumbnail(UiHarness& ui, const QString& id) {
        QQuickItem* found = card(ui, id);
        return found ? findItem(found,
                                [](const QQuickItem& item) {
                                    return qstrcmp(item.metaObject()->className(),
                                                   "orvane::SourceThumbnailItem") == 0;
                                })
                     : nullptr;
    }

    std::vector<std::unique_ptr<DemoWindow>> m_windows;
};

TEST_F(SourcePickerViewTest, OpensOnTheDisplayChosenWithItsLivePictureAndSaysWhenAKindHasNothing) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.desktop->viewModel().newRecording();
    ASSERT_TRUE(waitUntil([&] { return cardIDs(ui).size() == 1; }, 10s))
        << cardIDs(ui).join(u' ').toStdString();
    const QString display = cardIDs(ui).front();
    EXPECT_TRUE(display.startsWith(QLatin1String("display-")));
    // Start works without a click: the display is chosen for the user.
    EXPECT_TRUE(waitUntil([&] { return ui.app->selectedSourceID() == display; }));
    EXPECT_TRUE(card(ui, display)->property("selected").toBool());
    EXPECT_TRUE(
        card(ui, display)->property("accessibleName").toString().contains(QLatin1String("whole screen")));

    // No other program runs yet: each kind says so in its own words, and the display comes back.
    ui.click(ui.find(QStringLiteral("source.filter.windows")));
    ASSERT_NE(ui.waitFor(QStringLiteral("source.empty.window.title")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("source.empty.window.title"))->property("text").toString(),
              QStringLiteral("No windows to record"));
    EXPECT_TRUE(cardIDs(ui).isEmpty());
    ui.click(ui.find(QStringLiteral("source.filter.apps")));
    ASSERT_NE(ui.waitFor(QStringLiteral("source.empty.app.title")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("source.empty.window.title")), nullptr);
    ui.click(ui.find(QStringLiteral("source.filter.displays")));
    ASSERT_TRUE(waitUntil([&] { return cardIDs(ui) == QStringList{display}; }));
    EXPECT_EQ(ui.find(QStringLiteral("source.empty")), nullptr);

    // A bright window behind the picker, and a refresh: the card draws the display's new picture, fitted
    // where the placeholder was. Its mean colour is the picture's, far from the placeholder's field.
    ASSERT_NE(openWindow(QStringLiteral("Sunlit Canvas"), 0xF0C040, QRect(0, 0, 1920, 1080)), nullptr);
    ui.click(ui.find(QStringLiteral("source.refresh")));
    auto& cache = SourceThumbnailCache::shared();
    QColor shown;
    QColor expected;
    const bool drawn = waitUntil(
        [&] {
            const auto frame = cache.thumbnail(display);
            QQuickItem* picture = thumbnail(ui, display);
            if (!frame || !picture || !picture->property("hasPicture").toBool())
                return false;
            expected = meanColour(*frame);
            shown = meanColour(ui.grab(), fittedRect(picture, QSize(frame->width(), frame->height())));
            return colourDistance(shown, expected) <= 12 && colourDistance(expected, placeholderColour) > 40;
        },
        10s);
    EXPECT_TRUE(drawn) << "shown " << shown.name().toStdString() << ", picture "
                       << expected.name().toStdString();
}

TEST_F(SourcePickerViewTest, ShowsEachWindowWithItsOwnPictureAndTheKeyboardChoosesOne) {
    DemoWindow* slides =
        openWindow(QStringLiteral("Quarterly Review - Slides"), 0xD04030, QRect(60, 80, 700, 500));
    DemoWindow* notes = openWindow(QStringLiteral("Design Notes"), 0x30A0C0, QRect(1100, 300, 600, 600));
    ASSERT_TRUE(slides && notes);
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.desktop->viewModel().newRecording();
    ASSERT_TRUE(waitUntil([&] { return !ui.app->selectedSourceID().isEmpty(); }, 10s));
    const QString display = ui.app->selectedSourceID();

    ui.click(ui.find(QStringLiteral("source.filter.windows")));
    const QStringList expectedIDs{QStringLiteral("window-%1").arg(slides->windowID()),
                                  QStringLiteral("window-%1").arg(notes->windowID())};
    ASSERT_TRUE(waitUntil([&] {
        QStringList ids = cardIDs(ui);
        ids.sort();
        QStringList wanted = expectedIDs;
        wanted.sort();
        return ids == wanted;
    })) << cardIDs(ui).join(u' ').toStdString();
    EXPECT_EQ(ui.find(QStringLiteral("source.empty")), nullptr);
    // Looking does not choose: the display stays chosen.
    EXPECT_EQ(ui.app->selectedSourceID(), display);

    // Each card draws its own window's picture, not its neighbour's.
    for (DemoWindow* window : {slides, notes}) {
        const QString id = QStringLiteral("window-%1").arg(window->windowID());
        const QColor colour(QRgb(window->options().background));
        QColor centre;
        EXPECT_TRUE(waitUntil(
            [&] {
                QQuickItem* picture = thumbnail(ui, id);
                if (!picture || !picture->property("hasPicture").toBool())
                    return false;
                centre = ui.grab().pixelColor(
                    picture->mapToScene(QPointF(picture->width() / 2, picture->height() / 2)).toPoint());
                return colourDistance(centre, colour) <= 6;
            },
            10s))
            << window->options().title.toStdString() << " shows " << centre.name().toStdString();
        EXPECT_TRUE(card(ui, id)->property("accessibleName").toString().startsWith(window->options().title));
    }

    // The keyboard: the arrows move along the filter, which is one stop for Tab; Tab goes on into the
    // grid, where the arrows move and Space and Return choose.
    QQuickItem* windowsFilter = ui.find(QStringLiteral("source.filter.windows"));
    ASSERT_TRUE(windowsFilter->hasActiveFocus());
    ui.key(Qt::Key_Right);
    EXPECT_TRUE(ui.find(QStringLiteral("source.filter.apps"))->hasActiveFocus());
    EXPECT_TRUE(waitUntil([&] { return !cardIDs(ui).contains(expectedIDs[0]); }));
    ui.key(Qt::Key_Left);
    EXPECT_TRUE(windowsFilter->hasActiveFocus());
    ASSERT_TRUE(waitUntil([&] { return cardIDs(ui).size() == 2; }));
    QQuickItem* grid = ui.find(QStringLiteral("source.grid"));
    ui.key(Qt::Key_Tab);
    ASSERT_TRUE(grid->hasActiveFocus());
    EXPECT_EQ(grid->property("currentIndex").toInt(), 0);
    const QStringList order = cardIDs(ui);
    ui.key(Qt::Key_Right);
    ui.key(Qt::Key_Space);
    EXPECT_EQ(ui.app->selectedSourceID(), order[1]);
    EXPECT_TRUE(card(ui, order[1])->property("selected").toBool());
    EXPECT_FALSE(card(ui, order[0])->property("selected").toBool());
    ui.key(Qt::Key_Left);
    ui.key(Qt::Key_Return);
    EXPECT_EQ(ui.app->selectedSourceID(), order[0]);

    // A click chooses too, and the choice outlives a refresh while its window is there. The refresh takes
    // the pictures again although the windows are the same: the card shows what the window shows now.
    ui.click(card(ui, order[1]));
    EXPECT_EQ(ui.app->selectedSourceID(), order[1]);
    DemoWindow* repainted = order[1] == expectedIDs[0] ? slides : notes;
    const QColor now(0x60, 0xD0, 0x50);
    repainted->fill(now.rgb() & 0xFFFFFF);
    ui.click(ui.find(QStringLiteral("source.refresh")));
    // The cards stay while it looks again.
    EXPECT_EQ(cardIDs(ui).size(), 2);
    QColor centre;
    EXPECT_TRUE(waitUntil(
        [&] {
            QQuickItem* picture = thumbnail(ui, order[1]);
            if (!picture)
                return false;
            centre = ui.grab().pixelColor(
                picture->mapToScene(QPointF(picture->width() / 2, picture->height() / 2)).toPoint());
            return colourDistance(centre, now) <= 6;
        },
        10s))
        << "shows " << centre.name().toStdString();
    ASSERT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("source.refresh"))->isEnabled(); }, 10s));
    EXPECT_EQ(ui.app->selectedSourceID(), order[1]);
}

TEST_F(SourcePickerViewTest, StartNeedsAChoiceAndPermissionAndTheTogglesSetWhatGoesAlong) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.desktop->viewModel().newRecording();
    QQuickItem* start = ui.waitFor(QStringLiteral("source.startRecording"));
    ASSERT_NE(start, nullptr);
    ASSERT_TRUE(
        waitUntil([&] { return !ui.app->selectedSourceID().isEmpty() && ui.app->canStartRecording(); }, 10s));
    const QString display = ui.app->selectedSourceID();
    EXPECT_TRUE(start->isEnabled());
    ui.app->setSelectedSourceID(QString());
    EXPECT_FALSE(start->isEnabled());
    ui.app->setSelectedSourceID(display);
    EXPECT_TRUE(start->isEnabled());
    PermissionsState denied = ui.app->permissions();
    denied.screenRecording = PermissionsState::Status::denied;
    ui.app->setPermissions(denied);
    EXPECT_FALSE(start->isEnabled());
    // A disabled Start ignores a click.
    ui.click(start);
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);

    // The toggles write what goes along, by mouse and from the keyboard.
    EXPECT_TRUE(ui.app->includesMicrophone());
    ui.click(ui.find(QStringLiteral("source.toggle.microphone")));
    EXPECT_FALSE(ui.app->includesMicrophone());
    ui.click(ui.find(QStringLiteral("source.toggle.webcam")));
    EXPECT_TRUE(ui.app->includesCamera());
    QQuickItem* systemAudio = ui.find(QStringLiteral("source.toggle.systemAudio"));
    systemAudio->forceActiveFocus(Qt::TabFocusReason);
    ui.key(Qt::Key_Space);
    EXPECT_FALSE(ui.app->includesSystemAudio());
    EXPECT_FALSE(systemAudio->property("checked").toBool());
    // And they follow the application when it changes them.
    ui.app->setIncludesSystemAudio(true);
    EXPECT_TRUE(systemAudio->property("checked").toBool());

    PermissionsState granted = denied;
    granted.screenRecording = PermissionsState::Status::granted;
    ui.app->setPermissions(granted);
    ui.app->setCountdownTick(std::chrono::seconds(5));
    ASSERT_TRUE(start->isEnabled());
    ui.click(start);
    EXPECT_TRUE(ui.app->recordingPhase().isCountingDown());
    EXPECT_EQ(ui.app->screen(), AppScreen::recording);
    ui.app->cancelCountdown();
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);

    // Back leads home.
    ui.click(ui.waitFor(QStringLiteral("source.back")));
    EXPECT_EQ(ui.app->screen(), AppScreen::welcome);
}

} // namespace
} // namespace orvane::test
