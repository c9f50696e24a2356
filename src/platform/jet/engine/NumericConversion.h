#pragma once

#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// A number or a number's text as a decimal of the given scale; digits beyond it are rounded, halves to even.
/// Throws 3349 when the whole number needs more than `precision` digits, 3421 (or the expression library's
/// 3464) for what is no number. REQUIRES: not Null.
Numeric ToNumeric(const Value& value, int precision, int scale);

}  // namespace marrowkit::jet
