#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet {

/// The bytes of one stored row, taken apart on demand. Holds a view only: the page must stay pinned.
/// A column number beyond what the row was written with reads as Null (False for a Boolean).
class RowView {
public:
    /// Throws OutOfBounds when the trailer does not fit the row.
    RowView(const Geometry& geometry, const TableDefinition& table, ByteView row);

    bool IsNull(const ColumnDefinition& column) const;
    /// The column's stored bytes: the fixed width, or the variable part (for Memo and OLE the 12-byte header
    /// and what may follow it). Empty for Null; see IsNull for the difference from an empty text.
    ByteView Bytes(const ColumnDefinition& column) const;
    /// The decoded value of anything but a long value. Throws OutOfBounds when the bytes are too short.
    Value Decode(const ColumnDefinition& column) const;

private:
    ByteView row_;
    const Geometry* geometry_;
    ByteView mask_;
    std::uint32_t columnCount_ = 0;
    std::uint32_t variableCount_ = 0;
    std::uint32_t fixedStart_ = 0;
    std::vector<std::uint16_t> variableOffsets_;  ///< Jet 3: decoded jump table; variableCount_ + 1 entries
};

/// A column's stored bytes for a row about to be written; nullopt is Null. A Boolean is given as one byte, 0
/// or not; a Memo or OLE as its header with what follows it.
using StoredColumn = std::optional<std::vector<std::uint8_t>>;

/// Builds a row. `columns` has one element per definition column, in descriptor order. Throws RuntimeError
/// 3047 when the row does not fit on a page.
std::vector<std::uint8_t> EncodeRow(const Geometry& geometry, const TableDefinition& table,
                                    std::span<const StoredColumn> columns);

/// A value as the column stores it (long values excepted: their text or bytes come out of EncodeText and the
/// long-value store). Throws 3163 when a text or binary is too long for the column, 3421 when the value is
/// not of the column's type (convert first), 3349 when a Numeric overflows its precision.
std::vector<std::uint8_t> EncodeValue(const Geometry& geometry, const ColumnDefinition& column,
                                      const Value& value);

/// Decodes a value's stored bytes; for Memo and OLE the whole long value.
Value DecodeValue(const Geometry& geometry, const ColumnDefinition& column, ByteView bytes);

}  // namespace marrowkit::jet
