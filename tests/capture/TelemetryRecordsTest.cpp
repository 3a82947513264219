#include "capture/CursorTrack.h"
#include "capture/EventTrack.h"
#include "capture/SourceMapping.h"
#include "capture/TelemetryFiles.h"
#include "common/JsonTestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace orvane;
using E = InputEvent;

namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

const std::vector<InputEvent>& everyCase() {
    static const std::vector<InputEvent> events = {
        {E::LeftMouseDown{ProjectTime(0.25), 10, -20}},
        {E::LeftMouseUp{ProjectTime(0.5), 10.5, 20}},
        {E::RightMouseDown{ProjectTime(1), 1e4, 3}},
        {E::RightMouseUp{ProjectTime(1.5), 0, 0}},
        {E::OtherMouseDown{ProjectTime(2), 7, 8, 4}},
        {E::Scroll{ProjectTime(2.5), 1, 2, -1, 0.25}},
        {E::KeyDown{ProjectTime(3), 6, QStringLiteral("z"), E::command | E::shift}},
        {E::KeyDown{ProjectTime(3.1), 0x7A, QString(), 0}},
        {E::KeyUp{ProjectTime(3.5), 6}},
    };
    return events;
}

TEST(InputEvent, OnlyButtonPressesAreClicks) {
    std::vector<bool> clicks;
    for (const auto& e : everyCase())
        clicks.push_back(e.isClick());
    EXPECT_EQ(clicks, (std::vector<bool>{true, false, true, false, true, false, false, false, false}));
    EXPECT_EQ(everyCase()[4].location(), (Point{7, 8}));
    EXPECT_EQ(everyCase()[6].location(), std::nullopt);
    EXPECT_EQ(everyCase()[5].time(), ProjectTime(2.5));
}

TEST(TelemetryJson, EventCasesHaveOneKeyAndTheirLabelledPayload) {
    const JsonValue json = toJson(EventTrack{everyCase()});
    const JsonValue expected = readJsonDocument(R"({"events": [
        {"leftMouseDown": {"time": {"seconds": 0.25}, "x": 10, "y": -20}},
        {"leftMouseUp": {"time": {"seconds": 0.5}, "x": 10.5, "y": 20}},
        {"rightMouseDown": {"time": {"seconds": 1}, "x": 10000, "y": 3}},
        {"rightMouseUp": {"time": {"seconds": 1.5}, "x": 0, "y": 0}},
        {"otherMouseDown": {"buttonNumber": 4, "time": {"seconds": 2}, "x": 7, "y": 8}},
        {"scroll": {"dx": -1, "dy": 0.25, "time": {"seconds": 2.5}, "x": 1, "y": 2}},
        {"keyDown": {"characters": "z", "keyCode": 6, "modifiers": 12, "time": {"seconds": 3}}},
        {"keyDown": {"characters": "", "keyCode": 122, "modifiers": 0, "time": {"seconds": 3.1}}},
        {"keyUp": {"keyCode": 6, "time": {"seconds": 3.5}}}]})");
    EXPECT_EQ(json, expected);
    EXPECT_EQ(test::jsonRoundTrip(EventTrack{everyCase()}).events, everyCase());
}

TEST(TelemetryJson, CursorSamplesUseTheSecondsObjectForTime) {
    const CursorTrack track{{{ProjectTime(0.125), -5, 1e6, 0}, {ProjectTime(1), 2.5, 3, 0}}};
    EXPECT_EQ(toJson(track), readJsonDocument(R"({"samples": [
        {"pressure": 0, "time": {"seconds": 0.125}, "x": -5, "y": 1000000},
        {"pressure": 0, "time": {"seconds": 1}, "x": 2.5, "y": 3}]})"));
    EXPECT_EQ(test::jsonRoundTrip(track), track);
}

TEST(TelemetryJson, MalformedFilesFailAsAWhole) {
    struct Case {
        const char* json;
        const char* error; // the end of the error text
    };
    const Case cases[] = {
        {R"({"events": [{"keyUp": {"time": {"seconds": 1}, "keyCode": 1}, "keyDown": {}}]})",
         "events[0]: Invalid number of keys found, expected one."},
        {R"({"events": [{}]})", "events[0]: Invalid number of keys found, expected one."},
        {R"({"events": [{"middleMouseDown": {"time": {"seconds": 1}, "x": 0, "y": 0}}]})",
         "unknown case \"middleMouseDown\" of InputEvent"},
        {R"({"events": [{"leftMouseDown": {"time": 1.5, "x": 0, "y": 0}}]})", "time: expected an object"},
        {R"({"events": [{"keyDown": {"time": {"seconds": 1}, "keyCode": 6, "modifiers": 0}}]})",
         "characters: required key is missing"},
        {R"({"events": [{"otherMouseDown": {"time": {"seconds": 1}, "x": 0, "y": 0}}]})",
         "buttonNumber: required key is missing"},
        {R"({"events": [{"keyUp": {"time": {"seconds": 1}, "keyCode": 6.5}}]})", "expected an integer"},
        {R"({"evens": []})", "events: required key is missing"},
    };
    for (const Case& c : cases) {
        const std::string error = test::jsonDecodeError<EventTrack>(readJsonDocument(c.json));
        EXPECT_TRUE(error.ends_with(c.error)) << c.json << "\n  gave: " << error;
    }
    EXPECT_TRUE(test::jsonDecodeError<CursorTrack>(
                    readJsonDocument(R"({"samples": [{"time": {"seconds": 1}, "x": 0, "y": 0}]})"))
                    .ends_with("pressure: required key is missing"));
}

