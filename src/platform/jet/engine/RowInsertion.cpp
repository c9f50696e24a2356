#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/LocalTable.h"
#include "platform/jet/engine/RowReferences.h"
#include "platform/jet/engine/RowRules.h"
#include "platform/jet/engine/RowWriting.h"

namespace marrowkit::jet {

namespace {

void FillColumn(const TableLayout& layout, RowDraft& draft, std::size_t column) {
    const Column& design = layout.columns[column];
    if (design.autoNumber) {
        if (!draft.IsSet(column) || IsNull(draft[column])) {
            draft.SetOwn(column, NextAutoNumber(layout, column));
        }
    } else if (!draft.IsSet(column) && layout.storage[column].defaultValue) {
        draft.SetOwn(column, EvaluateDefault(layout, column));
    }
}

/// Everything that can refuse the row, in the order in which DAO reports it. Changes nothing.
void CheckNewRow(LocalTable& table, TableLayout& layout, RowDraft& draft) {
    for (std::size_t column = 0; column < layout.columns.size(); ++column) {
        FillColumn(layout, draft, column);
    }
    for (std::size_t column = 0; column < layout.columns.size(); ++column) {
        CheckColumnRules(layout, draft, column);
        if (!layout.storage[column].longValues) EncodeColumn(layout, draft, column);
    }
    CheckTableRule(layout, draft);
    for (std::size_t index = 0; index < layout.realIndexes.size(); ++index) BuildKey(layout, draft, index);
    for (RelationshipSide& side : layout.references) {
        CheckReference(table, layout, side, draft, std::nullopt);
    }
    for (std::size_t index = 0; index < layout.realIndexes.size(); ++index) {
        CheckKey(layout, draft, index, std::nullopt);
    }
}

}  // namespace

RowId LocalTable::InsertRow(ChangeScope& scope, std::span<const Assignment> values) {
    TableLayout& layout = Layout();
    RowDraft& draft = insertDraft_;
    draft.Begin(layout);
    for (const Assignment& assignment : values) draft.Set(assignment.column, assignment.value);
    CheckNewRow(*this, layout, draft);

    scope.MarkChanging();
    for (std::size_t column = 0; column < layout.columns.size(); ++column) {
        if (layout.storage[column].longValues) StoreLongValue(layout, draft, column);
        if (layout.columns[column].autoNumber) RaiseAutoNumberCounter(layout, column, draft[column]);
    }
    const RowId row = layout.rows.Append(EncodeRow(layout.PageGeometry(), layout.definition, draft.encoded));
    for (std::size_t index = 0; index < layout.realIndexes.size(); ++index) {
        AddIndexEntry(layout, draft.keys[index], index, row);
    }
    ++layout.definition.rowCount;
    SaveCounters(*layout.pager, layout.definition);
    return row;
}

}  // namespace marrowkit::jet
