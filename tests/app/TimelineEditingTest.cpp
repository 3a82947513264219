#include "app/TimelineEditing.h"

#include "AppTestSupport.h"
#include "common/RandomProject.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

Clip makeClip(const QString& name, int track, double start, double in, double out, double speed = 1.0) {
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.name = name;
    clip.trackIndex = track;
    clip.sourceVideoPath = QStringLiteral("media/%1.mp4").arg(name);
    clip.sourceIn = ProjectTime(in);
    clip.sourceOut = ProjectTime(out);
    clip.timelineStart = ProjectTime(start);
    clip.sourceSize = Size{1920, 1080};
    clip.speed = speed;
    return clip;
}

class TimelineEditingTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_app.createProject(QStringLiteral("Timeline"), 1920, 1080, 60));
        ASSERT_FALSE(m_app.undoManager().canUndo());
    }

    const Project& project() const { return m_app.currentBundle()->project(); }
    const Clip& clip(const Clip& c) const { return *project().timeline.clip(c.id); }
    double start(const Clip& c) const { return clip(c).timelineStart.seconds; }

    // Places clips without an undo step, as an import would.
    void setClips(std::vector<Clip> clips) {
        m_app.currentBundle()->update([&](Project& p) { p.timeline.clips = std::move(clips); });
    }

    // The latest step is one step named `name` over the whole project: undo gives back `before`
    // exactly, redo the project as it is now.
    void expectOneUndoStep(const Project& before, const QString& name, std::size_t stepsBefore = 0) {
        EXPECT_EQ(m_app.undoManager().undoCount(), stepsBefore + 1);
        const Project after = project();
        ASSERT_NE(after, before);
        EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo ") + name);
        m_app.undo();
        EXPECT_EQ(project(), before);
        EXPECT_EQ(m_app.redoTitle(), QStringLiteral("Redo ") + name);
        m_app.redo();
        EXPECT_EQ(project(), after);
        EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo ") + name);
    }

    test::PrivateApp m_private;
    AppState& m_app = m_private.app;
    TimelineEditing m_editing{m_app, m_private.defaults};
};

TEST_F(TimelineEditingTest, GeometryAndZoom) {
    // Default tracks are 64, 48 and 48 high with 6 between them and half a gap above the first.
    EXPECT_EQ(m_editing.trackY(0), 3);
    EXPECT_EQ(m_editing.trackY(1), 73);
    EXPECT_EQ(m_editing.trackY(2), 127);
    struct Case {
        double y;
        int index;
    };
    for (const auto [y, index] :
         {Case{3, 0}, Case{66.9, 0}, Case{73, 1}, Case{120.9, 1}, Case{127, 2}, Case{174.9, 2},
          Case{67, 2} /* gap */, Case{1, 2} /* above */, Case{175, 2} /* below */, Case{-40, 2}})
        EXPECT_EQ(m_editing.trackIndexAtY(y), index) << "y " << y;

    // An empty timeline counts as 10 s wide, plus 40, but never narrower than 800.
    for (const double pps : {16.0, 50.0, 76.0}) {
        m_editing.setPixelsPerSecond(pps);
        EXPECT_EQ(m_editing.contentWidth(), 800) << pps;
    }
    m_editing.setPixelsPerSecond(80);
    EXPECT_EQ(m_editing.contentWidth(), 840);
    const Clip fast = makeClip(QStringLiteral("fast"), 0, 4, 0, 32, 2); // 16 s on the timeline
    setClips({fast});
    EXPECT_EQ(m_editing.contentWidth(), 20 * 80 + 40);
    EXPECT_EQ(m_editing.clipX(fast), 320);
    EXPECT_EQ(m_editing.clipWidth(fast), 1280);

    m_editing.setPixelsPerSecond(320);
    m_editing.zoomTimeline(1.25);
    EXPECT_EQ(m_editing.pixelsPerSecond(), 400);
    m_editing.zoomTimeline(1.25);
    EXPECT_EQ(m_editing.pixelsPerSecond(), 400);
    m_editing.setPixelsPerSecond(20);
    m_editing.zoomTimeline(0.8);
    EXPECT_EQ(m_editing.pixelsPerSecond(), 16);
    m_editing.zoomTimeline(0.8);
    EXPECT_EQ(m_editing.pixelsPerSecond(), 16);
    m_editing.setPixelsPerSecond(1000);
    EXPECT_EQ(m_editing.pixelsPerSecond(), 400);

    EXPECT_EQ(TimelineEditing::formatSeconds(0), QStringLiteral("0:00"));
    EXPECT_EQ(TimelineEditing::formatSeconds(75.9), QStringLiteral("1:15"));
    EXPECT_EQ(TimelineEditing::formatSeconds(600), QStringLiteral("10:00"));
}

