#include "common/JsonTestSupport.h"
#include "project/Geometry.h"
#include "project/Json.h"
#include "project/Lerp.h"
#include "project/ProjectTime.h"
#include "project/RGBAColor.h"

#include <gtest/gtest.h>

using namespace orvane;

TEST(ProjectTime, FormattedClampsNegativesAndDoesNotWrapHours) {
    EXPECT_EQ(ProjectTime(75.25).formatted(), QStringLiteral("01:15.250"));
    EXPECT_EQ(ProjectTime(3725).formatted(), QStringLiteral("62:05.000"));
    EXPECT_EQ(ProjectTime(-3).formatted(), QStringLiteral("00:00.000"));
    EXPECT_EQ(ProjectTime(0.9999).formatted(), QStringLiteral("00:00.999"));
}

TEST(ProjectTime, ArithmeticComparisonAndMediaTime) {
    ProjectTime t(1.5);
    t += ProjectTime(1);
    t -= ProjectTime(0.25);
    EXPECT_DOUBLE_EQ(t.seconds, 2.25);
    EXPECT_LT(ProjectTime(1), ProjectTime(2));
    EXPECT_EQ(ProjectTime(2.5).mediaTime(), (MediaTime{1500, 600}));
    EXPECT_DOUBLE_EQ(ProjectTime(MediaTime{900, 600}).seconds, 1.5);
    EXPECT_EQ(std::hash<ProjectTime>{}(ProjectTime(0.0)), std::hash<ProjectTime>{}(ProjectTime(-0.0)));
}

TEST(TimeRange, StartEndDoesNotReorder) {
    const auto r = TimeRange::fromStartEnd(ProjectTime(2), ProjectTime(1));
    EXPECT_DOUBLE_EQ(r.duration.seconds, -1);
    EXPECT_DOUBLE_EQ(TimeRange::fromStartDuration(ProjectTime(1), ProjectTime(2)).end().seconds, 3);
    EXPECT_EQ(TimeRange::zero(), (TimeRange{ProjectTime(0), ProjectTime(0)}));
}

TEST(RGBAColor, HexForms) {
    const auto a = RGBAColor::fromHex(u"#FF6B6B");
    ASSERT_TRUE(a);
    EXPECT_EQ(a, RGBAColor::fromHex(u"FF6B6B"));
    EXPECT_EQ(a, RGBAColor::fromHex(u"FF6B6BFF"));
    EXPECT_DOUBLE_EQ(a->r, 1.0);
    EXPECT_DOUBLE_EQ(a->g, 0x6B / 255.0);
    EXPECT_DOUBLE_EQ(a->a, 1.0);
    EXPECT_FALSE(RGBAColor::fromHex(u"#FFF"));
    EXPECT_FALSE(RGBAColor::fromHex(u"#12345"));
    EXPECT_FALSE(RGBAColor::fromHex(u"ZZ0000"));
    EXPECT_FALSE(RGBAColor::fromHex(u""));
    EXPECT_DOUBLE_EQ(RGBAColor::fromHex(u"00000080")->a, 128 / 255.0);
    // A scan that stops early keeps the digits it read, as a number.
    EXPECT_EQ(RGBAColor::fromHex(u"0000FFxx"), (RGBAColor{0, 0, 0, 1.0}));
}

TEST(Lerp, ExtrapolatesAndWorksPerComponent) {
    EXPECT_DOUBLE_EQ(lerp(0.0, 10.0, 1.5), 15.0);
    EXPECT_FLOAT_EQ(lerp(1.0f, 3.0f, 0.5), 2.0f);
    const NormalizedRect r = lerp(NormalizedRect{0, 0, 1, 1}, NormalizedRect{0.5, 0.25, 0.5, 0.5}, 0.5);
    EXPECT_EQ(r, (NormalizedRect{0.25, 0.125, 0.75, 0.75}));
    const RGBAColor c = lerp(RGBAColor::black(), RGBAColor::white(), -0.5);
    EXPECT_DOUBLE_EQ(c.r, -0.5);
    EXPECT_DOUBLE_EQ(c.a, 1.0);
    EXPECT_EQ(clamp(5, 10, 1), 1);
    EXPECT_DOUBLE_EQ(clamp(0.5, 0.0, 1.0), 0.5);
}

TEST(Lerp, SmoothMin) {
    EXPECT_DOUBLE_EQ(smoothMin(1, 5, 2), 1);   // far apart: the plain minimum
    EXPECT_DOUBLE_EQ(smoothMin(1, 1, 2), 0.5); // equal: h = 1, min - k/4
    EXPECT_LT(smoothMin(1, 1.5, 2), 1);
}

