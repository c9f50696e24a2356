#include "platform/jet/compact/CompactTable.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/jet/check/CheckIndex.h"
#include "platform/jet/check/CheckTable.h"
#include "platform/jet/compact/CompactIndex.h"
#include "platform/jet/compact/CompactRows.h"
#include "platform/jet/compact/CompactSorter.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet::compact {

using check::Damage;
using check::KeyBuilder;
using check::LongValueHeader;

namespace {

/// Shared by the sorters of one table; what is beyond goes to temporary files.
constexpr std::size_t kSortBytes = std::size_t{256} << 20;

[[noreturn]] void Rethrow(const Damage& damage) {
    throw Damage(damage.page, damage.description);
}

class TableCopy {
public:
    TableCopy(CopyContext& context, const SourceTable& table)
        : context_(&context),
          table_(&table),
          definition_(table.definition),
          rowWalk_(context.source, table.definition.page, table.ownedPages),
          rows_(context.target, table.newDefinitionPages.front()) {
        definition_.page = table.newDefinitionPages.front();
        for (const ColumnDefinition& column : table.definition.columns) {
            if (column.IsLongValue()) longColumns_.push_back({&column, LongValueWriter(context.target)});
            if (column.IsAutoNumber()) autoNumber_ = &column;
        }
        idColumn_ = FindIdColumn();
        PrepareIndexes();
    }

    CopiedTable Run() {
        CopyRows();
        RefuseMissingRows();
        rows_.Finish();
        for (LongColumn& column : longColumns_) column.writer.Finish();
        BuildIndexes();
        PutMaps();
        PutDefinition();
        return {table_->name, definition_, digest_};
    }

private:
    struct LongColumn {
        const ColumnDefinition* column;
        LongValueWriter writer;
    };
    struct IndexCopy {
        std::unique_ptr<KeyBuilder> builder;
        std::unique_ptr<EntrySorter> sorter;
    };

    void PrepareIndexes() {
        const TableDefinition& source = table_->definition;
        for (std::size_t i = 0; i < source.realIndexes.size(); ++i) {
            const RealIndex& index = source.realIndexes[i];
            if (index.columns.empty()) throw Damage(source.page, "an index has no column");
            indexes_.push_back(
                {std::make_unique<KeyBuilder>(context_->source, source, index),
                 std::make_unique<EntrySorter>(context_->storage, context_->temporaryPath + std::to_string(i),
                                               sortMemory_)});
            copiesKeys_ = copiesKeys_ || !indexes_.back().builder->CanBuild();
        }
        const std::size_t rows = ExpectedRows();
        for (const IndexCopy& index : indexes_) index.sorter->Expect(rows);
    }

    /// What the definition says, as far as the table's pages can hold it.
    std::size_t ExpectedRows() const {
        return std::min<std::size_t>(table_->definition.rowCount,
                                     table_->ownedPages.size() * static_cast<std::size_t>(kMaxRowsPerPage));
    }

    /// The column with numbers of tables: MSysObjects.Id and MSysACEs.ObjectId are pages of definitions.
    const ColumnDefinition* FindIdColumn() const {
        const char* wanted = table_->definition.page == kCatalogPage ? "Id"
                             : table_->name == "MSysACEs"            ? "ObjectId"
                                                                     : nullptr;
        if (wanted == nullptr) return nullptr;
        for (const ColumnDefinition& column : table_->definition.columns) {
            if (column.name == wanted && column.type == ColumnType::Long) return &column;
        }
        throw Damage(table_->definition.page, std::string("column ") + wanted + " is missing");
    }

    void CopyRows() {
        const std::optional<std::size_t> primaryKey = PrimaryKey();
        if (!primaryKey) {
            rowWalk_.Run([this](RowId id, ByteView bytes) { CopyRow(id, bytes); }, Rethrow);
            return;
        }
        if (!indexes_[*primaryKey].builder->CanBuild()) return CopyRowsInIndexOrder(*primaryKey);
        EntrySorter order(context_->storage, context_->temporaryPath + "order", sortMemory_);
        order.Expect(ExpectedRows());
        KeyBuilder& builder = *indexes_[*primaryKey].builder;
        rowWalk_.Run(
            [&](RowId id, ByteView bytes) {
                builder.Build(RowView(context_->source.PageGeometry(), table_->definition, bytes));
                order.Add(builder.Key(), id);
            },
            Rethrow);
        order.Sort();
        while (order.Next()) CopyRowById(order.Row());
    }

    /// Keys that cannot be built can still be walked in their order. Rows that the index misses follow.
    void CopyRowsInIndexOrder(std::size_t index) {
        check::RowMarks copied(context_->source.PageCount());
        check::LeafReader reader(context_->source, table_->definition.realIndexes[index].rootPage);
        while (reader.Next()) {
            const RowId row = reader.Entry().row;
            if (copied.Mark(row)) CopyRowById(row);
        }
        rowWalk_.Run(
            [&](RowId id, ByteView bytes) {
                if (copied.Mark(id)) CopyRow(id, bytes);
            },
            Rethrow);
    }

