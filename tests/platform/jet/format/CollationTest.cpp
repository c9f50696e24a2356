#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/format/Collation.h"
#include "platform/jet/format/Hex.h"
#include "platform/jet/format/TextCodec.h"
#include "platform/text/Utf8.h"

namespace marrowkit::jet {
namespace {

using test::ToHex;

std::string KeyOf(JetVersion version, std::string_view text, bool descending = false) {
    std::vector<std::uint8_t> key;
    AppendTextKey(version, text, descending, key);
    return ToHex(key);
}

std::string ComparisonKeyOf(JetVersion version, std::string_view text) {
    std::vector<std::uint8_t> key;
    AppendComparisonKey(version, text, key);
    return ToHex(key);
}

struct KeyCase {
    const char* text;
    const char* key;
};

constexpr KeyCase kJet4Keys[] = {
    {"Zelda", "78 51 5E 4F 4A 01 00"},
    {"ZELDA", "78 51 5E 4F 4A 01 00"},
    {"", "01 00"},
    {"coop", "4D 64 64 66 01 00"},
    {"co-op", "4D 64 64 66 01 01 01 01 80 0F 06 82 00"},
    {"O'Neil", "64 62 51 59 5E 01 01 01 01 80 0B 06 80 00"},
    {"Café", "4D 4A 53 51 01 02 02 02 0E 00"},
    {"straße", "6B 6D 69 4A 6B 6B 51 01 00"},
    {"strasse", "6B 6D 69 4A 6B 6B 51 01 00"},
    {"größer", "55 69 64 6B 6B 51 69 01 02 02 13 00"},
    {"Pac-Man 2", "66 4A 4D 60 4A 62 07 3A 01 01 01 01 80 13 06 82 00"},
    {"-a-é", "4A 51 01 02 0E 01 01 01 80 07 06 82 80 0B 06 82 00"},
};

TEST(Jet4Collation, BuildsKeys) {
    for (const auto& [text, key] : kJet4Keys) EXPECT_EQ(KeyOf(JetVersion::Jet4, text), key) << text;
}

TEST(Jet4Collation, InvertsDescendingKeysAndAppendsAZero) {
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "Zelda", true), "87 AE A1 B0 B5 FE FF 00");
}

TEST(Jet4Collation, PacksTheKindsOfKana) {
    // Hiragana a (kind 2) and katakana a (kind 3) share their primary weight.
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "\u3042"), "7F 02 01 01 01 FF 02 80 FF 80 00");
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "\u3041"), "7F 02 01 01 01 A0 FF 02 80 FF 80 00");
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "\u3041\u3042\u3041\u3041"),
              "7F 02 7F 02 7F 02 7F 02 01 01 01 AE A0 FF 02 80 FF 80 00");
    // With a hyphen too, one FF more stands in front of its section.
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "\u3042-"), "7F 02 01 01 01 FF 02 80 FF 80 FF 01 80 0B 06 82 00");
}

TEST(Jet4Collation, AddsCombiningMarksToTheCharacterBeforeThem) {
    // U+02B9 adds 0C: to the 02 of a plain letter, to the 0E of e acute.
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "a\u02B9"), "4A 01 0E 00");
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "\u00E9\u02B9"), "51 01 1A 00");
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "ab\u02B9c"), "4A 4C 4D 01 02 0E 00");
    // A mark in front of everything stands for itself and does not count for the place of a hyphen.
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "\u02B9-a"), "4A 01 0C 01 01 01 80 07 06 82 00");
}

TEST(Jet4Collation, TakesTheFirst255UnitsAndThenDropsTrailingSpaces) {
    const std::string a254(254, 'a');
    EXPECT_EQ(KeyOf(JetVersion::Jet4, a254 + "b" + "cc"), KeyOf(JetVersion::Jet4, a254 + "b"));
    EXPECT_EQ(KeyOf(JetVersion::Jet4, a254 + " " + "cc"), KeyOf(JetVersion::Jet4, a254));
    EXPECT_NE(KeyOf(JetVersion::Jet4, a254 + "\tcc"), KeyOf(JetVersion::Jet4, a254));
    EXPECT_EQ(KeyOf(JetVersion::Jet4, "a  "), KeyOf(JetVersion::Jet4, "a"));
    // A character of two units at the cut leaves its first unit.
    std::vector<std::uint8_t> cut;
    AppendTextKey(JetVersion::Jet4, a254 + "\U0001F600zz", false, cut);
    std::vector<std::uint8_t> half;
    AppendTextKey(JetVersion::Jet4, a254 + "\xED\xA0\xBD", false, half);
    EXPECT_EQ(cut, half);
}

