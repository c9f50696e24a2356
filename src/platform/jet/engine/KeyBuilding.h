#pragma once

#include <vector>

#include "platform/jet/engine/TableLayout.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/RowCodec.h"

namespace marrowkit::jet {

/// An index key, and what of it is Null.
struct RowKey {
    std::vector<std::uint8_t> bytes;
    bool allNull = true;
    bool anyNull = false;

    void Clear() {
        bytes.clear();
        allNull = true;
        anyNull = false;
    }
    /// Whether the index holds an entry for it.
    bool IsStored(const IndexStorage& index) const { return !(allNull && index.ignoresNulls); }
};

/// Adds a value of the index's `part`-th column (of the column's own type or Null) to a key. Of an index that
/// is not buildable only the Nulls are told, the bytes stay empty.
inline void AppendToRowKey(JetVersion version, const IndexStorage& index, std::size_t part,
                           const Value& value, RowKey& key) {
    if (IsNull(value)) {
        key.anyNull = true;
    } else {
        key.allNull = false;
    }
    if (!index.buildable) return;
    AppendKeyColumn(version, *index.definitions[part], index.order[part].ascending, value, key.bytes);
}

/// The key of a row whose values `valueOf(position in the layout)` gives as a `const Value&`.
template <typename ValueOf>
void BuildRowKey(JetVersion version, const IndexStorage& index, ValueOf&& valueOf, RowKey& key) {
    key.Clear();
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        AppendToRowKey(version, index, i, valueOf(index.columns[i]), key);
    }
}

/// The key of a row as it is stored.
RowKey KeyOfStoredRow(const TableLayout& layout, const IndexStorage& index, const RowView& row);
/// The same into a key that is used again and keeps its memory.
void BuildKeyOfStoredRow(const TableLayout& layout, const IndexStorage& index, const RowView& row,
                         RowKey& key);

/// 3251, saying which index has a sort order that keys cannot be built for.
[[noreturn]] void RaiseUnknownSortOrder(const TableLayout& layout, const IndexStorage& index);

}  // namespace marrowkit::jet
