#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::jet {

/// Appends one column's part of an index key: flag byte and encoded value. The value must be Null or of the
/// column's own type (a Boolean is never null in a key).
void AppendKeyColumn(JetVersion version, const ColumnDefinition& column, bool ascending, const Value& value,
                     std::vector<std::uint8_t>& key);

/// The same from a value's stored bytes, for whole numbers, which need no decoding. False, and nothing
/// appended, for other types.
bool AppendStoredKey(const ColumnDefinition& column, bool ascending, ByteView stored,
                     std::vector<std::uint8_t>& key);

/// The key of a whole row in an index; `values` holds one value per index column, in the index's order.
std::vector<std::uint8_t> BuildIndexKey(JetVersion version, std::span<const ColumnDefinition* const> columns,
                                        std::span<const IndexColumn> order, std::span<const Value> values);

/// False for a text column whose sort order has no known weights: such an index can be read, not written.
bool CanBuildKey(const ColumnDefinition& column);

}  // namespace marrowkit::jet
