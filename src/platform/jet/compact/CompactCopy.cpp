// Compaction writes a whole new file in one sequential pass:
//
//   page 0   copied byte for byte: password area, encoding key, sort order, creation date, and with them the
//            key that scrambles Owner and SID values
//   page 1   the global map, last of all
//   page 2.. the definitions of all tables, reserved first, so that every row and index can name its table
//   then     table by table: rows in primary-key order (storage order without one), long values, index trees
//            built from sorted keys, usage maps
//
// Kept: every row's bytes, system tables included; column and index numbers; properties, queries, permissions
// and everything opaque in long values. Changed: where things lie, and what says so: row pointers, tables'
// numbers in MSysObjects.Id, MSysACEs.ObjectId and relationships, counters. Left behind: deleted rows, free
// pages, pages that nothing refers to. Indexes, maps and counters are made anew from the rows, so damage in
// them heals; a row or long value that cannot be read ends the compaction with an error.

#include "platform/jet/compact/CompactCopy.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/jet/check/CheckCatalog.h"
#include "platform/jet/check/CheckOpenFile.h"
#include "platform/jet/compact/CompactRows.h"
#include "platform/jet/compact/CompactTable.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/FilePager.h"
#include "platform/jet/storage/NewFileGuard.h"

namespace marrowkit::jet {

namespace compact {

namespace {

using check::CheckFile;
using check::Damage;

[[noreturn]] void RaiseDamage(const std::string& file, const std::string& table, const Damage& damage) {
    RaiseCorrupt(file, table.empty() ? damage.description : "table " + table + ": " + damage.description);
}

/// Runs a step on one table; damage becomes an error that names it.
template <typename Step>
auto OnTable(const std::string& file, const std::string& table, const Step& step) {
    try {
        return step();
    } catch (const Damage& damage) {
        RaiseDamage(file, table, damage);
    } catch (const OutOfBounds& outside) {
        RaiseDamage(file, table, Damage(0, outside.what()));
    }
}

/// All local tables, the catalog first, the other system tables next.
std::vector<SourceTable> ReadTables(const CheckFile& source) {
    std::vector<SourceTable> tables;
    tables.push_back(OnTable(source.Path(), "MSysObjects",
                             [&] { return ReadSourceTable(source, "MSysObjects", kCatalogPage); }));
    check::CheckedTable catalog;
    catalog.definition = tables.front().definition;
    catalog.ownedPages = tables.front().ownedPages;
    std::vector<std::pair<std::string, PageNumber>> found;
    check::ReadSystemTable(source, catalog, {"Id", "Name", "Type"},
                           [&](RowId, const std::vector<Value>& row) {
                               const auto* id = std::get_if<std::int32_t>(&row[0]);
                               const auto* name = std::get_if<std::string>(&row[1]);
                               const auto* type = std::get_if<std::int16_t>(&row[2]);
                               if (id == nullptr || type == nullptr ||
                                   *type != static_cast<std::int16_t>(CatalogObject::Type::Table)) {
                                   return;
                               }
                               const PageNumber page = static_cast<std::uint32_t>(*id) & 0x00FFFFFF;
                               if (page != kCatalogPage)
                                   found.emplace_back(name ? *name : std::string(), page);
                           });
    std::stable_partition(found.begin(), found.end(), [](const auto& table) {
        return table.first == "MSysACEs" || table.first == "MSysQueries" ||
               table.first == "MSysRelationships";
    });
    std::set<PageNumber> pages{kCatalogPage};
    for (const auto& [name, page] : found) {
        if (!pages.insert(page).second) RaiseCorrupt(source.Path(), "two tables share a definition: " + name);
        tables.push_back(OnTable(source.Path(), name, [&, table = name, at = page] {
            return ReadSourceTable(source, table, at);
        }));
    }
    return tables;
}

/// Pages 2 and up: one definition behind the other.
void ReserveDefinitions(const CheckFile& source, CompactTarget& target, std::vector<SourceTable>& tables,
                        std::map<PageNumber, PageNumber>& newTablePages) {
    const Geometry& geometry = target.PageGeometry();
    for (SourceTable& table : tables) {
        const std::size_t bytes = OnTable(source.Path(), table.name, [&] {
            return SerializeTableDefinition(geometry, table.definition).size();
        });
        std::size_t room = 0;
        do {
            room += geometry.pageBytes - (table.newDefinitionPages.empty() ? 0 : 8);
            table.newDefinitionPages.push_back(target.Allocate());
        } while (room < bytes);
        newTablePages[table.definition.page] = table.newDefinitionPages.front();
    }
}

std::vector<CopiedTable> WriteCopy(const CheckFile& source, Storage& storage, CompactTarget& target,
                                   const std::string& targetPath) {
    const PageNumber header = target.Allocate();
    const PageNumber globalMap = target.Allocate();
    if (header != 0 || globalMap != kGlobalMapPage) RaiseCorrupt(targetPath, "pages out of order");
    target.Put(header, source.Read(0).bytes.All());

    std::vector<SourceTable> tables = ReadTables(source);
    MapWriter maps(target);
    CopyContext context{source, target, maps, storage, targetPath + ".sort", {}};
    ReserveDefinitions(source, target, tables, context.newTablePages);
    std::vector<CopiedTable> copied;
    copied.reserve(tables.size());
    for (const SourceTable& table : tables) {
        copied.push_back(OnTable(source.Path(), table.name, [&] { return CopyTable(context, table); }));
    }
    maps.Finish();
    PutGlobalMap(target);
    target.Finish();
    return copied;
}

/// Digests the rows of the copy while they are verified.
class CopyReader : public check::RowObserver {
public:
    explicit CopyReader(const CheckFile& file) : file_(&file) {}

