#include <gtest/gtest.h>

#include "platform/text/CodePage1252.h"
#include "platform/text/Utf8.h"

namespace marrowkit {
namespace {

TEST(CodePage1252, All256BytesComeBack) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    const std::string text = Cp1252ToUtf8(bytes);
    EXPECT_TRUE(IsValidUtf8(text, Surrogates::Refused));
    EXPECT_EQ(CharacterCount(text), 256U);
    EXPECT_TRUE(FitsCp1252(text));
    EXPECT_EQ(Utf8ToCp1252(text), bytes);
}

struct ByteCase {
    std::uint8_t byte;
    char32_t codePoint;
};

constexpr ByteCase kBytes[] = {
    {0x00, 0x0000}, {0x7F, 0x007F}, {0x80, 0x20AC}, {0x81, 0x0081}, {0x85, 0x2026},
    {0x8D, 0x008D}, {0x8F, 0x008F}, {0x90, 0x0090}, {0x99, 0x2122}, {0x9D, 0x009D},
    {0x9F, 0x0178}, {0xA0, 0x00A0}, {0xAC, 0x00AC}, {0xE4, 0x00E4}, {0xFF, 0x00FF},
};

TEST(CodePage1252, KnowsItsCharacters) {
    for (const ByteCase& c : kBytes) {
        EXPECT_EQ(Cp1252ToCodePoint(c.byte), c.codePoint);
        EXPECT_EQ(CodePointToCp1252(c.codePoint), c.byte);
    }
}

TEST(CodePage1252, ControlCharactersThatStandForNoByteDoNotFit) {
    // U+0080 is not the Euro sign: only the five unassigned bytes pass as controls.
    EXPECT_EQ(CodePointToCp1252(0x80), std::nullopt);
    EXPECT_EQ(CodePointToCp1252(0x9F), std::nullopt);
}

TEST(CodePage1252, WhatDoesNotFitBecomesAQuestionMark) {
    EXPECT_EQ(Utf8ToCp1252("a\xCE\xB1z"), "a?z");      // a Greek letter
    EXPECT_EQ(Utf8ToCp1252("\xF0\x9F\x98\x80"), "?");  // one character, one mark
    EXPECT_EQ(Utf8ToCp1252("\xED\xA0\x80"), "?");      // a surrogate
    EXPECT_EQ(Utf8ToCp1252("x\xFFy"), "x?y");          // not UTF-8
    EXPECT_FALSE(FitsCp1252("a\xCE\xB1"));
    EXPECT_TRUE(FitsCp1252("\xE2\x82\xAC"));
}

}  // namespace
}  // namespace marrowkit
