#pragma once

#include <memory>
#include <vector>

#include "platform/jet/engine/Table.h"
#include "platform/jet/engine/TableLayout.h"

namespace marrowkit::jet {

/// The walk over all rows in storage order.
std::unique_ptr<Table::Scan> OpenTableScan(std::shared_ptr<const TableLayout> layout,
                                           const std::vector<std::size_t>& columns);

/// The walk over a real index within bounds.
std::unique_ptr<Table::Scan> OpenRangeScan(std::shared_ptr<const TableLayout> layout, std::size_t realIndex,
                                           const IndexRange& range, const std::vector<std::size_t>& columns,
                                           bool backwards);

/// Turns OutOfBounds, met while taking a row apart, into the 3049 that the user sees.
[[noreturn]] void RaiseDamagedRow(const TableLayout& layout, RowId row);

}  // namespace marrowkit::jet