TEST_F(TimelineEditingTest, TracksOfTheProjectOrTheDefaults) {
    m_app.currentBundle()->update([](Project& p) {
        p.timeline.tracks.resize(2);
        p.timeline.tracks[0].height = 100;
        p.timeline.tracks[1].height = 40;
    });
    EXPECT_EQ(m_editing.tracks().size(), 2u);
    EXPECT_EQ(m_editing.trackY(1), 109);
    EXPECT_EQ(m_editing.trackY(5), 109 + 46); // past the end: every track counted once
    EXPECT_EQ(m_editing.trackIndexAtY(148), 1);
    EXPECT_EQ(m_editing.trackIndexAtY(149), 1); // below the last row

    m_app.currentBundle()->update([](Project& p) { p.timeline.tracks.clear(); });
    const auto defaults = m_editing.tracks();
    ASSERT_EQ(defaults.size(), 3u);
    EXPECT_EQ(defaults[0].name, QStringLiteral("Video 1"));
    EXPECT_EQ(m_editing.trackY(2), 127);
}

TEST_F(TimelineEditingTest, SnappingTakesOnlyStrictlyCloserBoundariesOnEveryTrack) {
    const Clip a = makeClip(QStringLiteral("a"), 0, 0, 0, 5);    // 0 ... 5
    const Clip b = makeClip(QStringLiteral("b"), 2, 5.25, 0, 2); // 5.25 ... 7.25, on the music track
    setClips({a, b});

    // 5.125 is 0.125 from a's end and from b's start: the first in list order keeps it.
    EXPECT_EQ(m_editing.snappedToClipBoundary(5.125), 5.0);
    setClips({b, a});
    EXPECT_EQ(m_editing.snappedToClipBoundary(5.125), 5.25);

    EXPECT_EQ(m_editing.snappedToClipBoundary(7.125), 7.25);
    EXPECT_EQ(m_editing.snappedToClipBoundary(7.5), std::nullopt); // 0.25 away
    EXPECT_EQ(m_editing.snappedToClipBoundary(0.2), std::nullopt); // exactly the tolerance is not enough
    EXPECT_EQ(m_editing.snappedToClipBoundary(5.125, a.id), 5.25);
    EXPECT_EQ(m_editing.snappedToClipBoundary(5.125, b.id), 5.0);
    EXPECT_EQ(m_editing.snappedToClipBoundary(-0.1), 0.0);
}

TEST_F(TimelineEditingTest, ScrubbingStaysOnTheTimelineAndSnapsWithShift) {
    setClips({makeClip(QStringLiteral("a"), 0, 0, 0, 5), makeClip(QStringLiteral("b"), 1, 6, 0, 4)});
    m_editing.scrubPlayhead(80 * 5.1, false);
    EXPECT_DOUBLE_EQ(m_editing.playheadTime(), 5.1);
    m_editing.scrubPlayhead(80 * 5.9, true);
    EXPECT_EQ(m_editing.playheadTime(), 6.0);
    m_editing.scrubPlayhead(80 * 50, false);
    EXPECT_EQ(m_editing.playheadTime(), 10.0);
    m_editing.scrubPlayhead(-30, true);
    EXPECT_EQ(m_editing.playheadTime(), 0.0);

    EXPECT_FALSE(m_editing.isDraggingPlayhead());
    m_editing.changePlayheadDrag(80 * 2, false);
    EXPECT_TRUE(m_editing.isDraggingPlayhead());
    m_editing.changePlayheadDrag(80 * 4.95, true); // the Shift state of each change counts
    EXPECT_EQ(m_editing.playheadTime(), 5.0);
    m_editing.endPlayheadDrag();
    EXPECT_FALSE(m_editing.isDraggingPlayhead());
    EXPECT_FALSE(m_app.undoManager().canUndo());
}

