#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/engine/LocalDatabase.h"
#include "platform/jet/format/Properties.h"

namespace marrowkit::jet {

// Rows of MSysObjects and MSysACEs. All of this happens inside the caller's unit, and whoever changes the
// design tells the database afterwards (InvalidateDesign).

/// Values for a row of a system table, by column name.
class NamedValues {
public:
    explicit NamedValues(const Table& table) : table_(&table) {}
    /// Throws 3049 when the table lacks the column.
    NamedValues& Add(std::string_view column, Value value);
    const std::vector<Assignment>& Assignments() const { return assignments_; }

private:
    const Table* table_;
    std::vector<Assignment> assignments_;
};

struct NewObject {
    std::int32_t id = 0;
    std::int32_t parentId = 0;
    std::string name;
    CatalogObject::Type type = CatalogObject::Type::Table;
    Binary properties;  ///< empty: none
};

/// Adds the object with today's date, the database's owner and the permissions that its container hands on.
void AddCatalogObject(LocalDatabase& database, ChangeScope& scope, const NewObject& object);

/// Removes the object and its permissions.
void RemoveCatalogObject(LocalDatabase& database, ChangeScope& scope, const CatalogEntry& entry);

/// Notes that the object's design changed just now, along with other changes of its row.
void TouchCatalogObject(LocalDatabase& database, ChangeScope& scope, const CatalogEntry& entry,
                        const std::vector<std::pair<std::string_view, Value>>& changes = {});

/// The object's properties; nothing for an object without.
std::optional<PropertyBlob> ReadProperties(LocalDatabase& database, const CatalogEntry& entry);

/// Local time, fine enough that two tables never share a creation date.
DateTime CatalogTime();

}  // namespace marrowkit::jet