TEST(Jet4Collation, ComparisonKeysTakeTheWholeText) {
    const std::string a255(255, 'a');
    EXPECT_NE(ComparisonKeyOf(JetVersion::Jet4, a255 + "b"), ComparisonKeyOf(JetVersion::Jet4, a255));
    EXPECT_EQ(KeyOf(JetVersion::Jet4, a255 + "b"), KeyOf(JetVersion::Jet4, a255));
}

constexpr KeyCase kJet3Keys[] = {
    {"Zelda", "7E 66 6D 64 60 00"},
    {"", "00"},
    {"co-op", "62 72 1E 72 73 00"},
    {"coop", "62 72 72 73 00"},
    {"O'Neil", "72 18 70 66 6A 6D 00"},
    {"Café", "62 60 67 66 02 24 00"},
    {"Großmäuler", "68 75 72 76 76 6F 60 78 6D 66 75 02 22 60"},
};

TEST(Jet3Collation, BuildsKeys) {
    for (const auto& [text, key] : kJet3Keys) EXPECT_EQ(KeyOf(JetVersion::Jet3, text), key) << text;
}

TEST(Jet3Collation, InvertsDescendingKeysAndAppendsNothing) {
    EXPECT_EQ(KeyOf(JetVersion::Jet3, "Zelda", true), "81 99 92 9B 9F FF");
}

TEST(Jet3Collation, TakesTheFirst255CharactersAndThenDropsTrailingSpaces) {
    const std::string a254(254, 'a');
    EXPECT_EQ(KeyOf(JetVersion::Jet3, a254 + "bcc"), KeyOf(JetVersion::Jet3, a254 + "b"));
    EXPECT_EQ(KeyOf(JetVersion::Jet3, a254 + " cc"), KeyOf(JetVersion::Jet3, a254));
    EXPECT_NE(ComparisonKeyOf(JetVersion::Jet3, a254 + "bcc"), ComparisonKeyOf(JetVersion::Jet3, a254 + "b"));
}

struct OrderCase {
    JetVersion version;
    const char* left;
    const char* right;
    int order;
};

constexpr OrderCase kOrders[] = {
    {JetVersion::Jet4, "zelda", "ZELDA", 0},
    {JetVersion::Jet4, "a ", "a", 0},
    {JetVersion::Jet4, "straße", "STRASSE", 0},
    {JetVersion::Jet4, "æ", "ae", 0},
    {JetVersion::Jet4, "cafe", "café", -1},
    {JetVersion::Jet4, "café", "cafeb", -1},
    {JetVersion::Jet4, "coop", "co-op", -1},
    {JetVersion::Jet4, "co-op", "coopa", -1},
    {JetVersion::Jet4, "co-op", "coo-p", -1},
    {JetVersion::Jet4, "co-op", "co'op", 1},
    {JetVersion::Jet4, "", " ", 0},
    {JetVersion::Jet4, "", "a", -1},
    {JetVersion::Jet4, "10", "9", -1},
    {JetVersion::Jet4, "a b", "ab", -1},
    {JetVersion::Jet3, "zelda", "ZELDA", 0},
    {JetVersion::Jet3, "straße", "STRASSE", 0},
    {JetVersion::Jet3, "co-op", "coop", -1},
    {JetVersion::Jet3, "cafe", "café", -1},
    {JetVersion::Jet3, "#", "1", -1},
    {JetVersion::Jet3, "9", "a", -1},
};

TEST(StoredTextKey, IsThatOfTheDecodedText) {
    std::mt19937 random(3);
    int built = 0;
    for (int round = 0; round < 40000; ++round) {
        const JetVersion version = round % 2 == 0 ? JetVersion::Jet3 : JetVersion::Jet4;
        // Half of the texts have plain characters only, at times more of them than take part in a key.
        const bool isPlain = round % 4 < 2;
        std::vector<std::uint8_t> stored;
        if (version == JetVersion::Jet4 && round % 7 != 0) stored = {0xFF, 0xFE};
        for (auto length = random() % (round % 50 == 0 ? 300 : 12); length > 0; --length) {
            const auto byte = static_cast<std::uint8_t>(random());
            stored.push_back(isPlain ? static_cast<std::uint8_t>(byte % 3 == 0 ? ' ' : 'A' + byte % 26)
                                     : byte);
        }
        std::vector<std::uint8_t> expected{0x55};
        AppendTextKey(version, DecodeText(version, ByteView(stored)), false, expected);
        std::vector<std::uint8_t> key{0x55};
        if (AppendStoredTextKey(version, ByteView(stored), key)) {
            ASSERT_EQ(ToHex(key), ToHex(expected)) << ToHex(stored);
            ++built;
        } else {
            ASSERT_EQ(ToHex(key), "55");
        }
    }
    EXPECT_GT(built, 15000);
}

