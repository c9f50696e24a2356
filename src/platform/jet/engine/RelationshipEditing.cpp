#include <algorithm>

#include "platform/jet/engine/CatalogEditing.h"
#include "platform/jet/engine/ColumnDesign.h"
#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/IndexDesign.h"
#include "platform/jet/engine/KeyBuilding.h"
#include "platform/jet/engine/LocalDatabase.h"
#include "platform/jet/engine/RelationshipRows.h"
#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/engine/TableScans.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// One table's columns of a relationship, as positions in its layout.
std::vector<std::size_t> ResolveColumns(const TableLayout& layout, const Relationship& relationship,
                                        bool primarySide) {
    std::vector<std::size_t> columns;
    for (const auto& [primary, foreign] : relationship.columns) {
        const std::string& name = primarySide ? primary : foreign;
        const auto column = layout.FindColumn(name);
        if (!column) RaiseJet(JetError::InvalidIndexField, {name});
        columns.push_back(*column);
    }
    return columns;
}

/// The unique index on exactly these columns, in whatever order. DAO's 3609 when there is none.
std::size_t FindPrimaryIndex(const TableLayout& layout, const std::vector<std::size_t>& columns) {
    for (std::size_t i = 0; i < layout.realIndexes.size(); ++i) {
        const IndexStorage& index = layout.realIndexes[i];
        if (index.unique && index.buildable && std::ranges::is_permutation(index.columns, columns)) return i;
    }
    throw RuntimeError(3609, "No unique index found for the referenced field of the primary table.");
}

/// Puts the pairs of columns into the order of the primary table's index.
void OrderLike(const TableLayout& layout, const IndexStorage& index, Relationship& relationship) {
    std::vector<std::pair<std::string, std::string>> ordered;
    for (const std::size_t column : index.columns) {
        const auto pair = std::ranges::find_if(relationship.columns, [&](const auto& candidate) {
            return layout.FindColumn(candidate.first) == column;
        });
        ordered.push_back(*pair);
    }
    relationship.columns = std::move(ordered);
}

void CheckTypes(const TableLayout& primary, const std::vector<std::size_t>& primaryColumns,
                const TableLayout& foreign, const std::vector<std::size_t>& foreignColumns) {
    for (std::size_t i = 0; i < primaryColumns.size(); ++i) {
        if (primary.columns[primaryColumns[i]].type != foreign.columns[foreignColumns[i]].type) {
            RaiseJet(JetError::RelationshipMismatch);
        }
    }
}

/// Every foreign row must have its primary one before the relationship can watch over them.
void CheckExistingRows(const TableLayout& primary, const IndexStorage& index, const TableLayout& foreign,
                       const std::vector<std::size_t>& foreignColumns) {
    RowStore::Cursor cursor(foreign.rows);
    const RowDecoder decoder(foreign, foreignColumns);
    std::vector<std::uint8_t> key;
    std::vector<std::uint8_t> lastFound;
    Row values;
    while (cursor.Next()) {
        try {
            decoder.Decode(cursor.Bytes(), values);
        } catch (const OutOfBounds&) {
            RaiseDamagedRow(foreign, cursor.Id());
        }
        if (std::ranges::all_of(values, IsNull)) continue;
        key.clear();
        for (std::size_t i = 0; i < values.size(); ++i) {
            AppendKeyColumn(primary.Version(), *index.definitions[i], index.order[i].ascending, values[i],
                            key);
        }
        if (key == lastFound) continue;
        if (!index.tree.ContainsKey(key)) {
            RaiseJet(JetError::RelationshipViolated, {foreign.name, primary.name});
        }
        lastFound = key;
    }
}

/// An index on exactly these columns in this order; a unique one where one to one is wanted.
std::optional<std::size_t> FindIndexOn(const TableLayout& layout, const std::vector<std::size_t>& columns,
                                       bool unique) {
    for (std::size_t i = 0; i < layout.realIndexes.size(); ++i) {
        const IndexStorage& index = layout.realIndexes[i];
        if (index.columns == columns && (index.unique || !unique)) return i;
    }
    return std::nullopt;
}

LogicalIndex SideOf(const Relationship& relationship, LogicalIndex::Side side) {
    LogicalIndex index;
    index.kind = LogicalIndex::Kind::Relationship;
    index.side = side;
    index.cascadeUpdates = relationship.cascadeUpdates ? 1 : 0;
    index.cascadeDeletes = relationship.cascadeDeletes ? 1 : 0;
    return index;
}

/// Finds, or makes and fills, the real index of the foreign side.
std::size_t ForeignRealIndex(Pager& pager, const TableLayout& layout, TableDefinition& definition,
                             const std::vector<std::size_t>& columns, bool unique) {
    if (const auto found = FindIndexOn(layout, columns, unique)) return *found;
    Index design;
    design.unique = unique;
    for (const std::size_t column : columns) design.parts.push_back({layout.columns[column].name, true});
    RealIndex real = DesignRealIndex(layout.Version(), definition, design);
    CreateIndexPages(pager, definition.page, real);
    BuildFromRows(layout, real);
    definition.realIndexes.push_back(std::move(real));
    return definition.realIndexes.size() - 1;
}

