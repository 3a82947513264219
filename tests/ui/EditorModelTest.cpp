#include "ui/EditorModel.h"

#include "UiTestSupport.h"

#include <QSignalSpy>

namespace orvane::test {
namespace {

// The editor's state without a window: what the item models tell the views, and the rules of the
// selection, the ruler and the drop.
class EditorModelTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        if (IsSkipped())
            return;
        auto bundle = ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Model.orvanescreen")));
        ASSERT_TRUE(bundle.has_value());
        (*bundle)->update([&](Project& project) {
            for (int i = 0; i < 3; ++i) {
                Clip clip =
                    project.makeClip(QStringLiteral("Clip %1").arg(i + 1), ProjectTime(2), {1280, 720});
                clip.timelineStart = ProjectTime(3.0 * i);
                clip.trackIndex = i == 2 ? 1 : 0;
                ids.push_back(clip.id);
                project.timeline.add(clip);
            }
        });
        model = std::make_unique<EditorModel>(*ui.app, *ui.defaults);
    }

    void edit(const std::function<void(Project&)>& change) { ui.app->currentBundle()->update(change); }

    UiHarness ui;
    std::vector<QUuid> ids;
    std::unique_ptr<EditorModel> model;
};

// A change to one clip tells the view about that bar alone; a new clip comes in as one row; the bar of a
// clip being dragged follows the pointer while its record stays.
TEST_F(EditorModelTest, BarsChangeOneAtATime) {
    TimelineClipModel& bars = model->clipModel();
    ASSERT_EQ(bars.rowCount(), 3);
    EXPECT_DOUBLE_EQ(bars.rows()[1].x, 240.0);
    EXPECT_DOUBLE_EQ(bars.rows()[1].width, 160.0);
    EXPECT_GT(bars.rows()[2].y, bars.rows()[0].y) << "the third clip is on the second track";

    QSignalSpy changed(&bars, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(&bars, &QAbstractItemModel::modelReset);
    edit([&](Project& p) { p.timeline.clips[1].timelineStart = ProjectTime(4); });
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].value<QModelIndex>().row(), 1);
    EXPECT_DOUBLE_EQ(bars.rows()[1].x, 320.0);
    edit([](Project&) {});
    EXPECT_EQ(changed.size(), 1) << "nothing moved, nothing to redraw";

    QSignalSpy inserted(&bars, &QAbstractItemModel::rowsInserted);
    edit([&](Project& p) { p.timeline.add(p.makeClip(QStringLiteral("Late"), ProjectTime(1), {})); });
    EXPECT_EQ(reset.size(), 0);
    ASSERT_EQ(inserted.size(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 3);
    EXPECT_EQ(bars.rowCount(), 4);

    model->clipDragChanged(ids[0].toString(), 50, 0);
    EXPECT_TRUE(bars.rows()[0].dragging);
    EXPECT_DOUBLE_EQ(bars.rows()[0].x, 50.0);
    EXPECT_EQ(ui.app->currentBundle()->project().timeline.clips[0].timelineStart.seconds, 0.0);
    model->clipDragEnded(50, 0);
    EXPECT_FALSE(bars.rows()[0].dragging);
    EXPECT_NEAR(ui.app->currentBundle()->project().timeline.clips[0].timelineStart.seconds, 0.625, 1e-9);
}

// Only the bars on screen are rows, and the selected one wherever it is: a scroll brings bars in and out
// one at a time, a zoom touches only those, and an edit that reorders the clips starts the list over.
TEST_F(EditorModelTest, OnlyBarsOnScreenAreRows) {
    TimelineClipModel& bars = model->clipModel();
    const auto shown = [&] {
        std::vector<QUuid> rows;
        for (const TimelineClipModel::Row& row : bars.rows())
            rows.push_back(row.id);
        return rows;
    };
    // Bars 800 points long, 400 apart; the selection starts on the first.
    model->setPixelsPerSecond(400);
    model->setViewportWidth(100);
    EXPECT_EQ(shown(), (std::vector<QUuid>{ids[0]}));

    QSignalSpy reset(&bars, &QAbstractItemModel::modelReset);
    QSignalSpy inserted(&bars, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&bars, &QAbstractItemModel::rowsRemoved);
    model->setSelectedClipId(ids[1].toString());
    EXPECT_EQ(shown(), (std::vector<QUuid>{ids[0], ids[1]})) << "selected, so kept off screen";
    model->setViewportX(2400);
    EXPECT_EQ(shown(), (std::vector<QUuid>{ids[1], ids[2]}));
    EXPECT_EQ(inserted.size(), 2);
    EXPECT_EQ(removed.size(), 1);

    QSignalSpy changed(&bars, &QAbstractItemModel::dataChanged);
    model->setPixelsPerSecond(300);
    EXPECT_EQ(changed.size(), 2) << "the two rows moved; the clip off screen is no row to tell";
    EXPECT_DOUBLE_EQ(bars.rows()[1].x, 6 * 300.0);

    edit([](Project& p) { std::swap(p.timeline.clips[1], p.timeline.clips[2]); });
    EXPECT_EQ(reset.size(), 1);
    EXPECT_EQ(shown(), (std::vector<QUuid>{ids[2], ids[1]}));
    model->setViewportWidth(0);
    EXPECT_EQ(bars.rowCount(), 3) << "with no view yet, every bar";
}

