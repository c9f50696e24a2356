#include "platform/jet/format/RowView.h"

#include <algorithm>

#include "platform/jet/format/RowParts.h"

namespace marrowkit::jet {

ColumnPlace::ColumnPlace(const ColumnDefinition& column)
    : isBoolean(column.type == ColumnType::Boolean),
      isFixed(column.IsFixed()),
      number(column.number),
      at(column.IsFixed() ? column.fixedOffset : column.variableIndex),
      width(column.IsFixed() ? FixedWidth(column) : 0) {}

RowView::RowView(const Geometry& geometry, const TableDefinition& table, ByteView row)
    : row_(row), jet4_(geometry.version == JetVersion::Jet4), fixedStart_(PrefixBytes(geometry)) {
    const auto size = static_cast<std::uint32_t>(row.Size());
    columnCount_ = jet4_ ? row.U16(0) : row.U8(0);
    const std::uint32_t maskBytes = MaskBytes(columnCount_);
    if (maskBytes + fixedStart_ > size) throw OutOfBounds{};
    maskStart_ = size - maskBytes;
    dataEnd_ = maskStart_;
    if (!HasOffsets(table, columnCount_)) return;

    const std::uint32_t unit = jet4_ ? 2 : 1;  // size of an offset and of their count
    if (maskStart_ < fixedStart_ + unit) throw OutOfBounds{};
    variableCount_ = jet4_ ? row.U16(maskStart_ - unit) : row.U8(maskStart_ - unit);
    jumpCount_ = jet4_ ? 0 : (size - 1) / 256;
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

std::uint32_t RowView::Jet3VariableOffset(std::uint32_t index) const {
    // The one index that looks like "no jump": the end of the data of 255 variable columns.
    if (index == kNoJump) return dataEnd_;
    const std::uint8_t* const bytes = row_.Data();
    // The jump table holds, for each multiple of 256, the first offset that reaches it.
    std::uint32_t high = 0;
    while (high < jumpCount_ && bytes[offsetsFrom_ + jumpCount_ - high] <= index) ++high;
    return bytes[offsetsFrom_ - index] + 256 * high;
}

void RowView::DecodeInto(const ColumnDefinition& column, Value& value) const {
    if (column.type == ColumnType::Boolean) {
        value = MaskBit(column.number);
    } else if (IsNull(column)) {
        value = Null{};
    } else {
        DecodeStored(jet4_ ? JetVersion::Jet4 : JetVersion::Jet3, column, Bytes(column), value);
    }
}

Value RowView::Decode(const ColumnDefinition& column) const {
    Value value;
    DecodeInto(column, value);
    return value;
}

}  // namespace marrowkit::jet
