#include "PreviewTestMovie.h"
#include "UiTestSupport.h"
#include "project/ProjectBundle.h"
#include "ui/PreviewItem.h"

#include <QQmlComponent>
#include <QQmlEngine>

#include <cmath>
#include <random>
#include <vector>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// What the scene graph showed, frame by frame: the number read from the presented canvas, and the source
// time the preview says it shows.
struct Presented {
    std::optional<int> number;
    double time = 0;
};

// A preview view in the test's window, playing a numbered movie from the current project.
class PreviewPlayerTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        if (IsSkipped())
            return;
        ui = std::make_unique<UiHarness>();
        ASSERT_TRUE(ui->load());
    }

    void TearDown() override {
        view.reset();
        ui.reset();
    }

    // The movie in the project's only clip, its picture filling the canvas so its stripes can be read.
    void open(const PreviewTestMovie& spec) {
        movie = spec;
        const QString path = ui->dir.filePath(QStringLiteral("numbered.mov"));
        ASSERT_TRUE(movie.write(path).has_value());
        ASSERT_TRUE(
            ui->app->createProjectAt(ui->dir.filePath(QStringLiteral("Preview.orvanescreen"))).has_value());
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.sourceVideoPath = path;
        clip.sourceOut = ProjectTime(movie.seconds);
        clip.sourceSize = Size{double(movie.width), double(movie.height)};
        clip.frame.paddingFraction = 0;
        clip.frame.cornerRadius = 0;
        clip.frame.innerBorderWidth = 0;
        clip.autoZoom.isEnabled = false;
        ui->app->currentBundle()->update([&](Project& project) { project.timeline.add(clip); });

        QQmlEngine* engine = qmlEngine(ui->window()->contentItem());
        ASSERT_NE(engine, nullptr);
        QQmlComponent component(engine, QUrl(QStringLiteral("qrc:/qt/qml/Orvane/Ui/PreviewView.qml")));
        view.reset(qobject_cast<QQuickItem*>(component.create()));
        ASSERT_NE(view, nullptr) << component.errorString().toStdString();
        view->setParentItem(ui->window()->contentItem());
        view->setZ(1000);
        view->setSize(QSizeF(640, 420));
        item = view->findChild<PreviewItem*>(QStringLiteral("preview.item"));
        ASSERT_NE(item, nullptr);
        ASSERT_TRUE(waitUntil([&] { return item->hasClip() && item->duration() > 0; }, 10s));
        ASSERT_TRUE(waitUntil([&] { return item->presentedSourceTime().has_value(); }, 10s));
        QObject::connect(item, &PreviewItem::presentedFramesChanged, item, [this] {
            if (const auto time = item->presentedSourceTime())
                presented.push_back({PreviewTestMovie::readNumber(item->presentedImage()), *time});
        });
    }

    int frameAt(double seconds) const { return int(std::floor(seconds * movie.fps + 1e-6)); }

    // Seeks while paused and waits for the frame; the number on the canvas at that time.
    std::optional<int> shownAfterSeek(double seconds) {
        const int before = item->presentedFrames();
        item->setPlayheadTime(seconds);
        if (!waitUntil(
                [&] {
                    return item->presentedFrames() > before && item->presentedSourceTime() &&
                           frameAt(*item->presentedSourceTime() + 1e-4) == frameAt(seconds);
                },
                10s))
            return std::nullopt;
        return PreviewTestMovie::readNumber(item->presentedImage());
    }

    std::unique_ptr<UiHarness> ui;
    std::unique_ptr<QQuickItem> view;
    PreviewItem* item = nullptr;
    PreviewTestMovie movie;
    std::vector<Presented> presented;
};