    /// The number of rows may be wrong, as a crash leaves it. But when an index knows more rows than were
    /// found, pages were lost, and the copy would seal the loss.
    void RefuseMissingRows() const {
        const TableDefinition& source = table_->definition;
        if (digest_.count >= source.rowCount) return;
        std::uint64_t known = source.rowCount;
        for (const RealIndex& index : source.realIndexes) {
            if (index.IgnoresNulls()) continue;
            known = CountEntries(index);
            break;
        }
        if (known <= digest_.count) return;
        throw Damage(source.page, std::to_string(known - digest_.count) + " of " + std::to_string(known) +
                                      " rows cannot be found");
    }

    std::uint64_t CountEntries(const RealIndex& index) const {
        std::uint64_t entries = 0;
        for (check::LeafReader reader(context_->source, index.rootPage); reader.Next();) ++entries;
        return entries;
    }

    std::optional<std::size_t> PrimaryKey() const {
        for (const LogicalIndex& index : table_->definition.logicalIndexes) {
            if (index.kind == LogicalIndex::Kind::PrimaryKey && index.realIndex < indexes_.size()) {
                return index.realIndex;
            }
        }
        return std::nullopt;
    }

    void CopyRowById(RowId id) {
        const check::FileRow row = rowWalk_.Read(id);
        CopyRow(id, row.bytes);
    }

    void CopyRow(RowId id, ByteView bytes) {
        try {
            row_.assign(bytes.All().begin(), bytes.All().end());
            const RowView view(context_->source.PageGeometry(), table_->definition, ByteView(row_));
            RenumberTable(view);
            for (IndexCopy& index : indexes_) index.builder->Build(view);
            CopyLongValues(view);
            NoteAutoNumber(view);
            const RowId newId = rows_.Append(row_);
            for (IndexCopy& index : indexes_) {
                if (index.builder->CanBuild() && index.builder->IsIndexed()) {
                    index.sorter->Add(index.builder->Key(), newId);
                }
            }
            if (copiesKeys_) newIds_.emplace_back(id, newId);
        } catch (const Damage& damage) {
            throw Damage(id.page, check::RowText(id) + ": " + damage.description);
        } catch (const OutOfBounds& outside) {
            throw Damage(id.page, check::RowText(id) + ": " + outside.what());
        }
    }

    void RenumberTable(const RowView& view) {
        if (idColumn_ == nullptr || view.IsNull(*idColumn_)) return;
        const ByteView stored = view.Bytes(*idColumn_);
        const auto found = context_->newTablePages.find(stored.U32(0));
        if (found == context_->newTablePages.end()) return;
        MutableByteView(row_).PutU32(static_cast<std::size_t>(stored.Data() - row_.data()), found->second);
    }

    void CopyLongValues(const RowView& view) {
        struct Patch {
            std::size_t at;
            std::array<std::uint8_t, LongValueHeader::kBytes> header;
        };
        std::vector<Patch> patches;
        std::vector<std::uint64_t> hashes;
        for (LongColumn& column : longColumns_) {
            if (view.IsNull(*column.column)) continue;
            const ByteView value = view.Bytes(*column.column);
            if (value.Empty() || LongValueHeader(value).IsInline()) continue;
            const LongValueWriter::Copied copied = column.writer.Copy(context_->source, value);
            patches.push_back({static_cast<std::size_t>(value.Data() - row_.data()), copied.header});
            hashes.push_back(copied.contentHash);
        }
        const MutableByteView row(row_);
        for (const Patch& patch : patches) row.Fill(patch.at, LongValueHeader::kBytes, 0);
        digest_.Add(CombineDigest(row_, hashes));
        for (const Patch& patch : patches) row.PutBytes(patch.at, patch.header);
    }

    void NoteAutoNumber(const RowView& view) {
        if (autoNumber_ == nullptr || view.IsNull(*autoNumber_)) return;
        greatestAutoNumber_ = std::max(greatestAutoNumber_, view.Bytes(*autoNumber_).I32(0));
    }

    void BuildIndexes() {
        std::sort(newIds_.begin(), newIds_.end());
        for (std::size_t i = 0; i < indexes_.size(); ++i) {
            RealIndex& index = definition_.realIndexes[i];
            if (!indexes_[i].builder->CanBuild()) CopyEntries(i);
            indexes_[i].sorter->Sort();
            const BuiltIndex built = BuildIndex(context_->target, definition_.page, *indexes_[i].sorter);
            index.rootPage = built.root;
            index.entriesStatistic = built.entries;
            index.distinctStatistic = built.distinct;
            index.pageMap = context_->maps.Add(built.pages);
            indexes_[i].sorter.reset();
        }
    }

