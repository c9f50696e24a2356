#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/check/CheckRows.h"
#include "platform/jet/compact/CompactTarget.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet::compact {

/// A table of the source, and where its definition goes.
struct SourceTable {
    std::string name;
    TableDefinition definition;
    std::vector<PageNumber> ownedPages;
    std::vector<PageNumber> newDefinitionPages;
};

/// What a copied table must turn out to be when it is read back.
struct CopiedTable {
    std::string name;
    TableDefinition definition;
    check::Fingerprint rows;
};

/// What the copies of all tables share.
struct CopyContext {
    const check::CheckFile& source;
    CompactTarget& target;
    MapWriter& maps;
    Storage& storage;
    std::string temporaryPath;                       ///< for sorting
    std::map<PageNumber, PageNumber> newTablePages;  ///< definition in the source -> in the new file
};

/// Reads a table's definition and the list of its pages. Throws Damage.
SourceTable ReadSourceTable(const check::CheckFile& source, const std::string& name, PageNumber page);

/// Copies rows, long values and definition, builds the indexes. Rows keep their bytes, but for the places of
/// their long values and, in the catalog's tables, the numbers of tables. Throws Damage for what cannot be
/// read. Rows that break a rule (duplicate keys, missing related rows) are copied as they are.
CopiedTable CopyTable(CopyContext& context, const SourceTable& table);

}  // namespace marrowkit::jet::compact