    void BeginTable(const TableDefinition& table) override {
        digest_.emplace(*file_, table);
        rows_ = &found_[table.page];
    }
    void SeeRow(RowId /*row*/, ByteView bytes) override { rows_->Add(digest_->Of(bytes)); }

    /// Whether the copy has the table and the same rows in it.
    bool Holds(const CopiedTable& table) const {
        const auto found = found_.find(table.definition.page);
        return found != found_.end() && found->second == table.rows;
    }
    std::size_t TableCount() const { return found_.size(); }

private:
    const CheckFile* file_;
    std::optional<RowDigest> digest_;
    check::Fingerprint* rows_ = nullptr;
    std::map<PageNumber, check::Fingerprint> found_;
};

bool HasDefinition(const CheckFile& file, const TableDefinition& table) {
    // In front of it is what belongs to its first page.
    constexpr std::ptrdiff_t kFramingBytes = 8;
    const std::vector<std::uint8_t> found = check::ReadDefinition(file, table.page).logical;
    const std::vector<std::uint8_t> expected = SerializeTableDefinition(file.PageGeometry(), table);
    return std::equal(found.begin() + kFramingBytes, found.end(), expected.begin() + kFramingBytes,
                      expected.end());
}

/// Reads the finished file as a stranger would, once: nothing in it may be wrong, the header must be the
/// source's, and every table must hold the rows and long values that were copied.
void VerifyCopy(Storage& storage, const CheckFile& source, const std::string& path,
                const std::vector<CopiedTable>& copied) {
    const CheckFile file(storage, path);
    if (!std::ranges::equal(source.Read(0).bytes.All(), file.Read(0).bytes.All())) {
        RaiseCorrupt(path, "the header differs between the source and the copy");
    }
    // Rows that break a rule of the database do so in the source as well; they are copied as they are.
    check::CheckReport report(1, check::Severity::Structure);
    CopyReader rows(file);
    check::CheckOpenFile(file, report, &rows);
    if (report.Count() > 0) {
        RaiseCorrupt(source.Path(), "its contents make no sound database: " + report.Problems()[0].ToText());
    }
    for (const CopiedTable& table : copied) {
        if (!rows.Holds(table) || !HasDefinition(file, table.definition)) {
            RaiseCorrupt(path, "table " + table.name + " differs between the source and the copy");
        }
    }
    if (rows.TableCount() != copied.size()) RaiseCorrupt(path, "the copy has other tables than the source");
}

}  // namespace

void CopyOpenFile(const CheckFile& source, Storage& storage, const std::string& target) {
    if (storage.Exists(target)) RaiseJet(JetError::DatabaseExists, {target});
    if (source.PageCount() <= kCatalogPage) RaiseJet(JetError::Corrupt, {source.Path()});
    auto file = storage.Open(target, OpenMode::CreateNew);
    NewFileGuard guard(storage, target);
    // Nobody takes it for a leftover from now on.
    if (!file->TryLock(FilePager::kPresenceLock, 1, true)) RaiseJet(JetError::FileInUse, {target});
    CompactTarget pages(std::move(file), source.Header());
    const std::vector<CopiedTable> copied = WriteCopy(source, storage, pages, target);
    VerifyCopy(storage, source, target, copied);
    storage.SyncFolderOf(target);
    guard.Finished();
}

}  // namespace compact

}  // namespace marrowkit::jet
