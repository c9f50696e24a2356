#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/engine/TableLayout.h"

namespace marrowkit::jet {

// Identifiers of the catalog's fixed rows.
namespace catalog {
inline constexpr std::int32_t kRoot = 0x0F000000;
inline constexpr std::int32_t kTables = 0x0F000001;
inline constexpr std::int32_t kDatabases = 0x0F000002;
inline constexpr std::int32_t kRelationships = 0x0F000003;
inline constexpr std::int32_t kDatabase = 0x10000000;
}  // namespace catalog

/// One row of MSysObjects with what identifies it.
struct CatalogEntry {
    CatalogObject object;
    RowId row;
    DateTime created;

    PageNumber DefinitionPage() const { return static_cast<PageNumber>(object.id) & 0x00FFFFFF; }
    bool IsLocalTable() const { return object.type == CatalogObject::Type::Table; }
};

/// What MSysObjects said when it was read last.
class Catalog {
public:
    /// Reads all rows of MSysObjects through its layout.
    explicit Catalog(const std::shared_ptr<const TableLayout>& objects);

    const std::vector<CatalogEntry>& Entries() const { return entries_; }
    /// nullptr when there is none. Names compare ignoring case.
    const CatalogEntry* FindTable(std::string_view name) const;
    /// Any object below a container: tables, queries and links share the container "Tables".
    const CatalogEntry* Find(std::int32_t parent, std::string_view name) const;
    const CatalogEntry* FindTableByPage(PageNumber definitionPage) const;
    /// The identifier for a new object that is not a table.
    std::int32_t NextObjectId() const;

private:
    std::string NameKey(std::int32_t parent, std::string_view name) const;

    JetVersion version_;
    std::vector<CatalogEntry> entries_;
    std::unordered_map<std::string, std::size_t> byName_;
    std::unordered_map<PageNumber, std::size_t> byPage_;
};

/// A name as the catalog compares it: equal keys are equal names.
std::string NameKey(JetVersion version, std::string_view name);

}  // namespace marrowkit::jet
