#include <random>

#include <gtest/gtest.h>

#include "platform/registry/RegistryEscapes.h"
#include "platform/text/Utf8.h"

namespace marrowkit {
namespace {

struct EscapeCase {
    std::string text;
    const char* escaped;
};

const EscapeCase kWine[] = {
    {"", ""},
    {"plain text", "plain text"},
    {"C:\\Roms", "C:\\\\Roms"},
    {"say \"hi\"", "say \\\"hi\\\""},
    {"[x]", "[x]"},
    {"a\nb\rc\td", "a\\nb\\rc\\td"},
    {std::string("\0", 1), "\\0"},
    {std::string("\0"
                 "7",
                 2),
     "\\0007"},  // the digit must not be read as part of the escape
    {"\x1B", "\\e"},
    {"\x1F"
     "8",
     "\\378"},
    {"ä", "\\xe4"},
    {"äx", "\\xe4x"},
    {"äb", "\\x00e4b"},
    {"€", "\\x20ac"},
    {"😀", "\\xd83d\\xde00"},
};

TEST(RegistryEscapes, WineWritesAsciiOnly) {
    for (const EscapeCase& c : kWine) {
        EXPECT_EQ(EscapeRegistryText(c.text, RegistryDialect::Wine, EscapedPlace::Quotes), c.escaped);
        EXPECT_EQ(UnescapeRegistryText(c.escaped, RegistryDialect::Wine), c.text);
    }
}

TEST(RegistryEscapes, WineReadsMoreThanIsWritten) {
    EXPECT_EQ(UnescapeRegistryText("\\x41\\x041\\101", RegistryDialect::Wine), "AAA");
    EXPECT_EQ(UnescapeRegistryText("raw ä", RegistryDialect::Wine), "raw ä");
    EXPECT_EQ(UnescapeRegistryText("\\q\\[\\]", RegistryDialect::Wine), "q[]");
    EXPECT_EQ(UnescapeRegistryText("\\xzz", RegistryDialect::Wine), "xzz");
    EXPECT_EQ(UnescapeRegistryText("end\\", RegistryDialect::Wine), "end");
}

TEST(RegistryEscapes, KeysEscapeBrackets) {
    EXPECT_EQ(EscapeRegistryText("Software\\[x] \"y\"", RegistryDialect::Wine, EscapedPlace::Brackets),
              "Software\\\\\\[x\\] \"y\"");
    EXPECT_EQ(EscapeRegistryText("Software\\[x]", RegistryDialect::Regedit, EscapedPlace::Brackets),
              "Software\\[x]");
}

TEST(RegistryEscapes, RegeditKnowsTwoEscapes) {
    EXPECT_EQ(EscapeRegistryText("C:\\ä \"x\"\n", RegistryDialect::Regedit, EscapedPlace::Quotes),
              "C:\\\\ä \\\"x\\\"\n");
    EXPECT_EQ(UnescapeRegistryText("C:\\\\ä \\\"x\\\"\\n", RegistryDialect::Regedit), "C:\\ä \"x\"n");
}

TEST(RegistryEscapes, AnyTextSurvives) {
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        std::string text;
        for (int i = 0; i < 12; ++i) {
            const char32_t limit = random() % 3 == 0 ? 0x20 : random() % 2 == 0 ? 0x80 : 0x10FFFF;
            char32_t codePoint = static_cast<char32_t>(random()) % limit;
            if (codePoint >= 0xD800 && codePoint < 0xE000) codePoint = 'a';
            AppendUtf8(text, codePoint);
        }
        for (const auto dialect : {RegistryDialect::Wine, RegistryDialect::Regedit}) {
            ASSERT_EQ(UnescapeRegistryText(EscapeRegistryText(text, dialect, EscapedPlace::Quotes), dialect),
                      text);
        }
    }
}

}  // namespace
}  // namespace marrowkit
