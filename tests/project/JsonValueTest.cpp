#include "project/JsonValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace orvane;

namespace {

std::optional<JsonValue> parse(std::string_view text) {
    auto result = parseJson(text);
    if (auto* v = std::get_if<JsonValue>(&result))
        return std::move(*v);
    return std::nullopt;
}

std::string compact(const JsonValue& v) {
    return writeCompactJson(v).toStdString();
}

} // namespace

TEST(JsonValue, AcceptsExactlyTheStandardGrammar) {
    const char* good[] = {"{}",
                          "[]",
                          "0",
                          "-0",
                          "1.5e-3",
                          "1E+2",
                          "\"\"",
                          "true",
                          "null",
                          " \n\t{\"a\" : [1, {\"b\": null}]} ",
                          "\"\\u00e9\\ud83c\\udfac\\/\"",
                          "1e-400"};
    for (const char* text : good)
        EXPECT_TRUE(parse(text)) << text;
    const char* bad[] = {"",
                         "{",
                         "[1,]",
                         "{\"a\":1,}",
                         "01",
                         "1.",
                         ".5",
                         "+1",
                         "1e",
                         "NaN",
                         "Infinity",
                         "[1 2]",
                         "{'a': 1}",
                         "// x\n{}",
                         "{} {}",
                         "\"\\x41\"",
                         "\"a\nb\"",
                         "\"\\ud800\"",
                         "\"\\udc00x\"",
                         "1e400",
                         "-",
                         "tru",
                         "{\"a\" 1}",
                         "[\"\xff\"]",
                         "\"\xc0\xaf\"",
                         "\"\xed\xa0\x80\"",
                         "\"\xf4\x90\x80\x80\""};
    for (const char* text : bad)
        EXPECT_FALSE(parse(text)) << text;
}

TEST(JsonValue, SyntaxErrorsCarryTheirOffset) {
    const auto result = parseJson("{\"a\": [1, 2,, 3]}");
    const auto* error = std::get_if<JsonSyntaxError>(&result);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset, 12u);
}

TEST(JsonValue, NestingIsBounded) {
    EXPECT_TRUE(parse(std::string(500, '[') + std::string(500, ']')));
    EXPECT_FALSE(parse(std::string(600, '[') + std::string(600, ']')));
    EXPECT_FALSE(parse(std::string(1'000'000, '[')));
}

TEST(JsonValue, StringsRoundTripWithEscapes) {
    std::string awkward = "quote \" backslash \\ slash / newline \n tab \t nul ";
    awkward += '\0';
    awkward += " bell \x07 del \x7f é 日本 🎬 \u2028";
    const JsonValue v(awkward);
    const QByteArray text = writeCompactJson(v);
    EXPECT_FALSE(text.contains('\n'));
    EXPECT_TRUE(text.contains("\\u0000"));
    EXPECT_TRUE(text.contains("\\u0007"));
    const auto back = parse(std::string_view(text.constData(), std::size_t(text.size())));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->stringView(), awkward);
}

TEST(JsonValue, NumbersRoundTripBitForBit) {
    std::mt19937_64 rng(11);
    for (int i = 0; i < 20000; ++i) {
        std::uint64_t bits = rng();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        if (!std::isfinite(d))
            continue;
        const QByteArray text = writeCompactJson(JsonValue(d));
        const auto back = parse(std::string_view(text.constData(), std::size_t(text.size())));
        ASSERT_TRUE(back) << text.constData();
        EXPECT_EQ(back->toDouble(), d) << text.constData();
    }
    EXPECT_EQ(compact(JsonValue(1920)), "1920");
    EXPECT_EQ(compact(JsonValue(0.1)), "0.1");
    EXPECT_EQ(parse("1e-400")->toDouble(), 0.0);
}

TEST(JsonValue, WriterSortsKeysAndLastDuplicateWins) {
    JsonObject o;
    o.append("b", 1);
    o.append("a", JsonArray{JsonObject{{"z", 1}, {"y", 2}}});
    o.append("b", 2);
    EXPECT_EQ(compact(o), R"({"a":[{"y":2,"z":1}],"b":2})");
    EXPECT_EQ(o.value("b").toDouble(), 2);

    const auto parsed = parse(R"({"k": 1, "k": 2})");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->toObject().value("k").toDouble(), 2);

    EXPECT_EQ(writeJson(JsonObject{{"a", JsonArray{}}, {"b", JsonObject{}}}),
              QByteArray("{\n  \"a\": [],\n  \"b\": {}\n}\n"));
}

TEST(JsonValue, EqualityIgnoresMemberOrder) {
    EXPECT_EQ(*parse(R"({"a": 1, "b": [true, null]})"), *parse(R"({"b": [true, null], "a": 1})"));
    EXPECT_NE(*parse(R"({"a": 1})"), *parse(R"({"a": 1, "b": 2})"));
    EXPECT_NE(*parse("[1, 2]"), *parse("[2, 1]"));
    EXPECT_NE(JsonValue(JsonValue::Null), JsonValue());
}
