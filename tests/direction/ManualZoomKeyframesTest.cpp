#include "direction/ManualZoomKeyframes.h"

#include "direction/ZoomFraming.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

TEST(ManualZoomKeyframes, EachMarkHoldsASecondAndCloseMarksAreSkipped) {
    const Size s{1920, 1080};
    AutoZoomConfig config;
    config.composition = AutoZoomConfig::CompositionStyle::centerOnCursor; // ignored: the pull is used
    const std::vector<ManualZoomEvent> marks = {{ProjectTime(0.2), 1800, 100},
                                                {ProjectTime(2.0), 960, 540},
                                                {ProjectTime(2.4), 100, 100},
                                                {ProjectTime(5.0), 10, 1000}};
    const auto track = ManualZoomKeyframes::generate(marks, s, config, ProjectTime(30));

    // 0.2: lead-in cut at 0 over the opening keyframe; ends at 1.7. 2.0 is 0.3 after: skipped, and
    // 2.4 is tested against the same end and passes. No closing keyframe is added.
    std::vector<double> times;
    for (const auto& k : track.keyframes)
        times.push_back(k.time.seconds);
    const std::vector<double> want = {0, 0.2, 1.2, 1.7, 2.4 - 0.51, 2.4, 3.4, 3.9, 5 - 0.51, 5, 6, 6.5};
    ASSERT_EQ(times.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i)
        EXPECT_NEAR(times[i], want[i], 1e-9) << i;
    EXPECT_EQ(track.keyframes[1].value, ZoomFraming::cropRect({1800, 100}, s, 1.8, 0.45));
    EXPECT_EQ(track.keyframes[9].value, ZoomFraming::cropRect({10, 1000}, s, 1.8, 0.45));
    EXPECT_EQ(track.keyframes.back().value, NormalizedRect::unit());

    EXPECT_TRUE(ManualZoomKeyframes::generate({}, s, config, ProjectTime(30)).isEmpty());
    EXPECT_TRUE(ManualZoomKeyframes::generate(marks, s, config, ProjectTime(0)).isEmpty());
    EXPECT_TRUE(ManualZoomKeyframes::generate(marks, Size{0, 1080}, config, ProjectTime(30)).isEmpty());
}

} // namespace
