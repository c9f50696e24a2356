#pragma once

#include <cstdint>

#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A number or a number's text as a decimal of the given scale; digits beyond it are rounded. Throws 3349
/// when it needs more than `precision` digits, and what the expression library throws for what is no number
/// (3464). REQUIRES: not Null.
Numeric ToNumeric(const Value& value, std::uint8_t precision, std::uint8_t scale);

}  // namespace marrowkit::jet
