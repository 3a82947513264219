#include "project/Project.h"

#include "common/RandomProject.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

Clip clipAt(double start, double sourceIn, double sourceOut, int track = 0, double speed = 1) {
    Clip c;
    c.id = QUuid::createUuid();
    c.name = QStringLiteral("clip");
    c.trackIndex = track;
    c.sourceVideoPath = QStringLiteral("media/a.mov");
    c.sourceIn = ProjectTime(sourceIn);
    c.sourceOut = ProjectTime(sourceOut);
    c.timelineStart = ProjectTime(start);
    c.sourceSize = Size{1920, 1080};
    c.speed = speed;
    return c;
}

const char* smallestClipDocument = R"({"timeline": {"clips": [{
    "id": "2f1a7c84-5b1e-4e8b-9c55-0c7d2a8f1e33", "name": "Clip", "sourceVideoPath": "media/clip.mov",
    "sourceIn": {"seconds": 1}, "sourceOut": {"seconds": 11}, "timelineStart": {"seconds": 0},
    "sourceSize": [1920, 1080], "background": {"blurredExtension": {"blurRadius": 40}},
    "frame": {}, "cursor": {}}]}})";

QString decodeFailure(const QByteArray& json) {
    const auto result = decodeProject(json);
    return result ? QStringLiteral("decoded") : result.error().description();
}

} // namespace

TEST(Clip, DurationAndSourceTime) {
    const Clip c = clipAt(10, 2, 8, 0, 2);
    EXPECT_DOUBLE_EQ(c.timelineDuration().seconds, 3);
    EXPECT_DOUBLE_EQ(c.sourceTime(ProjectTime(11)).seconds, 4);
    EXPECT_DOUBLE_EQ(c.sourceTime(ProjectTime(5)).seconds, 2);   // before the clip: its sourceIn
    EXPECT_DOUBLE_EQ(c.sourceTime(ProjectTime(20)).seconds, 22); // not limited by sourceOut
    EXPECT_DOUBLE_EQ(clipAt(0, 0, 5, 0, 0).timelineDuration().seconds, 500);
    EXPECT_DOUBLE_EQ(clipAt(0, 0, 5, 0, -3).timelineDuration().seconds, 500);
}

TEST(Timeline, ClipQueriesAndEdits) {
    Timeline t;
    const Clip a = clipAt(5, 0, 5);
    const Clip b = clipAt(0, 0, 5);
    const Clip c = clipAt(5, 0, 1, 0);
    const Clip d = clipAt(2, 0, 1, 1);
    for (const Clip& x : {a, b, c, d})
        t.add(x);

    const auto track0 = t.clipsInTrack(0);
    ASSERT_EQ(track0.size(), 3u);
    EXPECT_EQ(track0[0].id, b.id);
    EXPECT_EQ(track0[1].id, a.id); // same start as c: list order kept
    EXPECT_EQ(track0[2].id, c.id);

    auto active = t.activeClips(ProjectTime(5));
    ASSERT_EQ(active.size(), 2u); // b ends at 5 (exclusive); a and c start at 5 (inclusive)
    EXPECT_EQ(active[0].id, a.id);
    EXPECT_EQ(active[1].id, c.id);
    EXPECT_DOUBLE_EQ(t.duration().seconds, 10);
    EXPECT_DOUBLE_EQ(Timeline().duration().seconds, 0);

    Clip changed = a;
    changed.name = QStringLiteral("renamed");
    t.update(changed);
    EXPECT_EQ(t.clip(a.id)->name, QStringLiteral("renamed"));
    t.update(clipAt(0, 0, 1)); // unknown id: nothing happens
    EXPECT_EQ(t.clips.size(), 4u);

    t.add(changed);
    t.remove(a.id);
    EXPECT_EQ(t.clips.size(), 3u);
    EXPECT_EQ(t.clip(a.id), nullptr);
    EXPECT_EQ(t.clips[0].id, b.id);
}