TEST(Rect, Helpers) {
    const Rect r{10, 20, 100, 50};
    EXPECT_EQ(r.center(), (Point{60, 45}));
    EXPECT_DOUBLE_EQ(r.aspectRatio(), 2.0);
    EXPECT_DOUBLE_EQ((Rect{0, 0, 10, 0}).aspectRatio(), 1.0);
    EXPECT_EQ(r.insetUniform(5), (Rect{15, 25, 90, 40}));
    EXPECT_EQ(r.scaled(2), (Rect{-40, -5, 200, 100}));
    EXPECT_EQ(r.centered(Point{0, 0}), (Rect{-50, -25, 100, 50}));

    const Rect outer{0, 0, 200, 200};
    EXPECT_EQ(r.fitting(outer), (Rect{0, 50, 200, 100}));
    EXPECT_EQ(r.filling(outer), (Rect{-100, 0, 400, 200}));

    EXPECT_EQ((Rect{-5, -5, 10, 10}).clamped(outer), (Rect{0, 0, 10, 10}));
    EXPECT_EQ((Rect{195, 198, 10, 10}).clamped(outer), (Rect{190, 190, 10, 10}));
    // Larger than the outer rectangle: flush with its maximum edge.
    EXPECT_EQ((Rect{0, 0, 200, 10}).clamped(Rect{0, 0, 100, 100}), (Rect{-100, 0, 200, 10}));

    EXPECT_DOUBLE_EQ((Point{0, 0}).distance(Point{3, 4}), 5);
    EXPECT_EQ((Point{1, 2}) + (Point{3, 4}), (Point{4, 6}));
    EXPECT_EQ((Point{1, 2}) * 3, (Point{3, 6}));
}

TEST(NormalizedRect, DenormalizeIsInverseOfInit) {
    const Rect bounds{100, 50, 400, 200};
    const NormalizedRect n{0.25, 0.5, 0.5, 0.25};
    const Rect d = n.denormalized(bounds);
    EXPECT_EQ(d, (Rect{200, 150, 200, 50}));
    EXPECT_EQ(NormalizedRect::fromRect(d, bounds), n);
    EXPECT_EQ(n.center(), (NormalizedPoint{0.5, 0.625}));
    EXPECT_EQ((NormalizedPoint{0.5, 0.5}).denormalized(bounds), (Point{300, 150}));
}

namespace {
using test::jsonRoundTrip;
template <class T>
std::string decodeError(const char* json) {
    return test::jsonDecodeError<T>(readJsonDocument(QByteArray(json))["v"], "v");
}
} // namespace

TEST(PrimitiveJson, FormsAndRoundTrips) {
    EXPECT_EQ(toJson(ProjectTime(2.5)).toObject(), (JsonObject{{QStringLiteral("seconds"), 2.5}}));
    EXPECT_EQ(jsonRoundTrip(TimeRange{ProjectTime(1.25), ProjectTime(3)}),
              (TimeRange{ProjectTime(1.25), ProjectTime(3)}));
    EXPECT_EQ(jsonRoundTrip(NormalizedPoint{0.1, 0.9}), (NormalizedPoint{0.1, 0.9}));
    EXPECT_EQ(jsonRoundTrip(NormalizedRect{0.1, 0.2, 0.3, 0.4}), (NormalizedRect{0.1, 0.2, 0.3, 0.4}));
    EXPECT_EQ(jsonRoundTrip(RGBAColor{0.1, 0.2, 0.3, 0.4}), (RGBAColor{0.1, 0.2, 0.3, 0.4}));
    EXPECT_EQ(jsonRoundTrip(Size{1920, 1080}), (Size{1920, 1080}));
    // Doubles survive exactly, not just approximately.
    EXPECT_EQ(jsonRoundTrip(1.0 / 3.0), 1.0 / 3.0);
    EXPECT_EQ(jsonRoundTrip(QByteArray("\x00\xff bookmark", 11)), QByteArray("\x00\xff bookmark", 11));
}

TEST(PrimitiveJson, UuidsAreUpperCaseAndStrict) {
    const QUuid id = QUuid::createUuid();
    const QString text = toJson(id).toString();
    EXPECT_EQ(text, text.toUpper());
    EXPECT_EQ(text.size(), 36);
    EXPECT_EQ(jsonRoundTrip(id), id);
    EXPECT_EQ(decodeJson<QUuid>(JsonIn(JsonValue(text.toLower()), JsonPath())), id);
    EXPECT_EQ(decodeError<QUuid>(R"({"v": "{12345678-1234-1234-1234-123456789ABC}"})"),
              "v: expected a UUID string");
    EXPECT_EQ(decodeError<QUuid>(R"({"v": "12345678-1234-1234-1234-123456789ABG"})"),
              "v: expected a UUID string");
}

