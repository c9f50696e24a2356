#pragma once

#include "platform/jet/expression/Token.h"

namespace marrowkit::expression {

/// Whether a token is a word that ends an expression: the clauses of statements. Left and Right end it only
/// in front of a join's other words, where no operand is expected, so the functions of these names are not in
/// the way.
bool IsClauseWord(const Token& token);

}  // namespace marrowkit::expression
