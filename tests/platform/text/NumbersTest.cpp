#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/text/Numbers.h"

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

struct ValCase {
    const char* text;
    double value;
};

constexpr ValCase kVal[] = {
    {"", 0},
    {"abc", 0},
    {"12", 12},
    {"12abc", 12},
    {"  1 2 3", 123},
    {"-5", -5},
    {"+5", 5},
    {"- 5", -5},
    {".5", 0.5},
    {"5.", 5},
    {"1.5.7", 1.5},
    {"1e3", 1000},
    {"1E-2x", 0.01},
    {"1d3", 1000},
    {"1e", 1},
    {"1e+", 1},
    {"e5", 0},
    {"1,5", 1},
    {"\t7\n8", 78},
    {"&HFF", 255},
    {"&hffff", -1},
    {"&HFFFF&", 65535},
    {"&H10000", 65536},
    {"&HFFFFFFFF", -1},
    {"&O17", 15},
    {"&O177777", -1},
    {"&H", 0},
    {"&HFGH", 15},
    {"0001", 1},
    {"-", 0},
    {"1234567890123", 1234567890123.0},
    {"1e-400", 0},
    {"7 trainers", 7},
    {"\r7", 0},
};

TEST(Val, ReadsTheNumberAtTheStart) {
    for (const ValCase& c : kVal) EXPECT_EQ(Val(c.text), c.value) << c.text;
}

TEST(Val, OverflowsBeyondADouble) {
    EXPECT_EQ(NumberOf([] { Val("1e400"); }), 6);
    EXPECT_EQ(NumberOf([] { Val(std::string(400, '9')); }), 6);
    EXPECT_EQ(NumberOf([] { Val("1e99999999999999999999"); }), 6);
    EXPECT_EQ(NumberOf([] { Val("&H123456789"); }), 6);
}

struct CLngCase {
    const char* text;
    std::int32_t value;
};

constexpr CLngCase kCLng[] = {
    {"0", 0},
    {"-0", 0},
    {"12", 12},
    {"  12  ", 12},
    {"+7", 7},
    {"-7", -7},
    {"0.5", 0},
    {"1.5", 2},
    {"2.5", 2},
    {"-0.5", 0},
    {"-1.5", -2},
    {"-2.5", -2},
    {"2.4999999999999999999999", 2},
    {"2.5000000000000000000001", 3},
    {".5", 0},
    {".51", 1},
    {"5.", 5},
    {"1e3", 1000},
    {"1.25E1", 12},
    {"1.35E1", 14},
    {"15D-1", 2},
    {"1e-5", 0},
    {"0e99999", 0},
    {"2147483647", 2147483647},
    {"2147483647.4", 2147483647},
    {"-2147483648", std::numeric_limits<std::int32_t>::min()},
    {"-2147483648.5", std::numeric_limits<std::int32_t>::min()},
    {"00000000000000000000012", 12},
    {"&H10", 16},
    {"&hFFFF", 65535},
    {"&HFFFFFFFF", -1},
    {"&O17", 15},
};

TEST(CLng, RoundsHalvesToEven) {
    for (const CLngCase& c : kCLng) EXPECT_EQ(CLng(std::string_view(c.text)), c.value) << c.text;
}

TEST(CLng, RefusesWhatIsNoNumberAsAWhole) {
    for (const char* text : {"",
                             "   ",
                             "N",
                             "-",
                             "+",
                             ".",
                             "1x",
                             "x1",
                             "1 2",
                             "1e",
                             "e5",
                             "--1",
                             "1.2.3",
                             "&H",
                             "&HG",
                             "&O8",
                             "&",
                             "1,5",
                             "\t1",
                             "0x10",
                             "inf",
                             "nan",
                             "\xC2\xA0"
                             "1"}) {
        EXPECT_EQ(NumberOf([text] { CLng(std::string_view(text)); }), 13) << text;
    }
}

