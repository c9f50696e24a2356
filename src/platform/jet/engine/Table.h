#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

class Database;

/// A column (by its position in Table::Columns()) and the value to put there.
struct Assignment {
    std::size_t column;
    Value value;
};

/// Bounds of an index walk: values for the first columns of the index, in its order. An empty bound is open.
/// `low` is the smaller value even where the index column is descending (and its row comes last).
struct IndexRange {
    std::vector<Value> low;
    std::vector<Value> high;
    bool lowInclusive = true;
    bool highInclusive = true;
    static IndexRange All() { return {}; }
    static IndexRange Equal(const std::vector<Value>& key) { return {key, key, true, true}; }
};

/// One table of an open database: rows in and out, with every rule of the table kept: AutoNumbers, defaults,
/// required and zero-length rules, validation rules, field sizes, unique indexes, relationships with their
/// cascades.
///
/// Every change is a unit of its own, or part of the unit that is open on the pager. A change that breaks a
/// rule throws (3022, 3058, 3163, 3200, 3201, 3314, 3315, 3316, 3317 ...) and leaves nothing changed.
class Table {
public:
    virtual ~Table() = default;

    virtual const std::string& Name() const = 0;
    virtual const std::vector<Column>& Columns() const = 0;
    virtual const std::vector<Index>& Indexes() const = 0;
    /// Position of a column by its name, ignoring case.
    virtual std::optional<std::size_t> FindColumn(std::string_view name) const = 0;
    virtual const TableDefinition& Definition() const = 0;

    /// Counts by walking when the stored count may be wrong (system tables); else the stored count.
    virtual std::int64_t RowCount() const = 0;

    /// The values of the given columns. nullopt when the row is gone.
    virtual std::optional<Row> Read(RowId row, std::span<const std::size_t> columns) const = 0;

    /// Walks rows in storage order, decoding only the columns asked for.
    class Scan {
    public:
        virtual ~Scan() = default;
        virtual bool Next() = 0;
        virtual RowId Id() const = 0;
        /// Values of the current row, one per column asked for; overwritten by Next.
        virtual const Row& Values() const = 0;
    };
    virtual std::unique_ptr<Scan> OpenScan(const std::vector<std::size_t>& columns) const = 0;

    /// Walks the rows of an index within bounds, in the index's order or against it. Text bounds are compared
    /// as keys, so a hit may differ in case, and texts beyond 255 characters may differ behind them: test
    /// again what must be exact. Rows whose bound column is Null are met only when a bound says Null or there
    /// is no bound.
    virtual std::unique_ptr<Scan> OpenIndexScan(std::size_t index, const IndexRange& range,
                                                const std::vector<std::size_t>& columns,
                                                bool backwards = false) const = 0;

    /// Adds a row. Columns without an assignment get their default. A given AutoNumber raises the counter.
    virtual RowId Insert(std::span<const Assignment> values) = 0;
    virtual void Update(RowId row, std::span<const Assignment> values) = 0;
    virtual void Delete(RowId row) = 0;

    /// Hands out the next AutoNumber now; a row added later assigns it. It is used up even if none is.
    virtual std::optional<std::int32_t> TakeAutoNumber() = 0;
    /// The value a new row would have in this column without an assignment (defaults evaluated; Null for
    /// AutoNumbers).
    virtual Value DefaultOf(std::size_t column) const = 0;
};

/// Converts a value to what the column holds, as DAO does on assignment: numbers among each other, texts to
/// numbers and dates and back, anything to Boolean. Null stays Null. Throws 3421 for what has no conversion
/// or does not fit, 3349 for a Numeric with too many digits.
Value ConvertFor(const Column& column, const Value& value);

/// False when ConvertFor would only copy the value.
bool NeedsConversion(const Column& column, const Value& value);

}  // namespace marrowkit::jet
