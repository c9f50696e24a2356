#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/RowView.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet {

/// A column's stored bytes for a row about to be written; nullopt is Null. A Boolean is given as one byte, 0
/// or not; a Memo or OLE as its header with what follows it.
using StoredColumn = std::optional<std::vector<std::uint8_t>>;

/// Builds a row. `columns` has one element per definition column, in descriptor order. Throws RuntimeError
/// 3047 when the row does not fit on a page.
std::vector<std::uint8_t> EncodeRow(const Geometry& geometry, const TableDefinition& table,
                                    std::span<const StoredColumn> columns);

/// A value as the column stores it; for Memo and OLE the whole long value, which the long-value store turns
/// into what the row holds. A fixed-length text is padded with blanks, a fixed-length binary with zeros.
/// Throws 3163 when a text or binary is too long for the column, 3421 when the value is not of the column's
/// type (convert first), 3349 when a Numeric overflows its precision.
std::vector<std::uint8_t> EncodeValue(const Geometry& geometry, const ColumnDefinition& column,
                                      const Value& value);

/// Bytes of a value of a type that always has the same width; 0 for the other types, and for Boolean, whose
/// value is its bit in the null mask.
std::uint32_t FixedWidth(ColumnType type);
/// Width of a column's value in the fixed area: that of its type, or the column's own.
std::uint32_t FixedWidth(const ColumnDefinition& column);

/// Decodes a value's stored bytes; for Memo and OLE the whole long value.
Value DecodeValue(const Geometry& geometry, const ColumnDefinition& column, ByteView bytes);

}  // namespace marrowkit::jet