TEST_F(TimelineEditingTest, MovingAClipIsOneStepOnlyOnceItMoved) {
    const Clip a = makeClip(QStringLiteral("a"), 1, 2, 0, 3);
    setClips({a});
    const Project before = project();

    m_editing.changeClipDrag(a.id, {3, 0}); // below the minimum distance of 4
    EXPECT_EQ(m_editing.draggingClipID(), std::nullopt);
    m_editing.endClipDrag({3, 0});
    EXPECT_EQ(project(), before);

    m_editing.changeClipDrag(a.id, {4, 0});
    ASSERT_EQ(m_editing.draggingClipID(), a.id);
    m_editing.changeClipDrag(a.id, {40, 20});
    EXPECT_EQ(m_editing.dragOffset(), QPointF(40, 20));
    EXPECT_EQ(m_editing.computeDragY(a), 73 + 20);
    EXPECT_EQ(project(), before); // the records wait for the drop
    m_editing.endClipDrag({80, 20});
    EXPECT_EQ(m_editing.draggingClipID(), std::nullopt);
    EXPECT_EQ(m_editing.computeDragY(a), 73);
    EXPECT_EQ(start(a), 3.0);
    EXPECT_EQ(clip(a).trackIndex, 1);
    expectOneUndoStep(before, QStringLiteral("Move Clip"));

    // Dragged out and dropped where it began: nothing to undo.
    m_editing.changeClipDrag(a.id, {50, 0});
    m_editing.endClipDrag({0, 0});
    EXPECT_EQ(m_app.undoManager().undoCount(), 1u);
}

TEST_F(TimelineEditingTest, MovingAcrossTracksNeedsMoreThanThirtyPoints) {
    // The audio row's centre is at 97; the music row starts at 127, exactly 30 below.
    const Clip a = makeClip(QStringLiteral("a"), 1, 2, 0, 3);
    setClips({a});
    m_editing.commitClipDrag(a.id, {0, 30});
    EXPECT_EQ(clip(a).trackIndex, 1);
    EXPECT_FALSE(m_app.undoManager().canUndo());
    m_editing.commitClipDrag(a.id, {0, 31});
    EXPECT_EQ(clip(a).trackIndex, 2);
    EXPECT_EQ(start(a), 2.0);
    m_editing.commitClipDrag(a.id, {0, -31}); // from the music row's centre, 151, to 120
    EXPECT_EQ(clip(a).trackIndex, 1);
    m_editing.commitClipDrag(a.id, {0, -80});
    EXPECT_EQ(clip(a).trackIndex, 0);
    m_editing.commitClipDrag(a.id, {0, 35}); // from 35 into the gap below the video row: the last track
    EXPECT_EQ(clip(a).trackIndex, 2);
    EXPECT_EQ(m_app.undoManager().undoCount(), 4u);
}

