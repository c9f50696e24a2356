#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/dao/sql/KeySorter.h"
#include "platform/dao/sql/Result.h"
#include "platform/dao/sql/RowStream.h"

namespace marrowkit::dao::sql {

/// The type that a computed column has in a result; Text where it depends on the values.
jet::ColumnType OutputType(const expression::Expression& expression);

/// Rows in the order and number that ORDER BY and TOP say.
class RowOrder {
public:
    /// The SELECT must outlive it.
    RowOrder(const Select& select, jet::JetVersion version) : select_(select), version_(version) {}

    /// The sort key of a row; `order` are the expressions of ORDER BY, bound to it.
    void MakeKey(const jet::Row& row, const std::vector<expression::Expression>& order,
                 std::string& key) const;
    /// TOP in rows: a percentage is rounded up.
    std::size_t TopCount(std::size_t rows) const;
    std::vector<std::size_t> Ordered(const KeySorter& sorter) const;

private:
    const Select& select_;
    jet::JetVersion version_;
};

/// What is computed of each row of a stream: the outputs, the sort key, and whether it counts at all.
class Projection {
public:
    Projection(const Select& select, jet::JetVersion version)
        : select_(select), version_(version), order_(select, version) {}

    void AddOutput(const std::string& name, expression::Expression value);
    void SetHaving(expression::Expression having) { having_ = std::move(having); }
    /// The tables that the outputs are of: their rows are given once each. `slots` has their rows' numbers.
    void SetDistinctRows(std::vector<std::size_t> slots) { rowSlots_ = std::move(slots); }
    SourceSet SourcesOfOutputs(const Scope& scope) const;
    /// In the order of the SELECT's ORDER BY. With DISTINCT, what is sorted by must be among the outputs:
    /// 3093 with `text` otherwise.
    void AddOrder(expression::Expression value, const std::string& text);

    /// Computes all rows. Once only.
    std::unique_ptr<Result> Run(RowStream& stream);

private:
    void LearnTypes(const jet::Row& values);
    void MakeDistinctKey(const jet::Row& values, std::string& key) const;
    bool IsRepeatedRow(const jet::Row& row, std::unordered_set<std::string>& seen) const;
    PackedRows Arrange(PackedRows rows, const KeySorter& sorter, bool sorted) const;

    const Select& select_;
    jet::JetVersion version_;
    RowOrder order_;
    std::vector<OutputColumn> columns_;
    std::vector<std::optional<jet::ColumnType>> learned_;
    std::vector<expression::Expression> values_;
    std::optional<expression::Expression> having_;
    std::vector<expression::Expression> orderValues_;
    std::vector<std::size_t> rowSlots_;
};

}  // namespace marrowkit::dao::sql
