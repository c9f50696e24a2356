#pragma once

#include <random>
#include <string>
#include <vector>

#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::test {

/// Lays columns out as a new table has them: fixed offsets and variable slots in the order of definition.
jet::TableDefinition TableOf(std::vector<jet::ColumnDefinition> columns);

jet::ColumnDefinition ColumnOf(std::string name, jet::ColumnType type, bool fixed,
                               std::uint16_t lengthBytes = 0);

/// A table with a column of every type that a row of this version can hold in itself; texts and binaries in
/// both forms.
jet::TableDefinition EveryTypeTable(jet::JetVersion version);

/// A value of the column's type that survives a round trip, Null now and then.
jet::Value RandomValue(jet::JetVersion version, const jet::ColumnDefinition& column, std::mt19937& random);

/// The columns as EncodeRow takes them.
std::vector<jet::StoredColumn> Encoded(const jet::Geometry& geometry, const jet::TableDefinition& table,
                                       const std::vector<jet::Value>& values);

}  // namespace marrowkit::test