TEST(Timeline, EnsureTrackIndex) {
    Timeline t;
    ASSERT_EQ(t.tracks.size(), 3u);
    EXPECT_EQ(t.tracks[0].name, QStringLiteral("Video 1"));
    EXPECT_EQ(t.tracks[1].height, 48);
    EXPECT_NE(t.tracks[0].id, t.tracks[1].id);

    EXPECT_EQ(t.ensureTrackIndex(Timeline::TrackKind::video, QStringLiteral("B")), 0);
    EXPECT_EQ(t.tracks[0].name, QStringLiteral("Video 1"));
    EXPECT_EQ(t.ensureTrackIndex(Timeline::TrackKind::overlay), 3);
    EXPECT_EQ(t.tracks[3].name, QStringLiteral("Overlay"));
    EXPECT_EQ(t.tracks[3].height, 40);
    EXPECT_EQ(t.firstTrackIndex(Timeline::TrackKind::overlay), 3);

    Timeline empty;
    empty.tracks.clear();
    EXPECT_FALSE(empty.firstTrackIndex(Timeline::TrackKind::video));
    EXPECT_EQ(empty.ensureTrackIndex(Timeline::TrackKind::video), 0);
    EXPECT_EQ(empty.tracks[0].name, QStringLiteral("Video 1"));
    EXPECT_EQ(empty.ensureTrackIndex(Timeline::TrackKind::music, QStringLiteral("Score")), 1);
    EXPECT_EQ(empty.tracks[1].name, QStringLiteral("Score"));
}

TEST(Project, MakeClipStartsAfterEverythingOnTheTimelineInTheProjectsDefaultLooks) {
    Project project;
    project.defaultBackground = BackgroundStyle::solid(RGBAColor{0.1, 0.2, 0.3, 1});
    project.defaultFrame.cornerRadius = 3;
    project.defaultCursor.scale = 2.5;
    project.defaultAutoZoom.zoomLevel = 2.4;

    const Clip first = project.makeClip(QStringLiteral("First"), ProjectTime(4), Size{1280, 720});
    EXPECT_TRUE(project.timeline.clips.empty()) << "making a clip does not place it";
    EXPECT_FALSE(first.id.isNull());
    EXPECT_EQ(first.name, QStringLiteral("First"));
    EXPECT_DOUBLE_EQ(first.timelineStart.seconds, 0);
    EXPECT_DOUBLE_EQ(first.sourceIn.seconds, 0);
    EXPECT_DOUBLE_EQ(first.sourceOut.seconds, 4);
    EXPECT_DOUBLE_EQ(first.timelineDuration().seconds, 4);
    EXPECT_EQ(first.sourceSize, (Size{1280, 720}));
    EXPECT_EQ(first.background, project.defaultBackground);
    EXPECT_EQ(first.frame, project.defaultFrame);
    EXPECT_EQ(first.cursor, project.defaultCursor);
    EXPECT_EQ(first.autoZoom, project.defaultAutoZoom);
    // Nothing else comes from the project or from another clip: the rest is a plain clip's.
    Clip plain;
    plain.id = first.id;
    plain.name = first.name;
    plain.sourceOut = first.sourceOut;
    plain.sourceSize = first.sourceSize;
    plain.background = first.background;
    plain.frame = first.frame;
    plain.cursor = first.cursor;
    plain.autoZoom = first.autoZoom;
    EXPECT_EQ(first, plain);

    // The clip that ends last decides, whichever track it is on and wherever it is in the list: a clip
    // at half speed on the second track ends at 12, after one that starts later on the first.
    project.timeline.add(clipAt(0, 0, 6));
    project.timeline.add(clipAt(2, 1, 6, 1, 0.5));
    project.timeline.add(clipAt(8, 0, 1));
    const Clip next = project.makeClip(QStringLiteral("Next"), ProjectTime(2.5), Size{1920, 1080});
    EXPECT_DOUBLE_EQ(next.timelineStart.seconds, 12);
    EXPECT_DOUBLE_EQ(next.timelineEnd().seconds, 14.5);
    EXPECT_NE(next.id, first.id);
    EXPECT_EQ(project.timeline.clips.size(), 3u);
}

TEST(ProjectJson, EmptyObjectIsAnUntitledProject) {
    const auto p = decodeProject("{}");
    ASSERT_TRUE(p) << p.error().what();
    EXPECT_EQ(p->name, QStringLiteral("Untitled"));
    EXPECT_EQ(p->schemaVersion, 1);
    EXPECT_EQ(p->canvasSize, (Size{1920, 1080}));
    EXPECT_EQ(p->frameRate, 60);
    EXPECT_EQ(p->canvasBackground, RGBAColor::black());
    EXPECT_TRUE(p->timeline.clips.empty());
    ASSERT_EQ(p->timeline.tracks.size(), 3u);
    EXPECT_EQ(p->defaultBackground, BackgroundStyle::defaults());
    EXPECT_EQ(p->defaultAutoZoom, AutoZoomConfig::defaults());
    EXPECT_FALSE(p->id.isNull());
    EXPECT_LE(std::abs(p->createdAt.secsTo(QDateTime::currentDateTimeUtc())), 5);

    // An explicitly empty track list stays empty.
    EXPECT_TRUE(decodeProject(R"({"timeline": {"tracks": []}})")->timeline.tracks.empty());
    // Unknown keys are ignored.
    EXPECT_TRUE(decodeProject(R"({"future": [1, 2], "timeline": {"lanes": 3}})"));
}

