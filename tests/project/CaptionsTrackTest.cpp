#include "project/CaptionsTrack.h"

#include "common/JsonTestSupport.h"
#include "project/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

using namespace orvane;

namespace {

using test::jsonRoundTrip;

template <class T>
std::string decodeError(const JsonValue& value) {
    return test::jsonDecodeError<T>(value, "v");
}

Caption caption(double time, double duration, const char* text) {
    return Caption::create(ProjectTime(time), ProjectTime(duration), QString::fromUtf8(text));
}

CaptionsTrack trackOf(std::vector<Caption> captions) {
    CaptionsTrack track;
    track.captions = std::move(captions);
    return track;
}

// (time, duration, text) of each caption, for comparing a read track with what it should hold.
struct Line {
    double time;
    double duration;
    std::string text;
    bool operator==(const Line&) const = default;
};

std::ostream& operator<<(std::ostream& os, const Line& l) {
    return os << "{" << l.time << ", " << l.duration << ", \"" << l.text << "\"}";
}

std::vector<Line> lines(const CaptionsTrack& track) {
    std::vector<Line> out;
    for (const Caption& c : track.captions)
        out.push_back({c.time.seconds, c.duration.seconds, c.text.toStdString()});
    return out;
}

std::vector<Line> read(const char* lrc) {
    return lines(CaptionsTrack::fromLRC(QString::fromUtf8(lrc)));
}

} // namespace

TEST(CaptionPosition, AnchorsAndDefaults) {
    EXPECT_EQ(anchor(CaptionPosition::top), (NormalizedPoint{0.5, 0.1}));
    EXPECT_EQ(anchor(CaptionPosition::center), (NormalizedPoint{0.5, 0.5}));
    EXPECT_EQ(anchor(CaptionPosition::bottom), (NormalizedPoint{0.5, 0.88}));
    EXPECT_EQ(CaptionsTrack().style, CaptionsStyle::defaults());
    EXPECT_TRUE(CaptionsTrack().captions.empty());
}

TEST(CaptionsJson, StyleDocumentHasItsEightRequiredKeys) {
    const JsonObject document = readJsonDocument(R"({
        "fontSize": 44, "fontWeight": "semibold", "color": {"r": 1, "g": 1, "b": 1, "a": 1},
        "backgroundColor": {"r": 0, "g": 0, "b": 0, "a": 0.72}, "position": "bottom",
        "maxWidthFraction": 0.82, "wordHighlight": true, "highlightColor": {"r": 1, "g": 0.84, "b": 0.2, "a": 1}
    })")
                                    .toObject();
    EXPECT_EQ(decodeJson<CaptionsStyle>(JsonIn(document, JsonPath())), CaptionsStyle::defaults());
    EXPECT_EQ(toJson(CaptionsStyle::defaults()).toObject(), document);
    for (const QString& key : document.keys()) {
        JsonObject partial = document;
        partial.remove(key);
        EXPECT_EQ(decodeError<CaptionsStyle>(partial),
                  "v." + key.toStdString() + ": required key is missing");
    }
    JsonObject unknown = document;
    unknown.insert(QStringLiteral("position"), QStringLiteral("middle"));
    EXPECT_EQ(decodeError<CaptionsStyle>(unknown), R"(v.position: unknown case "middle" of CaptionPosition)");

    for (const auto& entry : enumEntries(CaptionPosition{})) {
        CaptionsStyle style;
        style.position = entry.value;
        style.fontWeight = TextStyle::FontWeight::black;
        style.wordHighlight = false;
        EXPECT_EQ(jsonRoundTrip(style), style) << entry.name;
    }
}

