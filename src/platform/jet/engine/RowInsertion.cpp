#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/LocalTable.h"
#include "platform/jet/engine/RandomNumbers.h"
#include "platform/jet/engine/RowReferences.h"
#include "platform/jet/engine/RowRules.h"
#include "platform/jet/engine/RowWriting.h"

namespace marrowkit::jet {

namespace {

Value NextAutoNumber(const TableLayout& layout, const Column& column) {
    if (column.type == ColumnType::Guid) return RandomGuid();
    if (column.randomAutoNumber) return RandomAutoNumber();
    return static_cast<std::int32_t>(layout.definition.lastAutoNumber + 1);
}

void FillColumn(const TableLayout& layout, RowDraft& draft, std::size_t column) {
    const Column& design = layout.columns[column];
    if (design.autoNumber) {
        if (!draft.IsSet(column) || IsNull(draft[column])) {
            draft.SetOwn(column, NextAutoNumber(layout, design));
        }
    } else if (!draft.IsSet(column) && layout.storage[column].defaultValue) {
        draft.SetOwn(column, EvaluateDefault(layout, column));
    }
}

/// The counter follows every AutoNumber that is greater, handed out or given.
void RaiseCounter(TableLayout& layout, RowDraft& draft, std::size_t column) {
    const Column& design = layout.columns[column];
    if (!design.autoNumber || design.randomAutoNumber) return;
    const auto* number = std::get_if<std::int32_t>(&draft[column]);
    if (number != nullptr && *number > static_cast<std::int32_t>(layout.definition.lastAutoNumber)) {
        layout.definition.lastAutoNumber = static_cast<std::uint32_t>(*number);
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
    for (RelationshipSide& side : layout.references) {
        CheckReference(table, layout, side, draft, std::nullopt);
    }
    for (std::size_t index = 0; index < layout.realIndexes.size(); ++index) {
        PrepareKey(layout, draft, index, std::nullopt);
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
        RaiseCounter(layout, draft, column);
    }
    const RowId row =
        layout.rows.Append(EncodeRow(layout.PageGeometry(), layout.definition, draft.encoded));
    for (std::size_t index = 0; index < layout.realIndexes.size(); ++index) {
        AddIndexEntry(layout, draft.keys[index], index, row);
    }
    ++layout.definition.rowCount;
    SaveCounters(*layout.pager, layout.definition);
    return row;
}

}  // namespace marrowkit::jet
