#pragma once

#include <limits>
#include <memory>
#include <unordered_set>
#include <vector>

#include "platform/dao/sql/Result.h"
#include "platform/dao/sql/RowStream.h"

namespace marrowkit::dao::sql {

/// One column of a TableResult: a column of the table as it is, or an expression over its columns.
struct TableOutput {
    OutputColumn column;
    /// Bound to the table's columns by TableResult::Reader.
    expression::Expression expression;
};

/// The columns that are read from a row of the table, in the order they were first asked for.
class RowReader {
public:
    explicit RowReader(std::shared_ptr<jet::Table> table);
    /// Where the value of a column stands in what Read gives.
    std::size_t Use(std::size_t column);
    /// nullopt when the row is gone.
    std::optional<jet::Row> Read(jet::RowId row) const { return table_->Read(row, columns_); }
    const std::shared_ptr<jet::Table>& ItsTable() const { return table_; }

private:
    std::shared_ptr<jet::Table> table_;
    std::vector<std::size_t> columns_;
    std::vector<std::size_t> places_;  ///< by column; kNowhere
};

/// Rows of one table, known by their RowIds. Values are read when they are asked for, so the result shows
/// what the table holds at that time, unless it was frozen. Rows are found lazily in storage or index order.
class TableResult : public Result {
public:
    struct Plan {
        std::shared_ptr<Scope> scope;  ///< of the one table; the conditions are bound to it
        AccessPath path;
        std::vector<Condition> conditions;
        std::vector<TableOutput> outputs;
        RowReader reader;
        std::size_t limit = std::numeric_limits<std::size_t>::max();
    };
    explicit TableResult(Plan plan);
    /// The same with its rows found already: sorted ones.
    TableResult(Plan plan, std::vector<jet::RowId> rows);

    bool Reach(std::size_t record) override;
    std::size_t CountAll() override;
    jet::Value Read(std::size_t record, std::size_t column) override;
    std::shared_ptr<jet::Table> ItsTable() const override { return plan_.reader.ItsTable(); }
    jet::RowId IdOf(std::size_t record) const override { return rows_.at(record); }
    std::size_t Append(jet::RowId row) override;
    void Suspend() override;
    void Freeze() override;
    void Forget() override { current_ = kNoRecord; }

private:
    static constexpr std::size_t kNoRecord = std::numeric_limits<std::size_t>::max();

    /// How far the walk through the table has come.
    enum class Walk { NotBegun, UnderWay, Suspended, Done };

    bool FindNext();
    void FindRest();
    jet::Value Compute(std::size_t column);
    void Load(std::size_t record);

    Plan plan_;
    Walk walk_ = Walk::NotBegun;
    std::unique_ptr<SourceStream> stream_;
    std::vector<jet::RowId> rows_;
    std::size_t appended_ = 0;  ///< rows at the end that Append added
    std::unique_ptr<PackedRows> frozen_;
    std::size_t current_ = kNoRecord;
    std::optional<jet::Row> values_;
};

/// All rows and columns of a table.
std::unique_ptr<Result> OpenTableResult(const std::shared_ptr<jet::Table>& table);

}  // namespace marrowkit::dao::sql
