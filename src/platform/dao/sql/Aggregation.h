#pragma once

#include <string>
#include <vector>

#include "platform/dao/sql/RowStream.h"

namespace marrowkit::dao::sql {

enum class AggregateKind : std::uint8_t {
    Count,
    CountRows,
    Sum,
    Avg,
    Min,
    Max,
    First,
    Last,
    StDev,
    StDevP,
    Var,
    VarP
};

/// The aggregate a function name stands for.
std::optional<AggregateKind> FindAggregate(std::string_view name);

/// One aggregate of a query: what it sums up, bound to the input row (nothing for Count(*)).
struct Aggregate {
    AggregateKind kind = AggregateKind::CountRows;
    expression::Expression argument;

    std::optional<jet::ColumnType> ResultType() const;
};

/// Sums up a stream. Each row that comes out has the values of the group's expressions, then those of the
/// aggregates; groups come in the order of their keys, Null first. Without group expressions there is exactly
/// one row, also for no input. Texts that are equal to Jet fall into one group, named by its first row.
PackedRows Summarize(RowStream& input, const std::vector<expression::Expression>& groups,
                     const std::vector<Aggregate>& aggregates, jet::JetVersion version);

}  // namespace marrowkit::dao::sql
