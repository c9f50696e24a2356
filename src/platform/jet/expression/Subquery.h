#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

enum class Truth : std::uint8_t;

/// A SELECT inside an expression: `x IN (SELECT ...)`, or a value of its own. Expressions know no more of it:
/// who reads statements makes it, and answers it when the expression is bound.
class Subquery {
public:
    virtual ~Subquery() = default;
    /// The longest way down to a leaf of the expressions in it; see Node::depth.
    virtual std::uint16_t Depth() const = 0;
};

/// The values that a subquery gave, one a record.
class ValueSet {
public:
    /// `type`: that of the values, as far as it is known. Raises 3464 for values that cannot be compared with
    /// each other.
    ValueSet(jet::JetVersion version, std::optional<jet::ColumnType> type, std::vector<jet::Value> values);

    std::optional<jet::ColumnType> Type() const { return type_; }
    /// The least value; Null when there is none but Null.
    jet::Value First() const { return values_.empty() ? jet::Value() : values_.front(); }
    /// What `value IN (...)` says. Unknown for Null among any values, and for what was not found when one of
    /// the values is Null. Raises 3464 for a value that cannot be compared with them. Costs a binary search.
    Truth Contains(const jet::Value& value) const;

private:
    jet::JetVersion version_;
    std::optional<jet::ColumnType> type_;
    std::vector<jet::Value> values_;  ///< ascending, without Null
    bool hasNull_ = false;
};

}  // namespace marrowkit::expression
