#pragma once

#include <span>

#include "platform/jet/engine/TableLayout.h"
#include "platform/jet/format/RowCodec.h"

namespace marrowkit::jet {

/// Decodes one column (a position in the layout) of a stored row, long values included. `value` is
/// overwritten; a text keeps the memory it has.
void DecodeColumn(const TableLayout& layout, const RowView& row, std::size_t column, Value& value);

/// Decodes several columns; `values` gets one element per column asked for.
void DecodeColumns(const TableLayout& layout, ByteView row, std::span<const std::size_t> columns,
                   Row& values);

}  // namespace marrowkit::jet