TEST(CaptionsJson, WordsAreOptionalAndOrderIsKept) {
    Caption plain = caption(5, 1, "later");
    Caption timed = caption(1, 2, "Hello world");
    timed.words = std::vector<CaptionWord>{{ProjectTime(1), ProjectTime(0.5), QStringLiteral("Hello")},
                                           {ProjectTime(1.6), ProjectTime(0.9), QStringLiteral("world")}};
    Caption noWords = caption(3, 1, "");
    noWords.words = std::vector<CaptionWord>{};
    CaptionsTrack track = trackOf({plain, timed, noWords});
    track.style.position = CaptionPosition::top;

    const JsonObject encoded = toJson(track).toObject();
    const JsonArray captions = encoded.value(QStringLiteral("captions")).toArray();
    ASSERT_EQ(captions.size(), 3);
    EXPECT_FALSE(captions[0].toObject().contains(QStringLiteral("words")));
    EXPECT_EQ(captions[1].toObject().value(QStringLiteral("time")).toObject(),
              (JsonObject{{QStringLiteral("seconds"), 1}}));
    // An empty list is not the same as no word timing.
    EXPECT_EQ(captions[2].toObject().value(QStringLiteral("words")).toArray().size(), 0);

    // Stored order is the order of making, not of time; loading does not sort.
    const CaptionsTrack loaded = jsonRoundTrip(track);
    EXPECT_EQ(loaded, track);
    EXPECT_EQ(loaded.captions[0].text, QStringLiteral("later"));
}

TEST(CaptionsJson, MissingRequiredKeysNameTheirPath) {
    const CaptionsTrack track = trackOf({caption(1, 2, "a")});
    JsonObject object = toJson(track).toObject();
    object.remove(QStringLiteral("style"));
    EXPECT_EQ(decodeError<CaptionsTrack>(object), "v.style: required key is missing");
    object = toJson(track).toObject();
    object.remove(QStringLiteral("captions"));
    EXPECT_EQ(decodeError<CaptionsTrack>(object), "v.captions: required key is missing");

    for (const char* key : {"id", "time", "duration", "text"}) {
        JsonObject c = toJson(track.captions[0]).toObject();
        c.remove(std::string_view(key));
        EXPECT_EQ(decodeError<CaptionsTrack>(JsonObject{{QStringLiteral("captions"), JsonArray{c}},
                                                        {QStringLiteral("style"), toJson(track.style)}}),
                  std::string("v.captions[0].") + key + ": required key is missing");
    }
    for (const char* key : {"start", "duration", "text"}) {
        JsonObject word = toJson(CaptionWord{ProjectTime(1), ProjectTime(1), QStringLiteral("w")}).toObject();
        word.remove(std::string_view(key));
        JsonObject c = toJson(track.captions[0]).toObject();
        c.insert(QStringLiteral("words"), JsonArray{word});
        EXPECT_EQ(decodeError<Caption>(c), std::string("v.words[0].") + key + ": required key is missing");
    }
    // A time is an object with "seconds", never a bare number.
    JsonObject bare = toJson(track.captions[0]).toObject();
    bare.insert(QStringLiteral("time"), 1.0);
    EXPECT_EQ(decodeError<Caption>(bare), "v.time: expected an object");
}

TEST(CaptionsTrack, ActiveIncludesStartExcludesEndAndKeepsStoredOrder) {
    const CaptionsTrack track = trackOf({caption(2, 2, "b"), caption(1, 1, "a"), caption(1.5, 3, "overlap")});
    auto texts = [&](double t) {
        std::vector<std::string> out;
        for (const Caption& c : track.active(ProjectTime(t)))
            out.push_back(c.text.toStdString());
        return out;
    };
    EXPECT_EQ(texts(0.99), std::vector<std::string>{});
    EXPECT_EQ(texts(1), std::vector<std::string>{"a"});
    EXPECT_EQ(texts(1.5), (std::vector<std::string>{"a", "overlap"}));
    // At exactly 2 the first caption begins as the second one ends.
    EXPECT_EQ(texts(2), (std::vector<std::string>{"b", "overlap"}));
    EXPECT_EQ(texts(4), std::vector<std::string>{"overlap"});
    EXPECT_EQ(texts(4.5), std::vector<std::string>{});
    EXPECT_EQ(trackOf({caption(1, 0, "zero")}).active(ProjectTime(1)).size(), 0u);
    EXPECT_EQ(track.captions[0].endTime(), ProjectTime(4));
}

