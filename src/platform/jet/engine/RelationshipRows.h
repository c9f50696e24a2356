#pragma once

#include <string_view>
#include <vector>

#include "platform/jet/engine/LocalDatabase.h"

namespace marrowkit::jet {

// Rows of MSysRelationships: one per pair of columns.

/// All relationships, in the order in which they are met first.
std::vector<Relationship> ReadRelationships(LocalDatabase& database);

// Inside the caller's unit:

void AddRelationshipRows(LocalDatabase& database, ChangeScope& scope, const Relationship& relationship);
void RemoveRelationshipRows(LocalDatabase& database, ChangeScope& scope, std::string_view name);
/// Follows the new name of a table.
void RenameInRelationshipRows(LocalDatabase& database, ChangeScope& scope, std::string_view table,
                              std::string_view newName);

}  // namespace marrowkit::jet
