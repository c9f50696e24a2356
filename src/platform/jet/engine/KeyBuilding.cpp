#include "platform/jet/engine/KeyBuilding.h"

#include <array>
#include <cstdio>

#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

RowKey KeyOfStoredRow(const TableLayout& layout, const IndexStorage& index, const RowView& row) {
    RowKey key;
    BuildKeyOfStoredRow(layout, index, row, key);
    return key;
}

void BuildKeyOfStoredRow(const TableLayout& layout, const IndexStorage& index, const RowView& row,
                         RowKey& key) {
    key.Clear();
    Value value;
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        const ColumnDefinition& column = *index.definitions[i];
        const bool ascending = index.order[i].ascending;
        if (index.buildable && !row.IsNull(column) &&
            AppendStoredKey(layout.Version(), column, ascending, row.Bytes(column), key.bytes)) {
            key.allNull = false;
            continue;
        }
        DecodeColumn(layout, row, index.columns[i], value);
        AppendToRowKey(layout.Version(), index, i, value, key);
    }
}

void RaiseUnknownSortOrder(const TableLayout& layout, const IndexStorage& index) {
    std::string column;
    std::array<char, 8> order{};
    for (const ColumnDefinition* definition : index.definitions) {
        if (CanBuildKey(*definition)) continue;
        column = definition->name;
        std::snprintf(order.data(), order.size(), "%04X", definition->sortOrder.lcid);
    }
    throw RuntimeError(static_cast<int>(JetError::NotSupported),
                       JetErrorText(JetError::NotSupported) + " (Table '" + layout.name +
                           "' has an index on column '" + column + "', whose sort order 0x" + order.data() +
                           " is not known; such an index can be read in its stored order only.)");
}

}  // namespace marrowkit::jet
