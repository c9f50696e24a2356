#include "platform/jet/engine/IndexDesign.h"

#include <algorithm>

#include "platform/jet/engine/ColumnDesign.h"
#include "platform/jet/engine/KeyBuilding.h"
#include "platform/jet/engine/TableScans.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

const ColumnDefinition* FindColumnDefinition(JetVersion version, const TableDefinition& table,
                                             std::string_view name) {
    for (const ColumnDefinition& column : table.columns) {
        if (CompareText(version, column.name, name) == 0) return &column;
    }
    return nullptr;
}

bool CanBeIndexed(JetVersion version, const ColumnDefinition& column) {
    if (column.type == ColumnType::Memo) return version == JetVersion::Jet4;
    return column.type != ColumnType::Ole && column.type != ColumnType::FixedBlock;
}

std::uint8_t FlagsOf(JetVersion version, const Index& index) {
    unsigned flags = version == JetVersion::Jet4 ? RealIndex::kJet4Flag : 0U;
    if (index.unique || index.primaryKey) flags |= RealIndex::kUniqueFlag;
    if (index.required || index.primaryKey) flags |= RealIndex::kRequiredFlag;
    if (index.ignoreNulls) flags |= RealIndex::kIgnoreNullsFlag;
    return static_cast<std::uint8_t>(flags);
}

/// Entries of the rows that are there, sorted; refuses what the index would have refused.
std::vector<BTree::Entry> CollectEntries(const TableLayout& layout, const IndexStorage& index) {
    std::vector<BTree::Entry> entries;
    RowStore::Cursor cursor(layout.rows);
    while (cursor.Next()) {
        try {
            const StoredRow stored = cursor.Row();
            const RowView row(layout.PageGeometry(), layout.definition, stored.bytes);
            RowKey key = KeyOfStoredRow(layout, index, row);
            if (key.anyNull && index.refusesNulls) RaiseJet(JetError::NullInIndex);
            if (key.IsStored(index)) entries.push_back({std::move(key.bytes), cursor.Id()});
        } catch (const OutOfBounds&) {
            RaiseDamagedRow(layout, cursor.Id());
        }
    }
    std::ranges::sort(entries, [](const BTree::Entry& left, const BTree::Entry& right) {
        return std::tie(left.key, left.row) < std::tie(right.key, right.row);
    });
    return entries;
}

/// The key of a row that has nothing but Null in the index's columns; any number of those is allowed.
std::vector<std::uint8_t> AllNullKey(const IndexStorage& index, JetVersion version) {
    std::vector<std::uint8_t> key;
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        if (index.definitions[i]->type == ColumnType::Boolean) return {};
        AppendKeyColumn(version, *index.definitions[i], index.order[i].ascending, Null{}, key);
    }
    return key;
}

void RefuseDuplicates(const TableLayout& layout, const IndexStorage& index,
                      const std::vector<BTree::Entry>& entries) {
    const auto allNull = AllNullKey(index, layout.Version());
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (entries[i].key == entries[i - 1].key && entries[i].key != allNull) {
            RaiseJet(JetError::DuplicateKey);
        }
    }
}

}  // namespace

RealIndex DesignRealIndex(JetVersion version, const TableDefinition& table, const Index& index) {
    if (index.parts.empty() || index.parts.size() > static_cast<std::size_t>(kMaxIndexColumns)) {
        RaiseJet(JetError::InvalidIndex);
    }
    RealIndex real;
    real.flags = FlagsOf(version, index);
    for (const Index::Part& part : index.parts) {
        const ColumnDefinition* column = FindColumnDefinition(version, table, part.column);
        if (column == nullptr) RaiseJet(JetError::InvalidIndexField, {part.column});
        if (!CanBeIndexed(version, *column)) RaiseJet(JetError::InvalidIndex);
        if (!CanBuildKey(*column)) RaiseJet(JetError::NotSupported);
        const bool twice = std::ranges::any_of(
            real.columns, [&](const IndexColumn& other) { return other.columnNumber == column->number; });
        if (twice) RaiseJet(JetError::InvalidIndex);
        real.columns.push_back({column->number, part.ascending});
    }
    return real;
}

