#include "direction/AutoZoomEngine.h"

#include "capture/CursorSmoothing.h"
#include "capture/TelemetryFiles.h"
#include "direction/ZoomFraming.h"
#include "support/MainThread.h"

#include <QDir>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

using namespace orvane;
using E = InputEvent;
using Track = KeyframeTrack<NormalizedRect>;

namespace {

const Size hd{1920, 1080};
const NormalizedRect unit = NormalizedRect::unit();

InputEvent down(double t, double x, double y) {
    return {E::LeftMouseDown{ProjectTime(t), x, y}};
}

std::vector<double> times(const Track& track) {
    std::vector<double> out;
    for (const auto& k : track.keyframes)
        out.push_back(k.time.seconds);
    return out;
}

void expectTimes(const Track& track, const std::vector<double>& expected) {
    const auto got = times(track);
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], expected[i], 1e-9) << "keyframe " << i;
}

void expectRect(const NormalizedRect& r, const NormalizedRect& want) {
    EXPECT_NEAR(r.x, want.x, 1e-9);
    EXPECT_NEAR(r.y, want.y, 1e-9);
    EXPECT_NEAR(r.width, want.width, 1e-9);
    EXPECT_NEAR(r.height, want.height, 1e-9);
}

Track run(const std::vector<InputEvent>& events, double duration, const AutoZoomConfig& config = {},
          const CursorTrack& cursor = {}) {
    return AutoZoomEngine::generateKeyframes(events, cursor, hd, config, ProjectTime(duration));
}

TEST(AutoZoomEngine, WorkedExample) {
    const Track track = run({down(10.0, 1800, 100),
                             {E::LeftMouseUp{ProjectTime(10.1), 1800, 100}},
                             {E::RightMouseDown{ProjectTime(10.3), 1810, 110}}},
                            60);
    expectTimes(track, {0, 9.49, 10.0, 10.7, 11.2});
    const NormalizedRect r{853.3333333333334 / 1920, 0.75 / 1080, 1 / 1.8, 1 / 1.8};
    expectRect(track.keyframes[0].value, unit);
    expectRect(track.keyframes[1].value, unit);
    expectRect(track.keyframes[2].value, r);
    expectRect(track.keyframes[3].value, r);
    expectRect(track.keyframes[4].value, unit);
    EXPECT_NEAR(r.x, 0.4444, 1e-4);
    EXPECT_NEAR(r.y, 0.000694, 1e-6);
    for (const auto& k : track.keyframes)
        EXPECT_EQ(k.easing, EasingCurve::spring());
}

TEST(AutoZoomEngine, GuardsAndTheClickFreeClip) {
    EXPECT_TRUE(run({down(1, 5, 5)}, 0).isEmpty());
    EXPECT_TRUE(
        AutoZoomEngine::generateKeyframes({down(1, 5, 5)}, {}, Size{0, 1080}, {}, ProjectTime(10)).isEmpty());
    EXPECT_TRUE(AutoZoomEngine::generateKeyframes({down(1, 5, 5)}, {}, Size{1920, -1}, {}, ProjectTime(10))
                    .isEmpty());

    // Ups, scrolling and keys are not clicks.
    AutoZoomConfig config;
    config.easing = EasingCurve::linear();
    const Track still = run({{E::LeftMouseUp{ProjectTime(1), 1, 1}},
                             {E::Scroll{ProjectTime(2), 1, 1, 0, 1}},
                             {E::KeyDown{ProjectTime(3), 6, QStringLiteral("z"), 0}},
                             {E::KeyUp{ProjectTime(3.1), 6}}},
                            12.5, config);
    ASSERT_EQ(still.count(), 2u);
    EXPECT_EQ(still.keyframes[0], (Keyframe<NormalizedRect>{ProjectTime(0), unit, EasingCurve::linear()}));
    EXPECT_EQ(still.keyframes[1], (Keyframe<NormalizedRect>{ProjectTime(12.5), unit, EasingCurve::linear()}));
}

TEST(AutoZoomEngine, ClicksNearTheStartOverwriteTheOpeningKeyframe) {
    expectTimes(run({down(5, 960, 540)}, 30), {0, 4.49, 5, 5.4, 5.9});
    // The lead-in is cut at 0 and replaces the opening keyframe.
    expectTimes(run({down(0.1, 960, 540)}, 30), {0, 0.1, 0.5, 1.0});
    // A click at 0: the zoom-in end lands on 0 as well, so the clip begins zoomed in.
    const Track atZero = run({down(0, 960, 540)}, 30);
    expectTimes(atZero, {0, 0.4, 0.9});
    EXPECT_NE(atZero.keyframes[0].value, unit);
}

