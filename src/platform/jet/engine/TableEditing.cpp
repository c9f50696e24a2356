#include <algorithm>

#include "platform/jet/engine/CatalogEditing.h"
#include "platform/jet/engine/ColumnDesign.h"
#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/IndexDesign.h"
#include "platform/jet/engine/LocalDatabase.h"
#include "platform/jet/engine/RelationshipRows.h"
#include "platform/jet/engine/TableCreation.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet {

namespace {

bool SameName(const LocalDatabase& database, std::string_view left, std::string_view right) {
    return CompareText(database.Version(), left, right) == 0;
}

/// The table to change. Throws 3376; system tables are left alone (3027).
LocalTable& TableToChange(LocalDatabase& database, std::string_view name) {
    const auto table = database.FindLocalTable(name);
    if (!table) RaiseJet(JetError::TableDoesNotExist, {std::string(name)});
    if (table->Layout().isSystem) RaiseJet(JetError::ReadOnly);
    return *table;
}

const CatalogEntry& EntryOf(LocalDatabase& database, const LocalTable& table) {
    return *database.GetCatalog().FindTableByPage(table.DefinitionPage());
}

bool IsInRelationship(LocalDatabase& database, std::string_view table) {
    return std::ranges::any_of(database.Relationships(), [&](const Relationship& relationship) {
        return SameName(database, relationship.table, table) ||
               SameName(database, relationship.foreignTable, table);
    });
}

bool IsInRelationship(LocalDatabase& database, std::string_view table, std::string_view column) {
    return std::ranges::any_of(database.Relationships(), [&](const Relationship& relationship) {
        const bool primary = SameName(database, relationship.table, table);
        const bool foreign = SameName(database, relationship.foreignTable, table);
        return std::ranges::any_of(relationship.columns, [&](const auto& pair) {
            return (primary && SameName(database, pair.first, column)) ||
                   (foreign && SameName(database, pair.second, column));
        });
    });
}

/// Whether a relationship that uses the tree allows one foreign row for each primary one.
bool ServesOneToOne(LocalDatabase& database, const TableDefinition& table, std::size_t realIndex) {
    return std::ranges::any_of(database.Relationships(), [&](const Relationship& relationship) {
        const LogicalIndex* index = FindLogicalIndex(database.Version(), table, relationship.name);
        return relationship.unique && index != nullptr && index->realIndex == realIndex;
    });
}

void ReleaseMembers(Pager& pager, RowId map) {
    if (map.IsNull()) return;
    for (const PageNumber page : UsageMap(pager, map).Members()) pager.Release(page);
    UsageMap::Destroy(pager, map);
}

void ReleaseMaps(Pager& pager, RowId owned, RowId free) {
    ReleaseMembers(pager, owned);
    // The free-space map names pages of the owned one, which are gone.
    if (!free.IsNull()) UsageMap::Destroy(pager, free);
}

void StoreProperties(LocalDatabase& database, ChangeScope& scope, const CatalogEntry& entry,
                     const PropertyBlob& properties) {
    TouchCatalogObject(database, scope, entry,
                       {{"LvProp", SerializeProperties(database.Version(), properties)}});
}

/// A table without properties allows empty texts; one with them must say so of each column.
PropertyBlob PropertiesFor(JetVersion version, const std::vector<Column>& columns) {
    PropertyBlob properties;
    for (const Column& column : columns) SetColumnProperties(version, column, properties);
    return properties;
}

}  // namespace

void LocalDatabase::CreateTable(const TableDesign& design) {
    ChangeScope scope(*pager_);
    CheckName(design.name);
    if (GetCatalog().Find(catalog::kTables, design.name) != nullptr) {
        RaiseJet(JetError::TableExists, {design.name});
    }
    TableDefinition definition = DesignTable(pager_->Header(), design);
    scope.MarkChanging();
    AllocateTable(*pager_, definition);

    NewObject object;
    object.id = static_cast<std::int32_t>(definition.page);
    object.parentId = catalog::kTables;
    object.name = design.name;
    const bool hasRule = !design.validationRule.empty();
    if (hasRule || std::ranges::any_of(design.columns, NeedsProperties)) {
        PropertyBlob properties = PropertiesFor(Version(), design.columns);
        if (hasRule) {
            properties.SetText(Version(), "", "ValidationRule", design.validationRule);
            if (!design.validationText.empty()) {
                properties.SetText(Version(), "", "ValidationText", design.validationText);
            }
        }
        object.properties = SerializeProperties(Version(), properties);
    }
    AddCatalogObject(*this, scope, object);
    InvalidateDesign();
    scope.Commit();
}