/// Adds both sides' logical indexes and saves both definitions (one, when a table refers to itself).
void LinkTables(Pager& pager, const Relationship& relationship, const TableLayout& primary,
                std::size_t primaryRealIndex, const TableLayout& foreign,
                const std::vector<std::size_t>& foreignColumns) {
    const JetVersion version = primary.Version();
    const bool isSelf = primary.definition.page == foreign.definition.page;
    TableDefinition foreignDefinition = foreign.definition;
    TableDefinition otherDefinition = primary.definition;
    TableDefinition& primaryDefinition = isSelf ? foreignDefinition : otherDefinition;

    const std::size_t foreignRealIndex =
        ForeignRealIndex(pager, foreign, foreignDefinition, foreignColumns, relationship.unique);
    LogicalIndex foreignSide = SideOf(relationship, LogicalIndex::Side::Foreign);
    foreignSide.name = relationship.name;
    foreignSide.realIndex = static_cast<std::uint32_t>(foreignRealIndex);
    foreignSide.partnerTable = primary.definition.page;
    const std::uint32_t foreignNumber =
        AddLogicalIndex(version, foreignDefinition, foreign.name, std::move(foreignSide));

    LogicalIndex primarySide = SideOf(relationship, LogicalIndex::Side::Primary);
    primarySide.name = HiddenIndexName(NextIndexNumber(primaryDefinition));
    primarySide.realIndex = static_cast<std::uint32_t>(primaryRealIndex);
    primarySide.partnerTable = foreign.definition.page;
    primarySide.partnerNumber = foreignNumber;
    const std::uint32_t primaryNumber =
        AddLogicalIndex(version, primaryDefinition, primary.name, std::move(primarySide));
    std::ranges::find(foreignDefinition.logicalIndexes, foreignNumber, &LogicalIndex::number)->partnerNumber =
        primaryNumber;

    SaveDefinition(pager, foreignDefinition);
    if (!isSelf) SaveDefinition(pager, primaryDefinition);
}

/// Takes a relationship's two logical indexes away, and the real one that was made for it.
void UnlinkTables(LocalDatabase& database, const Relationship& relationship) {
    Pager& pager = database.GetPager();
    const auto foreign = database.FindLocalTable(relationship.foreignTable);
    if (!foreign) return;
    TableDefinition definition = foreign->Layout().definition;
    const LogicalIndex* found = FindLogicalIndex(database.Version(), definition, relationship.name);
    if (found == nullptr || found->side != LogicalIndex::Side::Foreign) return;
    const LogicalIndex foreignSide = *found;
    definition.logicalIndexes.erase(definition.logicalIndexes.begin() +
                                    (found - definition.logicalIndexes.data()));
    const auto removePrimarySide = [&](TableDefinition& primary) {
        std::erase_if(primary.logicalIndexes, [&](const LogicalIndex& index) {
            return index.side == LogicalIndex::Side::Primary && index.number == foreignSide.partnerNumber;
        });
    };
    if (foreignSide.partnerTable == definition.page) {
        removePrimarySide(definition);
    } else {
        TableDefinition primary = database.TableAt(foreignSide.partnerTable).Layout().definition;
        removePrimarySide(primary);
        SaveDefinition(pager, primary);
    }
    RemoveRealIndexIfUnused(pager, definition, foreignSide.realIndex);
    SaveDefinition(pager, definition);
}

}  // namespace

void LocalDatabase::CreateRelationship(const Relationship& design) {
    ChangeScope scope(*pager_);
    Relationship relationship = design;
    CheckName(relationship.name);
    if (GetCatalog().Find(catalog::kRelationships, relationship.name) != nullptr) {
        RaiseJet(JetError::ObjectExists, {relationship.name});
    }
    const std::shared_ptr<TableLayout> primary = TableNamed(relationship.table).SharedLayout();
    const std::shared_ptr<TableLayout> foreign = TableNamed(relationship.foreignTable).SharedLayout();
    if (primary->isSystem || foreign->isSystem) RaiseJet(JetError::ReadOnly);
    relationship.table = primary->name;
    relationship.foreignTable = foreign->name;
    if (relationship.columns.empty() ||
        relationship.columns.size() > static_cast<std::size_t>(kMaxIndexColumns)) {
        RaiseJet(JetError::RelationshipMismatch);
    }
    CheckTypes(*primary, ResolveColumns(*primary, relationship, true), *foreign,
               ResolveColumns(*foreign, relationship, false));

    std::size_t primaryIndex = 0;
    if (relationship.enforced) {
        primaryIndex = FindPrimaryIndex(*primary, ResolveColumns(*primary, relationship, true));
        OrderLike(*primary, primary->realIndexes[primaryIndex], relationship);
        CheckExistingRows(*primary, primary->realIndexes[primaryIndex], *foreign,
                          ResolveColumns(*foreign, relationship, false));
    }
    scope.MarkChanging();
    if (relationship.enforced) {
        LinkTables(*pager_, relationship, *primary, primaryIndex, *foreign,
                   ResolveColumns(*foreign, relationship, false));
    }
    AddRelationshipRows(*this, scope, relationship);
    NewObject object;
    object.id = GetCatalog().NextObjectId();
    object.parentId = catalog::kRelationships;
    object.name = relationship.name;
    object.type = CatalogObject::Type::Relationship;
    AddCatalogObject(*this, scope, object);
    InvalidateDesign();
    scope.Commit();
}

void LocalDatabase::DropRelationship(std::string_view name) {
    ChangeScope scope(*pager_);
    const std::vector<Relationship> relationships = ReadRelationships(*this);
    const auto found = std::ranges::find_if(relationships, [&](const Relationship& relationship) {
        return CompareText(Version(), relationship.name, name) == 0;
    });
    if (found == relationships.end()) RaiseJet(JetError::NoSuchConstraint);
    scope.MarkChanging();
    UnlinkTables(*this, *found);
    RemoveRelationshipRows(*this, scope, found->name);
    if (const CatalogEntry* entry = GetCatalog().Find(catalog::kRelationships, found->name)) {
        RemoveCatalogObject(*this, scope, CatalogEntry(*entry));
    }
    InvalidateDesign();
    scope.Commit();
}

}  // namespace marrowkit::jet