TEST(AutoZoomEngine, ClustersJoinByGapToThePreviousClickAndDistanceToTheMean) {
    // Exactly 0.5 s joins, 0.51 s does not.
    expectTimes(run({down(2, 100, 100), down(2.5, 100, 100)}, 60), {0, 1.49, 2, 2.9, 3.4});
    expectTimes(run({down(2, 100, 100), down(2.51, 100, 100)}, 60), {0, 1.49, 2, 2.4, 2.9});
    // D = 0.2 * 1920 = 384 from the running mean; exactly D joins.
    expectTimes(run({down(2, 0, 0), down(2.2, 384, 0)}, 60), {0, 1.49, 2, 2.6, 3.1});
    expectTimes(run({down(2, 0, 0), down(2.2, 384.01, 0)}, 60), {0, 1.49, 2, 2.4, 2.9});
    // The mean moves with the cluster: 0, 300 (mean 150), then 500 is 350 from the mean and joins,
    // though 500 from the first click.
    expectTimes(run({down(2, 0, 0), down(2.2, 300, 0), down(2.4, 500, 0)}, 60), {0, 1.49, 2, 2.8, 3.3});
    // A chain of clicks each under 0.5 s apart stays one cluster for as long as it lasts.
    std::vector<InputEvent> chain;
    for (int i = 0; i < 20; ++i)
        chain.push_back(down(1 + 0.45 * i, 900, 500));
    expectTimes(run(chain, 60), {0, 0.49, 1, 1 + 0.45 * 19 + 0.4, 1 + 0.45 * 19 + 0.9});
}

TEST(AutoZoomEngine, RateLimitKeepsTheBusiestClustersInTimeOrder) {
    AutoZoomConfig none;
    none.maxZoomsPerMinute = 0;
    // Three clusters of 1, 3 and 3 clicks: the cap is raised to 1 and the earlier busiest wins.
    const std::vector<InputEvent> events = {down(2, 100, 100),    down(10, 900, 500), down(10.2, 900, 500),
                                            down(10.4, 900, 500), down(20, 50, 50),   down(20.1, 50, 50),
                                            down(20.2, 50, 50)};
    expectTimes(run(events, 30, none), {0, 9.49, 10, 10.8, 11.3});
    // 30 s at 12 a minute allows 6: all three stay.
    EXPECT_EQ(run(events, 30).count(), 13u);
    // 10 s at 12 a minute: cap 2, so of three single clicks the first two stay.
    const std::vector<InputEvent> singles = {down(1, 10, 10), down(4, 900, 500), down(7, 1800, 1000)};
    expectTimes(run(singles, 10), {0, 0.49, 1, 1.4, 1.9, 3.49, 4, 4.4, 4.9});
    // 4 s at 12 a minute would be 0, raised to 1.
    expectTimes(run(singles, 4), {0, 0.49, 1, 1.4, 1.9});
}

TEST(AutoZoomEngine, ZoomsTooCloseToThePreviousOneAreSkipped) {
    // The first zoom ends at 2.9; with minHoldDuration 0.7 the next may start at 3.6.
    const Track t = run({down(2, 100, 100), down(3.5, 900, 500), down(3.6, 1800, 1000)}, 60);
    // 3.5 is skipped; 3.6 (a separate cluster, 1000 px away) is tested against the same 2.9 and passes.
    expectTimes(t, {0, 1.49, 2, 2.4, 2.9, 3.09, 3.6, 4.0, 4.5});
    AutoZoomConfig exact;
    exact.minHoldDuration = 0.5;
    exact.zoomOutDuration = 0.5;
    // Ends at 1 + 0.4 + 0.5 = 1.9; a start exactly minHoldDuration later passes.
    EXPECT_EQ(run({down(1, 100, 100), down(2.4, 1800, 1000)}, 60, exact).count(), 9u);
    EXPECT_EQ(run({down(1, 100, 100), down(2.39, 1800, 1000)}, 60, exact).count(), 5u);
}

TEST(AutoZoomEngine, CompositionDecidesThePullTowardsTheCentre) {
    AutoZoomConfig corner;
    corner.composition = AutoZoomConfig::CompositionStyle::centerOnCursor;
    // Right, middle and left presses are all clicks.
    const Track held = run({{E::OtherMouseDown{ProjectTime(3), 1900, 1070, 2}}}, 30, corner);
    expectRect(held.keyframes[2].value, {1 - 1 / 1.8, 1 - 1 / 1.8, 1 / 1.8, 1 / 1.8});
    const Track topLeft = run({{E::RightMouseDown{ProjectTime(3), 5, 5}}}, 30, corner);
    expectRect(topLeft.keyframes[2].value, {0, 0, 1 / 1.8, 1 / 1.8});

    AutoZoomConfig centred;
    centred.centerPull = 1;
    const Track middle = run({down(3, 1900, 10)}, 30, centred);
    const NormalizedRect crop = middle.keyframes[2].value;
    EXPECT_NEAR(crop.x + crop.width / 2, 0.5, 1e-12);
    EXPECT_NEAR(crop.y + crop.height / 2, 0.5, 1e-12);

    AutoZoomConfig lead;
    lead.composition = AutoZoomConfig::CompositionStyle::followWithLead;
    EXPECT_NEAR(ZoomFraming::centerPull(lead), 0.27, 1e-12);
    expectRect(run({down(3, 800, 400)}, 30, lead).keyframes[2].value,
               ZoomFraming::cropRect({800, 400}, hd, 1.8, 0.27));
}