TEST_F(TimelineEditingTest, MoveSnapsWithinATenthAndTheEndEdgeWins) {
    const Clip left = makeClip(QStringLiteral("left"), 0, 0, 0, 5);        // ends at 5
    const Clip right = makeClip(QStringLiteral("right"), 2, 8.0625, 0, 4); // starts at 8.0625
    const Clip moving = makeClip(QStringLiteral("moving"), 1, 10, 0, 3);
    setClips({left, right, moving});

    // Start at 5.0625 would snap to 5, but its end, 8.0625, lies on a boundary too and decides.
    m_editing.commitClipDrag(moving.id, {(5.0625 - 10) * 80, 0});
    EXPECT_EQ(start(moving), 5.0625);

    // 0.125 from right's end is inside the search window but too far to take; 0.0625 is taken.
    m_editing.commitClipDrag(moving.id, {(12.1875 - 5.0625) * 80, 0});
    EXPECT_EQ(start(moving), 12.1875);
    m_editing.commitClipDrag(moving.id, {(12.125 - 12.1875) * 80, 0});
    EXPECT_EQ(start(moving), 12.0625);
    // The same for the end edge: 8.1875 stays clear of right's start.
    m_editing.commitClipDrag(moving.id, {(5.1875 - 12.0625) * 80, 0});
    EXPECT_EQ(start(moving), 5.1875);
    // Start 4.95 snaps to 5; that puts the end on 8, which snaps to 8.0625 and moves the start again.
    m_editing.commitClipDrag(moving.id, {(4.95 - 5.1875) * 80, 0});
    EXPECT_DOUBLE_EQ(start(moving), 5.0625);

    // Past zero it stops at 0; there the start snaps to left's start, which is 0 as well.
    m_editing.commitClipDrag(moving.id, {-10000, 0});
    EXPECT_EQ(start(moving), 0.0);
    const auto steps = m_app.undoManager().undoCount();
    m_editing.commitClipDrag(moving.id, {-80, 0});
    EXPECT_EQ(m_app.undoManager().undoCount(), steps); // still at 0: no step
}

TEST_F(TimelineEditingTest, TrimPreviewStartsFromTheClipAsTheGestureFoundIt) {
    const Clip a = makeClip(QStringLiteral("a"), 0, 4, 2, 6); // 4 ... 8
    setClips({a});
    const Project before = project();

    m_editing.changeTrim(a.id, true, 1.5); // below the minimum distance of 2
    EXPECT_EQ(m_editing.trimmingClipID(), std::nullopt);
    EXPECT_EQ(project(), before);

    m_editing.changeTrim(a.id, true, 40);
    ASSERT_EQ(m_editing.trimmingClipID(), a.id);
    EXPECT_TRUE(m_editing.trimmingLeftEdge());
    m_editing.changeTrim(a.id, true, 80);
    EXPECT_EQ(m_editing.trimOffsetX(), 80);
    EXPECT_EQ(clip(a).sourceIn.seconds, 3.0); // one second, not one and a half
    EXPECT_EQ(start(a), 5.0);
    EXPECT_EQ(clip(a).sourceOut.seconds, 6.0);
    EXPECT_FALSE(m_app.undoManager().canUndo()); // live, not yet a step

    m_editing.changeTrim(a.id, true, 8000); // keeps a tenth of a second of source
    EXPECT_DOUBLE_EQ(clip(a).sourceIn.seconds, 5.9);
    EXPECT_DOUBLE_EQ(start(a), 7.9);
    m_editing.changeTrim(a.id, true, -8000); // no source before 0
    EXPECT_EQ(clip(a).sourceIn.seconds, 0.0);
    EXPECT_EQ(start(a), 2.0);

    // Back where it began: the gesture leaves nothing to undo.
    m_editing.changeTrim(a.id, true, 0);
    m_editing.endTrim();
    EXPECT_EQ(m_editing.trimmingClipID(), std::nullopt);
    EXPECT_EQ(project(), before);
    EXPECT_FALSE(m_app.undoManager().canUndo());

    // The right handle is held to a tenth above the in point, and not to the media's length.
    m_editing.applyTrimPreview(a.id, false, -100);
    EXPECT_DOUBLE_EQ(clip(a).sourceOut.seconds, 2.1);
    m_editing.applyTrimPreview(a.id, false, 100); // outside a gesture, from the clip as it is now
    EXPECT_DOUBLE_EQ(clip(a).sourceOut.seconds, 102.1);
}