void LocalDatabase::DropTable(std::string_view name) {
    ChangeScope scope(*pager_);
    LocalTable& table = TableToChange(*this, name);
    if (IsInRelationship(*this, name)) RaiseJet(JetError::UsedInRelationship);
    const TableDefinition definition = table.Layout().definition;
    const CatalogEntry entry = EntryOf(*this, table);

    scope.MarkChanging();
    RemoveCatalogObject(*this, scope, entry);
    for (const RealIndex& index : definition.realIndexes) {
        BTree::Destroy(*pager_, index.rootPage, index.pageMap);
    }
    for (const ColumnDefinition& column : definition.columns) {
        if (column.IsLongValue()) ReleaseMaps(*pager_, column.ownedMap, column.freeMap);
    }
    ReleaseMaps(*pager_, definition.ownedMap, definition.freeMap);
    ReleaseDefinition(*pager_, definition.page);
    InvalidateDesign();
    scope.Commit();
}

void LocalDatabase::RenameTable(std::string_view name, std::string_view newName) {
    ChangeScope scope(*pager_);
    LocalTable& table = TableToChange(*this, name);
    CheckName(newName);
    const CatalogEntry entry = EntryOf(*this, table);
    const CatalogEntry* other = GetCatalog().Find(catalog::kTables, newName);
    if (other != nullptr && other->row != entry.row) {
        RaiseJet(JetError::TableExists, {std::string(newName)});
    }
    scope.MarkChanging();
    TouchCatalogObject(*this, scope, entry, {{"Name", std::string(newName)}});
    RenameInRelationshipRows(*this, scope, entry.object.name, newName);
    InvalidateDesign();
    scope.Commit();
}

void LocalDatabase::AddColumn(std::string_view name, const Column& column) {
    ChangeScope scope(*pager_);
    LocalTable& table = TableToChange(*this, name);
    const TableLayout& layout = table.Layout();
    if (layout.FindColumn(column.name)) {
        RaiseJet(JetError::FieldExistsInTable, {column.name, layout.name});
    }
    TableDefinition definition = layout.definition;
    ColumnDefinition& added = jet::AppendColumn(pager_->Header(), definition, column);
    for (const ColumnDefinition& other : layout.definition.columns) {
        added.ordinal = std::max(added.ordinal, static_cast<std::uint16_t>(other.ordinal + 1));
    }
    const CatalogEntry entry = EntryOf(*this, table);
    std::optional<PropertyBlob> properties = ReadProperties(*this, entry);
    if (!properties && NeedsProperties(column)) properties = PropertiesFor(Version(), layout.columns);

    scope.MarkChanging();
    if (added.IsLongValue()) {
        const auto maps = UsageMap::CreateMaps(*pager_, 2);
        added.ownedMap = maps[0];
        added.freeMap = maps[1];
    }
    SaveDefinition(*pager_, definition);
    if (properties) {
        SetColumnProperties(Version(), column, *properties);
        StoreProperties(*this, scope, entry, *properties);
    } else {
        TouchCatalogObject(*this, scope, entry);
    }
    InvalidateDesign();
    if (column.autoNumber) table.NumberRows(scope, column.name);
    scope.Commit();
}

