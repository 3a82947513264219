#include "project/KeyframeTrack.h"

#include "common/AllocationCounter.h"
#include "project/AnimationBag.h"
#include "project/Bezier.h"
#include "project/EasingCurve.h"
#include "project/SpringPhysics.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace orvane;
using Kind = EasingCurve::Kind;

namespace {

// An independent reference for the Bézier: a long bisection on the abscissa, far past the solver's
// tolerances, so both of the solver's paths can be checked against it.
double referenceBezier(double u, double p1x, double p1y, double p2x, double p2y) {
    auto coord = [](double s, double p1, double p2) {
        const double m = 1 - s;
        return 3 * m * m * s * p1 + 3 * m * s * s * p2 + s * s * s;
    };
    double lo = 0, hi = 1;
    for (int i = 0; i < 200; ++i) {
        const double mid = (lo + hi) / 2;
        (coord(mid, p1x, p2x) < u ? lo : hi) = mid;
    }
    return coord((lo + hi) / 2, p1y, p2y);
}

Keyframe<double> key(double t, double v, EasingCurve e = EasingCurve::linear()) {
    return Keyframe<double>{ProjectTime(t), v, e};
}

} // namespace

TEST(EasingCurve, EveryKindAgainstHandComputedValues) {
    struct Case {
        EasingCurve curve;
        double t;
        double expected;
    };
    const Case cases[] = {
        {EasingCurve::linear(), 0.25, 0.25},
        {EasingCurve::easeIn(), 0.5, 0.25},
        {EasingCurve::easeOut(), 0.5, 0.75},
        {EasingCurve::easeInOut(), 0.25, 0.125},
        {EasingCurve::easeInOut(), 0.75, 0.875},
        {EasingCurve::smoothStep(), 0.25, 0.15625},
        // 2^-5 * sin((5 - 0.75) * 2π/3) + 1, and sin(4.25 * 2π/3) = sin(5π/6 + 2π) = 0.5.
        {EasingCurve::spring(), 0.5, 1.015625},
        {EasingCurve::spring(), 1.0, 1.0},
        {EasingCurve::spring(), 0.0, 0.0},
        // Symmetric control points: the middle maps to the middle.
        {EasingCurve::cinematic(), 0.5, 0.5},
        {EasingCurve{Kind::bezier, 0, 0, 1, 1}, 0.3, 0.3},
    };
    for (const Case& c : cases)
        EXPECT_NEAR(c.curve.value(c.t), c.expected, 1e-6) << enumName(c.curve.kind) << " at " << c.t;
}

TEST(EasingCurve, InputIsClampedAndSpringOvershoots) {
    for (const auto& entry : enumEntries(Kind{})) {
        const EasingCurve curve = EasingCurve::preset(entry.value);
        EXPECT_NEAR(curve.value(-1), 0, 1e-9) << entry.name;
        EXPECT_NEAR(curve.value(2), 1, 1e-6) << entry.name;
    }
    EXPECT_GT(EasingCurve::spring().value(0.5), 1.0);
    // The cinematic kind ignores whatever control points the record carries.
    EXPECT_EQ(EasingCurve::cinematic().value(0.3), (EasingCurve{Kind::cinematic, 0, 0, 1, 1}).value(0.3));
    EXPECT_NE(EasingCurve::appleStandard().value(0.3), EasingCurve::sharp().value(0.3));
}

TEST(Bezier, NewtonPathMatchesReference) {
    for (double u = 0.05; u < 1; u += 0.05) {
        EXPECT_NEAR(Bezier::solve(u, 0.4, 0, 0.2, 1), referenceBezier(u, 0.4, 0, 0.2, 1), 2e-6) << u;
        EXPECT_NEAR(Bezier::solve(u, 0.65, 0, 0.35, 1), referenceBezier(u, 0.65, 0, 0.35, 1), 2e-6) << u;
    }
}

TEST(Bezier, FlatSlopeFallsBackToBisection) {
    // X'(s) = 3(1 - s)^2 vanishes near s = 1, so Newton started at s = u = 0.9995 gives up at once and
    // bisection has to find s ≈ 0.92.
    const double u = 0.9995;
    const double got = Bezier::solve(u, 1, 0.2, 0, 0.9);
    EXPECT_NEAR(got, referenceBezier(u, 1, 0.2, 0, 0.9), 1e-6);
    // Steep Newton overshoot: control points that make the curve almost vertical in the middle.
    for (double v = 0.01; v < 1; v += 0.07)
        EXPECT_NEAR(Bezier::solve(v, 0, 1, 1, 0), referenceBezier(v, 0, 1, 1, 0), 1e-4) << v;
}