TEST_F(TimelineEditingTest, TrimPreviewFollowsTheClipSpeed) {
    const Clip a = makeClip(QStringLiteral("a"), 0, 4, 2, 10, 2); // 4 ... 8 on the timeline
    setClips({a});
    m_editing.changeTrim(a.id, true, 80);
    EXPECT_EQ(clip(a).sourceIn.seconds, 4.0);
    EXPECT_EQ(start(a), 5.0);
    EXPECT_EQ(clip(a).timelineEnd().seconds, 8.0);
    m_editing.endTrim();

    m_editing.changeTrim(a.id, false, -80);
    EXPECT_EQ(clip(a).sourceOut.seconds, 8.0);
    EXPECT_EQ(clip(a).timelineEnd().seconds, 7.0);
    m_editing.endTrim();
    EXPECT_EQ(m_app.undoTitle(), QStringLiteral("Undo Trim Clip End"));
}

TEST_F(TimelineEditingTest, TrimRipplesLaterClipsOfEveryTrackInTheSameStep) {
    const Clip trimmed = makeClip(QStringLiteral("trimmed"), 0, 2, 0, 6);   // 2 ... 8
    const Clip earlier = makeClip(QStringLiteral("earlier"), 1, 1, 0, 3);   // starts before the end
    const Clip touching = makeClip(QStringLiteral("touching"), 0, 8, 0, 2); // starts at the old end
    const Clip music = makeClip(QStringLiteral("music"), 2, 12, 0, 2);
    setClips({trimmed, earlier, touching, music});
    const Project before = project();

    m_editing.changeTrim(trimmed.id, false, -10);
    m_editing.changeTrim(trimmed.id, false, -120); // the end to 6.5
    EXPECT_EQ(start(touching), 8.0);               // the ripple waits for the end of the gesture
    m_editing.endTrim();
    EXPECT_EQ(clip(trimmed).timelineEnd().seconds, 6.5);
    EXPECT_EQ(start(earlier), 1.0);
    EXPECT_EQ(start(touching), 6.5);
    EXPECT_EQ(start(music), 10.5);
    expectOneUndoStep(before, QStringLiteral("Trim Clip End"));

    // Lengthening pushes the same clips right.
    const Project shortened = project();
    m_editing.changeTrim(trimmed.id, false, 160);
    m_editing.endTrim();
    EXPECT_EQ(start(touching), 8.5);
    EXPECT_EQ(start(music), 12.5);
    EXPECT_EQ(start(earlier), 1.0);
    expectOneUndoStep(shortened, QStringLiteral("Trim Clip End"), 1);
}

TEST_F(TimelineEditingTest, LeftTrimsAndRippleOffMoveNothingElse) {
    const Clip trimmed = makeClip(QStringLiteral("trimmed"), 0, 2, 0, 6, 1.5);
    const Clip later = makeClip(QStringLiteral("later"), 1, 8, 0, 2);
    setClips({trimmed, later});
    const Project before = project();

    m_editing.changeTrim(trimmed.id, true, 100);
    m_editing.endTrim();
    EXPECT_NEAR(clip(trimmed).timelineEnd().seconds, 6.0, 1e-9);
    EXPECT_EQ(start(later), 8.0);
    expectOneUndoStep(before, QStringLiteral("Trim Clip Start"));

    EXPECT_TRUE(m_editing.rippleEdit());
    m_editing.setRippleEdit(false);
    EXPECT_FALSE(TimelineEditing(m_app, m_private.defaults).rippleEdit()); // stored, not held
    const Project untrimmedEnd = project();
    m_editing.changeTrim(trimmed.id, false, -100);
    m_editing.endTrim();
    EXPECT_EQ(start(later), 8.0);
    expectOneUndoStep(untrimmedEnd, QStringLiteral("Trim Clip End"), 1);
}

