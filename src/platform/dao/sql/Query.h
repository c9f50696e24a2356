#pragma once

#include <memory>

#include "platform/dao/sql/Result.h"
#include "platform/dao/sql/Statement.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::dao::sql {

/// Runs a SELECT. A query of one table without DISTINCT, GROUP BY and aggregates gives a result whose rows
/// are the table's own (Result::ItsTable); any other is computed at once. Raises 3061 when names are left
/// over that nobody knows, 3067, 3078, 3079, 3093, 3096, 3103, 3122, 3615 and what evaluating raises.
std::unique_ptr<Result> OpenSelect(jet::Database& database, const Select& select);

}  // namespace marrowkit::dao::sql