TEST(CLng, OverflowsBeyond32Bits) {
    for (const char* text : {"2147483648", "2147483647.5", "-2147483649", "-2147483648.51", "1e10",
                             "1e999999999999", "99999999999999999999999", "&H100000000"}) {
        EXPECT_EQ(NumberOf([text] { CLng(std::string_view(text)); }), 6) << text;
    }
}

TEST(CLng, RoundsDoublesTheSameWay) {
    EXPECT_EQ(CLng(0.5), 0);
    EXPECT_EQ(CLng(1.5), 2);
    EXPECT_EQ(CLng(-0.5), 0);
    EXPECT_EQ(CLng(-1.5), -2);
    EXPECT_EQ(CLng(-2.5), -2);
    EXPECT_EQ(CLng(2.51), 3);
    EXPECT_EQ(CLng(0.49999999999999994), 0);
    EXPECT_EQ(CLng(2147483647.4), 2147483647);
    EXPECT_EQ(NumberOf([] { CLng(2147483647.5); }), 6);
    EXPECT_EQ(CLng(-2147483648.5), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(NumberOf([] { CLng(-2147483648.51); }), 6);
    EXPECT_EQ(NumberOf([] { CLng(std::nan("")); }), 6);
    EXPECT_EQ(NumberOf([] { CLng(std::numeric_limits<double>::infinity()); }), 6);
}

TEST(Hex, WritesTheBitsWithoutLeadingZeros) {
    EXPECT_EQ(Hex(0), "0");
    EXPECT_EQ(Hex(0xAB), "AB");
    EXPECT_EQ(Hex(0x0ABCDEF0), "ABCDEF0");
    EXPECT_EQ(Hex(-1), "FFFFFFFF");
    EXPECT_EQ(Hex(std::numeric_limits<std::int32_t>::min()), "80000000");
}

TEST(Format0, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(Format0(0), "0");
    EXPECT_EQ(Format0(511 / 1024.0), "0");
    EXPECT_EQ(Format0(512 / 1024.0), "1");
    EXPECT_EQ(Format0(1536 / 1024.0), "2");
    EXPECT_EQ(Format0(2.5), "3");
    EXPECT_EQ(Format0(-2.5), "-3");
    EXPECT_EQ(Format0(-0.4), "0");
    EXPECT_EQ(Format0(0.49999999999999994), "0");
    EXPECT_EQ(Format0(2097152 / 1024.0), "2048");
    EXPECT_EQ(Format0(1e15), "1000000000000000");
    EXPECT_EQ(Format0(std::numeric_limits<double>::max()).size(), 309U);
    EXPECT_EQ(NumberOf([] { Format0(std::nan("")); }), 6);
}

TEST(SingleToText, IsShortAndReadsBack) {
    EXPECT_EQ(SingleToText(0), "0");
    EXPECT_EQ(SingleToText(4770), "4770");
    EXPECT_EQ(SingleToText(0.1F), "0.1");
    EXPECT_EQ(SingleToText(-1.5F), "-1.5");
    EXPECT_EQ(SingleToText(2.1F), "2.1");
    std::mt19937 random(1);
    for (int i = 0; i < 100'000; ++i) {
        const auto bits = static_cast<std::uint32_t>(random());
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value)) continue;
        const auto back = TextToSingle(SingleToText(value));
        ASSERT_TRUE(back) << SingleToText(value);
        std::uint32_t backBits = 0;
        std::memcpy(&backBits, &*back, sizeof backBits);
        ASSERT_EQ(backBits, bits) << SingleToText(value);
    }
}

TEST(TextToSingle, TakesWholeNumbersOnly) {
    EXPECT_EQ(TextToSingle(" 4770 "), 4770.0F);
    EXPECT_EQ(TextToSingle("+.5"), 0.5F);
    EXPECT_EQ(TextToSingle("1E+10"), 1e10F);
    for (const char* text :
         {"", " ", "x", "1x", "inf", "-inf", "nan", "-nan", "1e99", "+-1", "0x10", "1,5"}) {
        EXPECT_EQ(TextToSingle(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace marrowkit
