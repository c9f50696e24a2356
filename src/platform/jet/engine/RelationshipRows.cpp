#include "platform/jet/engine/RelationshipRows.h"

#include <algorithm>
#include <array>

#include "platform/jet/engine/CatalogEditing.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

// Bits of the column grbit.
constexpr std::int32_t kOneToOne = 0x00000001;
constexpr std::int32_t kNotEnforced = 0x00000002;
constexpr std::int32_t kCascadeUpdates = 0x00000100;
constexpr std::int32_t kCascadeDeletes = 0x00001000;

struct RelationshipRow {
    RowId id;
    std::string name;
    std::int32_t bits = 0;
    std::int32_t position = 0;
    std::string foreignTable;
    std::string foreignColumn;
    std::string table;
    std::string column;
};

std::vector<RelationshipRow> ReadRows(LocalDatabase& database) {
    std::vector<RelationshipRow> rows;
    const auto table = database.FindLocalTable("MSysRelationships");
    if (!table) return rows;
    constexpr std::array<std::string_view, 7> kColumns{"szRelationship",    "grbit",    "icolumn",
                                                       "szObject",          "szColumn", "szReferencedObject",
                                                       "szReferencedColumn"};
    std::vector<std::size_t> columns;
    for (const std::string_view name : kColumns) {
        const auto column = table->FindColumn(name);
        if (!column) {
            RaiseCorrupt(database.GetPager().Path(), "MSysRelationships has no column " + std::string(name));
        }
        columns.push_back(*column);
    }
    const auto text = [](const Value& value) {
        const auto* held = std::get_if<std::string>(&value);
        return held == nullptr ? std::string() : *held;
    };
    const auto number = [](const Value& value) {
        const auto* held = std::get_if<std::int32_t>(&value);
        return held == nullptr ? 0 : *held;
    };
    const auto scan = table->OpenScan(columns);
    while (scan->Next()) {
        const Row& row = scan->Values();
        rows.push_back({scan->Id(), text(row[0]), number(row[1]), number(row[2]), text(row[3]), text(row[4]),
                        text(row[5]), text(row[6])});
    }
    return rows;
}

}  // namespace

std::vector<Relationship> ReadRelationships(LocalDatabase& database) {
    std::vector<RelationshipRow> rows = ReadRows(database);
    std::vector<Relationship> relationships;
    std::vector<std::string> keys;
    // Within one relationship the pairs stand in the order of their positions.
    std::ranges::stable_sort(rows, {}, &RelationshipRow::position);
    std::unordered_map<std::string, std::size_t> byName;
    for (const RelationshipRow& row : rows) {
        const auto [found, isNew] =
            byName.emplace(NameKey(database.Version(), row.name), relationships.size());
        if (isNew) {
            Relationship relationship;
            relationship.name = row.name;
            relationship.table = row.table;
            relationship.foreignTable = row.foreignTable;
            relationship.enforced = (row.bits & kNotEnforced) == 0;
            relationship.unique = (row.bits & kOneToOne) != 0;
            relationship.cascadeUpdates = (row.bits & kCascadeUpdates) != 0;
            relationship.cascadeDeletes = (row.bits & kCascadeDeletes) != 0;
            relationships.push_back(std::move(relationship));
        }
        relationships[found->second].columns.emplace_back(row.column, row.foreignColumn);
    }
    return relationships;
}

void AddRelationshipRows(LocalDatabase& database, ChangeScope& scope, const Relationship& relationship) {
    LocalTable& table = database.TableNamed("MSysRelationships");
    const std::int32_t bits = (relationship.unique ? kOneToOne : 0) |
                              (relationship.enforced ? 0 : kNotEnforced) |
                              (relationship.cascadeUpdates ? kCascadeUpdates : 0) |
                              (relationship.cascadeDeletes ? kCascadeDeletes : 0);
    for (std::size_t i = 0; i < relationship.columns.size(); ++i) {
        NamedValues row(table);
        row.Add("szRelationship", relationship.name)
            .Add("grbit", bits)
            .Add("ccolumn", static_cast<std::int32_t>(relationship.columns.size()))
            .Add("icolumn", static_cast<std::int32_t>(i))
            .Add("szObject", relationship.foreignTable)
            .Add("szColumn", relationship.columns[i].second)
            .Add("szReferencedObject", relationship.table)
            .Add("szReferencedColumn", relationship.columns[i].first);
        table.InsertRow(scope, row.Assignments());
    }
}

void RemoveRelationshipRows(LocalDatabase& database, ChangeScope& scope, std::string_view name) {
    LocalTable& table = database.TableNamed("MSysRelationships");
    for (const RelationshipRow& row : ReadRows(database)) {
        if (CompareText(database.Version(), row.name, name) == 0) table.DeleteRow(scope, row.id);
    }
}

void RenameInRelationshipRows(LocalDatabase& database, ChangeScope& scope, std::string_view table,
                              std::string_view newName) {
    const auto rows = ReadRows(database);
    if (rows.empty()) return;
    LocalTable& relationships = database.TableNamed("MSysRelationships");
    for (const RelationshipRow& row : rows) {
        NamedValues values(relationships);
        if (CompareText(database.Version(), row.foreignTable, table) == 0) {
            values.Add("szObject", std::string(newName));
        }
        if (CompareText(database.Version(), row.table, table) == 0) {
            values.Add("szReferencedObject", std::string(newName));
        }
        if (!values.Assignments().empty()) relationships.UpdateRow(scope, row.id, values.Assignments());
    }
}

}  // namespace marrowkit::jet
