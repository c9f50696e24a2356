#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/Hex.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::jet {
namespace {

using test::FromHex;
using test::ToHex;

ColumnDefinition ColumnOf(ColumnType type) {
    ColumnDefinition column;
    column.type = type;
    column.lengthBytes = 510;
    column.precision = 28;
    return column;
}

std::string KeyOf(ColumnType type, const Value& value, bool ascending,
                  JetVersion version = JetVersion::Jet4) {
    std::vector<std::uint8_t> key;
    AppendKeyColumn(version, ColumnOf(type), ascending, value, key);
    return ToHex(key);
}

Binary Counting(std::uint8_t count) {
    Binary bytes;
    for (std::uint8_t i = 0; i < count; ++i) bytes.push_back(i);
    return bytes;
}

struct KeyCase {
    ColumnType type;
    Value value;
    const char* ascending;
    const char* descending;
};

const KeyCase kCases[] = {
    {ColumnType::Long, std::int32_t{1}, "7F 80 00 00 01", "80 7F FF FF FE"},
    {ColumnType::Long, std::int32_t{-1}, "7F 7F FF FF FF", "80 80 00 00 00"},
    {ColumnType::Long, Null{}, "00", "FF"},
    {ColumnType::Byte, std::uint8_t{0x2A}, "7F 2A", "80 D5"},
    {ColumnType::Integer, std::int16_t{258}, "7F 81 02", "80 7E FD"},
    {ColumnType::Currency, Currency{10000}, "7F 80 00 00 00 00 00 27 10", "80 7F FF FF FF FF FF D8 EF"},
    {ColumnType::Double, 1.5, "7F BF F8 00 00 00 00 00 00", "80 40 07 FF FF FF FF FF FF"},
    {ColumnType::Double, -1.5, "7F 40 07 FF FF FF FF FF FF", "80 BF F8 00 00 00 00 00 00"},
    {ColumnType::DateTime, DateTime{1.5}, "7F BF F8 00 00 00 00 00 00", "80 40 07 FF FF FF FF FF FF"},
    {ColumnType::Single, 1.5F, "7F BF C0 00 00", "80 40 3F FF FF"},
    {ColumnType::Boolean, true, "7F 00", "80 FF"},
    {ColumnType::Boolean, false, "7F FF", "80 00"},
    {ColumnType::Boolean, Null{}, "7F FF", "80 00"},
    {ColumnType::Text, std::string("Zelda"), "7F 78 51 5E 4F 4A 01 00", "80 87 AE A1 B0 B5 FE FF 00"},
    {ColumnType::Memo, std::string(), "7F 01 00", "80 FE FF 00"},
    {ColumnType::Binary, Binary{1, 2, 3}, "7F 01 02 03 00 00 00 00 00 03", "80 FE FD FC FF FF FF FF FF FC"},
    {ColumnType::Binary, Counting(10), "7F 00 01 02 03 04 05 06 07 09 08 09 00 00 00 00 00 00 02",
     "80 FF FE FD FC FB FA F9 F8 09 F7 F6 FF FF FF FF FF FF FD"},
    {ColumnType::Binary, Counting(8), "7F 00 01 02 03 04 05 06 07 08", "80 FF FE FD FC FB FA F9 F8 F7"},
    {ColumnType::Binary, Binary{}, "7F", "80"},
    {ColumnType::Guid, *GuidFromText("{01020304-0506-0708-090A-0B0C0D0E0F10}"),
     "7F 01 02 03 04 05 06 07 08 09 09 0A 0B 0C 0D 0E 0F 10 08",
     "80 FE FD FC FB FA F9 F8 F7 09 F6 F5 F4 F3 F2 F1 F0 EF F7"},
    {ColumnType::Numeric, *NumericFromText("12345"), "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 39",
     "80 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF CF C6"},
    {ColumnType::Numeric, *NumericFromText("-12345"), "7F 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF CF C6",
     "80 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 39"},
};

TEST(IndexKey, EncodesEveryType) {
    for (const KeyCase& c : kCases) {
        EXPECT_EQ(KeyOf(c.type, c.value, true), c.ascending) << ValueText(c.value);
        EXPECT_EQ(KeyOf(c.type, c.value, false), c.descending) << ValueText(c.value);
    }
}

TEST(IndexKey, Jet3TextsUseItsOwnWeights) {
    EXPECT_EQ(KeyOf(ColumnType::Text, std::string("co-op"), true, JetVersion::Jet3), "7F 62 72 1E 72 73 00");
    EXPECT_EQ(KeyOf(ColumnType::Text, std::string(), false, JetVersion::Jet3), "80 FF");
}

TEST(IndexKey, SortsNumbersAsTheirValues) {
    const std::vector<double> sorted{
        -std::numeric_limits<double>::infinity(), -1e300, -2.5, -1e-300, 0.0, 1e-300, 2.5, 1e300,
        std::numeric_limits<double>::infinity()};
    const std::vector<std::int32_t> longs{std::numeric_limits<std::int32_t>::min(), -70000, -1, 0, 1, 70000,
                                          std::numeric_limits<std::int32_t>::max()};
    const auto sortsUp = [](ColumnType type, const auto& values) {
        for (std::size_t i = 1; i < values.size(); ++i) {
            EXPECT_LT(KeyOf(type, values[i - 1], true), KeyOf(type, values[i], true));
            EXPECT_GT(KeyOf(type, values[i - 1], false), KeyOf(type, values[i], false));
        }
    };
    sortsUp(ColumnType::Double, sorted);
    sortsUp(ColumnType::Long, longs);
}

TEST(IndexKey, NegativeNumericsSortWrongInDescendingKeysAsJet4HasIt) {
    const auto key = [](const char* text) {
        return KeyOf(ColumnType::Numeric, *NumericFromText(text), false);
    };
    EXPECT_GT(key("1"), key("2"));
    EXPECT_LT(key("-2"), key("1"));   // right would be: the smaller number later
    EXPECT_LT(key("-1"), key("-2"));  // right among themselves
}

TEST(IndexKey, NumericsAreScaledToTheirColumn) {
    ColumnDefinition column = ColumnOf(ColumnType::Numeric);
    column.scale = 2;
    std::vector<std::uint8_t> key;
    AppendKeyColumn(JetVersion::Jet4, column, true, *NumericFromText("1.5"), key);
    EXPECT_EQ(ToHex(key), "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 96");
}

TEST(IndexKey, JoinsTheColumnsOfARow) {
    const ColumnDefinition number = ColumnOf(ColumnType::Long);
    const ColumnDefinition text = ColumnOf(ColumnType::Text);
    const ColumnDefinition* columns[] = {&number, &text};
    const IndexColumn order[] = {{0, true}, {1, false}};
    const Value values[] = {std::int32_t{1}, Null{}};
    EXPECT_EQ(ToHex(BuildIndexKey(JetVersion::Jet4, columns, order, values)), "7F 80 00 00 01 FF");
}

TEST(IndexKey, RefusesAValueOfAnotherType) {
    std::vector<std::uint8_t> key;
    try {
        AppendKeyColumn(JetVersion::Jet4, ColumnOf(ColumnType::Long), true, std::string("1"), key);
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3421);
    }
}

TEST(IndexKey, TextKeysNeedTheGeneralSortOrder) {
    ColumnDefinition column = ColumnOf(ColumnType::Text);
    EXPECT_TRUE(CanBuildKey(column));
    column.sortOrder.lcid = 0x041F;
    EXPECT_FALSE(CanBuildKey(column));
    column.sortOrder = {0x0409, 1};
    EXPECT_FALSE(CanBuildKey(column));
    column.type = ColumnType::Long;
    EXPECT_TRUE(CanBuildKey(column));
    EXPECT_FALSE(CanBuildKey(ColumnOf(ColumnType::Ole)));
    EXPECT_FALSE(CanBuildKey(ColumnOf(ColumnType::FixedBlock)));
}

}  // namespace
}  // namespace marrowkit::jet
