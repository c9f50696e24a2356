#include <gtest/gtest.h>

#include "platform/files/IniText.h"

namespace marrowkit {
namespace {

using Value = std::optional<std::string>;

struct ReadCase {
    const char* bytes;
    const char* section;
    const char* key;
    Value value;
};

const ReadCase kReads[] = {
    {"[DAT]\r\nversion=2.00\r\n", "DAT", "version", "2.00"},
    {"[DAT]\r\nversion=2.00 \r\n", "DAT", "version", "2.00 "},  // a blank at the end of a value stays
    {"[DAT]\r\nversion=  2.00\t\r\n", "DAT", "version", "2.00"},
    {"[dat]\nVERSION=2\n", "DAT", "version", "2"},
    {"[DAT]\rversion=2\r", "DAT", "version", "2"},
    {"[DAT]\r\n\r\n\nversion=2", "DAT", "version", "2"},
    {"  [ DAT ]  \n  version  = 2", "DAT", "version", "2"},
    {"[DAT]\nversion=1\nversion=2", "DAT", "version", "1"},            // the first key
    {"[DAT]\nx=1\n[DAT]\nversion=2", "DAT", "version", std::nullopt},  // the first section only
    {"[A]\nversion=1\n[DAT]\nversion=2", "DAT", "version", "2"},
    {"[DAT]\n[A]\nversion=1", "DAT", "version", std::nullopt},
    {"version=1\n[DAT]\n", "DAT", "version", std::nullopt},
    {"[DAT]\nversion\nversion=2", "DAT", "version", std::nullopt},  // no "=" counts as missing
    {"[DAT]\nversion=", "DAT", "version", ""},
    {"[DAT]\nversion=a=b", "DAT", "version", "a=b"},
    {"[DAT]\n;version=1\nversion=2 ;no comment", "DAT", "version", "2 ;no comment"},
    {"[DAT]\nversion=\"2.00\"", "DAT", "version", "2.00"},
    {"[DAT]\nversion='2.00'", "DAT", "version", "2.00"},
    {"[DAT]\nversion=\" 2.00 \" ", "DAT", "version", " 2.00 "},
    {"[DAT]\nversion=\"\"2\"\"", "DAT", "version", "\"2\""},  // one pair
    {"[DAT]\nversion=\"2'", "DAT", "version", "\"2'"},
    {"[DAT]\nversion=\"", "DAT", "version", "\""},
    {"[DAT]\nversion=\"\"", "DAT", "version", ""},
    {"[A]B]\nx=1", "A]B", "x", "1"},  // the last bracket ends the name
    {"[DAT\nx=1", "DAT", "x", std::nullopt},
    {"[DAT]\nx=1\x1A\n", "DAT", "x", "1"},
    {"[\xC4RGER]\nGR\xDC\xDF"
     "E=\xFC",
     "\xE4rger",
     "gr\xFC\xDF"
     "e",
     "\xFC"},
    {"", "DAT", "version", std::nullopt},
    {"\xAC[DAT]\nx=1", "DAT", "x", std::nullopt},
};

TEST(FindIniValue, ReadsAsThePlatformDoes) {
    for (const ReadCase& c : kReads) {
        EXPECT_EQ(FindIniValue(c.bytes, c.section, c.key), c.value) << testing::PrintToString(c.bytes);
    }
}

struct WriteCase {
    const char* before;
    const char* after;
};

constexpr WriteCase kWrites[] = {
    {"", "[Games]\r\n1=C:\\Roms\r\n"},
    {"[Games]", "[Games]\r\n1=C:\\Roms\r\n"},
    {"[Games]\r\n", "[Games]\r\n1=C:\\Roms\r\n"},
    {"[games]\n2=x\n", "[games]\n2=x\n1=C:\\Roms\n"},
    {"[Games]\r\n1=old\r\n2=x\r\n", "[Games]\r\n1=C:\\Roms\r\n2=x\r\n"},
    {"[Games]\r\n 1 = old  \r\n2=x", "[Games]\r\n 1 =C:\\Roms\r\n2=x"},
    {"[Games]\r\n1\r\n", "[Games]\r\n1=C:\\Roms\r\n"},
    {"[Other]\r\n1=keep", "[Other]\r\n1=keep\r\n[Games]\r\n1=C:\\Roms\r\n"},
    {"[Games]\r\na=b\r\n\r\n; note\r\n\r\n[Other]\r\n1=x\r\n",
     "[Games]\r\na=b\r\n\r\n; note\r\n1=C:\\Roms\r\n\r\n[Other]\r\n1=x\r\n"},
    {"junk \x80 \r[A]\r\r\n\tq=1 \n", "junk \x80 \r[A]\r\r\n\tq=1 \n[Games]\r1=C:\\Roms\r"},
    {"[Games]\n1=a\n1=b\n[Games]\n1=c\n", "[Games]\n1=C:\\Roms\n1=b\n[Games]\n1=c\n"},
};

TEST(WithIniValue, ChangesOneLineOnly) {
    for (const WriteCase& c : kWrites) {
        const std::string after = WithIniValue(c.before, "Games", "1", "C:\\Roms");
        EXPECT_EQ(after, c.after) << testing::PrintToString(c.before);
        EXPECT_EQ(FindIniValue(after, "Games", "1"), "C:\\Roms") << testing::PrintToString(c.before);
        EXPECT_EQ(WithIniValue(after, "Games", "1", "C:\\Roms"), after);
    }
}

}  // namespace
}  // namespace marrowkit
