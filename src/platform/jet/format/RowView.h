#pragma once

#include <cstdint>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet {

/// Where the rows of a table have a column: what RowView has to know of it, small and without look-ups.
struct ColumnPlace {
    explicit ColumnPlace(const ColumnDefinition& column);

    bool isBoolean;
    bool isFixed;
    std::uint16_t number;
    std::uint32_t at;     ///< offset in the fixed area, or the variable index
    std::uint32_t width;  ///< in the fixed area
};

/// The bytes of one stored row, taken apart on demand. Holds a view only: the page must stay pinned.
/// A column number beyond what the row was written with reads as Null (False for a Boolean).
class RowView {
public:
    /// Throws OutOfBounds when the trailer does not fit the row.
    RowView(const Geometry& geometry, const TableDefinition& table, ByteView row);

    bool IsNull(const ColumnDefinition& column) const {
        if (column.type == ColumnType::Boolean) return false;
        return !MaskBit(column.number) || (!column.IsFixed() && !HasVariablePart(column.variableIndex));
    }
    bool IsNull(const ColumnPlace& column) const {
        if (column.isBoolean) return false;
        return !MaskBit(column.number) || (!column.isFixed && !HasVariablePart(column.at));
    }
    /// The column's stored bytes: the fixed width, or the variable part (for Memo and OLE the 12-byte header
    /// and what may follow it). Empty for Null; see IsNull for the difference from an empty text.
    ByteView Bytes(const ColumnDefinition& column) const { return Bytes(ColumnPlace(column)); }
    ByteView Bytes(const ColumnPlace& column) const {
        if (column.isBoolean || IsNull(column)) return {};
        return column.isFixed ? FixedPart(column.at, column.width) : VariablePart(column.at);
    }
    /// The decoded value of anything but a long value. Throws OutOfBounds when the bytes are too short.
    Value Decode(const ColumnDefinition& column) const;
    /// The same into a value that is used again and again: a text keeps its room from row to row.
    void DecodeInto(const ColumnDefinition& column, Value& value) const;

    // The same in smaller steps, for whoever takes the same columns out of row after row. Inline, because a
    // scan takes them for every value.

    /// The value of a Boolean; for all other columns false means Null.
    bool MaskBit(std::uint32_t columnNumber) const {
        if (columnNumber >= columnCount_) return false;
        return (row_.Data()[maskStart_ + columnNumber / 8] >> (columnNumber % 8) & 1U) != 0;
    }
    /// False when the row is older than the variable column: Null.
    bool HasVariablePart(std::uint32_t variableIndex) const { return variableIndex < variableCount_; }
    /// Bytes of the fixed area. Throws OutOfBounds.
    ByteView FixedPart(std::uint32_t offset, std::uint32_t width) const {
        const std::uint32_t start = fixedStart_ + offset;
        if (start + width > dataEnd_) throw OutOfBounds{};
        return row_.All().subspan(start, width);
    }
    /// REQUIRES: HasVariablePart(variableIndex). Throws OutOfBounds.
    ByteView VariablePart(std::uint32_t variableIndex) const {
        const std::uint32_t start = VariableOffset(variableIndex);
        const std::uint32_t end = VariableOffset(variableIndex + 1U);
        if (start < fixedStart_ || end < start || end > dataEnd_) throw OutOfBounds{};
        return row_.All().subspan(start, end - start);
    }

private:
    /// Whether the row has an offset table: it has not when it is older than every variable column.
    static bool HasOffsets(const TableDefinition& table, std::uint32_t columnCount);
    std::uint32_t VariableOffset(std::uint32_t index) const {
        if (!jet4_) return Jet3VariableOffset(index);
        const std::uint8_t* const at = row_.Data() + (offsetsFrom_ - 2 * index);
        return static_cast<std::uint32_t>(at[0] | at[1] << 8U);
    }
    std::uint32_t Jet3VariableOffset(std::uint32_t index) const;

    ByteView row_;
    bool jet4_;
    std::uint32_t columnCount_ = 0;  ///< the table's column numbers when the row was written
    std::uint32_t variableCount_ = 0;
    std::uint32_t fixedStart_ = 0;
    std::uint32_t dataEnd_ = 0;      ///< end of fixed and variable data: where the offset table starts
    std::uint32_t offsetsFrom_ = 0;  ///< entry of variable column 0; the table runs downwards from here
    std::uint32_t jumpCount_ = 0;    ///< Jet 3: entries of the jump table, which lies right behind
    std::uint32_t maskStart_ = 0;
};

}  // namespace marrowkit::jet
