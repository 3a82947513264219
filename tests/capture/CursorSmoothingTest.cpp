#include "capture/CursorSmoothing.h"

#include "common/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace orvane;

namespace {

CursorTrack steps(std::initializer_list<std::array<double, 3>> list) {
    CursorTrack t;
    for (const auto& [time, x, y] : list)
        t.samples.push_back({ProjectTime(time), x, y, 0});
    return t;
}

// A jump from 0 to 100 held for one second at 120 samples a second.
CursorTrack jump() {
    CursorTrack t;
    t.samples.push_back({ProjectTime(0), 0, 0, 0});
    for (int i = 1; i <= 120; ++i)
        t.samples.push_back({ProjectTime(i / 120.0), 100, -50, 0.5});
    return t;
}

TEST(CursorSmoothing, NothingToSmoothLeavesTheTrackAlone) {
    const CursorTrack one = steps({{0.5, 10, 20}});
    EXPECT_EQ(CursorSmoothing::smooth(one, 1), one);
    EXPECT_EQ(CursorSmoothing::smooth(CursorTrack{}, 1), CursorTrack{});
    EXPECT_EQ(CursorSmoothing::smooth(jump(), 0), jump());
    EXPECT_EQ(CursorSmoothing::smooth(jump(), -2), jump());
}

TEST(CursorSmoothing, StiffnessFallsWithStrengthAndStopsAtOne) {
    EXPECT_DOUBLE_EQ(CursorSmoothing::stiffness(0.01), 59.48);
    EXPECT_DOUBLE_EQ(CursorSmoothing::stiffness(0.001), 59.48); // below 0.01 counts as 0.01
    EXPECT_DOUBLE_EQ(CursorSmoothing::stiffness(0.5), 34);
    EXPECT_DOUBLE_EQ(CursorSmoothing::stiffness(1), 8);
    EXPECT_DOUBLE_EQ(CursorSmoothing::stiffness(7), 8);
    EXPECT_EQ(CursorSmoothing::smooth(jump(), 1), CursorSmoothing::smooth(jump(), 3));
}

TEST(CursorSmoothing, OneImplicitStepMatchesTheSpringByHand) {
    // w = 8, h = 0.1: A = 2.6, w^2 h^2 = 0.64, so P = 100 * 0.64 / 3.24 and V = 100 * 6.4 / 3.24.
    const CursorTrack out = CursorSmoothing::smooth(steps({{0, 0, 0}, {0.1, 100, 0}, {0.2, 100, 0}}), 1);
    EXPECT_NEAR(out.samples[1].x, 64 / 3.24, 1e-12);
    // Next step: P' = (P A + V h + 100 Bq) / 3.24 with V = 640 / 3.24.
    const double p = 64 / 3.24;
    const double v = 640 / 3.24;
    EXPECT_NEAR(out.samples[2].x, (p * 2.6 + v * 0.1 + 64) / 3.24, 1e-12);
    EXPECT_EQ(out.samples[0], (CursorSample{ProjectTime(0), 0, 0, 0}));
}

TEST(CursorSmoothing, SettlesWithoutOvershootAndStrongerLagsMore) {
    const CursorTrack in = jump();
    const CursorTrack soft = CursorSmoothing::smooth(in, 0.2);
    const CursorTrack firm = CursorSmoothing::smooth(in, 0.9);
    ASSERT_EQ(soft.samples.size(), in.samples.size());
    for (std::size_t i = 1; i < in.samples.size(); ++i) {
        EXPECT_EQ(soft.samples[i].time, in.samples[i].time);
        EXPECT_EQ(soft.samples[i].pressure, 0.5);
        // Critically damped: the path approaches the target monotonically and never passes it.
        EXPECT_LE(soft.samples[i].x, 100 + 1e-9);
        EXPECT_GE(soft.samples[i].x, soft.samples[i - 1].x);
        EXPECT_GE(soft.samples[i].y, -50 - 1e-9);
        EXPECT_LE(firm.samples[i].x, soft.samples[i].x + 1e-9);
    }
    EXPECT_NEAR(soft.samples.back().x, 100, 0.01);
    EXPECT_LT(firm.samples[12].x, 50); // a tenth of a second in, the firm spring is not half way
}

TEST(CursorSmoothing, GapsRestartTheSpringOnTheSample) {
    const CursorTrack in =
        steps({{0, 0, 0}, {0.05, 100, 0}, {0.2, 300, 40}, {0.21, 300, 40}, {0.31, 300, 40}});
    const CursorTrack out = CursorSmoothing::smooth(in, 0.5);
    EXPECT_LT(out.samples[1].x, 100);
    // More than 0.1 s since the last sample: copied as it is, with no velocity carried over...
    EXPECT_EQ(out.samples[2], in.samples[2]);
    // ...so holding still afterwards stays there.
    EXPECT_DOUBLE_EQ(out.samples[3].x, 300);
    EXPECT_DOUBLE_EQ(out.samples[4].x, 300);
}

TEST(CursorSmoothing, EqualTimesAndHugeStepsStayFinite) {
    const CursorTrack out =
        CursorSmoothing::smooth(steps({{0, 0, 0}, {0, 1e6, 1e6}, {0, -1e6, 0}, {0.1, 5, 5}}), 0.01);
    for (const auto& s : out.samples) {
        EXPECT_TRUE(std::isfinite(s.x));
        EXPECT_TRUE(std::isfinite(s.y));
    }
    // With h = 0.0001 an instantaneous sample moves the spring only a little.
    EXPECT_LT(std::abs(out.samples[1].x), 1e6 * 0.05);
}

TEST(CursorSmoothing, SampleHoldsAtTheEndsAndInterpolatesBetween) {
    const CursorTrack t = steps({{1, 10, 100}, {2, 20, 200}, {2, 30, 300}, {4, 50, 100}});
    EXPECT_EQ(CursorSmoothing::sample(CursorTrack{}, ProjectTime(1)), std::nullopt);
    EXPECT_EQ(CursorSmoothing::sample(t, ProjectTime(-5)), (Point{10, 100}));
    EXPECT_EQ(CursorSmoothing::sample(t, ProjectTime(9)), (Point{50, 100}));
    EXPECT_EQ(CursorSmoothing::sample(t, ProjectTime(1.5)), (Point{15, 150}));
    // Two samples at the same time: the earlier one counts at that time, the later one after it.
    EXPECT_EQ(CursorSmoothing::sample(t, ProjectTime(2)), (Point{20, 200}));
    EXPECT_EQ(CursorSmoothing::sample(t, ProjectTime(3)), (Point{40, 200}));
    const CursorTrack one = steps({{1, 7, 8}});
    EXPECT_EQ(CursorSmoothing::sample(one, ProjectTime(0)), (Point{7, 8}));
    EXPECT_EQ(CursorSmoothing::sample(one, ProjectTime(3)), (Point{7, 8}));
}

TEST(CursorSmoothing, VelocityUsesTheNearestPair) {
    const CursorTrack t = steps({{0, 0, 0}, {0.5, 10, 0}, {1, 10, 20}, {1, 12, 20}});
    EXPECT_EQ(CursorSmoothing::velocity(steps({{1, 7, 8}}), ProjectTime(1)), std::nullopt);
    EXPECT_EQ(CursorSmoothing::velocity(t, ProjectTime(-1)), (Point{20, 0}));
    EXPECT_EQ(CursorSmoothing::velocity(t, ProjectTime(0.25)), (Point{20, 0}));
    EXPECT_EQ(CursorSmoothing::velocity(t, ProjectTime(0.75)), (Point{0, 40}));
    // The last pair shares a time: the step counts as 0.0001 s.
    const Point last = *CursorSmoothing::velocity(t, ProjectTime(5));
    EXPECT_NEAR(last.x, 2 / 0.0001, 1e-6);
    EXPECT_EQ(last.y, 0);
}

TEST(CursorSmoothing, LookupsAllocateNothing) {
    const CursorTrack t = CursorSmoothing::smooth(jump(), 0.5);
    test::AllocationScope scope;
    double sum = 0;
    for (int i = 0; i < 1000; ++i) {
        sum += CursorSmoothing::sample(t, ProjectTime(i * 0.001))->x;
        sum += CursorSmoothing::velocity(t, ProjectTime(i * 0.001))->y;
    }
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_GT(sum, 0);
}

} // namespace