TEST(LRCWriter, FormatsMinutesAndHundredths) {
    struct Row {
        double time;
        const char* text;
        const char* line;
    };
    const Row rows[] = {
        {83.456, "Hello", "[01:23.46]Hello"},
        {59.999, "x", "[00:60.00]x"}, // rounding happens after the split into minutes and seconds
        {-4, "neg", "[00:00.00]neg"},
        {0, "", "[00:00.00]"},
        {3725.5, " padded ", "[62:05.50] padded "},
        {6000.25, "long", "[100:00.25]long"},
        {0.125, "tie", "[00:00.12]tie"}, // the C library's rounding of an exact tie: to even
        {9.995, "z", "[00:09.99]z"},     // 9.995 is stored a little below itself
    };
    for (const Row& row : rows)
        EXPECT_EQ(trackOf({caption(row.time, 1, row.text)}).toLRC(), QString::fromUtf8(row.line)) << row.time;

    EXPECT_EQ(CaptionsTrack().toLRC(), QString());
    EXPECT_EQ(trackOf({caption(2, 1, "b"), caption(1, 1, "a")}).toLRC(),
              QStringLiteral("[00:02.00]b\n[00:01.00]a"));
    EXPECT_EQ(trackOf({caption(std::nan(""), 1, "n")}).toLRC(), QStringLiteral("[00:00.00]n"));
}

TEST(LRCReader, TimesAndDurations) {
    EXPECT_EQ(read("[00:01.00]a\n[00:02.50]b"), (std::vector<Line>{{1, 1.5, "a"}, {2.5, 3, "b"}}));
    // Equal times: the first is raised to the floor and overlaps the second.
    EXPECT_EQ(read("[00:01.00]a\n[00:01.00]b\n[00:01.10]c"),
              (std::vector<Line>{{1, 0.25, "a"}, {1, 0.25, "b"}, {1.1, 3, "c"}}));
    EXPECT_EQ(read("[01:02:03.5]x"), (std::vector<Line>{{3723.5, 3, "x"}}));
    EXPECT_EQ(read("[00:01.00]"), (std::vector<Line>{{1, 3, ""}}));
    EXPECT_EQ(read("[00:01.00]   \t"), (std::vector<Line>{{1, 3, ""}}));
}

TEST(LRCReader, SortsStablyByTime) {
    const auto got = read("[00:05.00]five\n[00:01.00]one\n[00:03.00]three-a\n[00:03.00]three-b");
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[0], (Line{1, 2, "one"}));
    EXPECT_EQ(got[1], (Line{3, 0.25, "three-a"}));
    EXPECT_EQ(got[2], (Line{3, 2, "three-b"}));
    EXPECT_EQ(got[3], (Line{5, 3, "five"}));
}

TEST(LRCReader, PassesOverWhatItCannotRead) {
    const char* lrc = "[ti:Title]\n"
                      "[ar:Artist]\n"
                      "[5]\n"
                      "[1:xx]y\n"
                      "no tag at all\n"
                      "[00:01.00 unclosed\n"
                      "[]empty tag\n"
                      "[ 1:00]leading blank\n"
                      "[1:inf]infinite\n"
                      "[00:02.00]kept\n";
    EXPECT_EQ(read(lrc), (std::vector<Line>{{2, 3, "kept"}}));
    EXPECT_TRUE(CaptionsTrack::fromLRC(u"").captions.empty());
    EXPECT_TRUE(CaptionsTrack::fromLRC(u"\n\r\n[ti:only headers]").captions.empty());
}

TEST(LRCReader, TagsAndTextWithinALine) {
    // Only the first tag counts; the rest is text.
    EXPECT_EQ(read("[00:01.00][00:02.00]x"), (std::vector<Line>{{1, 3, "[00:02.00]x"}}));
    // What stands before the tag is ignored; blanks and tabs are trimmed, other spacing is kept.
    EXPECT_EQ(read("noise [00:01.00] \t Hi there \t"), (std::vector<Line>{{1, 3, "Hi there"}}));
    EXPECT_EQ(read("[00:01.00]\u00A0nbsp"), (std::vector<Line>{{1, 3, "\u00A0nbsp"}}));
    EXPECT_EQ(read("[00:01.00]a]b"), (std::vector<Line>{{1, 3, "a]b"}}));
    // The "]" must come after the "[".
    EXPECT_EQ(read("]x[00:01.00]y"), (std::vector<Line>{{1, 3, "y"}}));
}