TEST(KeyframeTrack, EvaluationAtEdgesAndBetweenKeys) {
    KeyframeTrack<double> track;
    EXPECT_EQ(track.value(ProjectTime(1), 42), 42);

    track.insert(key(1, 10));
    EXPECT_EQ(track.value(ProjectTime(0), 0), 10);
    EXPECT_EQ(track.value(ProjectTime(5), 0), 10);

    track.insert(key(3, 30, EasingCurve::easeIn()));
    track.insert(key(2, 20, EasingCurve::easeIn()));
    track.insert(key(4, 0));
    ASSERT_EQ(track.count(), 4u);
    EXPECT_EQ(track.value(ProjectTime(0.5), 0), 10);
    EXPECT_EQ(track.value(ProjectTime(1.5), 0), 15);   // linear segment
    EXPECT_EQ(track.value(ProjectTime(2), 0), 20);     // exactly at a middle key
    EXPECT_EQ(track.value(ProjectTime(2.5), 0), 22.5); // easeIn: 20 + 10 * 0.25
    EXPECT_EQ(track.value(ProjectTime(3.5), 0), 22.5); // the earlier key's easeIn: 30 - 30 * 0.25
    EXPECT_EQ(track.value(ProjectTime(4), 0), 0);
    EXPECT_EQ(track.value(ProjectTime(100), 0), 0);
}

TEST(KeyframeTrack, EveryKindShapesTheSegmentOfItsKey) {
    for (const auto& entry : enumEntries(Kind{})) {
        const EasingCurve curve = EasingCurve::preset(entry.value);
        KeyframeTrack<NormalizedRect> track({{ProjectTime(10), NormalizedRect{0, 0, 1, 1}, curve},
                                             {ProjectTime(12), NormalizedRect{0.5, 0.5, 0.5, 0.5}, {}}});
        const double e = curve.value(0.3);
        const NormalizedRect got = track.value(ProjectTime(10.6), NormalizedRect::unit());
        EXPECT_NEAR(got.x, 0.5 * e, 1e-12) << entry.name;
        EXPECT_NEAR(got.width, 1 - 0.5 * e, 1e-12) << entry.name;
    }
}

TEST(KeyframeTrack, LastKeyEasingAndZeroSpan) {
    KeyframeTrack<double> a({key(0, 0), key(1, 1)});
    KeyframeTrack<double> b({key(0, 0), key(1, 1, EasingCurve::spring())});
    for (double t = -1; t < 3; t += 0.125)
        EXPECT_EQ(a.value(ProjectTime(t), 0), b.value(ProjectTime(t), 0));

    // Two keys at one time in a hand-edited file: the segment between them yields the later one.
    KeyframeTrack<double> same;
    same.keyframes = {key(0, 0), key(1, 5), key(1, 7), key(2, 9)};
    EXPECT_EQ(same.value(ProjectTime(1), 0), 7);
    EXPECT_EQ(same.value(ProjectTime(1.5), 0), 8);
}

TEST(KeyframeTrack, InsertReplacesAtSameTimeAndRemoveIsExact) {
    KeyframeTrack<double> track({key(2, 2), key(0, 0), key(1, 1)});
    EXPECT_EQ(track.keyframes[0].time.seconds, 0);
    EXPECT_EQ(track.keyframes[2].time.seconds, 2);
    track.insert(key(1, 100));
    EXPECT_EQ(track.count(), 3u);
    EXPECT_EQ(track.keyframes[1].value, 100);

    track.remove(ProjectTime(std::nextafter(1.0, 2.0)));
    EXPECT_EQ(track.count(), 3u);
    track.remove(ProjectTime(1));
    EXPECT_EQ(track.count(), 2u);
    track.removeAll();
    EXPECT_TRUE(track.isEmpty());
}

TEST(KeyframeTrack, EvaluationAllocatesNothing) {
    std::vector<Keyframe<NormalizedRect>> keys;
    for (int i = 0; i < 1000; ++i)
        keys.push_back(
            {ProjectTime(i * 0.1), NormalizedRect{0.1, 0.1, 0.5, 0.5}, EasingCurve::appleStandard()});
    const KeyframeTrack<NormalizedRect> track(std::move(keys));
    const test::AllocationScope scope;
    double sum = 0;
    for (int i = 0; i < 5000; ++i)
        sum += track.value(ProjectTime(i * 0.0213), NormalizedRect::unit()).x;
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_GT(sum, 0);
}

