#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

constexpr std::uint8_t kMaxNumericPrecision = 28;

/// "-12.50": all digits of the scale, no exponent, no grouping.
std::string NumericText(const Numeric& value);

/// The reverse; the scale is the number of digits behind the point. nullopt for anything but an optional
/// sign, digits and one optional point, or for more than 128 bits or 28 digits behind the point.
std::optional<Numeric> NumericFromText(std::string_view text);

/// The same amount with another number of digits behind the point, halves rounded away from zero. nullopt
/// when it does not fit into 128 bits.
std::optional<Numeric> RescaleNumeric(const Numeric& value, std::uint8_t scale);

/// Whether the magnitude has no more than `precision` digits.
bool FitsPrecision(const Numeric& value, std::uint8_t precision);

double NumericToDouble(const Numeric& value);

}  // namespace marrowkit::jet
