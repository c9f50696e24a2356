#include "platform/jet/engine/LocalTable.h"

#include <array>

#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/engine/LocalDatabase.h"
#include "platform/jet/engine/RandomNumbers.h"
#include "platform/jet/engine/RowDecoding.h"
#include "platform/jet/engine/RowRules.h"
#include "platform/jet/engine/TableScans.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

LocalTable::LocalTable(LocalDatabase& database, const CatalogEntry& entry)
    : database_(&database), page_(entry.DefinitionPage()), entry_(entry) {}

LocalTable::LocalTable(LocalDatabase& database, const CatalogEntry& entry,
                       std::shared_ptr<TableLayout> layout)
    : LocalTable(database, entry) {
    layout_ = std::move(layout);
    layoutStamp_ = database.DesignStamp();
}

namespace {

std::vector<std::uint8_t> ReadPropertyBlob(LocalTable& objects, RowId row) {
    const auto column = objects.FindColumn("LvProp");
    if (!column) return {};
    const std::array<std::size_t, 1> columns{*column};
    auto values = objects.Read(row, columns);
    if (!values) return {};
    auto* blob = std::get_if<Binary>(&values->front());
    return blob == nullptr ? Binary{} : std::move(*blob);
}

}  // namespace

std::shared_ptr<TableLayout> LocalTable::SharedLayout() const {
    Layout();
    return layout_;
}

TableLayout& LocalTable::Layout() const {
    const std::uint64_t stamp = database_->DesignStamp();
    if (layout_ && layoutStamp_ == stamp) return *layout_;
    const CatalogEntry* entry = database_->GetCatalog().FindTableByPage(page_);
    if (entry == nullptr || entry->created != entry_.created) {
        RaiseJet(JetError::ObjectNotFound, {entry_.object.name});
    }
    LayoutSource source{page_, entry->object.name, entry->object.IsSystem(), {}};
    if (page_ != kCatalogPage) source.properties = ReadPropertyBlob(database_->ObjectsTable(), entry->row);
    layout_ = LoadLayout(database_->GetPager(), source);
    layoutStamp_ = stamp;
    return *layout_;
}

std::int64_t LocalTable::RowCount() const {
    database_->GetPager().Refresh();
    const TableLayout& layout = Layout();
    if (!layout.isSystem) return layout.definition.rowCount;
    std::int64_t count = 0;
    for (RowStore::Cursor cursor(layout.rows); cursor.Next();) ++count;
    return count;
}

std::optional<Row> LocalTable::Read(RowId row, std::span<const std::size_t> columns) const {
    database_->GetPager().Refresh();
    const TableLayout& layout = Layout();
    const std::optional<StoredRow> stored = layout.rows.Read(row);
    if (!stored) return std::nullopt;
    try {
        return DecodeColumns(layout, stored->bytes, columns);
    } catch (const OutOfBounds&) {
        RaiseDamagedRow(layout, row);
    }
}

std::unique_ptr<Table::Scan> LocalTable::OpenScan(const std::vector<std::size_t>& columns) const {
    database_->GetPager().Refresh();
    return OpenTableScan(SharedLayout(), columns);
}

std::unique_ptr<Table::Scan> LocalTable::OpenIndexScan(std::size_t index, const IndexRange& range,
                                                       const std::vector<std::size_t>& columns,
                                                       bool backwards) const {
    database_->GetPager().Refresh();
    auto layout = SharedLayout();
    const std::size_t realIndex = layout->indexes.at(index).realIndex;
    return OpenRangeScan(std::move(layout), realIndex, range, columns, backwards);
}

void LocalTable::RefuseSystemTable() const {
    // Rows of the catalog are the business of the design's changes alone.
    if (Layout().definition.tableType == TableDefinition::kSystemTable) RaiseJet(JetError::ReadOnly);
}

RowId LocalTable::Insert(std::span<const Assignment> values) {
    ChangeScope scope(database_->GetPager());
    RefuseSystemTable();
    const RowId row = InsertRow(scope, values);
    scope.Commit();
    return row;
}

void LocalTable::Update(RowId row, std::span<const Assignment> values) {
    ChangeScope scope(database_->GetPager());
    RefuseSystemTable();
    UpdateRow(scope, row, values);
    scope.Commit();
}

void LocalTable::Delete(RowId row) {
    ChangeScope scope(database_->GetPager());
    RefuseSystemTable();
    DeleteRow(scope, row);
    scope.Commit();
}

std::optional<std::int32_t> LocalTable::TakeAutoNumber() {
    ChangeScope scope(database_->GetPager());
    TableLayout& layout = Layout();
    for (const Column& column : layout.columns) {
        if (column.type != ColumnType::Long || !column.autoNumber) continue;
        if (column.randomAutoNumber) return RandomAutoNumber();
        scope.MarkChanging();
        const std::uint32_t taken = ++layout.definition.lastAutoNumber;
        SaveCounters(database_->GetPager(), layout.definition);
        scope.Commit();
        return static_cast<std::int32_t>(taken);
    }
    return std::nullopt;
}

Value LocalTable::DefaultOf(std::size_t column) const {
    return EvaluateDefault(Layout(), column);
}

}  // namespace marrowkit::jet
