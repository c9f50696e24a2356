#include <algorithm>
#include <map>
#include <set>

#include "platform/jet/check/CheckCatalog.h"
#include "platform/jet/check/CheckIndex.h"
#include "platform/jet/check/CheckRows.h"
#include "platform/jet/format/Collation.h"

namespace marrowkit::jet::check {

namespace {

constexpr std::uint32_t kNotEnforced = 0x00000002;

/// One relationship as its rows in MSysRelationships tell it.
struct StoredRelationship {
    std::uint32_t flags = 0;
    std::int32_t columnCount = 0;
    std::set<std::int32_t> positions;
    std::string table;         ///< referenced
    std::string foreignTable;  ///< referencing
    std::vector<std::string> columns;
    std::vector<std::string> foreignColumns;
};

std::string Text(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text ? *text : std::string();
}

std::int32_t Number(const Value& value) {
    const auto* number = std::get_if<std::int32_t>(&value);
    return number ? *number : 0;
}

std::map<std::string, StoredRelationship> ReadRelationships(const CheckFile& file,
                                                            const CheckedTable& table) {
    std::map<std::string, StoredRelationship> all;
    ReadSystemTable(file, table,
                    {"szRelationship", "grbit", "ccolumn", "icolumn", "szObject", "szColumn",
                     "szReferencedObject", "szReferencedColumn"},
                    [&](RowId, const std::vector<Value>& values) {
                        StoredRelationship& one = all[Text(values[0])];
                        one.flags = static_cast<std::uint32_t>(Number(values[1]));
                        one.columnCount = Number(values[2]);
                        one.positions.insert(Number(values[3]));
                        one.foreignTable = Text(values[4]);
                        one.foreignColumns.push_back(Text(values[5]));
                        one.table = Text(values[6]);
                        one.columns.push_back(Text(values[7]));
                    });
    return all;
}

class RelationshipCheck {
public:
    RelationshipCheck(CheckContext& context, const CheckedCatalog& catalog)
        : context_(&context), catalog_(&catalog) {}

    void Run() {
        const JetVersion version = context_->file.Header().version;
        if (const CheckedTable* table = catalog_->FindTable(version, "MSysRelationships")) {
            const auto stored = ReadRelationships(context_->file, *table);
            CheckObjects(stored);
            for (const auto& [name, relationship] : stored) CheckStored(name, relationship);
        }
        for (const auto& table : catalog_->tables) {
            for (const LogicalIndex& index : table->definition.logicalIndexes) {
                if (index.kind == LogicalIndex::Kind::Relationship) CheckSide(*table, index);
            }
        }
    }

private:
    void Say(const std::string& table, const std::string& relationship, const std::string& what,
             Severity severity = Severity::Structure) {
        context_->report.Add(0, table, "relationship " + relationship + ": " + what, severity);
    }

    void CheckObjects(const std::map<std::string, StoredRelationship>& stored) {
        std::set<std::string> objects;
        for (const CatalogObject& object : catalog_->objects) {
            if (object.type != CatalogObject::Type::Relationship) continue;
            objects.insert(object.name);
            if (!stored.contains(object.name))
                Say({}, object.name, "the catalog lists it, nothing describes it");
        }
        for (const auto& entry : stored) {
            if (!objects.contains(entry.first)) Say({}, entry.first, "it is not in the catalog");
        }
    }

    static bool HasColumn(const CheckedTable& table, JetVersion version, const std::string& name);

    void CheckStored(const std::string& name, const StoredRelationship& relationship) {
        std::set<std::int32_t> expected;
        for (std::int32_t i = 0; i < std::min(relationship.columnCount, kMaxIndexColumns); ++i) {
            expected.insert(i);
        }
        if (relationship.positions != expected) Say({}, name, "its columns are not complete");
        if ((relationship.flags & kNotEnforced) != 0) return;
        const JetVersion version = context_->file.Header().version;
        const CheckedTable* foreign = catalog_->FindTable(version, relationship.foreignTable);
        const CheckedTable* primary = catalog_->FindTable(version, relationship.table);
        if (foreign == nullptr || primary == nullptr) {
            Say({}, name, "one of its tables does not exist");
            return;
        }
        for (const std::string& column : relationship.columns) {
            if (!HasColumn(*primary, version, column)) Say(primary->name, name, "no column " + column);
        }
        for (const std::string& column : relationship.foreignColumns) {
            if (!HasColumn(*foreign, version, column)) Say(foreign->name, name, "no column " + column);
        }
        const auto& indexes = foreign->definition.logicalIndexes;
        const bool hasIndex = std::any_of(indexes.begin(), indexes.end(), [&](const LogicalIndex& index) {
            return index.kind == LogicalIndex::Kind::Relationship &&
                   index.side == LogicalIndex::Side::Foreign && index.name == name;
        });
        if (!hasIndex) Say(foreign->name, name, "the referencing table has no index for it");
    }

    void CheckSide(const CheckedTable& table, const LogicalIndex& index) {
        const CheckedTable* other = catalog_->FindTable(index.partnerTable);
        if (other == nullptr) {
            Say(table.name, index.name, "its other table does not exist");
            return;
        }
        const auto& candidates = other->definition.logicalIndexes;
        const auto partner = std::find_if(candidates.begin(), candidates.end(), [&](const LogicalIndex& one) {
            return one.number == index.partnerNumber && one.kind == LogicalIndex::Kind::Relationship;
        });
        if (partner == candidates.end() || partner->partnerNumber != index.number ||
            partner->partnerTable != table.definition.page || partner->side == index.side) {
            Say(table.name, index.name, "the index in table " + other->name + " does not answer it");
            return;
        }
        if (partner->cascadeUpdates != index.cascadeUpdates ||
            partner->cascadeDeletes != index.cascadeDeletes) {
            Say(table.name, index.name, "the two sides cascade differently");
        }
        if (index.side == LogicalIndex::Side::Foreign) CheckRows(table, index, *other, *partner);
    }