// Playing forward shows the movie's frames in order, each canvas carrying the frame it claims, with no frame
// shown twice and few passed over; the playhead follows the clock and stops at the end.
TEST_F(PreviewPlayerTest, PlaysFramesInOrderAndStopsAtTheEnd) {
    open(PreviewTestMovie{.seconds = 3});
    presented.clear();
    item->setPlaying(true);
    EXPECT_EQ(item->transportRate(), 1);
    ASSERT_TRUE(waitUntil([&] { return !item->isPlaying(); }, 15s));
    EXPECT_DOUBLE_EQ(item->playheadTime(), item->duration());

    const int total = int(movie.seconds * movie.fps);
    ASSERT_GT(presented.size(), std::size_t(total / 3)) << "most frames reach the screen";
    int skipped = 0;
    for (std::size_t i = 0; i < presented.size(); ++i) {
        ASSERT_TRUE(presented[i].number.has_value()) << "presented canvas " << i << " is unreadable";
        EXPECT_EQ(*presented[i].number, frameAt(presented[i].time + 1e-4)) << "canvas " << i;
        if (i > 0) {
            const int step = *presented[i].number - *presented[i - 1].number;
            EXPECT_GT(step, 0) << "frame " << *presented[i].number << " after " << *presented[i - 1].number;
            skipped += std::max(0, step - 1);
        }
    }
    EXPECT_EQ(*presented.back().number, total - 1) << "the last frame stays on screen";
    // The software renderer on a shared machine may drop frames, never a long run of them.
    EXPECT_LT(skipped, total / 2);
}

// Scrubbing while paused shows exactly the frame under the playhead, also far from a key frame, backwards,
// and at both ends.
TEST_F(PreviewPlayerTest, SeeksShowTheExactFrame) {
    open(PreviewTestMovie{.seconds = 4, .keyframeInterval = 60});
    std::mt19937 random(7);
    std::uniform_real_distribution<double> anywhere(0, movie.seconds - 0.01);
    std::vector<double> times{1.99, 0.5, 3.2, 2.0, 0.0};
    for (int i = 0; i < 6; ++i)
        times.push_back(anywhere(random));
    for (const double t : times) {
        const auto shown = shownAfterSeek(t);
        ASSERT_TRUE(shown.has_value()) << "no frame for " << t;
        EXPECT_EQ(*shown, frameAt(t)) << "seek to " << t;
    }
    item->seekToEnd();
    ASSERT_TRUE(waitUntil([&] {
        return PreviewTestMovie::readNumber(item->presentedImage()) == int(movie.seconds * movie.fps) - 1;
    }));
    item->seekToStart();
    ASSERT_TRUE(waitUntil([&] { return PreviewTestMovie::readNumber(item->presentedImage()) == 0; }));
    EXPECT_EQ(item->playheadTime(), 0);
}

// Frame steps move one frame either way and stop play first; jumps move a second and stop at zero.
TEST_F(PreviewPlayerTest, StepsAndJumpsMoveByFramesAndSeconds) {
    open(PreviewTestMovie{.seconds = 3});
    ASSERT_EQ(shownAfterSeek(1.0), 30);
    const auto shownNumber = [&] {
        return PreviewTestMovie::readNumber(item->presentedImage());
    };
    item->stepFrame(1);
    ASSERT_TRUE(waitUntil([&] { return shownNumber() == 31; }));
    item->stepFrame(-3);
    ASSERT_TRUE(waitUntil([&] { return shownNumber() == 28; }));

    item->setPlaying(true);
    item->stepFrame(1);
    EXPECT_FALSE(item->isPlaying());
    const double stoppedAt = *item->presentedSourceTime();
    ASSERT_TRUE(waitUntil([&] { return shownNumber() && *shownNumber() > frameAt(stoppedAt - 0.2); }));

    item->jump(-10);
    EXPECT_EQ(item->playheadTime(), 0);
    ASSERT_TRUE(waitUntil([&] { return shownNumber() == 0; }));
    item->jump(1);
    ASSERT_TRUE(waitUntil([&] { return shownNumber() == 30; }));
}

