#include "direction/AutoRecompose.h"

#include "DrawnFace.h"
#include "capture/TelemetryFiles.h"
#include "direction/FaceDetector.h"
#include "media/MediaTestSupport.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace orvane;
using Sample = AutoRecompose::Sample;
using Strategy = AutoRecompose::Strategy;

namespace {

CursorTrack cursorPath(std::initializer_list<std::tuple<double, double, double>> points) {
    CursorTrack track;
    for (const auto& [t, x, y] : points)
        track.samples.push_back({ProjectTime(t), x, y, 0});
    return track;
}

// The crop window keeps the target's shape inside the source: full height of a wider source, full width
// of a narrower one, the whole frame when the shapes agree.
TEST(AutoRecompose, CropWindowHasTheTargetsShape) {
    struct Case {
        Size source;
        double target;
        double w, h;
    };
    const Case cases[] = {
        {{1920, 1080}, 9.0 / 16, 0.31640625, 1},
        {{1920, 1080}, 1.0, 0.5625, 1},
        {{1440, 1080}, 16.0 / 9, 1, 0.75},
        {{1080, 1080}, 1.0, 1, 1},
        {{1080, 1920}, 0.5625, 1, 1},
    };
    for (const Case& c : cases) {
        const Size window = AutoRecompose::cropWindow(c.source, c.target);
        EXPECT_NEAR(window.width, c.w, 1e-12)
            << c.source.width << "x" << c.source.height << " to " << c.target;
        EXPECT_NEAR(window.height, c.h, 1e-12)
            << c.source.width << "x" << c.source.height << " to " << c.target;
        // What the window shows has the target's aspect in pixels.
        EXPECT_NEAR(window.width * c.source.width / (window.height * c.source.height), c.target, 1e-9);
    }
}

// Two samples a second, never past the end, one even for a blink of a clip, none for nothing.
TEST(AutoRecompose, SamplesTwiceASecondUpToTheEnd) {
    EXPECT_TRUE(AutoRecompose::sampleTimes(0).empty());
    EXPECT_TRUE(AutoRecompose::sampleTimes(-1).empty());
    EXPECT_EQ(AutoRecompose::sampleTimes(0.3), std::vector<double>{0});
    EXPECT_EQ(AutoRecompose::sampleTimes(3.2), (std::vector<double>{0, 0.5, 1, 1.5, 2, 2.5, 3}));
    EXPECT_EQ(AutoRecompose::sampleTimes(1.0), (std::vector<double>{0, 0.5}));
    const auto longer = AutoRecompose::sampleTimes(61.7);
    ASSERT_EQ(longer.size(), 124u);
    EXPECT_LT(longer.back(), 61.7);
    EXPECT_GT(longer.back(), 61.7 - 0.5);
}

// The cursor's whole range maps into the middle 55 %: its corners give 0.225 and 0.775; between samples
// it moves linearly, and it holds before the first sample and after the last.
TEST(AutoRecompose, FollowingTheCursorStaysInTheMiddleOfTheFrame) {
    const Size source{1000, 500};
    const CursorTrack cursor = cursorPath({{1, 0, 0}, {2, 1000, 500}, {3, 1000, 500}, {3, 0, 250}});
    const auto samples = AutoRecompose::sampleFollowCursor(cursor, source, {0, 1, 1.5, 2, 2.5, 3, 9});
    ASSERT_EQ(samples.size(), 7u);
    const std::vector<std::pair<double, double>> expected{{0.225, 0.225}, {0.225, 0.225}, {0.5, 0.5},
                                                          {0.775, 0.775}, {0.775, 0.775}, {0.225, 0.5},
                                                          {0.225, 0.5}};
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_NEAR(samples[i].x, expected[i].first, 1e-12) << "sample " << i;
        EXPECT_NEAR(samples[i].y, expected[i].second, 1e-12) << "sample " << i;
    }
    // Without a cursor there is nothing to follow: the slow drift around the centre takes over.
    const std::vector<double> times{0, 0.5, 1, 5};
    EXPECT_EQ(AutoRecompose::sampleFollowCursor({}, source, times),
              AutoRecompose::sampleCenterWeighted(times));
    EXPECT_NEAR(AutoRecompose::sampleCenterWeighted({5})[0].x, 0.5 + 0.03 * std::sin(1.5), 1e-12);
}

