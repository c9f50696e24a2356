#include <algorithm>
#include <deque>

#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/LocalTable.h"
#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/engine/RowReferences.h"
#include "platform/jet/engine/RowWriting.h"
#include "platform/jet/engine/TableScans.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// Rows that are still to be deleted, or to lose their reference, because a row they refer to went.
struct Work {
    LocalTable* table;
    RowId row;
    std::vector<std::size_t> columnsToClear;  ///< empty: delete the row
};

std::vector<Value> KeyValues(const TableLayout& layout, const IndexStorage& index, const RowView& row) {
    std::vector<Value> values(index.columns.size());
    for (std::size_t i = 0; i < values.size(); ++i) DecodeColumn(layout, row, index.columns[i], values[i]);
    return values;
}

/// Refuses when a row that nobody deletes along refers to this one, and lists the rows that go with it.
void CollectDependents(LocalTable& table, TableLayout& layout, const RowView& view, RowId row, bool cascaded,
                       std::deque<Work>& work) {
    for (RelationshipSide& side : layout.referencedBy) {
        const auto key = KeyValues(layout, layout.realIndexes[side.realIndex], view);
        const bool refuses = !side.cascadesDeletes && !side.setsNull;
        // The row itself may be among them; a second one is enough to refuse.
        const Dependents dependents =
            FindDependents(table, side, key, refuses ? 2 : static_cast<std::size_t>(-1));
        for (const RowId dependent : dependents.rows) {
            if (dependents.table == &table && dependent == row) continue;
            if (refuses) {
                RaiseJet(cascaded ? JetError::CascadeRelatedExists : JetError::RelatedRecordsExist,
                         {dependents.table->Name()});
            }
            work.push_back({dependents.table, dependent,
                            side.setsNull ? dependents.columns : std::vector<std::size_t>{}});
        }
    }
}

/// What goes with a row in the usual case, where nothing but an entry on each index's leaf and the row on its
/// page go. All pages are at hand and ready for the change, so once this is made nothing can fail any more.
struct PreparedErase {
    struct Entry {
        BTree* tree;
        BTree::Removal removal;
    };
    std::vector<Entry> entries;
    std::optional<RowStore::Removal> row;
    PageEdit definition;
};

bool HasValuesOutside(const TableLayout& layout, const RowView& row) {
    return std::ranges::any_of(layout.storage, [&](const ColumnStorage& storage) {
        return storage.longValues && !row.IsNull(*storage.definition) &&
               !LongValueStore::IsInline(row.Bytes(*storage.definition));
    });
}

/// nullopt for a row that takes more: a page that becomes empty, long values, a damaged index. Changes
/// nothing.
std::optional<PreparedErase> PrepareErase(TableLayout& layout, const RowView& view, RowId row) {
    if (HasValuesOutside(layout, view)) return std::nullopt;
    PreparedErase erase;
    erase.entries.reserve(layout.realIndexes.size());
    RowKey key;
    for (IndexStorage& index : layout.realIndexes) {
        BuildKeyOfStoredRow(layout, index, view, key);
        if (!key.IsStored(index)) continue;
        if (!index.buildable) return std::nullopt;
        auto removal = index.tree.PrepareErase(key.bytes, row);
        if (!removal) return std::nullopt;
        // Only damage gives two indexes the same page; a place found on it would not outlast the other's
        // change.
        const bool isShared = std::ranges::any_of(erase.entries, [&](const PreparedErase::Entry& other) {
            return other.removal.leaf.Number() == removal->leaf.Number();
        });
        if (isShared) return std::nullopt;
        erase.entries.push_back({&index.tree, std::move(*removal)});
    }
    erase.row = layout.rows.PrepareErase(row);
    if (!erase.row) return std::nullopt;
    erase.definition = layout.pager->Edit(layout.definition.page);
    return erase;
}

void Apply(const PreparedErase& erase, TableLayout& layout) noexcept {
    for (const auto& [tree, removal] : erase.entries) tree->Erase(removal);
    layout.rows.Erase(*erase.row);
    if (layout.definition.rowCount > 0) --layout.definition.rowCount;
    PutRowCount(layout.Version(), erase.definition, layout.definition.rowCount);
}

/// Erases a row in the usual case; false, and nothing changed, in all others.
bool EraseSafely(ChangeScope& scope, LocalTable& table, TableLayout& layout, const RowView& view, RowId row) {
    const auto erase = PrepareErase(layout, view, row);
    if (!erase) return false;
    scope.MarkChangingSafely();
    table.KeysVanished();
    Apply(*erase, layout);
    return true;
}

void EraseStoredRow(TableLayout& layout, std::span<const std::uint8_t> bytes, RowId row) {
    const RowView view(layout.PageGeometry(), layout.definition, ByteView(bytes));
    RowKey key;
    for (std::size_t i = 0; i < layout.realIndexes.size(); ++i) {
        BuildKeyOfStoredRow(layout, layout.realIndexes[i], view, key);
        RemoveIndexEntry(layout, key, i, row);
    }
    for (ColumnStorage& storage : layout.storage) {
        if (!storage.longValues || view.IsNull(*storage.definition)) continue;
        const ByteView value = view.Bytes(*storage.definition);
        if (!value.Empty()) storage.longValues->Free(value);
    }
    layout.rows.Erase(row);
    if (layout.definition.rowCount > 0) --layout.definition.rowCount;
    SaveCounters(*layout.pager, layout.definition);
}

void ClearReference(ChangeScope& scope, const Work& item) {
    std::vector<Assignment> nulls;
    for (const std::size_t column : item.columnsToClear) nulls.push_back({column, Null{}});
    item.table->UpdateRow(scope, item.row, nulls);
}

}  // namespace

void LocalTable::DeleteRow(ChangeScope& scope, RowId first) {
    std::deque<Work> work{{this, first, {}}};
    for (bool cascaded = false; !work.empty(); cascaded = true) {
        const Work item = std::move(work.front());
        work.pop_front();
        TableLayout& layout = item.table->Layout();
        const std::optional<StoredRow> stored = layout.rows.Read(item.row);
        if (!stored) {
            if (cascaded) continue;  // two ways led to it
            RaiseJet(JetError::RecordDeleted);
        }
        if (!item.columnsToClear.empty()) {
            ClearReference(scope, item);
            continue;
        }
        try {
            const RowView view(layout.PageGeometry(), layout.definition, stored->bytes);
            CollectDependents(*item.table, layout, view, item.row, cascaded, work);
            // With rows that follow this is not the only change.
            if (!cascaded && work.empty() && EraseSafely(scope, *item.table, layout, view, item.row)) return;
            scope.MarkChanging();
            item.table->KeysVanished();
            // A copy: the page changes while the row is taken out.
            const std::vector<std::uint8_t> bytes(stored->bytes.All().begin(), stored->bytes.All().end());
            EraseStoredRow(layout, bytes, item.row);
        } catch (const OutOfBounds&) {
            RaiseDamagedRow(layout, item.row);
        }
    }
}

}  // namespace marrowkit::jet
