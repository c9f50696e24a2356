#include "platform/jet/engine/TableCreation.h"

#include <algorithm>

#include "platform/jet/engine/ColumnDesign.h"
#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/IndexDesign.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet {

TableDefinition DesignTable(const DatabaseHeader& header, const TableDesign& design) {
    if (design.columns.empty()) RaiseJet(JetError::NoFieldDefined);
    TableDefinition definition;
    for (const Column& column : design.columns) {
        const bool twice = std::ranges::any_of(definition.columns, [&](const ColumnDefinition& other) {
            return CompareText(header.version, other.name, column.name) == 0;
        });
        if (twice) RaiseJet(JetError::DuplicateField, {column.name});
        AppendColumn(header, definition, column);
    }
    for (const Index& index : design.indexes) {
        CheckName(index.name);
        LogicalIndex logical;
        logical.name = index.name;
        logical.realIndex = static_cast<std::uint32_t>(definition.realIndexes.size());
        logical.kind = index.primaryKey ? LogicalIndex::Kind::PrimaryKey : LogicalIndex::Kind::Ordinary;
        definition.realIndexes.push_back(DesignRealIndex(header.version, definition, index));
        AddLogicalIndex(header.version, definition, design.name, std::move(logical));
    }
    return definition;
}

void AllocateTable(Pager& pager, TableDefinition& definition) {
    if (definition.page == 0) definition.page = pager.Allocate().Number();
    const auto isLong = [](const ColumnDefinition& column) { return column.IsLongValue(); };
    const auto longColumns = static_cast<std::size_t>(std::ranges::count_if(definition.columns, isLong));
    const auto maps = UsageMap::CreateMaps(pager, 2 + 2 * longColumns + definition.realIndexes.size());
    auto next = maps.begin();
    definition.ownedMap = *next++;
    definition.freeMap = *next++;
    for (ColumnDefinition& column : definition.columns) {
        if (!column.IsLongValue()) continue;
        column.ownedMap = *next++;
        column.freeMap = *next++;
    }
    for (RealIndex& index : definition.realIndexes) {
        index.pageMap = *next++;
        index.rootPage = BTree::CreateRoot(pager, definition.page, index.pageMap);
    }
    SaveDefinition(pager, definition);
}

}  // namespace marrowkit::jet
