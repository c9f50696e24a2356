#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

/// What kinds of value can be compared with each other: within a class, and numbers with dates.
enum class ValueClass : std::uint8_t { Null, Number, Date, Text, Binary, Guid };

ValueClass ClassOf(const jet::Value& value);
ValueClass ClassOf(jet::ColumnType type);

/// Type of the column that would hold the value; Text for Null.
jet::ColumnType TypeOf(const jet::Value& value);

/// Boolean, Byte, Integer and Long.
bool IsWholeType(jet::ColumnType type);

/// The type of a column for values of both types; nullopt where there is none, for texts and numbers say.
std::optional<jet::ColumnType> CommonType(jet::ColumnType left, jet::ColumnType right);

/// A number written in a text, as the conversion functions accept it: blanks around it, a sign, digits with
/// commas between them, point, exponent; or &H and &O. nullopt for anything else.
std::optional<double> ParseNumber(std::string_view text);

// Conversions of a value that is not Null. What cannot be converted raises 3464, what does not fit 6. True is
// -1. Conversions to whole numbers round halves to even.
double ToDouble(const jet::Value& value);
std::int32_t ToLong(const jet::Value& value);
std::int64_t ToWhole(const jet::Value& value, std::int64_t lowest, std::int64_t highest);
bool ToBoolean(const jet::Value& value);
jet::Currency ToCurrency(const jet::Value& value);
jet::DateTime ToDate(const jet::Value& value);
std::string ToText(const jet::Value& value);

/// Exact; raises 6 when the sum does not fit.
jet::Currency AddCurrency(jet::Currency left, jet::Currency right);

/// 15 (7) significant digits, scientific from 1E+15 (1E+7) and below 0.0001.
std::string NumberToText(double number);
std::string NumberToText(float number);

/// Rounds halves to even.
double RoundHalfEven(double number);

[[noreturn]] void RaiseTypeMismatch();     // 3464
[[noreturn]] void RaiseOverflow();         // 6
[[noreturn]] void RaiseDivisionByZero();   // 11
[[noreturn]] void RaiseInvalidArgument();  // 5

}  // namespace marrowkit::expression
