#pragma once

#include <optional>
#include <vector>

#include "platform/dao/sql/Scope.h"

namespace marrowkit::dao::sql {

/// A condition on the query's row and the sources it looks at.
struct Condition {
    expression::Expression expression;
    SourceSet sources = 0;
};

/// How the rows of a table are reached. Every condition is tested again on the rows that come.
struct AccessPath {
    /// Position in Table::Indexes(); nothing: in storage order.
    std::optional<std::size_t> index;
    jet::IndexRange range;
    bool backwards = false;
    /// A condition contradicts itself or the type of its column: no row can satisfy it.
    bool empty = false;
    /// Rows to expect, roughly.
    double expectedRows = 0;
};

/// Chooses the index that narrows the table most, from conditions of the forms column = value, <, <=, >, >=,
/// Between, Is Null and their mirror images, on the leading columns of an index; nothing better than reading
/// everything gives a path without an index. `conditions` are those on this source alone.
AccessPath ChoosePath(const Scope& scope, std::size_t source, const std::vector<Condition>& conditions);

/// One column of an ORDER BY.
struct OrderColumn {
    std::size_t column;
    bool descending;
};

/// Whether walking an index gives the rows in this order: its leading columns are these, in the same
/// directions or all reversed, and it holds every row. `path` may be a path already chosen; it is given the
/// index (or direction) when that costs nothing of what it narrows.
bool FollowOrder(const jet::Table& table, const std::vector<OrderColumn>& order, AccessPath& path);

}  // namespace marrowkit::dao::sql
