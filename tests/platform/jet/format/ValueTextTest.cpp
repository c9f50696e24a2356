#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

#include "platform/jet/format/DateParts.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::jet {
namespace {

struct TextCase {
    Value value;
    const char* text;
};

const TextCase kTexts[] = {
    {Null{}, ""},
    {true, "True"},
    {false, "False"},
    {std::uint8_t{255}, "255"},
    {std::int16_t{-32768}, "-32768"},
    {std::numeric_limits<std::int32_t>::min(), "-2147483648"},
    {Currency{0}, "0"},
    {Currency{125000}, "12.5"},
    {Currency{-1}, "-0.0001"},
    {Currency{std::numeric_limits<std::int64_t>::min()}, "-922337203685477.5808"},
    {0.1F, "0.1"},
    {2.1F, "2.1"},
    {0.1, "0.1"},
    {1e21, "1000000000000000000000"},
    {1e-7, "0.0000001"},
    {-0.5, "-0.5"},
    {DateTime{38143.54651620370}, "2004-06-05T13:06:59"},
    {DateTime{-1.25}, "1899-12-29T06:00:00"},
    {std::string("\"quoted\""), "\"quoted\""},
    {Binary{0x00, 0xAB}, "00AB"},
    {Guid{{4, 3, 2, 1, 6, 5, 8, 7, 9, 10, 11, 12, 13, 14, 15, 16}}, "{01020304-0506-0708-090A-0B0C0D0E0F10}"},
    {Numeric{{0, 0, 0, 12345}, 3, true}, "-12.345"},
    {Numeric{{0, 0, 0, 5}, 3, false}, "0.005"},
    {Numeric{{0, 0, 0, 0}, 2, false}, "0.00"},
    {Numeric{{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}, 0, false},
     "340282366920938463463374607431768211455"},
};

TEST(ValueText, ShowsEveryType) {
    for (const TextCase& c : kTexts) {
        EXPECT_EQ(ValueText(c.value), c.text);
        std::string text = "before ";
        AppendValueText(c.value, text);
        EXPECT_EQ(text, std::string("before ") + c.text);
    }
}

TEST(ValueText, ExtremeDoublesComeBack) {
    for (const double value : {std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
                               std::numeric_limits<double>::denorm_min(), 1.0 / 3}) {
        EXPECT_EQ(std::strtod(DoubleText(value).c_str(), nullptr), value);
    }
}

struct DateCase {
    double days;
    const char* text;
};

constexpr DateCase kDates[] = {
    {0, "1899-12-30T00:00:00"},
    {0.5, "1899-12-30T12:00:00"},
    {-0.5, "1899-12-30T12:00:00"},
    {1, "1899-12-31T00:00:00"},
    {-1, "1899-12-29T00:00:00"},
    {-1.75, "1899-12-29T18:00:00"},
    {60, "1900-02-28T00:00:00"},
    {61, "1900-03-01T00:00:00"},
    {36585, "2000-02-29T00:00:00"},
    {2958465.999, "9999-12-31T23:58:33.600"},
    {-657434, "0100-01-01T00:00:00"},
    {36526.999999999, "2000-01-02T00:00:00"},
    {36526.0000058, "2000-01-01T00:00:00.501"},
    {2958466, "2958466"},
    {-657435, "-657435"},
};

TEST(DateTimeText, FollowsTheCalendar) {
    for (const auto& [days, text] : kDates) EXPECT_EQ(DateTimeText({days}), text);
    EXPECT_EQ(DateTimeText({std::numeric_limits<double>::quiet_NaN()}), "nan");
}

TEST(DateTimeText, EveryDayComesBack) {
    DateParts last;
    for (int day = -657434; day <= 2958465; day += 17) {
        const auto parts = ToDateParts({static_cast<double>(day)});
        ASSERT_TRUE(parts);
        ASSERT_EQ(FromDateParts(*parts), DateTime{static_cast<double>(day)});
    }
}

TEST(DateTimeText, EverySecondOfADayComesBack) {
    for (const int year : {1500, 1899, 2004}) {
        for (int second = 0; second < 86400; second += 7) {
            DateParts parts{year, 2, 28, second / 3600, second / 60 % 60, second % 60, 0};
            const auto value = FromDateParts(parts);
            ASSERT_TRUE(value);
            ASSERT_EQ(ToDateParts(*value), parts);
        }
    }
}

TEST(CurrencyText, HasNoMoreDigitsThanNeeded) {
    EXPECT_EQ(CurrencyText({0}), "0");
    EXPECT_EQ(CurrencyText({1}), "0.0001");
    EXPECT_EQ(CurrencyText({-1}), "-0.0001");
    EXPECT_EQ(CurrencyText({10000}), "1");
    EXPECT_EQ(CurrencyText({125000}), "12.5");
    EXPECT_EQ(CurrencyText({std::numeric_limits<std::int64_t>::min()}), "-922337203685477.5808");
    EXPECT_EQ(CurrencyText({std::numeric_limits<std::int64_t>::max()}), "922337203685477.5807");
}

TEST(GuidText, ComesBackInAnyCase) {
    const Guid guid{{4, 3, 2, 1, 6, 5, 8, 7, 9, 10, 11, 12, 13, 14, 15, 0xAF}};
    EXPECT_EQ(GuidFromText(GuidText(guid)), guid);
    EXPECT_EQ(GuidFromText("01020304-0506-0708-090a-0b0c0d0e0faf"), guid);
    for (const char* wrong :
         {"", "{}", "{01020304-0506-0708-090A-0B0C0D0E0F10", "0102030405060708090A0B0C0D0E0F10",
          "{01020304-0506-0708-090A+0B0C0D0E0F10}", "{0102030G-0506-0708-090A-0B0C0D0E0F10}"}) {
        EXPECT_FALSE(GuidFromText(wrong)) << wrong;
    }
}

struct RescaleCase {
    const char* from;
    std::uint8_t scale;
    const char* to;
};

constexpr RescaleCase kRescales[] = {
    {"12.345", 2, "12.35"}, {"-12.345", 2, "-12.35"}, {"12.344", 2, "12.34"},
    {"12", 3, "12.000"},    {"0.4", 0, "0"},          {"-0.4", 0, "0"},
    {"0.5", 0, "1"},        {"99.999", 0, "100"},     {"0.45", 0, "0"},
};

TEST(Numeric, RescalesWithHalvesAwayFromZero) {
    for (const auto& [from, scale, to] : kRescales) {
        const auto rescaled = RescaleNumeric(*NumericFromText(from), scale);
        ASSERT_TRUE(rescaled) << from;
        EXPECT_EQ(NumericText(*rescaled), to);
    }
    EXPECT_FALSE(RescaleNumeric(*NumericFromText("340282366920938463463374607431768211455"), 1));
}

TEST(Numeric, ReadsTexts) {
    EXPECT_EQ(NumericText(*NumericFromText("-12.50")), "-12.50");
    EXPECT_EQ(NumericText(*NumericFromText("+.5")), "0.5");
    EXPECT_EQ(NumericText(*NumericFromText("-0")), "0");
    for (const char* wrong : {"", "-", ".", "1e5", "1 ", "1.2.3", "340282366920938463463374607431768211456",
                              "0.00000000000000000000000000001"}) {
        EXPECT_FALSE(NumericFromText(wrong)) << wrong;
    }
}

TEST(Numeric, KnowsItsPrecision) {
    EXPECT_TRUE(FitsPrecision(*NumericFromText("999"), 3));
    EXPECT_FALSE(FitsPrecision(*NumericFromText("1000"), 3));
    EXPECT_TRUE(FitsPrecision(*NumericFromText("0"), 1));
    EXPECT_DOUBLE_EQ(NumericToDouble(*NumericFromText("-12.5")), -12.5);
}

}  // namespace
}  // namespace marrowkit::jet