TEST_F(TimelineEditingTest, SplitCopiesEveryFieldAndRipplesNothing) {
    // A clip with every style, overlay and keyframe field filled in.
    Clip full = test::randomProject(11, {.clips = 1}).timeline.clips.at(0);
    full.trackIndex = 1;
    full.timelineStart = ProjectTime(2);
    full.sourceIn = ProjectTime(1);
    full.sourceOut = ProjectTime(11);
    full.speed = 2; // 2 ... 7 on the timeline
    const Clip after = makeClip(QStringLiteral("after"), 1, 7, 0, 2);
    setClips({full, after});
    const Project before = project();

    for (const double refused : {2.0, 2.04, 6.96, 7.0, 9.0}) {
        m_editing.setPlayheadTime(refused);
        EXPECT_FALSE(m_editing.splitClipAtPlayhead()) << refused;
    }
    EXPECT_FALSE(m_app.undoManager().canUndo());

    m_editing.setPlayheadTime(5);
    ASSERT_TRUE(m_editing.splitClipAtPlayhead());
    const auto& clips = project().timeline.clips;
    ASSERT_EQ(clips.size(), 3u);
    const Clip& left = clips[0];
    const Clip& right = clips[2];
    EXPECT_EQ(left.id, full.id);
    EXPECT_EQ(left.sourceOut.seconds, 7.0); // 3 s into the clip is 6 s into the source
    EXPECT_EQ(left.timelineEnd().seconds, 5.0);
    EXPECT_NE(right.id, full.id);
    EXPECT_EQ(right.name, full.name + QStringLiteral(" (2)"));
    EXPECT_EQ(right.sourceIn.seconds, 7.0);
    EXPECT_EQ(right.timelineStart.seconds, 5.0);
    EXPECT_EQ(right.timelineEnd().seconds, 7.0);
    Clip rightAsOriginal = right;
    rightAsOriginal.id = full.id;
    rightAsOriginal.name = full.name;
    rightAsOriginal.sourceIn = full.sourceIn;
    rightAsOriginal.timelineStart = full.timelineStart;
    EXPECT_EQ(rightAsOriginal, full);
    EXPECT_EQ(clips[1], after);
    expectOneUndoStep(before, QStringLiteral("Split Clip"));
}

TEST_F(TimelineEditingTest, SplitTakesTheFirstClipInListOrderOnAnyTrack) {
    const Clip music = makeClip(QStringLiteral("music"), 2, 0, 0, 10);
    const Clip video = makeClip(QStringLiteral("video"), 0, 0, 0, 10);
    setClips({music, video});
    m_editing.setPlayheadTime(4);
    ASSERT_TRUE(m_editing.splitClipAtPlayhead());
    EXPECT_EQ(clip(music).sourceOut.seconds, 4.0);
    EXPECT_EQ(clip(video).sourceOut.seconds, 10.0);
    EXPECT_EQ(project().timeline.clips.back().trackIndex, 2);
}

TEST_F(TimelineEditingTest, DeleteMovesTheSelectionToTheFirstClipLeft) {
    const Clip a = makeClip(QStringLiteral("a"), 0, 0, 0, 2);
    const Clip b = makeClip(QStringLiteral("b"), 0, 2, 0, 2);
    const Clip c = makeClip(QStringLiteral("c"), 0, 6, 0, 2);
    setClips({a, b, c});
    const Project before = project();

    EXPECT_EQ(m_editing.deleteClip(b.id), a.id);
    EXPECT_EQ(start(c), 6.0); // no ripple
    expectOneUndoStep(before, QStringLiteral("Delete Clip"));
    EXPECT_EQ(m_editing.deleteClip(a.id), c.id);
    EXPECT_EQ(m_editing.deleteClip(c.id), std::nullopt);
    EXPECT_TRUE(project().timeline.clips.empty());
    EXPECT_EQ(m_app.undoManager().undoCount(), 3u);
    EXPECT_EQ(m_editing.deleteClip(c.id), std::nullopt); // gone already: no step
    EXPECT_EQ(m_app.undoManager().undoCount(), 3u);
}