TEST(PrimitiveJson, DatesAreWholeSecondsWithZ) {
    const QDateTime date(QDate(2024, 3, 9), QTime(14, 5, 7, 830), Qt::UTC);
    EXPECT_EQ(toJson(date).toString(), QStringLiteral("2024-03-09T14:05:07Z"));
    EXPECT_EQ(jsonRoundTrip(date), date.addMSecs(-830));
    EXPECT_EQ(
        decodeJson<QDateTime>(JsonIn(JsonValue(QStringLiteral("2024-03-09T16:05:07+02:00")), JsonPath())),
        date.addMSecs(-830));
    EXPECT_EQ(decodeError<QDateTime>(R"({"v": "2024-03-09T14:05:07"})"),
              "v: expected an ISO-8601 date string");
    EXPECT_EQ(decodeError<QDateTime>(R"({"v": "2024-03-09T14:05:07.5Z"})"),
              "v: expected an ISO-8601 date string");
    EXPECT_EQ(decodeError<QDateTime>(R"({"v": "2024-02-30T14:05:07Z"})"),
              "v: expected an ISO-8601 date string");
}

TEST(PrimitiveJson, WrongTypesNameTheirPath) {
    EXPECT_EQ(decodeError<ProjectTime>(R"({"v": 2.5})"), "v: expected an object");
    EXPECT_EQ(decodeError<ProjectTime>(R"({"v": {}})"), "v.seconds: required key is missing");
    EXPECT_EQ(decodeError<ProjectTime>(R"({"v": {"seconds": null}})"), "v.seconds: expected a number");
    EXPECT_EQ(decodeError<Size>(R"({"v": {"width": 1, "height": 2}})"),
              "v: expected an array of two numbers");
    EXPECT_EQ(decodeError<Size>(R"({"v": [1, 2, 3]})"), "v: expected an array of two numbers");
    EXPECT_EQ(decodeError<int>(R"({"v": 1.5})"), "v: expected an integer");
    EXPECT_EQ(decodeError<int>(R"({"v": 1e12})"), "v: expected an integer");
    EXPECT_EQ(decodeError<bool>(R"({"v": 1})"), "v: expected true or false");
    EXPECT_EQ(decodeError<QByteArray>(R"({"v": "not base64!"})"), "v: expected a Base64 string");
    EXPECT_EQ(decodeError<std::vector<NormalizedPoint>>(R"({"v": [{"x": 1, "y": 2}, {"x": 1}]})"),
              "v[1].y: required key is missing");
}

TEST(PrimitiveJson, NonFiniteNumbersCannotBeWritten) {
    try {
        JsonObjectOut o;
        o.set("time", ProjectTime(std::nan("")));
        FAIL() << "expected an error";
    } catch (const JsonError& e) {
        EXPECT_EQ(e.path(), QStringLiteral("time.seconds"));
    }
}

TEST(PrimitiveJson, SyntaxErrorsAreReportedNotThrownAsCrashes) {
    EXPECT_THROW(readJsonDocument("{\"v\": "), JsonError);
    EXPECT_THROW(readJsonDocument("\xff\xfe"), JsonError);
    EXPECT_THROW(readJsonDocument(QByteArray(5000, '[')), JsonError);
}

TEST(MediaTime, RescaleRoundsAndCompareIsExact) {
    EXPECT_EQ((MediaTime{1, 3}).rescaled(600), (MediaTime{200, 600}));
    EXPECT_EQ((MediaTime{1, 1200}).rescaled(600), (MediaTime{1, 600}));   // half a tick rounds away
    EXPECT_EQ((MediaTime{-1, 1200}).rescaled(600), (MediaTime{-1, 600})); // from zero on both sides
    EXPECT_EQ((MediaTime{INT64_MAX / 2, 90000}).rescaled(90000).value, INT64_MAX / 2);
    EXPECT_EQ(compare(MediaTime{1, 2}, MediaTime{300, 600}), 0);
    EXPECT_LT(compare(MediaTime{299, 600}, MediaTime{1, 2}), 0);
    EXPECT_GT(compare(MediaTime{INT64_MAX, 1}, MediaTime{INT64_MAX, 2}), 0);
}