    static const RealIndex* TreeOf(const CheckedTable& table, const LogicalIndex& index) {
        const bool usable =
            index.realIndex < table.indexIsSound.size() && table.indexIsSound[index.realIndex];
        return usable ? &table.definition.realIndexes[index.realIndex] : nullptr;
    }

    /// Whether equal values of the two sides have equal keys, in trees of the same directions.
    static bool ValuesCompare(const CheckedTable& foreign, const RealIndex& foreignTree,
                              const CheckedTable& primary, const RealIndex& primaryTree) {
        for (std::size_t i = 0; i < foreignTree.columns.size(); ++i) {
            const ColumnDefinition* left =
                foreign.definition.ColumnByNumber(foreignTree.columns[i].columnNumber);
            const ColumnDefinition* right =
                primary.definition.ColumnByNumber(primaryTree.columns[i].columnNumber);
            if (left->type != right->type || left->scale != right->scale) return false;
        }
        return true;
    }

    static bool SameDirections(const RealIndex& left, const RealIndex& right) {
        return std::ranges::equal(left.columns, right.columns, {}, &IndexColumn::ascending,
                                  &IndexColumn::ascending);
    }

    void SayRefersToNothing(const CheckedTable& foreign, const LogicalIndex& index,
                            const CheckedTable& primary, RowId row) {
        Say(foreign.name, index.name, RowText(row) + " refers to no row of table " + primary.name,
            Severity::Content);
    }

    void CheckRows(const CheckedTable& foreign, const LogicalIndex& index, const CheckedTable& primary,
                   const LogicalIndex& partner) {
        const RealIndex* foreignTree = TreeOf(foreign, index);
        const RealIndex* primaryTree = TreeOf(primary, partner);
        if (foreignTree == nullptr || primaryTree == nullptr) return;
        if (foreignTree->columns.size() != primaryTree->columns.size()) {
            Say(foreign.name, index.name, "its sides have different numbers of columns");
            return;
        }
        if (!primaryTree->IsUnique()) Say(primary.name, index.name, "the referenced index is not unique");
        if (!context_->report.Takes(Severity::Content)) return;
        if (!ValuesCompare(foreign, *foreignTree, primary, *primaryTree)) return;
        if (SameDirections(*foreignTree, *primaryTree)) {
            CompareTrees(foreign, index, *foreignTree, primary, *primaryTree);
        } else {
            LookUpRows(foreign, index, *foreignTree, primary, *primaryTree);
        }
    }

    /// Both trees are in the same order, so one walk along the two finds keys without a counterpart.
    void CompareTrees(const CheckedTable& foreign, const LogicalIndex& index, const RealIndex& foreignTree,
                      const CheckedTable& primary, const RealIndex& primaryTree) {
        LeafReader referencing(context_->file, foreignTree.rootPage);
        LeafReader referenced(context_->file, primaryTree.rootPage);
        bool hasReferenced = referenced.Next();
        while (referencing.Next()) {
            const IndexEntry entry = referencing.Entry();
            if (IsAllNullKey(entry.key, foreignTree)) continue;
            while (hasReferenced && std::ranges::lexicographical_compare(referenced.Entry().key, entry.key)) {
                hasReferenced = referenced.Next();
            }
            if (!hasReferenced || !std::ranges::equal(referenced.Entry().key, entry.key)) {
                SayRefersToNothing(foreign, index, primary, entry.row);
            }
        }
    }

    /// The trees run in different directions, so each referencing row is given the key that the referenced
    /// tree would hold for it. Of that tree's keys a hash each is kept: a collision hides a problem, it
    /// never makes one up.
    void LookUpRows(const CheckedTable& foreign, const LogicalIndex& index, const RealIndex& foreignTree,
                    const CheckedTable& primary, const RealIndex& primaryTree) {
        RealIndex wanted = foreignTree;
        wanted.flags = 0;
        for (std::size_t i = 0; i < wanted.columns.size(); ++i) {
            wanted.columns[i].ascending = primaryTree.columns[i].ascending;
        }
        KeyBuilder builder(context_->file, foreign.definition, wanted);
        if (!builder.CanBuild()) return;
        std::vector<std::uint64_t> keys;
        for (LeafReader referenced(context_->file, primaryTree.rootPage); referenced.Next();) {
            keys.push_back(HashBytes(referenced.Entry().key, 0));
        }
        std::ranges::sort(keys);
        RowWalk(context_->file, foreign.definition.page, foreign.ownedPages)
            .Run(
                [&](RowId row, ByteView bytes) {
                    const RowView view(context_->file.PageGeometry(), foreign.definition, bytes);
                    builder.Build(view);
                    if (builder.AllNull()) return;
                    if (!std::ranges::binary_search(keys, HashBytes(builder.Key(), 0))) {
                        SayRefersToNothing(foreign, index, primary, row);
                    }
                },
                // What cannot be read was reported when the table was verified.
                [](const Damage&) {});
    }

    CheckContext* context_;
    const CheckedCatalog* catalog_;
};

bool RelationshipCheck::HasColumn(const CheckedTable& table, JetVersion version, const std::string& name) {
    const auto& columns = table.definition.columns;
    return std::any_of(columns.begin(), columns.end(), [&](const ColumnDefinition& column) {
        return CompareText(version, column.name, name) == 0;
    });
}

}  // namespace

void CheckRelationships(CheckContext& context, const CheckedCatalog& catalog) {
    RelationshipCheck(context, catalog).Run();
}

}  // namespace marrowkit::jet::check
