// The inspector on a real window: real drags of its sliders, clicks on its switches, keys on its tab
// picker, and the Edit menu's undo title afterwards.
#include "UiTestSupport.h"
#include "app/InspectorControls.h"
#include "app/InspectorEdits.h"
#include "ui/EditorModel.h"
#include "ui/InspectorModel.h"

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

class InspectorViewTest : public UiTest {
protected:
    QUuid openEditor(UiHarness& ui, double start = 2) {
        auto bundle = ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Style.orvanescreen")));
        EXPECT_TRUE(bundle.has_value());
        QUuid id;
        (*bundle)->update([&](Project& project) {
            Clip clip = project.makeClip(QStringLiteral("Take"), ProjectTime(8), {1920, 1080});
            clip.sourceVideoPath = QStringLiteral("media/missing.mov");
            clip.timelineStart = ProjectTime(start);
            id = clip.id;
            project.timeline.add(clip);
        });
        ui.app->setScreen(AppScreen::editor);
        EXPECT_NE(ui.waitFor(QStringLiteral("editor.timeline")), nullptr);
        return id;
    }

    EditorModel* editor(UiHarness& ui) {
        QQuickItem* view = ui.find(QStringLiteral("EditorView"));
        return view ? view->findChild<EditorModel*>() : nullptr;
    }
    InspectorModel* inspector(UiHarness& ui) {
        QQuickItem* view = ui.find(QStringLiteral("editor.inspector"));
        return view ? view->findChild<InspectorModel*>() : nullptr;
    }
    const Clip& clip(UiHarness& ui, const QUuid& id) {
        return *ui.app->currentBundle()->project().timeline.clip(id);
    }
    QString undoMenuTitle(UiHarness& ui) {
        QObject* undo = ui.window()->findChild<QObject*>(QStringLiteral("menu.undo"));
        return undo ? undo->property("text").toString() : QString();
    }
    QPointF centreOf(QQuickItem* item) {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    }

    void selectTab(UiHarness& ui, InspectorTab tab) {
        ASSERT_NE(inspector(ui), nullptr);
        inspector(ui)->setSelectedTab(int(tab));
        QTest::qWait(30);
    }
};

TEST_F(InspectorViewTest, ASliderDragIsOneNamedStepAndASwitchIsNone) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const QUuid id = openEditor(ui);
    // Nothing selected: the empty state.
    editor(ui)->setSelectedClipId(QString());
    ASSERT_NE(ui.waitFor(QStringLiteral("inspector.empty")), nullptr);
    editor(ui)->setSelectedClipId(id.toString(QUuid::WithoutBraces));
    ASSERT_NE(ui.waitFor(QStringLiteral("inspector.tabs")), nullptr);

    selectTab(ui, InspectorTab::frame);
    QQuickItem* slider = ui.waitFor(QStringLiteral("inspector.frame.padding.slider"));
    ASSERT_NE(slider, nullptr);
    // From the left end to the right end by hand, in many small moves.
    const QPointF left = slider->mapToScene(QPointF(4, slider->height() / 2));
    const QPointF right = slider->mapToScene(QPointF(slider->width() - 2, slider->height() / 2));
    QTest::mousePress(ui.window(), Qt::LeftButton, Qt::NoModifier, left.toPoint());
    for (int i = 1; i <= 20; ++i)
        QTest::mouseMove(ui.window(), (left + (right - left) * (i / 20.0)).toPoint(), 5);
    // The value is written live, before the hand lets go, and the step isn't there yet.
    EXPECT_GT(clip(ui, id).frame.paddingFraction, 0.2);
    EXPECT_FALSE(ui.app->undoManager().canUndo());
    QTest::mouseMove(ui.window(), (right + QPointF(1, 0)).toPoint(), 5);
    QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier, (right + QPointF(1, 0)).toPoint(), 5);
    EXPECT_DOUBLE_EQ(clip(ui, id).frame.paddingFraction, 0.25);
    EXPECT_EQ(ui.app->undoManager().undoCount(), 1u);
    EXPECT_TRUE(waitUntil([&] { return undoMenuTitle(ui) == QStringLiteral("Undo Change Padding"); }));
    QQuickItem* value = ui.find(QStringLiteral("inspector.frame.padding.value"));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->property("text").toString(), QStringLiteral("25%"));

    // A key press on the focused slider is a step of its own.
    slider->forceActiveFocus();
    ui.key(Qt::Key_Left);
    EXPECT_NEAR(clip(ui, id).frame.paddingFraction, 0.2475, 1e-9);
    EXPECT_EQ(ui.app->undoManager().undoCount(), 2u);

    // A switch writes at once and leaves the Undo menu as it was.
    selectTab(ui, InspectorTab::cursor);
    QQuickItem* show = ui.waitFor(QStringLiteral("inspector.cursor.show.switch"));
    ASSERT_NE(show, nullptr);
    const QString title = undoMenuTitle(ui);
    ui.click(show);
    EXPECT_TRUE(waitUntil([&] { return !clip(ui, id).cursor.isVisible; }));
    EXPECT_EQ(ui.app->undoManager().undoCount(), 2u);
    EXPECT_EQ(undoMenuTitle(ui), title);

    // Undo takes back the key step, then the whole drag, exactly.
    ui.app->undo();
    ui.app->undo();
    EXPECT_DOUBLE_EQ(clip(ui, id).frame.paddingFraction, FrameStyle::defaults().paddingFraction);
    selectTab(ui, InspectorTab::frame);
    value = ui.waitFor(QStringLiteral("inspector.frame.padding.value"));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->property("text").toString(), QStringLiteral("8%"));
}

