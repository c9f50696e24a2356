#pragma once

#include <cstdint>
#include <functional>

#include "platform/dao/sql/Statement.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::dao::sql {

/// Called with a table just before its rows change: whoever walks through it can let go of it.
using BeforeChange = std::function<void(const jet::Table&)>;

/// Runs INSERT, UPDATE and DELETE as one unit: on any error nothing has changed. The rows that a condition
/// selects are all found before the first one changes. Returns how many rows were inserted, changed or
/// deleted. Raises 3061, 3078, 3127, 3192, 3346, 3464 and what the table's rules raise.
std::int64_t RunInsert(jet::Database& database, const Insert& insert, const BeforeChange& beforeChange);
std::int64_t RunUpdate(jet::Database& database, const Update& update, const BeforeChange& beforeChange);
std::int64_t RunDelete(jet::Database& database, const Delete& statement, const BeforeChange& beforeChange);
/// SELECT ... INTO: makes the table and fills it.
std::int64_t RunSelectInto(jet::Database& database, const Select& select);

}  // namespace marrowkit::dao::sql