const LogicalIndex* FindLogicalIndex(JetVersion version, const TableDefinition& table,
                                     std::string_view name) {
    for (const LogicalIndex& index : table.logicalIndexes) {
        if (CompareText(version, index.name, name) == 0) return &index;
    }
    return nullptr;
}

std::string HiddenIndexName(std::uint32_t number) {
    return std::string(".r") + static_cast<char>('A' + number);
}

std::uint32_t NextIndexNumber(const TableDefinition& table) {
    constexpr std::uint32_t kLastLetter = 'Z' - 'A';
    std::uint32_t next = 0;
    for (const LogicalIndex& index : table.logicalIndexes) next = std::max(next, index.number + 1);
    if (next <= kLastLetter) return next;
    for (next = 0;; ++next) {
        const bool taken = std::ranges::any_of(table.logicalIndexes, [next](const LogicalIndex& index) {
            return index.number == next || index.name == HiddenIndexName(next);
        });
        if (!taken) return next;
    }
}

std::uint32_t AddLogicalIndex(JetVersion version, TableDefinition& table, std::string_view tableName,
                              LogicalIndex index) {
    if (FindLogicalIndex(version, table, index.name) != nullptr) {
        RaiseJet(JetError::IndexExistsOnTable, {std::string(tableName), index.name});
    }
    if (table.logicalIndexes.size() >= static_cast<std::size_t>(kMaxIndexes)) {
        throw RuntimeError(
            3626, "The operation failed. There are too many indexes on table '" + std::string(tableName) +
                      "'. Delete some of the indexes on the table and try the operation again.");
    }
    for (const LogicalIndex& other : table.logicalIndexes) {
        if (index.kind == LogicalIndex::Kind::PrimaryKey && other.kind == index.kind) {
            RaiseJet(JetError::PrimaryKeyExists);
        }
    }
    index.number = NextIndexNumber(table);
    const auto place = std::ranges::find_if(table.logicalIndexes, [&](const LogicalIndex& other) {
        return CompareText(version, other.name, index.name) > 0;
    });
    const std::uint32_t number = index.number;
    table.logicalIndexes.insert(place, std::move(index));
    return number;
}

void CreateIndexPages(Pager& pager, PageNumber table, RealIndex& index) {
    index.pageMap = UsageMap::CreateMaps(pager, 1).front();
    index.rootPage = BTree::CreateRoot(pager, table, index.pageMap);
}

void BuildFromRows(const TableLayout& layout, RealIndex& index) {
    IndexStorage storage = OpenRealIndex(layout, index);
    std::vector<BTree::Entry> entries = CollectEntries(layout, storage);
    if (storage.unique) RefuseDuplicates(layout, storage, entries);
    std::size_t next = 0;
    const BTree::BuildResult built = storage.tree.Build([&](BTree::Entry& entry) {
        if (next == entries.size()) return false;
        entry = std::move(entries[next++]);
        return true;
    });
    index.entriesStatistic = built.entries;
    index.distinctStatistic = built.distinct;
}

void RelaxRealIndex(TableDefinition& table, std::size_t realIndex, bool keepsUnique) {
    const bool onlyForeign = std::ranges::all_of(table.logicalIndexes, [&](const LogicalIndex& index) {
        return index.realIndex != realIndex ||
               (index.kind == LogicalIndex::Kind::Relationship && index.side == LogicalIndex::Side::Foreign);
    });
    if (!onlyForeign) return;
    unsigned rules = RealIndex::kRequiredFlag;
    if (!keepsUnique) rules |= RealIndex::kUniqueFlag;
    RealIndex& real = table.realIndexes[realIndex];
    real.flags = static_cast<std::uint8_t>(real.flags & ~rules);
}

void RemoveRealIndexIfUnused(Pager& pager, TableDefinition& table, std::size_t realIndex) {
    const bool used = std::ranges::any_of(
        table.logicalIndexes, [&](const LogicalIndex& index) { return index.realIndex == realIndex; });
    if (used) return;
    const RealIndex& real = table.realIndexes[realIndex];
    BTree::Destroy(pager, real.rootPage, real.pageMap);
    table.realIndexes.erase(table.realIndexes.begin() + static_cast<std::ptrdiff_t>(realIndex));
    for (LogicalIndex& index : table.logicalIndexes) {
        if (index.realIndex > realIndex) --index.realIndex;
    }
}

}  // namespace marrowkit::jet