// The shuttle doubles up to eight times either way, turning round through 1x; reverse play shows the
// frames backwards, and pause stops where it stands.
TEST_F(PreviewPlayerTest, ShuttlesBothWays) {
    open(PreviewTestMovie{.seconds = 4});
    std::vector<double> rates;
    for (int i = 0; i < 5; ++i) {
        item->shuttleForward();
        rates.push_back(item->transportRate());
    }
    EXPECT_EQ(rates, (std::vector<double>{1, 2, 4, 8, 8}));
    item->shuttleReverse();
    EXPECT_EQ(item->transportRate(), -1);
    EXPECT_TRUE(item->isPlaying());
    item->shuttlePause();
    EXPECT_EQ(item->transportRate(), 0);
    EXPECT_FALSE(item->isPlaying());

    ASSERT_TRUE(shownAfterSeek(3.5).has_value());
    presented.clear();
    item->shuttleReverse();
    ASSERT_TRUE(waitUntil([&] { return item->playheadTime() < 2.0; }, 10s));
    item->shuttlePause();
    ASSERT_GE(presented.size(), 5u);
    for (std::size_t i = 1; i < presented.size(); ++i) {
        ASSERT_TRUE(presented[i].number && presented[i - 1].number);
        EXPECT_LT(*presented[i].number, *presented[i - 1].number) << "reverse canvas " << i;
    }
    const double pausedAt = item->playheadTime();
    QTest::qWait(200);
    EXPECT_EQ(item->playheadTime(), pausedAt);
}

// A style change while paused shows at once, on the same frame.
TEST_F(PreviewPlayerTest, RestyledClipRecomposesThePausedFrame) {
    open(PreviewTestMovie{.seconds = 2});
    ASSERT_EQ(shownAfterSeek(1.0), 30);
    const QImage before = item->presentedImage().copy();
    ui->app->currentBundle()->update(
        [](Project& project) { project.timeline.clips.front().frame.paddingFraction = 0.2; });
    ASSERT_TRUE(waitUntil([&] { return item->presentedImage() != before; }, 10s));
    EXPECT_EQ(frameAt(*item->presentedSourceTime() + 1e-4), 30);
    // The picture now sits inside the background: the corner is no longer the movie's first stripe.
    EXPECT_NE(item->presentedImage().pixel(2, 2), before.pixel(2, 2));
}

// Without a clip the placeholder stands in the view; removing the clip brings it back.
TEST_F(PreviewPlayerTest, ShowsThePlaceholderWithoutAClip) {
    open(PreviewTestMovie{.seconds = 1, .audio = false});
    QQuickItem* placeholder = view->findChild<QQuickItem*>(QStringLiteral("preview.noClip"));
    ASSERT_NE(placeholder, nullptr);
    EXPECT_FALSE(placeholder->isVisible());
    ui->app->currentBundle()->update([](Project& project) { project.timeline.clips.clear(); });
    ASSERT_TRUE(waitUntil([&] { return !item->hasClip(); }));
    EXPECT_TRUE(placeholder->isVisible());
    ASSERT_TRUE(waitUntil([&] { return !item->presentedSourceTime().has_value(); }));
}

