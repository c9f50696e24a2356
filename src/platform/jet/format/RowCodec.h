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
    /// The same into a value that is used again and again: a text keeps its room from row to row.
    void DecodeInto(const ColumnDefinition& column, Value& value) const;

private:
    /// Whether the row has an offset table: it has not when it is older than every variable column.
    static bool HasOffsets(const TableDefinition& table, std::uint32_t columnCount);
    std::uint32_t VariableOffset(std::uint32_t index) const;
    ByteView FixedBytes(const ColumnDefinition& column) const;
    ByteView VariableBytes(const ColumnDefinition& column) const;
    bool MaskBit(std::uint32_t column) const {
        return (row_.Data()[maskStart_ + column / 8] >> (column % 8) & 1U) != 0;
    }

    ByteView row_;
    const Geometry* geometry_;
    std::uint32_t columnCount_ = 0;  ///< the table's column numbers when the row was written
    std::uint32_t variableCount_ = 0;
    std::uint32_t fixedStart_ = 0;
    std::uint32_t dataEnd_ = 0;      ///< end of fixed and variable data: where the offset table starts
    std::uint32_t offsetsFrom_ = 0;  ///< entry of variable column 0; the table runs downwards from here
    std::uint32_t jumpCount_ = 0;    ///< Jet 3: entries of the jump table, which lies right behind
    std::uint32_t maskStart_ = 0;
};

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
