#pragma once

#include <memory>

#include "platform/jet/engine/Database.h"
#include "platform/jet/expression/Expression.h"
#include "platform/jet/expression/TokenStream.h"

namespace marrowkit::dao::sql {

// Subqueries in expressions: `x IN (SELECT ...)` and, for one value, `(SELECT ...)`. They are run once,
// before the statement around them, so they see the tables as they were before it and none of its columns.

/// For TokenStream::AllowSubqueries. Raises what ParseSelect raises, 3141 for a SELECT INTO.
std::shared_ptr<const expression::Subquery> ReadSubquery(expression::TokenStream& tokens);

/// For Binding::runSubquery. The runner raises 3306 for a subquery of several columns, 3354 for one of
/// several records where one value is wanted, and what OpenSelect raises; a column of the query around it is
/// a name that nobody knows (3061).
expression::SubqueryRunner SubqueriesOf(jet::Database& database);

}  // namespace marrowkit::dao::sql
