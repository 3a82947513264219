#include "direction/FaceDetector.h"

#include "DrawnFace.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

// The largest face wins, its box normalised from the top left; a picture without one gives none, as
// does a detector without its cascade.
TEST(FaceDetector, FindsTheLargestFace) {
    FaceDetector detector;
    if (!detector.isLoaded())
        GTEST_SKIP() << "no face cascade (scripts/setup-deps installs opencv-data)";

    const QImage one = test::drawnFaces(640, 360, {{{480, 180}, 120}});
    const auto face = detector.largestFace(one);
    ASSERT_TRUE(face.has_value());
    EXPECT_NEAR(face->center().x(), 0.75, 0.03);
    EXPECT_NEAR(face->center().y(), 0.5, 0.05);

    const QImage two = test::drawnFaces(640, 360, {{{140, 200}, 70}, {{450, 170}, 150}});
    const auto larger = detector.largestFace(two);
    ASSERT_TRUE(larger.has_value());
    EXPECT_GT(larger->center().x(), 0.6) << "the larger face is on the right";

    // A large frame is scaled down first; the box stays in the frame's proportions.
    const QImage big = test::drawnFaces(1920, 1080, {{{480, 540}, 300}});
    const auto scaled = detector.largestFace(big);
    ASSERT_TRUE(scaled.has_value());
    EXPECT_NEAR(scaled->center().x(), 0.25, 0.03);
    EXPECT_NEAR(scaled->center().y(), 0.5, 0.05);

    EXPECT_FALSE(detector.largestFace(test::drawnFaces(640, 360, {})).has_value());
    EXPECT_FALSE(detector.largestFace(QImage()).has_value());

    FaceDetector without(QStringLiteral("/nonexistent/cascade.xml"));
    EXPECT_FALSE(without.isLoaded());
    EXPECT_FALSE(without.largestFace(one).has_value());
}

} // namespace
