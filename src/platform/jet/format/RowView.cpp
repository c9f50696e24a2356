#include <algorithm>

#include "platform/jet/format/RowParts.h"

namespace marrowkit::jet {

RowView::RowView(const Geometry& geometry, const TableDefinition& table, ByteView row)
    : row_(row), geometry_(&geometry), fixedStart_(PrefixBytes(geometry)) {
    const bool jet4 = geometry.version == JetVersion::Jet4;
    const auto size = static_cast<std::uint32_t>(row.Size());
    columnCount_ = jet4 ? row.U16(0) : row.U8(0);
    const std::uint32_t maskBytes = MaskBytes(columnCount_);
    if (maskBytes + fixedStart_ > size) throw OutOfBounds{};
    maskStart_ = size - maskBytes;
    dataEnd_ = maskStart_;
    if (!HasOffsets(table, columnCount_)) return;

    const std::uint32_t unit = jet4 ? 2 : 1;  // size of an offset and of their count
    if (maskStart_ < fixedStart_ + unit) throw OutOfBounds{};
    variableCount_ = jet4 ? row.U16(maskStart_ - unit) : row.U8(maskStart_ - unit);
    jumpCount_ = jet4 ? 0 : (size - 1) / 256;
    const std::uint32_t trailer = unit + jumpCount_ + unit * (variableCount_ + 1);
    if (maskStart_ < fixedStart_ + trailer) throw OutOfBounds{};
    offsetsFrom_ = maskStart_ - unit - jumpCount_ - unit;
    dataEnd_ = maskStart_ - trailer;
}

bool RowView::HasOffsets(const TableDefinition& table, std::uint32_t columnCount) {
    if (table.variableColumns == 0) return false;
    if (columnCount >= table.maxColumns) return true;
    return std::any_of(table.columns.begin(), table.columns.end(), [columnCount](const ColumnDefinition& c) {
        return !c.IsFixed() && c.number < columnCount && c.type != ColumnType::Boolean;
    });
}

std::uint32_t RowView::VariableOffset(std::uint32_t index) const {
    const std::uint8_t* const bytes = row_.Data();
    if (geometry_->version == JetVersion::Jet4) {
        const std::uint8_t* const at = bytes + (offsetsFrom_ - 2 * index);
        return static_cast<std::uint32_t>(at[0] | at[1] << 8U);
    }
    // The one index that looks like "no jump": the end of the data of 255 variable columns.
    if (index == kNoJump) return dataEnd_;
    // The jump table holds, for each multiple of 256, the first offset that reaches it.
    std::uint32_t high = 0;
    while (high < jumpCount_ && bytes[offsetsFrom_ + jumpCount_ - high] <= index) ++high;
    return bytes[offsetsFrom_ - index] + 256 * high;
}

bool RowView::IsNull(const ColumnDefinition& column) const {
    if (column.type == ColumnType::Boolean) return false;
    if (column.number >= columnCount_ || !MaskBit(column.number)) return true;
    return !column.IsFixed() && column.variableIndex >= variableCount_;
}

ByteView RowView::FixedBytes(const ColumnDefinition& column) const {
    const std::uint32_t start = fixedStart_ + column.fixedOffset;
    const std::uint32_t width = FixedWidth(column);
    if (start + width > dataEnd_) throw OutOfBounds{};
    return row_.All().subspan(start, width);
}

ByteView RowView::VariableBytes(const ColumnDefinition& column) const {
    const std::uint32_t start = VariableOffset(column.variableIndex);
    const std::uint32_t end = VariableOffset(column.variableIndex + 1U);
    if (start < fixedStart_ || end < start || end > dataEnd_) throw OutOfBounds{};
    return row_.All().subspan(start, end - start);
}

ByteView RowView::Bytes(const ColumnDefinition& column) const {
    if (column.type == ColumnType::Boolean || IsNull(column)) return {};
    return column.IsFixed() ? FixedBytes(column) : VariableBytes(column);
}

void RowView::DecodeInto(const ColumnDefinition& column, Value& value) const {
    if (column.type == ColumnType::Boolean) {
        value = column.number < columnCount_ && MaskBit(column.number);
    } else if (IsNull(column)) {
        value = Null{};
    } else {
        DecodeStored(geometry_->version, column,
                     column.IsFixed() ? FixedBytes(column) : VariableBytes(column), value);
    }
}

Value RowView::Decode(const ColumnDefinition& column) const {
    Value value;
    DecodeInto(column, value);
    return value;
}

}  // namespace marrowkit::jet
