// Bad input must give an error, never a crash, a hang or a wrong project: thousands of documents, broken
// at the byte level and at the structure level, go through the decoder. Whatever still decodes must
// survive another trip through the encoder unchanged.
#include "common/RandomProject.h"
#include "project/Project.h"

#include <gtest/gtest.h>

#include <random>

using namespace orvane;

namespace {

void expectStableIfDecoded(const QByteArray& bytes, int round) {
    const auto decoded = decodeProject(bytes);
    if (!decoded) {
        EXPECT_FALSE(decoded.error().message().isEmpty()) << "round " << round;
        return;
    }
    const auto encoded = encodeProject(*decoded);
    ASSERT_TRUE(encoded) << "round " << round << ": " << encoded.error().what();
    const auto again = decodeProject(*encoded);
    ASSERT_TRUE(again) << "round " << round << ": " << again.error().what();
    EXPECT_TRUE(*again == *decoded) << "round " << round;
}

QByteArray mutateBytes(QByteArray bytes, std::mt19937& rng) {
    auto pick = [&](int lo, int hi) {
        return std::uniform_int_distribution<int>(lo, hi)(rng);
    };
    static const char* tokens[] = {"{",    "}",    "[",  "]",     ",",          ":",      "\"",
                                   "null", "true", "-",  "1e308", "0.5",        "\"_0\"", "\\u0000",
                                   "\xff", "\xc3", "{}", "[]",    "\"seconds\""};
    const int edits = pick(1, 4);
    for (int e = 0; e < edits && !bytes.isEmpty(); ++e) {
        const int at = pick(0, int(bytes.size()) - 1);
        switch (pick(0, 4)) {
        case 0:
            bytes[at] = char(pick(0, 255));
            break;
        case 1:
            bytes.remove(at, pick(1, 16));
            break;
        case 2:
            bytes.insert(at, tokens[pick(0, int(std::size(tokens)) - 1)]);
            break;
        case 3:
            bytes.truncate(at);
            break;
        default: {
            // Copy a slice elsewhere: produces plausible but misplaced structure.
            const int from = pick(0, int(bytes.size()) - 1);
            bytes.insert(at, bytes.mid(from, pick(1, 64)));
            break;
        }
        }
    }
    return bytes;
}

// Replaces one value somewhere in the tree with something of another shape.
JsonValue mutateTree(const JsonValue& value, std::mt19937& rng, int& budget) {
    auto pick = [&](int lo, int hi) {
        return std::uniform_int_distribution<int>(lo, hi)(rng);
    };
    if (budget > 0 && pick(0, 30) == 0) {
        --budget;
        switch (pick(0, 7)) {
        case 0:
            return JsonValue(JsonValue::Null);
        case 1:
            return JsonValue(QStringLiteral("text"));
        case 2:
            return JsonValue(-1.5);
        case 3:
            return JsonValue(true);
        case 4:
            return JsonArray{1, 2};
        case 5:
            return JsonObject{};
        case 6:
            return JsonObject{{QStringLiteral("a"), 1}, {QStringLiteral("b"), 2}};
        default:
            return JsonValue(1e300);
        }
    }
    if (value.isObject()) {
        JsonObject o = value.toObject();
        const QStringList keys = o.keys();
        for (const QString& k : keys) {
            if (budget > 0 && pick(0, 60) == 0) {
                --budget;
                o.remove(k);
                continue;
            }
            o.insert(k, mutateTree(o.value(k), rng, budget));
        }
        return o;
    }
    if (value.isArray()) {
        JsonArray a = value.toArray();
        for (qsizetype i = 0; i < a.size(); ++i)
            a[i] = mutateTree(a.at(i), rng, budget);
        if (budget > 0 && !a.isEmpty() && pick(0, 40) == 0) {
            --budget;
            a.removeAt(0);
        }
        return a;
    }
    return value;
}

} // namespace

TEST(ProjectJsonRobustness, ByteMutationsNeverCrashOrCorrupt) {
    std::mt19937 rng(20261123);
    const QByteArray seeds[] = {*encodeProject(test::randomProject(1, {2, 3, true})),
                                *encodeProject(test::randomProject(2, {1, 2, false})), QByteArray("{}")};
    int decodedCount = 0;
    for (int round = 0; round < 4000; ++round) {
        const QByteArray bytes = mutateBytes(seeds[round % 3], rng);
        decodedCount += decodeProject(bytes).has_value();
        expectStableIfDecoded(bytes, round);
        if (HasFatalFailure())
            return;
    }
    // Some mutations (inside strings, of digits) keep the document valid; most must not.
    EXPECT_GT(decodedCount, 0);
    EXPECT_LT(decodedCount, 4000);
}

TEST(ProjectJsonRobustness, StructuralMutationsFailWithAPathOrRoundTrip) {
    std::mt19937 rng(7);
    const JsonValue original = readJsonDocument(*encodeProject(test::randomProject(3, {3, 4, true})));
    int failures = 0;
    for (int round = 0; round < 800; ++round) {
        int budget = 1 + round % 3;
        // The root stays an object: a failure at the root is covered elsewhere and has no path.
        JsonObject root = original.toObject();
        for (const QString& key : root.keys())
            root.insert(key, mutateTree(root.value(key), rng, budget));
        const QByteArray bytes = writeJsonDocument(root);
        const auto decoded = decodeProject(bytes);
        if (!decoded) {
            ++failures;
            // Below the root every failure names where it happened.
            EXPECT_FALSE(decoded.error().path().isEmpty()) << decoded.error().what();
        }
        expectStableIfDecoded(bytes, round);
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(failures, 50);
}

TEST(ProjectJsonRobustness, HostileShapesAreRejectedQuickly) {
    const QByteArray deep = QByteArray(100000, '[') + QByteArray(100000, ']');
    EXPECT_FALSE(decodeProject(deep));
    const QByteArray deepObject = "{\"timeline\":" + QByteArray(100000, '[') + "}";
    EXPECT_FALSE(decodeProject(deepObject));
    EXPECT_FALSE(decodeProject(QByteArray()));
    EXPECT_FALSE(decodeProject(QByteArray(1 << 20, '\0')));
    // A huge but valid list of empty clips fails at the first clip, not after reading them all.
    QByteArray many = "{\"timeline\": {\"clips\": [";
    for (int i = 0; i < 100000; ++i)
        many += i ? ",{}" : "{}";
    many += "]}}";
    const auto result = decodeProject(many);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().path(), QStringLiteral("timeline.clips[0].id"));
}