TEST(LRCReader, EveryKindOfLineBreakSeparatesLines) {
    const std::vector<Line> expected{{1, 1, "a"}, {2, 1, "b"}, {3, 3, "c"}};
    for (const char* lrc : {"[00:01]a\n[00:02]b\n[00:03]c", "[00:01]a\r\n[00:02]b\r\n[00:03]c\r\n",
                            "[00:01]a\r[00:02]b\r[00:03]c", "[00:01]a\n\n\n[00:02]b\r\n\r\n[00:03]c",
                            "[00:01]a\u2028[00:02]b\u2029[00:03]c", "[00:01]a\u0085[00:02]b\v[00:03]c\f"})
        EXPECT_EQ(read(lrc), expected) << lrc;
}

TEST(LRCReader, MakesFreshIdsNoWordsAndTheDefaultStyle) {
    const CaptionsTrack track = CaptionsTrack::fromLRC(u"[00:01]a\n[00:02]b\n[00:03]c");
    std::set<QString> ids;
    for (const Caption& c : track.captions) {
        EXPECT_FALSE(c.id.isNull());
        EXPECT_FALSE(c.words.has_value());
        ids.insert(c.id.toString());
    }
    EXPECT_EQ(ids.size(), 3u);
    EXPECT_EQ(track.style, CaptionsStyle::defaults());
}

TEST(LRCTimestamp, ParsesPiecesStrictly) {
    struct Row {
        const char* tag;
        std::optional<double> seconds;
    };
    const Row rows[] = {
        {"01:23.46", 83.46},
        {"1:2:3.5", 3723.5},
        {"1:2:3:xx", 3723}, // pieces after the third are not looked at
        {"::1::30:", 90},   // empty pieces are dropped before counting
        {"0:59.999", 59.999},
        {"1:-5", 55}, // a sign is part of a decimal number
        {"+1:+5", 65},
        {"0:1e1", 10},
        {"0:.5", 0.5},
        {"0:5.", 5},
        {"5", std::nullopt},
        {":5", std::nullopt},
        {"", std::nullopt},
        {"1:xx", std::nullopt},
        {"1: 2", std::nullopt},
        {"1:2 ", std::nullopt},
        {"1:2.5.5", std::nullopt},
        {"1:inf", std::nullopt},
        {"1:nan", std::nullopt},
        {"1:0x10", std::nullopt},
        {"1:+-2", std::nullopt},
        {"1:.", std::nullopt},
        {"1:1e", std::nullopt},
        {"1:1e999", std::nullopt},
        {"\u0663:10", std::nullopt}, // a numeral of another script is not a decimal number
    };
    for (const Row& row : rows) {
        const auto got = CaptionsTrack::parseLRCTimestamp(QString::fromUtf8(row.tag));
        ASSERT_EQ(got.has_value(), row.seconds.has_value()) << row.tag;
        if (got) {
            EXPECT_DOUBLE_EQ(*got, *row.seconds) << row.tag;
        }
    }
}

TEST(LRCRoundTrip, KeepsHundredthsAndTextButNotDurationsWordsOrIds) {
    Caption withWords = caption(12.3456, 0.8, "words go");
    withWords.words =
        std::vector<CaptionWord>{{ProjectTime(12.35), ProjectTime(0.4), QStringLiteral("words")}};
    const CaptionsTrack original = trackOf(
        {caption(1.004, 5, "first"), withWords, caption(59.999, 0.1, "edge"), caption(75.5, 1, "  ünï ✓")});
    const CaptionsTrack back = CaptionsTrack::fromLRC(original.toLRC());
    ASSERT_EQ(back.captions.size(), original.captions.size());
    const double expectedTimes[] = {1.0, 12.35, 60.0, 75.5};
    for (std::size_t i = 0; i < back.captions.size(); ++i) {
        EXPECT_NEAR(back.captions[i].time.seconds, expectedTimes[i], 1e-9) << i;
        EXPECT_NE(back.captions[i].id, original.captions[i].id);
        EXPECT_FALSE(back.captions[i].words.has_value());
    }
    EXPECT_EQ(back.captions[1].text, QStringLiteral("words go"));
    // Leading blanks of the text do not survive: the reader trims them.
    EXPECT_EQ(back.captions[3].text, QStringLiteral("ünï ✓"));
    EXPECT_DOUBLE_EQ(back.captions[0].duration.seconds, 12.35 - 1.0);
    EXPECT_DOUBLE_EQ(back.captions[3].duration.seconds, 3.0);
    // Writing the read track again gives the same text.
    EXPECT_EQ(back.toLRC(), CaptionsTrack::fromLRC(back.toLRC()).toLRC());
}
