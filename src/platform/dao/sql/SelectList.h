#pragma once

#include <string>
#include <vector>

#include "platform/dao/sql/Scope.h"

namespace marrowkit::dao::sql {

/// One column that the query gives, parsed.
struct Output {
    std::string name;
    NodePtr value;
};

/// What a SELECT gives, item by item: stars become the columns they stand for, aliases what they name. Parsed
/// expressions, not bound ones.
class SelectList {
public:
    /// Both must outlive the list.
    SelectList(const Select& select, const Scope& scope) : select_(select), scope_(scope) {}

    /// Reads the items, once the scope has its sources. Raises 3067 and 3078 for stars without a table, 3103
    /// for aliases that name each other.
    void Make();
    const std::vector<Output>& Outputs() const { return outputs_; }

    /// Names that are no columns may be aliases of other items.
    NodePtr ExpandAliases(NodePtr node) const { return ExpandAliases(std::move(node), 0); }
    /// What to sort by: ORDER BY 2 means the second column. Raises 3138 when there is none.
    NodePtr OrderValue(const OrderItem& item) const;
    /// An expression as it stands in the statement.
    std::string TextOf(const expression::Node& node) const;

private:
    void AddStar(const SelectItem& item);
    void AddStarColumn(const BoundSource& source, const std::string& name);
    NodePtr ExpandAliases(NodePtr node, int depth) const;

    const Select& select_;
    const Scope& scope_;
    std::vector<Output> outputs_;
};

}  // namespace marrowkit::dao::sql