// A face found is the window's aim; a moment without one pulls back to the centre, not to the last face.
TEST(AutoRecompose, FaceTrackingAimsAtTheFaceAndFallsBackToTheCentre) {
    const auto samples = AutoRecompose::sampleFaceTracking(
        [](double t) -> std::optional<Sample> {
            if (t < 1)
                return Sample{t, 0.8, 0.3};
            return std::nullopt;
        },
        {0, 0.5, 1, 1.5});
    EXPECT_EQ(samples, (std::vector<Sample>{{0, 0.8, 0.3}, {0.5, 0.8, 0.3}, {1, 0.5, 0.5}, {1.5, 0.5, 0.5}}));
}

// The spring starts where the first sample is, approaches a step without overshooting (it is critically
// damped), and stays stable when the samples come far apart.
TEST(AutoRecompose, TheSpringFollowsWithoutOvershoot) {
    std::vector<Sample> step{{0, 0.2, 0.5}};
    for (int i = 1; i <= 12; ++i)
        step.push_back({i * 0.5, 0.8, 0.5});
    const auto smoothed = AutoRecompose::springSmooth(step);
    ASSERT_EQ(smoothed.size(), step.size());
    EXPECT_EQ(smoothed.front(), step.front());
    // One step by hand: dt 0.5, A = 13, C = 36, p' = (13 * 0.2 + 36 * 0.8) / 49.
    EXPECT_NEAR(smoothed[1].x, (13 * 0.2 + 36 * 0.8) / 49, 1e-12);
    for (std::size_t i = 1; i < smoothed.size(); ++i) {
        EXPECT_GE(smoothed[i].x, smoothed[i - 1].x - 1e-12) << "moves one way only";
        EXPECT_LE(smoothed[i].x, 0.8 + 1e-12) << "never past the goal";
        EXPECT_DOUBLE_EQ(smoothed[i].y, 0.5);
        EXPECT_DOUBLE_EQ(smoothed[i].time, step[i].time);
    }
    EXPECT_NEAR(smoothed.back().x, 0.8, 1e-3);

    const std::vector<Sample> apart{{0, 0, 0}, {1000, 1, 1}};
    const auto far = AutoRecompose::springSmooth(apart);
    EXPECT_TRUE(std::isfinite(far[1].x));
    EXPECT_NEAR(far[1].x, 1, 1e-3);
    EXPECT_EQ(AutoRecompose::springSmooth({{3, 0.1, 0.9}}), (std::vector<Sample>{{3, 0.1, 0.9}}));
}

// Keyframes hold the window inside the frame: clamped to 1 - w first, then to 0, so a full-size window
// sits at 0 and a centre near the edge stops the window at the edge.
TEST(AutoRecompose, KeyframesKeepTheWindowInsideTheFrame) {
    const auto track =
        AutoRecompose::keyframes({{0, 0.9, 0.5}, {0.5, 0.05, 0.5}, {1, 0.5, 0.5}}, Size{0.3, 1});
    ASSERT_EQ(track.count(), 3u);
    EXPECT_NEAR(track.keyframes[0].value.x, 0.7, 1e-12);
    EXPECT_NEAR(track.keyframes[1].value.x, 0, 1e-12);
    EXPECT_NEAR(track.keyframes[2].value.x, 0.35, 1e-12);
    for (const auto& k : track.keyframes) {
        EXPECT_EQ(k.value.y, 0);
        EXPECT_EQ(k.value.width, 0.3);
        EXPECT_EQ(k.value.height, 1);
        EXPECT_EQ(k.easing, EasingCurve::cinematic());
    }
    const auto whole =
        AutoRecompose::track(2, 16.0 / 9, std::nullopt, {1920, 1080}, Strategy::centerWeighted, {});
    ASSERT_EQ(whole.count(), 4u);
    for (const auto& k : whole.keyframes)
        EXPECT_EQ(k.value, NormalizedRect::unit()) << "equal shapes leave the frame as it is";
}

