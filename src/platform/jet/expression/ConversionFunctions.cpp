#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Format.h"
#include "platform/jet/expression/Functions.h"
#include "platform/text/Numbers.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;
using jet::Value;

Value CStr(const Arguments& a) {
    if (const auto* truth = std::get_if<bool>(&a[0])) return std::string(*truth ? "True" : "False");
    return ToText(a[0]);
}

template <class T>
Value ToInteger(const Arguments& a) {
    return static_cast<T>(ToWhole(a[0], std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

Value CDbl(const Arguments& a) {
    return ToDouble(a[0]);
}

Value CSng(const Arguments& a) {
    const double number = ToDouble(a[0]);
    if (std::abs(number) > static_cast<double>(std::numeric_limits<float>::max())) RaiseOverflow();
    return static_cast<float>(number);
}

Value CCur(const Arguments& a) {
    return ToCurrency(a[0]);
}

Value CDate(const Arguments& a) {
    return ToDate(a[0]);
}

Value CBool(const Arguments& a) {
    return ToBoolean(a[0]);
}

Value Val(const Arguments& a) {
    return marrowkit::Val(ToText(a[0]));
}

/// Positive numbers have a blank where the minus would stand.
Value Str(const Arguments& a) {
    std::string text = ToText(Value(a[0]));
    if (ClassOf(a[0]) == ValueClass::Text) text = NumberToText(ToDouble(a[0]));
    if (text.starts_with("0.")) text.erase(0, 1);
    if (text.starts_with("-0.")) text.erase(1, 1);
    return text.starts_with('-') ? text : " " + text;
}

std::string ToRadix(const Value& value, int radix) {
    const std::int32_t number = ToLong(value);
    // Negative Integers keep their sixteen bits.
    const bool narrow = std::holds_alternative<std::int16_t>(value) && number < 0;
    const std::uint32_t bits =
        narrow ? static_cast<std::uint32_t>(number) & 0xFFFF : static_cast<std::uint32_t>(number);
    std::array<char, 16> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), bits, radix).ptr;
    std::string text(buffer.data(), end);
    std::transform(text.begin(), text.end(), text.begin(), ToAsciiUpper);
    return text;
}

Value Hex(const Arguments& a) {
    return ToRadix(a[0], 16);
}

Value Oct(const Arguments& a) {
    return ToRadix(a[0], 8);
}

Value IsNullValue(const Arguments& a) {
    return jet::IsNull(a[0]);
}

Value IsNumeric(const Arguments& a) {
    switch (ClassOf(a[0])) {
        case ValueClass::Number:
            return true;
        case ValueClass::Text:
            return ParseNumber(std::get<std::string>(a[0])).has_value();
        default:
            return false;
    }
}

Value IsDate(const Arguments& a) {
    if (const auto* text = std::get_if<std::string>(&a[0])) return ParseDate(*text).has_value();
    return ClassOf(a[0]) == ValueClass::Date;
}

/// Null becomes the second argument; without one an empty text, which is also zero where a number is wanted.
Value Nz(const Arguments& a) {
    if (!jet::IsNull(a[0])) return a[0];
    return a.Count() > 1 ? a[1] : Value(std::string());
}

Value Choose(const Arguments& a) {
    if (jet::IsNull(a[0])) return jet::Null{};
    const double position = std::floor(ToDouble(a[0]));
    if (!(position >= 1 && position < static_cast<double>(a.Count()))) return jet::Null{};
    return a[static_cast<std::size_t>(position)];
}

Value Switch(const Arguments& a) {
    for (std::size_t i = 0; i + 1 < a.Count(); i += 2)
        if (!jet::IsNull(a[i]) && ToBoolean(a[i])) return a[i + 1];
    return jet::Null{};
}

Value Format(const Arguments& a) {
    const std::string pattern = a.Has(1) ? ToText(a[1]) : std::string();
    return FormatValue(a[0], pattern);
}

}  // namespace

std::span<const Function> ConversionFunctions() {
    static const std::array kFunctions{
        Function{"CStr", 1, 1, CStr, ColumnType::Text},
        Function{"CByte", 1, 1, ToInteger<std::uint8_t>, ColumnType::Byte},
        Function{"CInt", 1, 1, ToInteger<std::int16_t>, ColumnType::Integer},
        Function{"CLng", 1, 1, ToInteger<std::int32_t>, ColumnType::Long},
        Function{"CDbl", 1, 1, CDbl, ColumnType::Double},
        Function{"CSng", 1, 1, CSng, ColumnType::Single},
        Function{"CCur", 1, 1, CCur, ColumnType::Currency},
        Function{"CDate", 1, 1, CDate, ColumnType::DateTime},
        Function{"CVDate", 1, 1, CDate, ColumnType::DateTime},
        Function{"DateValue", 1, 1,
                 [](const Arguments& a) -> Value { return jet::DateTime{std::trunc(ToDate(a[0]).days)}; },
                 ColumnType::DateTime},
        Function{"TimeValue", 1, 1,
                 [](const Arguments& a) -> Value {
                     const double days = ToDate(a[0]).days;
                     return jet::DateTime{std::abs(days - std::trunc(days))};
                 },
                 ColumnType::DateTime},
        Function{"CBool", 1, 1, CBool, ColumnType::Boolean},
        Function{"Val", 1, 1, Val, ColumnType::Double},
        Function{"Str", 1, 1, Str, ColumnType::Text},
        Function{"Hex", 1, 1, Hex, ColumnType::Text},
        Function{"Oct", 1, 1, Oct, ColumnType::Text},
        Function{"IsNull", 1, 1, IsNullValue, ColumnType::Boolean, false},
        Function{"IsNumeric", 1, 1, IsNumeric, ColumnType::Boolean, false},
        Function{"IsDate", 1, 1, IsDate, ColumnType::Boolean, false},
        Function{"Nz", 1, 2, Nz, std::nullopt, false, true, TypeRule::OneOfAll},
        Function{"Choose", 2, 30, Choose, std::nullopt, false, true, TypeRule::OneBehindFirst},
        Function{"Switch", 2, 30, Switch, std::nullopt, false, true, TypeRule::EverySecond},
        Function{"Format", 1, 4, Format, ColumnType::Text},
    };
    return kFunctions;
}

}  // namespace marrowkit::expression
