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
    Value value;
    BuildRowKey(
        layout.Version(), index,
        [&](std::size_t column) -> const Value& {
            DecodeColumn(layout, row, column, value);
            return value;
        },
        key);
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
