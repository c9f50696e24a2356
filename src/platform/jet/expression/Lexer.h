#pragma once

#include <string_view>
#include <vector>

#include "platform/jet/expression/Token.h"

namespace marrowkit::expression {

/// Takes a statement or expression apart. The last token is always End. Never throws on bad input; see
/// TokenKind.
///
/// Numbers that fit 32 bits are Longs, others and those with a point or an exponent are Doubles; &H1F and
/// &O17 are read too. Texts stand between single or double quotes, the quote itself is doubled. Dates stand
/// between number signs, in American order (month first) or ISO order.
std::vector<Token> Tokenize(std::string_view source);

}  // namespace marrowkit::expression