TEST(KeyframeTrack, JsonKeepsFileOrder) {
    const QByteArray json = R"({"keyframes": [
        {"time": {"seconds": 2}, "value": 1, "easing": {"kind": "linear", "p1x": 0, "p1y": 0, "p2x": 1, "p2y": 1}},
        {"time": {"seconds": 1}, "value": 2, "easing": {"kind": "spring", "p1x": 0.65, "p1y": 0, "p2x": 0.35, "p2y": 1}}
    ]})";
    const JsonPath root;
    const auto track = decodeJson<KeyframeTrack<double>>(JsonIn(readJsonDocument(json), root));
    ASSERT_EQ(track.count(), 2u);
    EXPECT_EQ(track.keyframes[0].time.seconds, 2);
    EXPECT_EQ(track.keyframes[1].easing, EasingCurve::spring());
    const auto again =
        decodeJson<KeyframeTrack<double>>(JsonIn(readJsonDocument(writeJsonDocument(toJson(track))), root));
    EXPECT_EQ(again, track);

    EXPECT_THROW(decodeJson<KeyframeTrack<double>>(JsonIn(readJsonDocument("{}"), root)), JsonError);
    EXPECT_NO_THROW(
        decodeJson<KeyframeTrack<double>>(JsonIn(readJsonDocument(R"({"keyframes": []})"), root)));
}

TEST(AnimationBag, ValuesAndEmptiness) {
    AnimationBag bag;
    EXPECT_TRUE(bag.isEmpty());
    bag.tracks[AnimatablePropertyID::opacity] = {};
    EXPECT_TRUE(bag.isEmpty());
    EXPECT_EQ(bag.value(AnimatablePropertyID::opacity, ProjectTime(1), 0.7), 0.7);
    bag.tracks[AnimatablePropertyID::scale] = KeyframeTrack<double>({key(0, 1), key(2, 3)});
    EXPECT_FALSE(bag.isEmpty());
    EXPECT_EQ(bag.value(AnimatablePropertyID::scale, ProjectTime(1), 0), 2);
    EXPECT_EQ(bag.value(AnimatablePropertyID::blur, ProjectTime(1), 0.5), 0.5);
    EXPECT_EQ(propertyInfo(AnimatablePropertyID::scale).minimum, 0.1);
    EXPECT_EQ(propertyInfo(AnimatablePropertyID::rotation).displayName, "Rotation");
}

TEST(AnimationBag, AlternatingArrayJson) {
    AnimationBag bag;
    bag.tracks[AnimatablePropertyID::blur] = KeyframeTrack<double>({key(0, 0), key(1, 50)});
    bag.tracks[AnimatablePropertyID::opacity] = KeyframeTrack<double>({key(0.5, 1)});
    const JsonObject json = toJson(bag).toObject();
    const JsonArray pairs = json.value(QStringLiteral("tracks")).toArray();
    ASSERT_EQ(pairs.size(), 4);
    EXPECT_TRUE(pairs.at(0).isString());
    EXPECT_TRUE(pairs.at(1).isObject());
    const JsonPath root;
    EXPECT_EQ(decodeJson<AnimationBag>(JsonIn(readJsonDocument(writeJsonDocument(json)), root)), bag);

    // Any order of pairs reads; an odd count or an unknown key fails.
    const QByteArray reordered = R"({"tracks": ["scale", {"keyframes": []}, "opacity", {"keyframes": []}]})";
    EXPECT_EQ(decodeJson<AnimationBag>(JsonIn(readJsonDocument(reordered), root)).tracks.size(), 2u);
    try {
        decodeJson<AnimationBag>(JsonIn(readJsonDocument(R"({"tracks": ["scale"]})"), root));
        ADD_FAILURE() << "odd count decoded";
    } catch (const JsonError& e) {
        EXPECT_EQ(e.path(), QStringLiteral("tracks"));
    }
    try {
        decodeJson<AnimationBag>(
            JsonIn(readJsonDocument(R"({"tracks": ["zoom", {"keyframes": []}]})"), root));
        ADD_FAILURE() << "unknown property decoded";
    } catch (const JsonError& e) {
        EXPECT_EQ(e.description(),
                  QStringLiteral("tracks[0]: unknown case \"zoom\" of AnimatablePropertyID"));
    }
}

TEST(SpringPhysics, DerivedValuesOfTheDefault) {
    const SpringPhysics s = SpringPhysics::defaults();
    EXPECT_NEAR(s.response(), 0.482, 0.001);
    EXPECT_NEAR(s.dampingFraction(), 0.997, 0.001);
    const JsonPath root;
    EXPECT_EQ(decodeJson<SpringPhysics>(JsonIn(readJsonDocument(writeJsonDocument(toJson(s))), root)), s);
}