class TelemetryFilesTest : public ::testing::Test {
protected:
    QString path(const char* name) const { return QDir(dir.path()).filePath(QString::fromUtf8(name)); }
    QTemporaryDir dir;
};

TEST_F(TelemetryFilesTest, WrittenFilesArePrettySortedAndReadBack) {
    const CursorTrack cursor{{{ProjectTime(0.5), 1, 2, 0}}};
    const EventTrack events{everyCase()};
    ASSERT_TRUE(TelemetryFiles::writeTracks(cursor, events, path("c.json"), path("e.json")));
    const QByteArray text = readAll(path("c.json"));
    EXPECT_TRUE(text.contains('\n'));
    EXPECT_LT(text.indexOf("\"pressure\""), text.indexOf("\"time\""));
    EXPECT_LT(text.indexOf("\"time\""), text.indexOf("\"x\""));
    EXPECT_EQ(TelemetryFiles::readCursorTrack(path("c.json")).value(), cursor);
    EXPECT_EQ(TelemetryFiles::readEventTrack(path("e.json")).value(), events);
    // Writing again gives the same bytes, so re-saved files do not churn.
    ASSERT_TRUE(TelemetryFiles::writeCursorTrack(cursor, path("c2.json")));
    EXPECT_EQ(readAll(path("c2.json")), text);
}

TEST_F(TelemetryFilesTest, EmptyTracksAreStillWritten) {
    ASSERT_TRUE(TelemetryFiles::writeTracks({}, {}, path("c.json"), path("e.json")));
    EXPECT_EQ(readJsonDocument(readAll(path("c.json"))), readJsonDocument(R"({"samples": []})"));
    EXPECT_EQ(readJsonDocument(readAll(path("e.json"))), readJsonDocument(R"({"events": []})"));
}

TEST_F(TelemetryFilesTest, LenientReadersTreatMissingAndBrokenFilesAsEmpty) {
    writeFile(path("broken.json"), R"({"events": [{"keyUp": {"keyCode": 1}}]})");
    writeFile(path("truncated.json"), R"({"samples": [{"pressure": 0, "time": {"sec)");
    EXPECT_FALSE(TelemetryFiles::readEventTrack(path("missing.json")));
    EXPECT_TRUE(TelemetryFiles::readEventTrack(path("broken.json"))
                    .error()
                    .endsWith(QStringLiteral("time: required key is missing")));
    EXPECT_FALSE(TelemetryFiles::readCursorTrack(path("truncated.json")));
    EXPECT_TRUE(TelemetryFiles::loadEventTrack(path("missing.json")).events.empty());
    EXPECT_TRUE(TelemetryFiles::loadEventTrack(path("broken.json")).events.empty());
    EXPECT_TRUE(TelemetryFiles::loadCursorTrack(path("truncated.json")).samples.empty());
    EXPECT_TRUE(TelemetryFiles::loadCursorTrack(dir.path()).samples.empty()); // a folder, not a file
}

TEST_F(TelemetryFilesTest, AFailedCursorFileStopsBeforeTheEventFile) {
    const auto failed = TelemetryFiles::writeTracks({}, {}, path("no-such-folder/c.json"), path("e.json"));
    ASSERT_FALSE(failed);
    EXPECT_TRUE(failed.error().contains(QStringLiteral("no-such-folder")));
    EXPECT_FALSE(QFile::exists(path("e.json")));

    // A number JSON cannot hold fails the encoding, with the place it sits.
    const CursorTrack bad{{{ProjectTime(0), std::numeric_limits<double>::infinity(), 0, 0}}};
    const auto encoded = TelemetryFiles::writeCursorTrack(bad, path("c.json"));
    ASSERT_FALSE(encoded);
    EXPECT_TRUE(encoded.error().startsWith(QStringLiteral("samples[0].x"))) << encoded.error().toStdString();
}

TEST(SourceMapping, ConvertsGlobalPointsToUnclampedSourcePixels) {
    const SourceMapping m{Rect{100, 50, 800, 600}, Size{1600, 1200}};
    EXPECT_EQ(m.fromEventLocation({100, 50}), (Point{0, 0}));
    EXPECT_EQ(m.fromEventLocation({900, 650}), (Point{1600, 1200}));
    EXPECT_EQ(m.fromEventLocation({0, 0}), (Point{-200, -100}));
    EXPECT_EQ(m.fromEventLocation({1000, 700}), (Point{1800, 1300}));
    EXPECT_EQ(m.fromPointerLocation({1000, 700}), (Point{1800, 1300}));
    // A degenerate frame: the pointer form stays finite, the event form does not pretend to.
    const SourceMapping flat{Rect{10, 10, 0, 0}, Size{100, 100}};
    EXPECT_EQ(flat.fromPointerLocation({12, 13}), (Point{200, 300}));
    EXPECT_FALSE(std::isfinite(flat.fromEventLocation({12, 13}).x));
}

} // namespace
