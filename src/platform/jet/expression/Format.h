#pragma once

#include <string>
#include <string_view>

#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

/// The Format function, English: named formats ("Fixed", "Short Date", "Yes/No" ...), number pictures (0 # .
/// , % with up to three sections for positive, negative and zero) and date pictures (d m y h n s AM/PM). A
/// value that does not suit the picture comes out as its plain text. The value is not Null.
std::string FormatValue(const jet::Value& value, std::string_view pattern);

}  // namespace marrowkit::expression
