// What a field does with a value of another type.

#include <limits>

#include "EngineTestSupport.h"

namespace marrowkit::jet::test {
namespace {

struct ConversionCase {
    ColumnType type;
    Value from;
    Value to;
};

Column Target(ColumnType type) {
    Column column = ColumnOf("C", type);
    column.precision = 18;
    column.scale = 2;
    return column;
}

Numeric Decimal(std::uint32_t magnitude, std::uint8_t scale, bool negative = false) {
    Numeric number;
    number.magnitude[3] = magnitude;
    number.scale = scale;
    number.negative = negative;
    return number;
}

std::string operator""_s(const char* text, std::size_t size) {
    return {text, size};
}

const ConversionCase kConversions[] = {
    {ColumnType::Long, Null{}, Null{}},
    {ColumnType::Long, std::int16_t{7}, 7},
    {ColumnType::Long, 2.5, 2},
    {ColumnType::Long, 3.5, 4},
    {ColumnType::Long, "12"_s, 12},
    {ColumnType::Long, true, -1},
    {ColumnType::Byte, 255, std::uint8_t{255}},
    {ColumnType::Integer, Currency{125000}, std::int16_t{12}},
    {ColumnType::Currency, 1.23456, Currency{12346}},
    {ColumnType::Currency, 5, Currency{50000}},
    {ColumnType::Single, 0.5, 0.5F},
    {ColumnType::Double, 7, 7.0},
    {ColumnType::Double, "1.5e2"_s, 150.0},
    {ColumnType::Boolean, 5, true},
    {ColumnType::Boolean, 0.0, false},
    {ColumnType::DateTime, 1.5, DateTime{1.5}},
    {ColumnType::DateTime, "2004-06-05"_s, DateTime{38143}},
    {ColumnType::Text, 12, "12"_s},
    {ColumnType::Text, -0.25, "-0.25"_s},
    {ColumnType::Memo, Currency{15000}, "1.5"_s},
    {ColumnType::Numeric, "12.345"_s, Decimal(1235, 2)},
    {ColumnType::Numeric, -3, Decimal(300, 2, true)},
    {ColumnType::Numeric, 0.125, Decimal(12, 2)},
    {ColumnType::Numeric, Decimal(5, 0), Decimal(500, 2)},
};

TEST(ValueConversionTest, ValuesBecomeTheColumnsType) {
    for (const ConversionCase& test : kConversions) {
        SCOPED_TRACE(std::to_string(&test - kConversions));
        EXPECT_EQ(ConvertFor(Target(test.type), test.from), test.to);
    }
}

TEST(ValueConversionTest, WhatDoesNotFitIsRefused) {
    const std::pair<ColumnType, Value> cases[] = {
        {ColumnType::Byte, 256},
        {ColumnType::Byte, -1},
        {ColumnType::Integer, 40000},
        {ColumnType::Long, 3e9},
        {ColumnType::Long, std::numeric_limits<double>::quiet_NaN()},
        {ColumnType::Long, "abc"_s},
        {ColumnType::Long, ""_s},
        {ColumnType::Single, 1e300},
        {ColumnType::DateTime, "no date"_s},
        {ColumnType::Guid, "1234"_s},
        {ColumnType::Guid, 5},
        {ColumnType::Binary, 5},
        {ColumnType::Ole, "text"_s},
        {ColumnType::Text, Binary{1, 2}},
        {ColumnType::Numeric, "x"_s},
    };
    for (const auto& [type, value] : cases) {
        SCOPED_TRACE(static_cast<int>(type));
        EXPECT_EQ(ErrorOf([&] { ConvertFor(Target(type), value); }), 3421);
    }
    EXPECT_EQ(ErrorOf([&] { ConvertFor(Target(ColumnType::Numeric), 1e20); }), 3349);
}

}  // namespace
}  // namespace marrowkit::jet::test
