#pragma once

#include <memory>
#include <vector>

#include "platform/dao/sql/Result.h"

namespace marrowkit::dao::sql {

/// Puts the rows of several selects below each other, with the columns of the first. Without `all`, equal
/// rows are left out and the order is that of the values. Raises 3346 when they have different numbers of
/// columns.
std::unique_ptr<Result> PutTogether(const std::vector<std::unique_ptr<Result>>& parts, bool all,
                                    jet::JetVersion version);

}  // namespace marrowkit::dao::sql
