// The clip a finished (or recovered) recording becomes: the rule both share.
#include "app/RecordingController.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

CaptureResult result(double seconds) {
    CaptureResult r;
    r.videoRelativePath = QStringLiteral("media/clip-A.mov");
    r.cursorRelativePath = QStringLiteral("media/clip-A-cursor.json");
    r.eventsRelativePath = QStringLiteral("media/clip-A-events.json");
    r.duration = ProjectTime(seconds);
    r.frameSize = Size{2560, 1440};
    return r;
}

} // namespace

TEST(RecordingController, ARecordingBecomesTheNextNumberedClipWithTheProjectsLooks) {
    Project project;
    project.defaultBackground = BackgroundStyle::solid(RGBAColor{0.2, 0.3, 0.4, 1});
    project.defaultCursor.scale = 2.5;
    project.defaultAutoZoom.zoomLevel = 2.4;
    Clip earlier = project.makeClip(QStringLiteral("Intro"), ProjectTime(4), Size{1920, 1080});
    earlier.trackIndex = 1;
    project.timeline.clips.push_back(earlier);

    const Clip clip = RecordingController::makeRecordingClip(project, result(7.5));
    EXPECT_EQ(clip.name, QStringLiteral("Recording 2"));
    EXPECT_NE(clip.id, earlier.id);
    EXPECT_EQ(clip.trackIndex, 0);
    EXPECT_EQ(clip.timelineStart, ProjectTime(4));
    EXPECT_EQ(clip.sourceIn, ProjectTime(0));
    EXPECT_EQ(clip.sourceOut, ProjectTime(7.5));
    EXPECT_EQ(clip.sourceSize, (Size{2560, 1440}));
    EXPECT_EQ(clip.background, project.defaultBackground);
    EXPECT_EQ(clip.cursor.scale, 2.5);
    EXPECT_EQ(clip.autoZoom, project.defaultAutoZoom);
    EXPECT_EQ(clip.audio, (AudioConfig{1.0, 1.0, true, true}));
    EXPECT_EQ(clip.sourceCursorPath, QStringLiteral("media/clip-A-cursor.json"));
    EXPECT_FALSE(clip.sourceAudioPath.has_value());
    EXPECT_FALSE(clip.camera.isEnabled);
    EXPECT_TRUE(clip.zoomTrack.isEmpty()); // auto-zoom is asked for later, never run here
}

TEST(RecordingController, ManualMarksBecomeZoomsAndMissingSideFilesStayAbsent) {
    Project project;
    CaptureResult r = result(10);
    r.cursorRelativePath.clear();
    r.eventsRelativePath.clear();
    r.cameraRelativePath = QStringLiteral("media/clip-A-camera.mov");
    r.manualZoomEvents = {{ProjectTime(2), 400, 300}, {ProjectTime(6), 2000, 1200}};

    const Clip clip = RecordingController::makeRecordingClip(project, r);
    EXPECT_FALSE(clip.sourceCursorPath.has_value());
    EXPECT_FALSE(clip.sourceEventsPath.has_value());
    EXPECT_TRUE(clip.camera.isEnabled);
    ASSERT_FALSE(clip.zoomTrack.isEmpty());
    // Zoomed in around each mark while it holds, and back out by the end.
    const auto at = [&](double t) {
        return clip.zoomTrack.value(ProjectTime(t), NormalizedRect::unit());
    };
    const NormalizedRect first = at(2.5), second = at(6.5);
    EXPECT_LT(first.width, 0.9);
    EXPECT_LT(first.x + first.width / 2, 0.35);
    EXPECT_GT(second.x + second.width / 2, 0.6);
    EXPECT_EQ(at(10), NormalizedRect::unit());
}