void LocalDatabase::DropColumn(std::string_view name, std::string_view columnName) {
    ChangeScope scope(*pager_);
    LocalTable& table = TableToChange(*this, name);
    const TableLayout& layout = table.Layout();
    const auto position = layout.FindColumn(columnName);
    if (!position) RaiseJet(JetError::NoSuchFieldInTable, {std::string(columnName), layout.name});
    if (IsInRelationship(*this, layout.name, columnName)) RaiseJet(JetError::FieldInRelationship);
    for (const IndexStorage& index : layout.realIndexes) {
        if (std::ranges::count(index.columns, *position) != 0) RaiseJet(JetError::UsedInRelationship);
    }
    if (layout.columns.size() == 1) RaiseJet(JetError::NoFieldDefined);

    TableDefinition definition = layout.definition;
    const std::size_t descriptor = layout.storage[*position].descriptor;
    const ColumnDefinition dropped = definition.columns[descriptor];
    definition.columns.erase(definition.columns.begin() + static_cast<std::ptrdiff_t>(descriptor));
    const CatalogEntry entry = EntryOf(*this, table);
    std::optional<PropertyBlob> properties = ReadProperties(*this, entry);

    scope.MarkChanging();
    if (dropped.IsLongValue()) ReleaseMaps(*pager_, dropped.ownedMap, dropped.freeMap);
    SaveDefinition(*pager_, definition);
    if (properties) {
        std::erase_if(properties->groups, [&](const PropertyGroup& group) {
            return !group.owner.empty() && SameName(*this, group.owner, columnName);
        });
        StoreProperties(*this, scope, entry, *properties);
    } else {
        TouchCatalogObject(*this, scope, entry);
    }
    InvalidateDesign();
    scope.Commit();
}

void LocalDatabase::CreateIndex(std::string_view name, const Index& index) {
    ChangeScope scope(*pager_);
    LocalTable& table = TableToChange(*this, name);
    const TableLayout& layout = table.Layout();
    CheckName(index.name);
    TableDefinition definition = layout.definition;
    LogicalIndex logical;
    logical.name = index.name;
    logical.realIndex = static_cast<std::uint32_t>(definition.realIndexes.size());
    logical.kind = index.primaryKey ? LogicalIndex::Kind::PrimaryKey : LogicalIndex::Kind::Ordinary;
    RealIndex real = DesignRealIndex(Version(), definition, index);
    AddLogicalIndex(Version(), definition, layout.name, std::move(logical));
    const CatalogEntry entry = EntryOf(*this, table);

    scope.MarkChanging();
    CreateIndexPages(*pager_, definition.page, real);
    BuildFromRows(layout, real);
    definition.realIndexes.push_back(std::move(real));
    SaveDefinition(*pager_, definition);
    TouchCatalogObject(*this, scope, entry);
    InvalidateDesign();
    scope.Commit();
}

void LocalDatabase::DropIndex(std::string_view name, std::string_view indexName) {
    ChangeScope scope(*pager_);
    LocalTable& table = TableToChange(*this, name);
    TableDefinition definition = table.Layout().definition;
    const LogicalIndex* found = FindLogicalIndex(Version(), definition, indexName);
    if (found == nullptr) {
        RaiseJet(JetError::NoSuchIndexOnTable, {std::string(indexName), std::string(name)});
    }
    const std::size_t realIndex = found->realIndex;
    const bool isRelationships = found->kind == LogicalIndex::Kind::Relationship;
    const bool carriesRelationship =
        std::ranges::any_of(definition.logicalIndexes, [&](const LogicalIndex& other) {
            return other.realIndex == realIndex && other.side == LogicalIndex::Side::Primary;
        });
    if (isRelationships || carriesRelationship) RaiseJet(JetError::UsedInRelationship);
    definition.logicalIndexes.erase(definition.logicalIndexes.begin() +
                                    (found - definition.logicalIndexes.data()));
    const CatalogEntry entry = EntryOf(*this, table);

    scope.MarkChanging();
    RelaxRealIndex(definition, realIndex, ServesOneToOne(*this, definition, realIndex));
    RemoveRealIndexIfUnused(*pager_, definition, realIndex);
    SaveDefinition(*pager_, definition);
    TouchCatalogObject(*this, scope, entry);
    InvalidateDesign();
    scope.Commit();
}

}  // namespace marrowkit::jet
