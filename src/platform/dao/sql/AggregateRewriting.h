#pragma once

#include <vector>

#include "platform/dao/sql/Aggregation.h"
#include "platform/dao/sql/Statement.h"

namespace marrowkit::dao::sql {

/// Whether an aggregate function is called anywhere in a parsed expression.
bool ContainsAggregate(const expression::Node& node);

/// Turns the expressions of a query with GROUP BY or aggregates into expressions over the rows that Summarize
/// gives: first the values of the groups, then those of the aggregates.
class AggregateRewriter {
public:
    /// `binding` is that of the query's input rows.
    AggregateRewriter(expression::Binding binding, std::vector<expression::Expression> groups)
        : binding_(std::move(binding)), groups_(std::move(groups)) {}

    /// Raises 3122, with `text` as the expression, for a column that is neither grouped nor inside an
    /// aggregate; 3095 for an aggregate of an aggregate.
    expression::Expression Rewrite(NodePtr parsed, const std::string& text);

    const std::vector<expression::Expression>& Groups() const { return groups_; }
    const std::vector<Aggregate>& Aggregates() const { return aggregates_; }

private:
    NodePtr TakeAggregates(NodePtr node, const std::string& text);
    NodePtr Replace(NodePtr bound, const std::string& text) const;

    expression::Binding binding_;
    std::vector<expression::Expression> groups_;
    std::vector<Aggregate> aggregates_;
};

}  // namespace marrowkit::dao::sql
