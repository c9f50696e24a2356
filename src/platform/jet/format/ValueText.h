#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A value as plain text, the same on every machine: numbers in plain decimal (floats with as many digits as
/// bring the same value back), "True" and "False", dates as DateTimeText, binary as upper-case hexadecimal,
/// GUIDs as GuidText, texts as they are, Null as an empty text.
std::string ValueText(const Value& value);
/// The same at the end of a text, for whoever writes many values: no value has a text of its own.
void AppendValueText(const Value& value, std::string& text);

/// "12.5", "-0.0001": no more digits behind the point than needed.
std::string CurrencyText(Currency value);

/// ISO 8601: "2004-06-05T13:06:59", with ".250" when the value has milliseconds. The number of days where
/// the calendar ends (years 100 to 9999).
std::string DateTimeText(DateTime value);

/// "{01020304-0506-0708-090A-0B0C0D0E0F10}".
std::string GuidText(const Guid& value);
/// The reverse, with or without braces, digits in any case.
std::optional<Guid> GuidFromText(std::string_view text);

std::string SingleText(float value);
std::string DoubleText(double value);
std::string HexText(const Binary& value);

}  // namespace marrowkit::jet
