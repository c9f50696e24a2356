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
        // A copy: the page changes while the row is taken out.
        const std::vector<std::uint8_t> bytes(stored->bytes.All().begin(), stored->bytes.All().end());
        try {
            const RowView view(layout.PageGeometry(), layout.definition, ByteView(bytes));
            CollectDependents(*item.table, layout, view, item.row, cascaded, work);
            scope.MarkChanging();
            item.table->KeysVanished();
            EraseStoredRow(layout, bytes, item.row);
        } catch (const OutOfBounds&) {
            RaiseDamagedRow(layout, item.row);
        }
    }
}

}  // namespace marrowkit::jet
