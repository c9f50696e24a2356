#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckPages.h"
#include "platform/jet/check/CheckReport.h"
#include "platform/jet/check/CheckRows.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet::check {

/// Sees the rows of all tables as a verification comes by them.
class RowObserver {
public:
    virtual ~RowObserver() = default;
    /// The definition stays valid until the next table begins.
    virtual void BeginTable(const TableDefinition& table) = 0;
    /// May throw Damage or OutOfBounds: the row's problem.
    virtual void SeeRow(RowId row, ByteView bytes) = 0;
};

/// What all parts of one verification share.
struct CheckContext {
    const CheckFile& file;
    CheckReport& report;
    PageOwners owners;
    RowMarks marks;                 ///< long values, moved rows and usage maps that something refers to
    std::vector<bool> isFree;       ///< by the global map
    std::vector<bool> treePages;    ///< index pages met in a walk
    PageOwners::Owner mapOwner;     ///< pages with usage maps
    PageOwners::Owner bitmapOwner;  ///< bitmap pages of usage maps
    RowObserver* observer = nullptr;

    CheckContext(const CheckFile& file_, CheckReport& report_);

    /// Notes that the page belongs to the owner. False, and a problem, when it cannot.
    bool Claim(PageNumber page, PageOwners::Owner owner, std::string_view table);
    /// Reads a usage map, claims its row and bitmap pages. An empty set, and a problem, when it cannot be.
    StoredMap ClaimMap(RowId where, std::string_view table, const std::string& what);
};

/// A table as the catalog lists it.
struct ListedTable {
    std::string name;
    PageNumber definition = 0;
    bool isSystem = false;
    /// The object's properties as stored; empty for none.
    std::vector<std::uint8_t> properties;
};

/// What is left of a verified table for the checks across tables.
struct CheckedTable {
    std::string name;
    bool isSystem = false;
    /// Names of columns that must not be Null.
    std::vector<std::string> requiredColumns;
    TableDefinition definition;
    std::vector<PageNumber> ownedPages;
    std::vector<bool> indexIsSound;  ///< per real index
    std::uint64_t rows = 0;
    bool rowsAreSound = false;
};

/// Verifies one table: definition, properties, maps, pages, rows, long values, indexes. nullptr when its
/// definition cannot be read at all.
std::unique_ptr<CheckedTable> CheckTable(CheckContext& context, const ListedTable& listed);

/// The parts of CheckTable.
void CheckDefinition(CheckContext& context, const std::string& name, const TableDefinition& definition);
void CheckTableRows(CheckContext& context, CheckedTable& table);
void CheckTableIndexes(CheckContext& context, CheckedTable& table,
                       const std::vector<Fingerprint>& expectedEntries);

/// The name of the first logical index that uses a real one.
std::string IndexName(const TableDefinition& definition, std::size_t realIndex);

}  // namespace marrowkit::jet::check