// The selection: the first clip when the screen appears, cleared when its clip goes (by a delete or by an
// undo of the edit that made it), never a clip of another project.
TEST_F(EditorModelTest, SelectionFollowsTheTimeline) {
    EXPECT_EQ(model->selectedClip(), ids[0]);
    model->setSelectedClipId({});
    model->appear();
    EXPECT_EQ(model->selectedClip(), ids[0]);

    model->deleteSelectedClip();
    EXPECT_EQ(model->selectedClip(), ids[1]) << "the first clip left";
    EXPECT_EQ(ui.app->undoTitle(), QStringLiteral("Undo Delete Clip"));

    model->setPlayheadTime(4);
    ASSERT_TRUE(model->splitAtPlayhead());
    const QUuid right = ui.app->currentBundle()->project().timeline.clips.back().id;
    model->setSelectedClipId(right.toString());
    EXPECT_EQ(model->selectedClip(), right);
    ui.app->undo();
    EXPECT_FALSE(model->selectedClip().has_value()) << "the split's right part is gone";

    model->setSelectedClipId(QUuid::createUuid().toString());
    EXPECT_FALSE(model->selectedClip().has_value()) << "not a clip of this project";

    model->setSelectedClipId(ids[1].toString());
    ASSERT_TRUE(ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Other.orvanescreen"))).has_value());
    EXPECT_FALSE(model->selectedClip().has_value());
    EXPECT_FALSE(model->hasClips());
}

// Ruler labels stay at least 64 points apart at every zoom and read as minutes and seconds.
TEST_F(EditorModelTest, RulerTicksNeverCrowd) {
    for (double pps : {16.0, 20.0, 33.0, 80.0, 400.0}) {
        model->setPixelsPerSecond(pps);
        const QVariantList ticks = model->rulerTicks();
        ASSERT_GE(ticks.size(), 2) << pps;
        const double spacing = ticks[1].toMap()[QStringLiteral("x")].toDouble();
        EXPECT_GE(spacing, 64.0) << pps;
        if (pps < 64) // a second apart is as close as labels come
            EXPECT_LT(spacing, 64.0 * 2.5 + 1) << "no wider than the next step needs, at " << pps;
        else
            EXPECT_DOUBLE_EQ(spacing, pps);
        EXPECT_LE(ticks.last().toMap()[QStringLiteral("x")].toDouble(), model->contentWidth());
    }
    model->setPixelsPerSecond(16);
    const QVariantList ticks = model->rulerTicks();
    EXPECT_EQ(ticks[1].toMap()[QStringLiteral("label")].toString(), QStringLiteral("0:05"));
    EXPECT_EQ(ticks[10].toMap()[QStringLiteral("label")].toString(), QStringLiteral("0:50"));
}

// Splitting is offered only where the split would happen: more than 0.05 s inside a clip.
TEST_F(EditorModelTest, CanSplitMatchesTheSplit) {
    for (double t : {0.0, 0.04, 0.06, 1.0, 1.96, 2.5, 3.06, 8.0}) {
        model->setPlayheadTime(t);
        const bool offered = model->canSplit();
        const std::size_t before = ui.app->currentBundle()->project().timeline.clips.size();
        EXPECT_EQ(model->splitAtPlayhead(), offered) << t;
        EXPECT_EQ(ui.app->currentBundle()->project().timeline.clips.size(), before + (offered ? 1 : 0)) << t;
        if (offered)
            ui.app->undo();
    }
}

// A drop of files that are neither movies nor sound says so, with a way to another file; a drop that
// holds no file at all says nothing.
TEST_F(EditorModelTest, DropOfNothingUsable) {
    model->setIsDropTargeted(true);
    model->handleDrop({QUrl(QStringLiteral("https://example.com/clip.mp4"))});
    EXPECT_FALSE(model->isDropTargeted());
    EXPECT_FALSE(ui.app->lastError().has_value());
    EXPECT_FALSE(model->acceptsDrag({QUrl(QStringLiteral("https://example.com/clip.mp4"))}));

    bool panelAsked = false;
    ui.app->setImportPanelHandler([&](bool audio) { panelAsked = !audio; });
    model->handleDrop({QUrl::fromLocalFile(ui.dir.filePath(QStringLiteral("a.txt"))),
                       QUrl::fromLocalFile(ui.dir.filePath(QStringLiteral("b.webm")))});
    ASSERT_TRUE(ui.app->lastError().has_value());
    EXPECT_EQ(ui.app->lastError()->title, QStringLiteral("Unsupported file"));
    ASSERT_EQ(ui.app->lastError()->recoveryActions.size(), 1u);
    ui.app->lastError()->recoveryActions[0].handler();
    EXPECT_TRUE(panelAsked) << "the video panel opens";
    EXPECT_EQ(ui.app->currentBundle()->project().timeline.clips.size(), 3u);
}

} // namespace
} // namespace orvane::test