TEST(ProjectJson, SmallestDocumentWithAClip) {
    const auto p = decodeProject(smallestClipDocument);
    ASSERT_TRUE(p) << p.error().what();
    ASSERT_EQ(p->timeline.clips.size(), 1u);
    const Clip& c = p->timeline.clips[0];
    EXPECT_EQ(uuidString(c.id), QStringLiteral("2F1A7C84-5B1E-4E8B-9C55-0C7D2A8F1E33"));
    EXPECT_EQ(c.trackIndex, 0);
    EXPECT_EQ(c.speed, 1.0);
    EXPECT_EQ(c.background, BackgroundStyle::blurredExtension(40));
    EXPECT_EQ(c.frame, FrameStyle::defaults());
    EXPECT_EQ(c.cursor, CursorStyle::defaults());
    EXPECT_EQ(c.camera, CameraOverlay::defaults());
    EXPECT_EQ(c.autoZoom, AutoZoomConfig::defaults());
    EXPECT_EQ(c.audio, AudioConfig::defaults());
    EXPECT_EQ(c.colorGrade, ColorGrade::neutral());
    EXPECT_EQ(c.motionBlur, MotionBlurConfig::defaults());
    EXPECT_EQ(c.cursorTrail, CursorTrailConfig::defaults());
    EXPECT_EQ(c.cameraLayout, CameraLayout::pip);
    EXPECT_TRUE(c.zoomTrack.isEmpty());
    EXPECT_TRUE(c.animations.isEmpty());
    EXPECT_FALSE(c.captions);
    EXPECT_FALSE(c.transitionIn);
    EXPECT_FALSE(c.sourceAudioPath);
    EXPECT_DOUBLE_EQ(c.timelineDuration().seconds, 10);
}

TEST(ProjectJson, EncodedFormFollowsTheConventions) {
    auto p = decodeProject(smallestClipDocument);
    ASSERT_TRUE(p);
    p->createdAt = QDateTime(QDate(2025, 1, 2), QTime(3, 4, 5), Qt::UTC);
    const QByteArray bytes = *encodeProject(*p);
    const JsonObject root = readJsonDocument(bytes).toObject();
    EXPECT_EQ(root.value(QStringLiteral("createdAt")).toString(), QStringLiteral("2025-01-02T03:04:05Z"));
    EXPECT_EQ(root.value(QStringLiteral("canvasSize")).toArray(), (JsonArray{1920, 1080}));
    const JsonObject clip = root.value(QStringLiteral("timeline"))
                                .toObject()
                                .value(QStringLiteral("clips"))
                                .toArray()[0]
                                .toObject();
    EXPECT_EQ(clip.value(QStringLiteral("id")).toString(),
              QStringLiteral("2F1A7C84-5B1E-4E8B-9C55-0C7D2A8F1E33"));
    EXPECT_EQ(clip.value(QStringLiteral("sourceIn")).toObject(),
              (JsonObject{{QStringLiteral("seconds"), 1}}));
    // Absent optionals are left out, never written as null; present defaults are always written.
    EXPECT_FALSE(clip.contains(QStringLiteral("captions")));
    EXPECT_FALSE(clip.contains(QStringLiteral("sourceAudioPath")));
    EXPECT_TRUE(clip.contains(QStringLiteral("spotlight")));
    EXPECT_EQ(clip.size(), 32); // 38 keys less four paths, captions and transitionIn
    EXPECT_FALSE(bytes.contains("null"));
    // Pretty-printed with sorted keys.
    EXPECT_TRUE(bytes.contains('\n'));
    EXPECT_LT(bytes.indexOf("\"canvasBackground\""), bytes.indexOf("\"canvasSize\""));
    EXPECT_LT(bytes.indexOf("\"canvasSize\""), bytes.indexOf("\"createdAt\""));
}