    /// Takes the keys over from the source's index.
    void CopyEntries(std::size_t number) {
        const RealIndex& index = table_->definition.realIndexes[number];
        check::LeafReader reader(context_->source, index.rootPage);
        std::uint64_t entries = 0;
        while (reader.Next()) {
            const check::IndexEntry entry = reader.Entry();
            const auto found =
                std::lower_bound(newIds_.begin(), newIds_.end(), std::pair(entry.row, RowId{0, 0}));
            if (found == newIds_.end() || found->first != entry.row) {
                throw Damage(entry.row.page,
                             "an index that cannot be built anew refers to a row that is not there");
            }
            indexes_[number].sorter->Add(entry.key, found->second);
            ++entries;
        }
        if (entries != newIds_.size() && !index.IgnoresNulls()) {
            throw Damage(index.rootPage, "an index that cannot be built anew lacks rows");
        }
    }

    void PutMaps() {
        definition_.ownedMap = context_->maps.Add(rows_.Pages());
        definition_.freeMap = context_->maps.Add(rows_.PagesWithRoom());
        for (const LongColumn& copied : longColumns_) {
            const auto at = static_cast<std::size_t>(copied.column - table_->definition.columns.data());
            ColumnDefinition& column = definition_.columns[at];
            if (!column.ownedMap.IsNull()) column.ownedMap = context_->maps.Add(copied.writer.Pages());
            if (!column.freeMap.IsNull()) column.freeMap = context_->maps.Add(copied.writer.PagesWithRoom());
        }
    }

    void PutDefinition() {
        definition_.rowCount = static_cast<std::uint32_t>(digest_.count);
        definition_.lastAutoNumber = static_cast<std::uint32_t>(greatestAutoNumber_);
        for (LogicalIndex& index : definition_.logicalIndexes) {
            if (index.partnerTable == 0) continue;
            const auto found = context_->newTablePages.find(index.partnerTable);
            if (found == context_->newTablePages.end()) {
                throw Damage(table_->definition.page,
                             "relationship " + index.name + ": its other table does not exist");
            }
            index.partnerTable = found->second;
        }
        const Geometry& geometry = context_->target.PageGeometry();
        const std::vector<std::uint8_t> logical = SerializeTableDefinition(geometry, definition_);
        const std::vector<PageNumber>& pages = table_->newDefinitionPages;
        std::size_t done = 0;
        for (std::size_t i = 0; i < pages.size(); ++i) {
            std::vector<std::uint8_t> bytes(geometry.pageBytes, 0);
            const std::size_t from = i == 0 ? 0 : 8;
            const std::size_t take = std::min(logical.size() - done, bytes.size() - from);
            const MutableByteView page(bytes);
            page.PutBytes(from, std::span(logical).subspan(done, take));
            done += take;
            const std::size_t unused = bytes.size() - from - take;
            page.PutU8(0, static_cast<std::uint8_t>(PageType::TableDefinition));
            page.PutU8(1, 1);
            constexpr std::uint16_t kJet3Letters = 0x4356;  // "VC"
            page.PutU16(2, geometry.version == JetVersion::Jet3
                               ? kJet3Letters
                               : static_cast<std::uint16_t>(unused < 8 ? 0 : unused - 8));
            page.PutU32(4, i + 1 < pages.size() ? pages[i + 1] : 0);
            context_->target.Put(pages[i], bytes);
        }
        if (done != logical.size()) throw Damage(table_->definition.page, "the table definition is too long");
    }

    CopyContext* context_;
    const SourceTable* table_;
    TableDefinition definition_;  ///< of the new file
    check::RowWalk rowWalk_;
    RowWriter rows_;
    std::vector<LongColumn> longColumns_;
    SortMemory sortMemory_{kSortBytes};
    std::vector<IndexCopy> indexes_;
    bool copiesKeys_ = false;                      ///< some index cannot be built from rows
    std::vector<std::pair<RowId, RowId>> newIds_;  ///< source -> new; only where keys are copied
    const ColumnDefinition* idColumn_ = nullptr;
    const ColumnDefinition* autoNumber_ = nullptr;
    std::int32_t greatestAutoNumber_ = 0;
    check::Fingerprint digest_;
    std::vector<std::uint8_t> row_;
};

}  // namespace

SourceTable ReadSourceTable(const check::CheckFile& source, const std::string& name, PageNumber page) {
    SourceTable table;
    table.name = name;
    const check::StoredDefinition stored = check::ReadDefinition(source, page);
    table.definition = ParseTableDefinition(source.PageGeometry(), page, ByteView(stored.logical));
    check::StoredMap owned = check::ReadMap(source, table.definition.ownedMap);
    check::RequireWithinFile(owned, table.definition.ownedMap);
    table.ownedPages = std::move(owned.members);
    return table;
}

CopiedTable CopyTable(CopyContext& context, const SourceTable& table) {
    return TableCopy(context, table).Run();
}

}  // namespace marrowkit::jet::compact