TEST(StoredTextKey, KnowsEveryAsciiCharacter) {
    for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
        for (std::uint8_t byte = 1; byte < 128; ++byte) {
            std::vector<std::uint8_t> stored{'a', byte, 'b'};
            if (version == JetVersion::Jet4) stored.insert(stored.begin(), {0xFF, 0xFE});
            std::vector<std::uint8_t> key;
            if (!AppendStoredTextKey(version, ByteView(stored), key)) {
                // Those that stand in a section of their own.
                EXPECT_EQ(version, JetVersion::Jet4);
                EXPECT_TRUE(byte == '-' || byte == '\'' || byte < ' ' || byte == 127) << int{byte};
                continue;
            }
            EXPECT_EQ(ToHex(key), KeyOf(version, DecodeText(version, ByteView(stored)))) << int{byte};
        }
    }
}

TEST(CompareText, OrdersAsTheKeysDo) {
    for (const auto& [version, left, right, order] : kOrders) {
        EXPECT_EQ(CompareText(version, left, right), order) << left << " | " << right;
        EXPECT_EQ(CompareText(version, right, left), -order) << right << " | " << left;
    }
}

TEST(CompareText, AgreesWithTheKeysOnRandomTexts) {
    std::mt19937 random(7);
    // Few different characters, so that texts share beginnings; ASCII alone in every other pair.
    const std::vector<std::string> ascii{"a", "A", "b", "-", "'", " ", "\t", "1", "\x01", "_"};
    const std::vector<std::string> all{"a", "é", "ß", "-", " ", "\u02B9", "\u3042", "Z", "日", "\u00AD"};
    const auto text = [&random](const std::vector<std::string>& from) {
        std::string made;
        for (auto length = random() % 9; length > 0; --length) made += from[random() % from.size()];
        return made;
    };
    for (int round = 0; round < 40000; ++round) {
        const auto& from = round % 2 == 0 ? ascii : all;
        const std::string left = text(from);
        const std::string right = text(from);
        for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
            std::vector<std::uint8_t> leftKey;
            std::vector<std::uint8_t> rightKey;
            AppendComparisonKey(version, left, leftKey);
            AppendComparisonKey(version, right, rightKey);
            const int byKeys = leftKey < rightKey ? -1 : rightKey < leftKey ? 1 : 0;
            ASSERT_EQ(CompareText(version, left, right), byKeys) << left << " | " << right;
        }
    }
}

TEST(CompareText, AgreesWithTheKeysOnEveryPairOfAsciiCharacters) {
    for (const JetVersion version : {JetVersion::Jet3, JetVersion::Jet4}) {
        for (char left = 0; left < 127; ++left) {
            for (char right = 0; right < 127; ++right) {
                const std::string l(1, left);
                const std::string r = std::string(1, right) + "x";
                std::vector<std::uint8_t> leftKey;
                std::vector<std::uint8_t> rightKey;
                AppendComparisonKey(version, l, leftKey);
                AppendComparisonKey(version, r, rightKey);
                const int byKeys = leftKey < rightKey ? -1 : rightKey < leftKey ? 1 : 0;
                ASSERT_EQ(CompareText(version, l, r), byKeys) << int{left} << " | " << int{right};
            }
        }
    }
}

TEST(Jet4Collation, HasAKeyForEveryCodePoint) {
    for (char32_t codePoint = 0; codePoint <= kLastCodePoint; codePoint += codePoint < 0x10000 ? 1 : 97) {
        std::string text;
        AppendUtf8(text, codePoint);
        std::vector<std::uint8_t> key;
        AppendTextKey(JetVersion::Jet4, text, false, key);
        ASSERT_GE(key.size(), 2U);
        ASSERT_EQ(key.back(), 0);
        // Upper and lower case of Latin letters share all their weights.
        if (codePoint >= 'a' && codePoint <= 'z') {
            ASSERT_EQ(CompareText(JetVersion::Jet4, text, std::string(1, static_cast<char>(text[0] - 32))),
                      0);
        }
    }
}

}  // namespace
}  // namespace marrowkit::jet