// On a real movie: the length comes from the file, the cursor file of a clip steers the window, a movie
// without faces keeps it centred, and a file that isn't there fails with a reason.
TEST(AutoRecompose, RecomposesAMovieOnItsOwnExecutor) {
    ORVANE_REQUIRE_FFMPEG();
    QTemporaryDir dir;
    ASSERT_TRUE(test::ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                                  QStringLiteral("testsrc2=size=320x180:rate=30:d=3.2"),
                                  QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p")},
                                 dir.filePath(QStringLiteral("take.mp4"))));
    // The pointer sits in the right-hand part of the picture for the whole take.
    ASSERT_TRUE(TelemetryFiles::writeCursorTrack(cursorPath({{0, 300, 90}, {3.2, 300, 90}}),
                                                 dir.filePath(QStringLiteral("cursor.json"))));
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.sourceVideoPath = QStringLiteral("take.mp4");
    clip.sourceCursorPath = QStringLiteral("cursor.json");
    clip.sourceSize = {320, 180};

    AutoRecompose recompose;
    const auto following =
        QCoro::waitFor(recompose.recompose(clip, dir.path(), 0.5625, Strategy::followCursor));
    ASSERT_TRUE(following.has_value()) << following.error().toStdString();
    ASSERT_EQ(following->count(), 7u);
    EXPECT_NEAR(following->keyframes.back().time.seconds, 3.0, 1e-9);
    const double w = 0.31640625;
    // 300 of 320 maps to 0.740625; the window's left edge is that less half its width.
    EXPECT_NEAR(following->keyframes.back().value.x, 0.740625 - w / 2, 1e-9);
    EXPECT_NEAR(following->keyframes.back().value.width, w, 1e-12);

    const auto faces = AutoRecompose::recomposeFile(dir.filePath(QStringLiteral("take.mp4")), 1.0,
                                                    std::nullopt, {320, 180}, Strategy::faceTracking);
    ASSERT_TRUE(faces.has_value()) << faces.error().toStdString();
    ASSERT_EQ(faces->count(), 7u);
    for (const auto& k : faces->keyframes)
        EXPECT_NEAR(k.value.x, 0.5 - 0.5625 / 2, 1e-9) << "no face in a test pattern: centred";

    const auto missing = AutoRecompose::recomposeFile(dir.filePath(QStringLiteral("gone.mp4")), 1.0,
                                                      std::nullopt, {320, 180}, Strategy::centerWeighted);
    ASSERT_FALSE(missing.has_value());
    EXPECT_FALSE(missing.error().isEmpty());
}

// A face on the right for the first second, then on the left: the window starts over it and the spring
// carries it across once the face has moved.
TEST(AutoRecompose, FaceTrackingFollowsAFaceInTheMovie) {
    ORVANE_REQUIRE_FFMPEG();
    if (!FaceDetector().isLoaded())
        GTEST_SKIP() << "no face cascade (scripts/setup-deps installs opencv-data)";
    QTemporaryDir dir;
    for (int i = 0; i < 20; ++i) {
        const QPointF centre = i < 10 ? QPointF(480, 180) : QPointF(160, 180);
        ASSERT_TRUE(test::drawnFaces(640, 360, {{centre, 120}})
                        .save(dir.filePath(QStringLiteral("f%1.png").arg(i, 3, 10, QLatin1Char('0')))));
    }
    const QString movie = dir.filePath(QStringLiteral("faces.mp4"));
    ASSERT_TRUE(test::ffmpegMake({QStringLiteral("-framerate"), QStringLiteral("10"), QStringLiteral("-i"),
                                  dir.filePath(QStringLiteral("f%03d.png")), QStringLiteral("-pix_fmt"),
                                  QStringLiteral("yuv420p")},
                                 movie));
    const auto track =
        AutoRecompose::recomposeFile(movie, 0.5625, std::nullopt, {640, 360}, Strategy::faceTracking);
    ASSERT_TRUE(track.has_value()) << track.error().toStdString();
    ASSERT_EQ(track->count(), 4u);
    const double w = 0.5625 / (640.0 / 360.0);
    EXPECT_NEAR(track->keyframes[0].value.x, 0.75 - w / 2, 0.03) << "starts over the face";
    EXPECT_NEAR(track->keyframes[1].value.x, 0.75 - w / 2, 0.03);
    EXPECT_LT(track->keyframes[2].value.x, track->keyframes[1].value.x - 0.1) << "moves once the face does";
    EXPECT_LT(track->keyframes[3].value.x, track->keyframes[2].value.x);
    EXPECT_GT(track->keyframes[3].value.x, 0.25 - w / 2 - 1e-9) << "and never past it";
}

} // namespace
