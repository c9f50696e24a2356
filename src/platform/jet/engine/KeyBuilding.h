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

    /// Whether the index holds an entry for it.
    bool IsStored(const IndexStorage& index) const { return !(allNull && index.ignoresNulls); }
};

/// The key of a row whose values `valueOf(position in the layout)` gives (a `const Value&`, of the column's
/// own type or Null). Of an index that is not buildable only the Nulls are told, the bytes stay empty.
template <typename ValueOf>
void BuildRowKey(JetVersion version, const IndexStorage& index, ValueOf&& valueOf, RowKey& key) {
    key.bytes.clear();
    key.allNull = true;
    key.anyNull = false;
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        const Value& value = valueOf(index.columns[i]);
        if (IsNull(value)) {
            key.anyNull = true;
        } else {
            key.allNull = false;
        }
        if (!index.buildable) continue;
        AppendKeyColumn(version, *index.definitions[i], index.order[i].ascending, value, key.bytes);
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
