#pragma once

#include "platform/jet/expression/Expression.h"

namespace marrowkit::expression {

// The tree walk behind Expression. The result refers into the row, the tree or `scratch`.
const jet::Value& EvaluateNode(const Node& node, const jet::Row& row, jet::JetVersion version,
                               jet::Value& scratch);
Truth TestNode(const Node& node, const jet::Row& row, jet::JetVersion version);

}  // namespace marrowkit::expression
