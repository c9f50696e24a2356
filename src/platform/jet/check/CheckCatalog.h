#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/jet/check/CheckTable.h"
#include "platform/jet/engine/Schema.h"

namespace marrowkit::jet::check {

/// The tables of the file and what the catalog says about all objects.
struct CheckedCatalog {
    std::vector<CatalogObject> objects;  ///< in storage order
    std::vector<std::unique_ptr<CheckedTable>> tables;

    /// nullptr when there is none, or its definition could not be read.
    const CheckedTable* FindTable(PageNumber definition) const;
    /// Ignores case.
    const CheckedTable* FindTable(JetVersion version, std::string_view name) const;
};

/// Reads MSysObjects, verifies every table that it lists (itself first) and what the catalog tables say about
/// each other.
CheckedCatalog CheckCatalog(CheckContext& context);

/// Relationships: their rows in MSysRelationships, the indexes on both sides, and whether the rows comply.
void CheckRelationships(CheckContext& context, const CheckedCatalog& catalog);

/// Reads columns of a system table by name; the values of one row. Columns that do not exist, and
/// long values that cannot be read, are Null.
void ReadSystemTable(const CheckFile& file, const CheckedTable& table,
                     const std::vector<std::string>& columns,
                     const std::function<void(RowId, const std::vector<Value>&)>& visit);

}  // namespace marrowkit::jet::check
