#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/text/Text.h"

namespace marrowkit {
namespace {

template <typename Action>
int NumberOf(Action action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

TEST(LeftRightMid, CountCharacters) {
    EXPECT_EQ(Left("Grün", 3), "Grü");
    EXPECT_EQ(Left("Grün", 0), "");
    EXPECT_EQ(Left("Grün", 9), "Grün");
    EXPECT_EQ(Right("Grün", 2), "ün");
    EXPECT_EQ(Right("Grün", 0), "");
    EXPECT_EQ(Right("Grün", 9), "Grün");
    EXPECT_EQ(Mid("Grün", 3), "ün");
    EXPECT_EQ(Mid("Grün", 3, 1), "ü");
    EXPECT_EQ(Mid("Grün", 5), "");
    EXPECT_EQ(Mid("Grün", 50, 3), "");
    EXPECT_EQ(Mid("Grün", 1, 0), "");
    EXPECT_EQ(Len("Grün"), 4);
}

TEST(LeftRightMid, RefuseImpossiblePositions) {
    EXPECT_EQ(NumberOf([] { Left("a", -1); }), 5);
    EXPECT_EQ(NumberOf([] { Right("a", -1); }), 5);
    EXPECT_EQ(NumberOf([] { Mid("a", 0); }), 5);
    EXPECT_EQ(NumberOf([] { Mid("a", 1, -1); }), 5);
}

struct InStrCase {
    int start;
    const char* text;
    const char* find;
    int exact;
    int noCase;
};

constexpr InStrCase kInStr[] = {
    {1, "abcabc", "bc", 2, 2}, {3, "abcabc", "bc", 5, 5}, {6, "abcabc", "bc", 0, 0},
    {1, "abc", "BC", 0, 2},    {1, "äöü", "ü", 3, 3},     {1, "äöü", "Ü", 0, 3},
    {4, "äöü", "ü", 0, 0},     {9, "abc", "c", 0, 0},     {1, "", "a", 0, 0},
    {1, "", "", 0, 0},         {1, "abc", "", 1, 1},      {3, "abc", "", 3, 3},
    {4, "abc", "", 0, 0},      {1, "aab", "ab", 2, 2},    {1, "abc", "abcd", 0, 0},
    {1, "Ⱥx", "ⱥX", 0, 1},  // the two letters take a different number of bytes
};

TEST(InStr, FindsTheFirst) {
    for (const InStrCase& c : kInStr) {
        EXPECT_EQ(InStr(c.start, c.text, c.find), c.exact) << c.text << " " << c.find;
        EXPECT_EQ(InStrNoCase(c.start, c.text, c.find), c.noCase) << c.text << " " << c.find;
    }
    EXPECT_EQ(InStr("disk.part2.zip", "."), 5);
    EXPECT_EQ(NumberOf([] { InStr(0, "abc", "a"); }), 5);
}

TEST(InStrRev, FindsTheLast) {
    EXPECT_EQ(InStrRev("a.b.c", "."), 4);
    EXPECT_EQ(InStrRev("a.b.c", ".", 3), 2);
    EXPECT_EQ(InStrRev("a.b.c", ".", 1), 0);
    EXPECT_EQ(InStrRev("äöäö", "ö"), 4);
    EXPECT_EQ(InStrRev("abc", "x"), 0);
    EXPECT_EQ(InStrRev("", "x"), 0);
    EXPECT_EQ(InStrRev("abc", ""), 3);
    EXPECT_EQ(InStrRev("abc", "c", 4), 0);
    EXPECT_EQ(InStrRev("abc", "bc", 2), 0);  // it has to end at or before the start
    EXPECT_EQ(NumberOf([] { InStrRev("abc", "a", 0); }), 5);
}

TEST(Trim, CutsBlanksOnly) {
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("\ta\n"), "\ta\n");
    EXPECT_EQ(Trim("\xC2\xA0"
                   "a"),
              "\xC2\xA0"
              "a");
    EXPECT_EQ(Trim("   "), "");
    EXPECT_EQ(Trim(""), "");
    EXPECT_EQ(LTrim("  a "), "a ");
    EXPECT_EQ(RTrim("  a "), "  a");
    EXPECT_EQ(RTrim("   "), "");
}

TEST(Replace, PutsInEverywhereOnce) {
    EXPECT_EQ(Replace("aXbXc", "X", "--"), "a--b--c");
    EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
    EXPECT_EQ(Replace("abc", "b", "bb"), "abbc");
    EXPECT_EQ(Replace("abc", "B", "x"), "abc");
    EXPECT_EQ(Replace("abc", "", "x"), "abc");
    EXPECT_EQ(Replace("", "a", "x"), "");
}

TEST(ReplaceNoCase, KeepsTheRestAsItIs) {
    EXPECT_EQ(ReplaceNoCase("Game [CR abc][cr ABC]", "[cr abc]", ""), "Game ");
    EXPECT_EQ(ReplaceNoCase("(B)(b", "(b)", "x"), "x(b");
    EXPECT_EQ(ReplaceNoCase("a\xE2(B)\xC3(b)\xF0\x9F(", "(b)", ""), "a\xE2\xC3\xF0\x9F(");
    EXPECT_EQ(ReplaceNoCase("GRÜN grün", "grün", "x"), "x x");
    EXPECT_EQ(ReplaceNoCase("ȺȺ", "ⱥ", "a"), "aa");
    EXPECT_EQ(ReplaceNoCase("a\xFF"
                            "B",
                            "b", "x"),
              "a\xFF"
              "x");
}

TEST(CompareNoCase, OrdersByLowerCase) {
    EXPECT_TRUE(EqualNoCase("STRASSE", "strasse"));
    EXPECT_TRUE(EqualNoCase("ÄÖÜ Я", "äöü я"));
    EXPECT_FALSE(EqualNoCase("ß", "ss"));
    EXPECT_FALSE(EqualNoCase("a", "ab"));
    EXPECT_LT(CompareNoCase("Alpha", "beta"), 0);
    EXPECT_GT(CompareNoCase("Beta", "alpha"), 0);
    EXPECT_LT(CompareNoCase("ab", "ABC"), 0);
    EXPECT_EQ(CompareNoCase("", ""), 0);
    EXPECT_TRUE(StartsWithNoCase("Software\\Quillon", "SOFTWARE\\"));
    EXPECT_FALSE(StartsWithNoCase("Soft", "Software"));
}

TEST(Split, GivesAllPieces) {
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(Split("", ","), (Pieces{""}));
    EXPECT_EQ(Split("a", ","), (Pieces{"a"}));
    EXPECT_EQ(Split(",a,,b,", ","), (Pieces{"", "a", "", "b", ""}));
    EXPECT_EQ(Split("a¬b", "¬"), (Pieces{"a", "b"}));
}

TEST(SearchAndReplace, TakeTimeInProportionToTheText) {
    // A quadratic search would need hours for this.
    const std::string text(4'000'000, 'a');
    EXPECT_EQ(InStrNoCase(text, "B"), 0);
    EXPECT_EQ(ReplaceNoCase(text, "A", "").size(), 0U);
}

}  // namespace
}  // namespace marrowkit
