#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "platform/text/Utf8.h"

namespace marrowkit {
namespace {

std::vector<char32_t> Decode(std::string_view text) {
    std::vector<char32_t> codePoints;
    for (std::size_t at = 0; at < text.size();) codePoints.push_back(NextCodePoint(text, at));
    return codePoints;
}

struct DecodeCase {
    std::string_view text;
    std::vector<char32_t> codePoints;
    bool valid;
};

const DecodeCase kCases[] = {
    {"", {}, true},
    {"Az", {'A', 'z'}, true},
    {std::string_view("\0", 1), {0}, true},
    {"\x7F", {0x7F}, true},
    {"\xC2\x80", {0x80}, true},
    {"\xC3\xA4", {0xE4}, true},
    {"\xDF\xBF", {0x7FF}, true},
    {"\xE0\xA0\x80", {0x800}, true},
    {"\xE2\x82\xAC", {0x20AC}, true},
    {"\xEF\xBF\xBF", {0xFFFF}, true},
    {"\xF0\x90\x80\x80", {0x10000}, true},
    {"\xF4\x8F\xBF\xBF", {0x10FFFF}, true},
    {"\xED\xA0\x80", {0xD800}, true},  // an unpaired surrogate
    {"\xED\xBF\xBF", {0xDFFF}, true},
    {"\x80", {0xFFFD}, false},                          // continuation alone
    {"\xC3", {0xFFFD}, false},                          // cut off
    {"\xE2\x82", {0xFFFD, 0xFFFD}, false},              // cut off
    {"\xC0\x80", {0xFFFD, 0xFFFD}, false},              // overlong
    {"\xE0\x9F\xBF", {0xFFFD, 0xFFFD, 0xFFFD}, false},  // overlong
    {"\xF0\x8F\xBF\xBF", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}, false},
    {"\xF4\x90\x80\x80", {0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}, false},  // beyond U+10FFFF
    {"\xFF", {0xFFFD}, false},
    {"a\xC3z", {'a', 0xFFFD, 'z'}, false},
};

TEST(Utf8, DecodesAndValidates) {
    for (const DecodeCase& c : kCases) {
        EXPECT_EQ(Decode(c.text), c.codePoints) << testing::PrintToString(c.text);
        EXPECT_EQ(IsValidUtf8(c.text), c.valid) << testing::PrintToString(c.text);
        EXPECT_EQ(CharacterCount(c.text), c.codePoints.size()) << testing::PrintToString(c.text);
    }
}

TEST(Utf8, SurrogatesCanBeRefused) {
    EXPECT_FALSE(IsValidUtf8("a\xED\xA0\x80", Surrogates::Refused));
    EXPECT_TRUE(IsValidUtf8("a\xEE\x80\x80", Surrogates::Refused));
}

TEST(Utf8, EveryCodePointComesBack) {
    for (char32_t codePoint = 0; codePoint <= kLastCodePoint; ++codePoint) {
        std::string text;
        AppendUtf8(text, codePoint);
        std::size_t at = 0;
        ASSERT_EQ(NextCodePoint(text, at), codePoint);
        ASSERT_EQ(at, text.size());
    }
}

TEST(Utf8, BeyondTheLastCodePointIsTheReplacement) {
    std::string text;
    AppendUtf8(text, 0x110000);
    EXPECT_EQ(text, "\xEF\xBF\xBD");
}

TEST(Utf8, CutsByCharactersNotBytes) {
    const std::string_view text = "12345678\xC3\xA4\xE2\x82\xACx";
    EXPECT_EQ(FirstCharacters(text, 0), "");
    EXPECT_EQ(FirstCharacters(text, 8), "12345678");
    EXPECT_EQ(FirstCharacters(text, 9), "12345678\xC3\xA4");
    EXPECT_EQ(FirstCharacters(text, 10), "12345678\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(FirstCharacters(text, 11), text);
    EXPECT_EQ(FirstCharacters(text, 1000), text);
    EXPECT_EQ(CharacterOffset(text, 10), 13U);
}

TEST(Utf8, AsciiPrefixIsExactForEveryPosition) {
    for (std::size_t length = 0; length < 40; ++length) {
        const std::string plain(length, 'a');
        EXPECT_EQ(AsciiPrefixBytes(plain), length);
        for (std::size_t at = 0; at < length; ++at) {
            std::string text = plain;
            text[at] = '\x80';
            EXPECT_EQ(AsciiPrefixBytes(text), at);
        }
    }
}

}  // namespace
}  // namespace marrowkit