// The transport table from the keyboard, with the focus in the view and with it on a transport button.
TEST_F(PreviewPlayerTest, TransportKeysDriveThePreview) {
    open(PreviewTestMovie{.seconds = 3, .audio = false});
    view->forceActiveFocus();
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        ui->key(key, modifiers);
    };
    // From a second in, so reverse play has a second to go before it stops at the start by itself.
    press(Qt::Key_Right, Qt::ShiftModifier);
    press(Qt::Key_Space);
    EXPECT_TRUE(item->isPlaying());
    EXPECT_EQ(item->transportRate(), 1);
    press(Qt::Key_L);
    EXPECT_EQ(item->transportRate(), 2);
    press(Qt::Key_K);
    EXPECT_FALSE(item->isPlaying());
    EXPECT_EQ(item->transportRate(), 0);
    press(Qt::Key_J);
    EXPECT_EQ(item->transportRate(), -1);
    press(Qt::Key_Space);
    EXPECT_FALSE(item->isPlaying());

    press(Qt::Key_End);
    EXPECT_DOUBLE_EQ(item->playheadTime(), item->duration());
    press(Qt::Key_Home);
    EXPECT_EQ(item->playheadTime(), 0);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(item->playheadTime(), 1.0);
    press(Qt::Key_Left, Qt::ShiftModifier);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(item->playheadTime(), 0) << "a jump back stops at zero";
    ASSERT_TRUE(waitUntil([&] { return PreviewTestMovie::readNumber(item->presentedImage()) == 0; }));
    press(Qt::Key_Right);
    ASSERT_TRUE(waitUntil([&] { return PreviewTestMovie::readNumber(item->presentedImage()) == 1; }));
    press(Qt::Key_Left);
    ASSERT_TRUE(waitUntil([&] { return PreviewTestMovie::readNumber(item->presentedImage()) == 0; }));

    // On a button, Space presses the button and the other transport keys still reach the preview.
    QQuickItem* toEnd = view->findChild<QQuickItem*>(QStringLiteral("preview.skipToEnd"));
    ASSERT_NE(toEnd, nullptr);
    toEnd->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_DOUBLE_EQ(item->playheadTime(), item->duration());
    press(Qt::Key_Home);
    EXPECT_EQ(item->playheadTime(), 0);
}

// The transport bar's buttons by mouse, their names for screen readers, and the times they show.
TEST_F(PreviewPlayerTest, TransportBarButtonsAndTimes) {
    open(PreviewTestMovie{.seconds = 2, .audio = false});
    const QStringList names{QStringLiteral("preview.skipToStart"), QStringLiteral("preview.shuttleReverse"),
                            QStringLiteral("preview.playPause"), QStringLiteral("preview.shuttleForward"),
                            QStringLiteral("preview.skipToEnd")};
    for (const QString& name : names) {
        QQuickItem* button = view->findChild<QQuickItem*>(name);
        ASSERT_NE(button, nullptr) << name.toStdString();
        EXPECT_TRUE(button->isEnabled()) << name.toStdString();
    }
    // Tab walks the buttons in order.
    view->findChild<QQuickItem*>(names.front())->forceActiveFocus(Qt::TabFocusReason);
    for (int i = 1; i < names.size(); ++i) {
        ui->key(Qt::Key_Tab);
        EXPECT_TRUE(view->findChild<QQuickItem*>(names[i])->hasActiveFocus()) << names[i].toStdString();
    }
    QQuickItem* length = view->findChild<QQuickItem*>(QStringLiteral("preview.duration"));
    QQuickItem* playhead = view->findChild<QQuickItem*>(QStringLiteral("preview.playhead"));
    ASSERT_TRUE(length && playhead);
    EXPECT_EQ(length->property("text").toString(), ProjectTime(item->duration()).formatted());

    ui->click(view->findChild<QQuickItem*>(QStringLiteral("preview.skipToEnd")));
    EXPECT_DOUBLE_EQ(item->playheadTime(), item->duration());
    EXPECT_EQ(playhead->property("text").toString(), ProjectTime(item->duration()).formatted());
    ui->click(view->findChild<QQuickItem*>(QStringLiteral("preview.skipToStart")));
    EXPECT_EQ(playhead->property("text").toString(), QStringLiteral("00:00.000"));

    QQuickItem* play = view->findChild<QQuickItem*>(QStringLiteral("preview.playPause"));
    ui->click(play);
    EXPECT_TRUE(item->isPlaying());
    ASSERT_TRUE(
        waitUntil([&] { return playhead->property("text").toString() != QStringLiteral("00:00.000"); }));
    ui->click(view->findChild<QQuickItem*>(QStringLiteral("preview.shuttleForward")));
    EXPECT_EQ(item->transportRate(), 2);
    ui->click(play);
    EXPECT_FALSE(item->isPlaying());
}

} // namespace
} // namespace orvane::test