TEST_F(TimelineEditingTest, InAndOutPointsReadTheSourceUnderThePlayhead) {
    const Clip a = makeClip(QStringLiteral("a"), 0, 4, 1, 21, 2); // 4 ... 14
    setClips({a});
    Project before = project();

    m_editing.setPlayheadTime(6.5);
    m_editing.setInPointAtPlayhead(a.id);
    EXPECT_EQ(clip(a).sourceIn.seconds, 6.0);
    expectOneUndoStep(before, QStringLiteral("Set In Point"));

    before = project();
    m_editing.setPlayheadTime(9);
    m_editing.setOutPointAtPlayhead(a.id); // measured from the new in point: 6 + 5 × 2
    EXPECT_EQ(clip(a).sourceOut.seconds, 16.0);
    expectOneUndoStep(before, QStringLiteral("Set Out Point"), 1);

    m_editing.setPlayheadTime(1); // before the clip: the in point where it is
    m_editing.setInPointAtPlayhead(a.id);
    EXPECT_EQ(clip(a).sourceIn.seconds, 6.0);
    EXPECT_EQ(m_app.undoManager().undoCount(), 2u);
}

TEST_F(TimelineEditingTest, TrackTogglesAreSavedWithoutAStep) {
    m_editing.toggleTrackMuted(1);
    m_editing.toggleTrackLocked(2);
    m_editing.toggleTrackVisible(0);
    m_editing.toggleTrackVisible(7);
    const auto& tracks = project().timeline.tracks;
    EXPECT_TRUE(tracks[1].muted);
    EXPECT_TRUE(tracks[2].locked);
    EXPECT_FALSE(tracks[0].visible);
    EXPECT_FALSE(tracks[0].muted || tracks[0].locked || tracks[1].locked || tracks[2].muted);
    EXPECT_FALSE(m_app.undoManager().canUndo());
    m_editing.toggleTrackMuted(1);
    EXPECT_FALSE(project().timeline.tracks[1].muted);
}

TEST_F(TimelineEditingTest, ResizingATrackIsOneStepWithinTheLimits) {
    const Project before = project();
    m_editing.changeTrackResize(1, 10);
    ASSERT_EQ(m_editing.resizingTrackIndex(), 1);
    EXPECT_EQ(project().timeline.tracks[1].height, 58);
    m_editing.changeTrackResize(1, 500);
    EXPECT_EQ(project().timeline.tracks[1].height, 160);
    m_editing.changeTrackResize(1, -500);
    EXPECT_EQ(project().timeline.tracks[1].height, 32);
    EXPECT_FALSE(m_app.undoManager().canUndo());
    m_editing.commitTrackResize();
    EXPECT_EQ(m_editing.resizingTrackIndex(), std::nullopt);
    expectOneUndoStep(before, QStringLiteral("Resize Track"));

    m_editing.changeTrackResize(0, 30);
    m_editing.changeTrackResize(0, 0);
    m_editing.commitTrackResize();
    EXPECT_EQ(m_app.undoManager().undoCount(), 1u);
}

TEST(TimelineEditingWithoutProject, DoesNothingAndKeepsTheDefaults) {
    test::PrivateApp app;
    TimelineEditing editing(app.app, app.defaults);
    EXPECT_EQ(editing.tracks().size(), 3u);
    EXPECT_EQ(editing.contentWidth(), 840);
    editing.scrubPlayhead(8000, true); // no duration to stop at
    EXPECT_EQ(editing.playheadTime(), 100.0);
    EXPECT_FALSE(editing.splitClipAtPlayhead());
    EXPECT_EQ(editing.deleteClip(QUuid::createUuid()), std::nullopt);
    editing.changeTrim(QUuid::createUuid(), false, 50);
    EXPECT_EQ(editing.trimmingClipID(), std::nullopt);
    editing.changeTrackResize(0, 20);
    EXPECT_EQ(editing.resizingTrackIndex(), std::nullopt);
}

} // namespace
