#pragma once

#include <optional>
#include <span>
#include <vector>

#include "platform/jet/engine/KeyBuilding.h"
#include "platform/jet/engine/Table.h"
#include "platform/jet/engine/TableLayout.h"
#include "platform/jet/format/RowCodec.h"

namespace marrowkit::jet {

/// The values of a row that is about to be written. Assigned values of the right type are referred to, not
/// copied, so they must outlive the draft's use. Columns that nobody set come from the stored row the draft
/// began with (an update), decoded when asked for, or are Null (a new row).
///
/// Kept by a table and used again for every row: nothing is allocated per row once it has warmed up.
class RowDraft {
public:
    /// A new row.
    void Begin(const TableLayout& layout);
    /// A change of a stored row. `row` must outlive the draft's use.
    void BeginOver(const TableLayout& layout, const RowView& row);

    /// Sets a column, converted to its type (3421). Null in a Boolean column is False; of a text there is
    /// what can be stored. A column set twice keeps the last value.
    void Set(std::size_t column, const Value& value);
    /// Sets a column to a value that nobody else keeps.
    void SetOwn(std::size_t column, Value value);
    /// Makes it unset again.
    void Unset(std::size_t column) { values_[column] = nullptr; }
    bool IsSet(std::size_t column) const { return values_[column] != nullptr; }
    const Value& operator[](std::size_t column);

    // Scratch of whoever writes the row, kept here to be used again.
    std::vector<RowKey> keys;           ///< per real index
    std::vector<StoredColumn> encoded;  ///< per definition column

private:
    const TableLayout* layout_ = nullptr;
    const RowView* row_ = nullptr;
    std::vector<const Value*> values_;
    std::vector<Value> own_;
};

}  // namespace marrowkit::jet
