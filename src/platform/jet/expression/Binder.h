#pragma once

#include "platform/jet/expression/Expression.h"

namespace marrowkit::expression {

/// Turns names into slots and function names into functions, finds the types and computes what is constant.
/// See Expression for the errors.
NodePtr Bind(NodePtr node, const Binding& binding);

}  // namespace marrowkit::expression