TEST(AutoZoomEngine, TheCursorAtTheClusterMiddleAimsTheZoom) {
    AutoZoomConfig config;
    config.composition = AutoZoomConfig::CompositionStyle::centerOnCursor;
    config.zoomLevel = 2;
    CursorTrack cursor{{{ProjectTime(9), 400, 300, 0}, {ProjectTime(11), 800, 500, 0}}};
    // Clicks at 9.8 and 10.2 average (1000, 700), but the cursor at 10.0 was at (600, 400).
    const Track t = run({down(9.8, 1000, 700), down(10.2, 1000, 700)}, 30, config, cursor);
    expectRect(t.keyframes[2].value, {(600 - 480) / 1920.0, (400 - 270) / 1080.0, 0.5, 0.5});
}

TEST(AutoZoomEngine, AClosingKeyframeFollowsAZoomThatDoesNotReturn) {
    AutoZoomConfig config;
    config.zoomOutDuration = -0.2; // the move out lands before the hold ends
    const Track t = run({down(5, 960, 540)}, 30, config);
    expectTimes(t, {0, 4.49, 5, 5.2, 5.4, 30});
    EXPECT_EQ(t.keyframes.back().value, unit);
}

class AutoZoomFilesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("media")));
        clip.sourceSize = hd;
        clip.sourceOut = ProjectTime(30);
        clip.sourceEventsPath = QStringLiteral("media/clip-A-events.json");
        clip.sourceCursorPath = QStringLiteral("media/clip-A-cursor.json");
    }
    QString path(const QString& relative) const { return QDir(dir.path()).filePath(relative); }

    Track generate(const Clip& c, const ProjectBundle* bundle = nullptr) {
        AutoZoomEngine engine;
        Track result;
        bool resumedOnMain = false;
        bool done = false;
        QEventLoop loop;
        auto task = bundle ? engine.generate(c, *bundle) : engine.generate(c, dir.path());
        task.then([&](Track t) {
            result = std::move(t);
            resumedOnMain = isMainThread();
            done = true;
            loop.quit();
        });
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        if (!done)
            loop.exec();
        EXPECT_TRUE(done);
        EXPECT_TRUE(resumedOnMain);
        return result;
    }

    QTemporaryDir dir;
    Clip clip;
};

TEST_F(AutoZoomFilesTest, ReadsTheClipsFilesAndSmoothsTheCursor) {
    ASSERT_TRUE(TelemetryFiles::writeEventTrack({{down(10, 1800, 100), down(10.3, 1810, 110)}},
                                                path(*clip.sourceEventsPath)));
    // A cursor that sat at one spot: smoothing leaves it there, and it replaces the clicks' mean.
    CursorTrack cursor;
    for (int i = 0; i <= 100; ++i)
        cursor.samples.push_back({ProjectTime(9.5 + i * 0.01), 200, 900, 0});
    ASSERT_TRUE(TelemetryFiles::writeCursorTrack(cursor, path(*clip.sourceCursorPath)));

    const ProjectBundle bundle(dir.path(), Project{});
    const Track track = generate(clip, &bundle);
    expectTimes(track, {0, 9.49, 10, 10.7, 11.2});
    const CursorTrack smoothed = CursorSmoothing::smooth(cursor, clip.cursor.smoothing);
    EXPECT_EQ(track, AutoZoomEngine::generateKeyframes({down(10, 1800, 100), down(10.3, 1810, 110)}, smoothed,
                                                       hd, clip.autoZoom, clip.sourceOut));
    expectRect(track.keyframes[2].value, ZoomFraming::cropRect({200, 900}, hd, 1.8, 0.45));

    // A broken cursor file only costs the aim.
    QFile(path(*clip.sourceCursorPath)).remove();
    const Track unaimed = generate(clip);
    expectTimes(unaimed, {0, 9.49, 10, 10.7, 11.2});
    expectRect(unaimed.keyframes[2].value, ZoomFraming::cropRect({1805, 105}, hd, 1.8, 0.45));
}

TEST_F(AutoZoomFilesTest, NoEventDataMeansNoTrack) {
    ASSERT_TRUE(TelemetryFiles::writeEventTrack({{down(10, 1800, 100)}}, path(*clip.sourceEventsPath)));
    Clip disabled = clip;
    disabled.autoZoom.isEnabled = false;
    EXPECT_TRUE(generate(disabled).isEmpty());
    Clip imported = clip;
    imported.sourceEventsPath.reset();
    EXPECT_TRUE(generate(imported).isEmpty());
    Clip missing = clip;
    missing.sourceEventsPath = QStringLiteral("media/none.json");
    EXPECT_TRUE(generate(missing).isEmpty());
    QFile broken(path(*clip.sourceEventsPath));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
    broken.write(R"({"events": [{"leftMouseDown": {"time": 10, "x": 1, "y": 2}}]})");
    broken.close();
    EXPECT_TRUE(generate(clip).isEmpty());
    EXPECT_TRUE(AutoZoomEngine::generateFromFiles(clip, dir.path()).isEmpty());
}

} // namespace