TEST_F(InspectorViewTest, EveryTabShowsItsFormAndItsControlsWrite) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const QUuid id = openEditor(ui, 0);
    editor(ui)->setSelectedClipId(id.toString(QUuid::WithoutBraces));
    QQuickItem* tabs = ui.waitFor(QStringLiteral("inspector.tabs"));
    ASSERT_NE(tabs, nullptr);

    // The picker is one stop; the arrow keys walk through all fourteen tabs and the title follows.
    tabs->forceActiveFocus();
    QQuickItem* title = ui.find(QStringLiteral("inspector.tabTitle"));
    for (int i = 0; i < 14; ++i) {
        EXPECT_EQ(inspector(ui)->selectedTab(), i);
        EXPECT_EQ(title->property("text").toString(),
                  QString::fromLatin1(inspectorTabs()[std::size_t(i)].rawValue));
        // Every slider the tab shows is in the window.
        for (const InspectorSlider* s : slidersOf(InspectorTab(i))) {
            if (!s->isPerOverlay() && s->read(clip(ui, id), -1) &&
                InspectorTab(i) != InspectorTab::perspective) {
                EXPECT_NE(ui.find(s->labelKey + QStringLiteral(".slider")), nullptr)
                    << s->keyPath.toStdString();
            }
        }
        ui.key(Qt::Key_Right);
    }
    EXPECT_EQ(inspector(ui)->selectedTab(), 13);

    // Background: solid, then back to a gradient: the third preset, whatever came before.
    selectTab(ui, InspectorTab::background);
    ui.click(ui.waitFor(QStringLiteral("inspector.bg.gradient.5")));
    EXPECT_TRUE(waitUntil([&] { return InspectorEdits::selectedGradient(clip(ui, id)) == 5u; }));
    ui.click(ui.waitFor(QStringLiteral("inspector.bg.kind.solid")));
    EXPECT_TRUE(waitUntil([&] {
        return InspectorEdits::backgroundKind(clip(ui, id).background) ==
               InspectorEdits::BackgroundKind::solid;
    }));
    ui.click(ui.waitFor(QStringLiteral("inspector.bg.kind.blur")));
    ASSERT_NE(ui.waitFor(QStringLiteral("inspector.bg.blur.radius.slider")), nullptr);
    ui.click(ui.waitFor(QStringLiteral("inspector.bg.kind.gradient")));
    EXPECT_TRUE(waitUntil([&] { return InspectorEdits::selectedGradient(clip(ui, id)) == 2u; }));

    // Camera: the grid's cells.
    selectTab(ui, InspectorTab::camera);
    ui.click(ui.waitFor(QStringLiteral("inspector.camera.position.topLeft")));
    EXPECT_TRUE(waitUntil([&] { return clip(ui, id).camera.position == NormalizedPoint{0.08, 0.08}; }));

    // Transition: a chip sets it, its rows appear, and the start-of-timeline note shows.
    selectTab(ui, InspectorTab::transition);
    EXPECT_NE(ui.waitFor(QStringLiteral("inspector.transition.startNote")), nullptr);
    ui.click(ui.waitFor(QStringLiteral("inspector.transition.chip.1")));
    EXPECT_TRUE(waitUntil([&] { return clip(ui, id).transitionIn.has_value(); }));
    EXPECT_NE(ui.waitFor(QStringLiteral("Transition duration.slider")), nullptr);
    ui.click(ui.waitFor(QStringLiteral("inspector.transition.chip.0")));
    EXPECT_TRUE(waitUntil([&] { return !clip(ui, id).transitionIn.has_value(); }));

    // Text: an added title shows as a row and deletes again.
    selectTab(ui, InspectorTab::text);
    ui.click(ui.waitFor(QStringLiteral("inspector.text.addTitleCard")));
    EXPECT_TRUE(waitUntil([&] { return clip(ui, id).textOverlays.size() == 1; }));
    ui.click(ui.waitFor(QStringLiteral("inspector.text.delete")));
    EXPECT_TRUE(waitUntil([&] { return clip(ui, id).textOverlays.empty(); }));

    // Perspective: the sliders appear only once the tilt is on; reset turns it off again.
    selectTab(ui, InspectorTab::perspective);
    EXPECT_EQ(ui.find(QStringLiteral("inspector.perspective.depth.slider")), nullptr);
    ui.click(ui.waitFor(QStringLiteral("inspector.perspective.enabled.switch")));
    EXPECT_NE(ui.waitFor(QStringLiteral("inspector.perspective.depth.slider")), nullptr);
    ui.click(ui.waitFor(QStringLiteral("inspector.perspective.reset")));
    EXPECT_TRUE(waitUntil([&] { return !clip(ui, id).frame.perspective.isEnabled; }));

    // Speed: a preset draws its ramp; keyframes: one added at the playhead.
    selectTab(ui, InspectorTab::speed);
    ui.click(ui.waitFor(QStringLiteral("Freeze")));
    EXPECT_TRUE(waitUntil([&] { return clip(ui, id).speedRamp.count() == 3; }));
    EXPECT_NE(ui.waitFor(QStringLiteral("inspector.speed.curve")), nullptr);
    selectTab(ui, InspectorTab::keyframes);
    editor(ui)->setPlayheadTime(1.5);
    ui.click(ui.waitFor(QStringLiteral("inspector.keyframes.add.opacity")));
    EXPECT_TRUE(waitUntil([&] {
        const auto& tracks = clip(ui, id).animations.tracks;
        const auto it = tracks.find(AnimatablePropertyID::opacity);
        return it != tracks.end() && it->second.count() == 1 && it->second.keyframes[0].time.seconds == 1.5;
    }));

    // None of these made an undo step.
    EXPECT_FALSE(ui.app->undoManager().canUndo());
}

} // namespace
} // namespace orvane::test
