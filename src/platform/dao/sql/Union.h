#pragma once

#include <memory>
#include <vector>

#include "platform/dao/sql/Result.h"

namespace marrowkit::dao::sql {

/// Puts the rows of several selects below each other, with the columns of the first. Equal rows of the first
/// `distinctParts` selects are left out, and their order is that of the values; the others follow as they
/// are. Values of a column whose selects have different types are converted to one that suits all. Raises
/// 3346 when the selects have different numbers of columns.
std::unique_ptr<Result> PutTogether(const std::vector<std::unique_ptr<Result>>& parts,
                                    std::size_t distinctParts, jet::JetVersion version);

}  // namespace marrowkit::dao::sql
