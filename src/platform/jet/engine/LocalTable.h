#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/jet/engine/Catalog.h"
#include "platform/jet/engine/ChangeScope.h"
#include "platform/jet/engine/RowDraft.h"
#include "platform/jet/engine/Table.h"
#include "platform/jet/engine/TableLayout.h"

namespace marrowkit::jet {

class LocalDatabase;

/// The one implementation of Table. Its layout is loaded when it is needed and again when the design changed.
class LocalTable final : public Table {
public:
    LocalTable(LocalDatabase& database, const CatalogEntry& entry);
    /// A table that the catalog does not list yet: MSysObjects of a database that is being created.
    LocalTable(LocalDatabase& database, const CatalogEntry& entry, std::shared_ptr<TableLayout> layout);

    const std::string& Name() const override { return Layout().name; }
    const std::vector<Column>& Columns() const override { return Layout().columns; }
    const std::vector<Index>& Indexes() const override { return Layout().indexes; }
    std::optional<std::size_t> FindColumn(std::string_view name) const override {
        return Layout().FindColumn(name);
    }
    const TableDefinition& Definition() const override { return Layout().definition; }
    std::int64_t RowCount() const override;

    std::optional<Row> Read(RowId row, std::span<const std::size_t> columns) const override;
    std::unique_ptr<Scan> OpenScan(const std::vector<std::size_t>& columns) const override;
    std::unique_ptr<Scan> OpenIndexScan(std::size_t index, const IndexRange& range,
                                        const std::vector<std::size_t>& columns,
                                        bool backwards) const override;

    RowId Insert(std::span<const Assignment> values) override;
    void Update(RowId row, std::span<const Assignment> values) override;
    void Delete(RowId row) override;
    std::optional<std::int32_t> TakeAutoNumber() override;
    Value DefaultOf(std::size_t column) const override;

    // For the parts of the engine.

    PageNumber DefinitionPage() const { return page_; }
    const CatalogEntry& Entry() const { return entry_; }
    /// Throws 3011 when the table was dropped.
    TableLayout& Layout() const;
    std::shared_ptr<TableLayout> SharedLayout() const;
    LocalDatabase& GetDatabase() const { return *database_; }

    /// Adds a row inside the caller's unit, system tables included.
    RowId InsertRow(ChangeScope& scope, std::span<const Assignment> values);
    void UpdateRow(ChangeScope& scope, RowId row, std::span<const Assignment> values);
    void DeleteRow(ChangeScope& scope, RowId row);
    /// Gives every row a value in an AutoNumber column that was added to the table, in storage order.
    void NumberRows(ChangeScope& scope, std::string_view column);

    /// Scratch of the outermost update.
    RowDraft& UpdateDraft() { return updateDraft_; }

    /// Grows whenever keys may have vanished from the table's indexes.
    std::uint64_t VanishedKeysStamp() const { return vanishedKeys_; }
    void KeysVanished() { ++vanishedKeys_; }

private:
    void RefuseSystemTable() const;

    LocalDatabase* database_;
    PageNumber page_;
    CatalogEntry entry_;
    mutable std::shared_ptr<TableLayout> layout_;
    mutable std::uint64_t layoutStamp_ = 0;
    std::uint64_t vanishedKeys_ = 1;
    RowDraft insertDraft_;
    RowDraft updateDraft_;
};

}  // namespace marrowkit::jet
