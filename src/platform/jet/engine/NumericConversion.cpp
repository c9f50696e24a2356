#include "platform/jet/engine/NumericConversion.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::jet {

namespace {

// A magnitude has 38 digits at most.
constexpr double kTooLarge = 1e39;

Numeric FromDouble(double number, int scale) {
    if (!(std::fabs(number) < kTooLarge)) RaiseJet(JetError::NumericOverflow);
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%.*f", scale, number);
    const auto numeric = NumericFromText(text.data());
    if (!numeric) RaiseJet(JetError::NumericOverflow);
    return *numeric;
}

Numeric Exactly(const Value& value, int scale) {
    if (const auto* numeric = std::get_if<Numeric>(&value)) return *numeric;
    if (const auto* text = std::get_if<std::string>(&value)) {
        if (const auto numeric = NumericFromText(*text)) return *numeric;
    }
    if (std::holds_alternative<Currency>(value)) {
        if (const auto numeric = NumericFromText(expression::ToText(value))) return *numeric;
    }
    return FromDouble(expression::ToDouble(value), scale);
}

}  // namespace

Numeric ToNumeric(const Value& value, std::uint8_t precision, std::uint8_t scale) {
    const auto numeric = RescaleNumeric(Exactly(value, scale), scale);
    if (!numeric || !FitsPrecision(*numeric, precision)) RaiseJet(JetError::NumericOverflow);
    return *numeric;
}

}  // namespace marrowkit::jet
