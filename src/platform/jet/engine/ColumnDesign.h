#pragma once

#include <string_view>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/Properties.h"

namespace marrowkit::jet {

/// Names of tables, columns, indexes and relationships: 1 to 64 characters, none of . ! [ ] `, no control
/// characters, no blank in front. Throws 3125.
void CheckName(std::string_view name);

/// Adds a column at the end of a definition: next number, next place in the fixed area or among the variable
/// columns. Its maps are left null. Throws 3125, 3190, 3259 (a type, size or AutoNumber that cannot be).
ColumnDefinition& AppendColumn(const DatabaseHeader& header, TableDefinition& table, const Column& column);

/// Whether the column's rules need a place among the table's properties.
bool NeedsProperties(const Column& column);

/// Writes the column's rules into the table's properties.
void SetColumnProperties(JetVersion version, const Column& column, PropertyBlob& properties);

}  // namespace marrowkit::jet
