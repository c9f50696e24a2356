#include <random>

#include <gtest/gtest.h>

#include "platform/text/Utf16.h"

namespace marrowkit {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Utf16Case {
    Bytes utf16;
    std::string utf8;
};

const Utf16Case kCases[] = {
    {{}, ""},
    {{0x41, 0x00}, "A"},
    {{0x00, 0x00}, std::string(1, '\0')},
    {{0xE4, 0x00}, "\xC3\xA4"},
    {{0xAC, 0x20}, "\xE2\x82\xAC"},
    {{0x3D, 0xD8, 0x00, 0xDE}, "\xF0\x9F\x98\x80"},
    {{0x00, 0xD8}, "\xED\xA0\x80"},
    {{0x00, 0xDC}, "\xED\xB0\x80"},
    {{0x00, 0xDC, 0x00, 0xD8}, "\xED\xB0\x80\xED\xA0\x80"},  // the wrong way round
    {{0x00, 0xD8, 0x41, 0x00},
     "\xED\xA0\x80"
     "A"},
    {{0x00, 0xD8, 0x00, 0xD8, 0x00, 0xDC}, "\xED\xA0\x80\xF0\x90\x80\x80"},
    {{0xFE, 0xFF}, "\xEF\xBF\xBE"},
};

TEST(Utf16, ConvertsBothWays) {
    for (const Utf16Case& c : kCases) {
        EXPECT_EQ(Utf16LeToUtf8(c.utf16), c.utf8);
        EXPECT_EQ(Utf8ToUtf16Le(c.utf8), c.utf16);
        EXPECT_EQ(Utf16Length(c.utf8), c.utf16.size() / 2);
        EXPECT_EQ(Utf16ToUtf8(Utf8ToUtf16(c.utf8)), c.utf8);
    }
}

TEST(Utf16, AnOddByteAtTheEndIsLeftOut) {
    EXPECT_EQ(Utf16LeToUtf8(Bytes{0x41, 0x00, 0x42}), "A");
    EXPECT_EQ(Utf16LeToUtf8(Bytes{0x41}), "");
}

TEST(Utf16, MalformedUtf8BecomesTheReplacement) {
    EXPECT_EQ(Utf8ToUtf16Le("\xFF"), (Bytes{0xFD, 0xFF}));
}

TEST(Utf16, AnySequenceOfUnitsSurvives) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        Bytes bytes;
        for (int i = 0; i < 24; ++i) {
            // Half of them surrogates, the rest from everywhere.
            const auto unit = random() % 2 == 0 ? 0xD800 + random() % 0x800 : random() % 0x10000;
            bytes.push_back(static_cast<std::uint8_t>(unit & 0xFFU));
            bytes.push_back(static_cast<std::uint8_t>(unit >> 8U));
        }
        ASSERT_EQ(Utf8ToUtf16Le(Utf16LeToUtf8(bytes)), bytes);
    }
}

}  // namespace
}  // namespace marrowkit
