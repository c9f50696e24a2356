#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dao/sql/PackedRows.h"
#include "platform/jet/engine/Table.h"

namespace marrowkit::dao::sql {

/// One column of a query's result.
struct OutputColumn {
    std::string name;
    jet::ColumnType type = jet::ColumnType::Text;
    /// Column of the result's table that it shows unchanged; nothing for computed ones.
    std::optional<std::size_t> tableColumn;
};

/// The records of a query or table, numbered from 0. Those that nobody has asked for yet may still be
/// unread.
class Result {
public:
    virtual ~Result() = default;

    const std::vector<OutputColumn>& Columns() const { return columns_; }

    /// Whether there is a record of this number; reads on as far as needed.
    virtual bool Reach(std::size_t record) = 0;
    /// Reads on to the end; the number of records.
    virtual std::size_t CountAll() = 0;
    /// One value of a record that Reach said yes to. Raises 3167 when its row was deleted.
    virtual jet::Value Read(std::size_t record, std::size_t column) = 0;

    /// The table whose rows these are, one by one; null when they are computed, joined or summed up.
    virtual std::shared_ptr<jet::Table> ItsTable() const { return nullptr; }
    /// The row behind a record. REQUIRES: ItsTable().
    virtual jet::RowId IdOf(std::size_t record) const;
    /// Adds a row that was inserted through it as the last record; its number. REQUIRES: ItsTable().
    virtual std::size_t Append(jet::RowId row);

    /// The table is about to change: stops a walk through it that is under way. What was not read yet will be
    /// read later, as it is then.
    virtual void Suspend() {}
    /// The same for what must not change any more: reads all records with all their values.
    virtual void Freeze() {}
    /// Values cached of the current record are read anew.
    virtual void Forget() {}

protected:
    std::vector<OutputColumn> columns_;
};

/// Computed records, complete from the start.
class PackedResult : public Result {
public:
    PackedResult(std::vector<OutputColumn> columns, PackedRows rows) : rows_(std::move(rows)) {
        columns_ = std::move(columns);
    }
    bool Reach(std::size_t record) override { return record < rows_.Size(); }
    std::size_t CountAll() override { return rows_.Size(); }
    jet::Value Read(std::size_t record, std::size_t column) override { return rows_.Read(record, column); }

private:
    PackedRows rows_;
};

}  // namespace marrowkit::dao::sql
