#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include "import/DatafileLines.h"

namespace marrowkit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Lines(std::string_view bytes) {
    std::vector<std::string> all;
    DatafileLines lines(bytes);
    std::string_view line;
    while (lines.Next(line)) {
        all.emplace_back(line);
        EXPECT_EQ(lines.LineNumber(), all.size());
    }
    return all;
}

TEST(DatafileLines, EndAtCarriageReturns) {
    EXPECT_THAT(Lines(""), IsEmpty());
    EXPECT_THAT(Lines("a"), ElementsAre("a"));
    EXPECT_THAT(Lines("a\r\n"), ElementsAre("a"));
    EXPECT_THAT(Lines("a\r"), ElementsAre("a"));
    EXPECT_THAT(Lines("a\r\nb"), ElementsAre("a", "b"));
    EXPECT_THAT(Lines("a\rb\r\nc\r"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Lines("\r\n"), ElementsAre(""));
    EXPECT_THAT(Lines("\r\r\n\r"), ElementsAre("", "", ""));
}

TEST(DatafileLines, DoNotEndAtALoneLineFeed) {
    EXPECT_THAT(Lines("a\nb\nc"), ElementsAre("a\nb\nc"));
    EXPECT_THAT(Lines("a\n\r\nb"), ElementsAre("a\n", "b"));
    EXPECT_THAT(Lines("a\r\n\nb"), ElementsAre("a", "\nb"));
}

TEST(DatafileLines, KeepNulAndControlCharacters) {
    using namespace std::string_view_literals;
    EXPECT_THAT(Lines("a\0b\x1A\r\nc"sv), ElementsAre("a\0b\x1A"sv, "c"));
}

TEST(GamesLine, HasElevenFieldsAndBeginsWithTheSeparator) {
    GamesLine fields;
    ASSERT_TRUE(
        SplitGamesLine("\xAC"
                       "1\xAC"
                       "2\xAC"
                       "3\xAC"
                       "4\xAC"
                       "5\xAC"
                       "6\xAC"
                       "7\xAC"
                       "8\xAC"
                       "9\xAC"
                       "x",
                       fields));
    EXPECT_THAT(fields, ElementsAre("", "1", "2", "3", "4", "5", "6", "7", "8", "9", "x"));
    ASSERT_TRUE(SplitGamesLine(std::string(10, '\xAC'), fields));
    EXPECT_THAT(fields, testing::Each(IsEmpty()));
}

TEST(GamesLine, IsRefusedWithOtherCounts) {
    GamesLine fields;
    for (const std::size_t separators : {0U, 1U, 9U, 11U, 12U, 60U}) {
        EXPECT_FALSE(SplitGamesLine(std::string(separators, '\xAC'), fields)) << separators;
    }
}

TEST(GamesLine, IsRefusedWhenAnythingStandsBeforeTheFirstSeparator) {
    GamesLine fields;
    EXPECT_FALSE(SplitGamesLine(" " + std::string(10, '\xAC'), fields));
    EXPECT_FALSE(SplitGamesLine("\n" + std::string(10, '\xAC'), fields));
    // A datafile in UTF-8: the separator's first byte there is C2.
    std::string utf8;
    for (int i = 0; i < 10; ++i)
        utf8 +=
            "\xC2\xAC"
            "a";
    EXPECT_FALSE(SplitGamesLine(utf8, fields));
}

}  // namespace
}  // namespace marrowkit