TEST(ProjectJson, FailuresNameThePathAndFailTheWholeDocument) {
    struct Case {
        const char* replace;
        const char* with;
        const char* error;
    };
    const Case cases[] = {
        {R"("sourceSize": [1920, 1080])", R"("sourceSize": {"width": 1920})",
         "timeline.clips[0].sourceSize: expected an array of two numbers"},
        {R"("name": "Clip", )", "", "timeline.clips[0].name: required key is missing"},
        {R"({"blurredExtension": {"blurRadius": 40}})", "{}",
         "timeline.clips[0].background: Invalid number of keys found, expected one."},
        {R"({"blurredExtension": {"blurRadius": 40}})",
         R"({"solid": {"_0": {"r": 1, "g": 1, "b": 1, "a": 1}}, "wallpaper": {"name": "x"}})",
         "timeline.clips[0].background: Invalid number of keys found, expected one."},
        {R"("frame": {})", R"("frame": {"cornerRadius": "16"})",
         "timeline.clips[0].frame.cornerRadius: expected a number"},
        {R"("frame": {})", R"("frame": {}, "cameraLayout": "floating")",
         "timeline.clips[0].cameraLayout: unknown case \"floating\" of CameraLayout"},
        {R"("cursor": {})", R"("cursor": {}, "audio": {"micVolume": 1})",
         "timeline.clips[0].audio.systemAudioVolume: required key is missing"},
        {R"("cursor": {})", R"("cursor": {}, "trackIndex": 0.5)",
         "timeline.clips[0].trackIndex: expected an integer"},
        {R"("id": "2f1a7c84-5b1e-4e8b-9c55-0c7d2a8f1e33")", R"("id": "clip-1")",
         "timeline.clips[0].id: expected a UUID string"},
    };
    for (const Case& c : cases) {
        QByteArray json(smallestClipDocument);
        ASSERT_TRUE(json.contains(c.replace)) << c.replace;
        json.replace(c.replace, c.with);
        EXPECT_EQ(decodeFailure(json), QString::fromUtf8(c.error));
    }
    EXPECT_EQ(decodeFailure(R"({"createdAt": "yesterday"})"),
              QStringLiteral("createdAt: expected an ISO-8601 date string"));
    EXPECT_EQ(decodeFailure("[]"), QStringLiteral("expected an object"));
    EXPECT_TRUE(decodeFailure("{").startsWith(QStringLiteral("The data couldn't be read")));
    // A null optional reads as absent, a null required value fails.
    EXPECT_EQ(decodeFailure(R"({"name": null, "notes": null})"), QStringLiteral("decoded"));
    QByteArray nullSize(smallestClipDocument);
    nullSize.replace("[1920, 1080]", "null");
    EXPECT_EQ(decodeFailure(nullSize),
              QStringLiteral("timeline.clips[0].sourceSize: expected an array of two numbers"));
}

TEST(ProjectJson, RandomProjectsRoundTripExactly) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        test::RandomProjectOptions options;
        options.fillOptionals = seed % 4 != 0;
        const Project original = test::randomProject(seed, options);
        const auto bytes = encodeProject(original);
        ASSERT_TRUE(bytes) << bytes.error().what();
        const auto decoded = decodeProject(*bytes);
        ASSERT_TRUE(decoded) << "seed " << seed << ": " << decoded.error().what();
        ASSERT_TRUE(*decoded == original) << "seed " << seed;
        // Encoding is deterministic: the same project gives the same bytes.
        EXPECT_EQ(*encodeProject(*decoded), *bytes) << "seed " << seed;
    }
}

TEST(ProjectJson, UnsortedKeyframesInAFileStayUnsorted) {
    QByteArray json(smallestClipDocument);
    json.replace(R"("cursor": {})", R"("cursor": {}, "zoomTrack": {"keyframes": [
        {"time": {"seconds": 3}, "value": {"x": 0, "y": 0, "width": 1, "height": 1}, "easing": {"kind": "linear", "p1x": 0, "p1y": 0, "p2x": 1, "p2y": 1}},
        {"time": {"seconds": 1}, "value": {"x": 0.2, "y": 0.2, "width": 0.5, "height": 0.5}, "easing": {"kind": "linear", "p1x": 0, "p1y": 0, "p2x": 1, "p2y": 1}}]})");
    const auto p = decodeProject(json);
    ASSERT_TRUE(p) << p.error().what();
    const auto& keys = p->timeline.clips[0].zoomTrack.keyframes;
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0].time.seconds, 3);
    // Re-inserting sorts them.
    KeyframeTrack<NormalizedRect> edited;
    for (const auto& k : keys)
        edited.insert(k);
    EXPECT_EQ(edited.keyframes[0].time.seconds, 1);
}

TEST(ProjectJson, NonFiniteValuesFailToEncodeWithTheirPath) {
    Project p = test::randomProject(7);
    p.timeline.clips[1].zoomTrack.keyframes.at(0).value.width = std::numeric_limits<double>::infinity();
    const auto bytes = encodeProject(p);
    ASSERT_FALSE(bytes);
    EXPECT_EQ(bytes.error().path(), QStringLiteral("timeline.clips[1].zoomTrack.keyframes[0].value.width"));
}
