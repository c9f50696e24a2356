#pragma once

#include <optional>
#include <vector>

#include "platform/jet/engine/Table.h"
#include "platform/jet/engine/TableLayout.h"

namespace marrowkit::jet {

/// The entries with `start` <= key < `end`, compared as bytes; no end: up to the last.
struct KeyBounds {
    std::vector<std::uint8_t> start;
    std::optional<std::vector<std::uint8_t>> end;
};

/// What a range means in bytes of keys. `low` and `high` are bounds of values, so on a descending column the
/// high one comes first in the index. Throws 3421 for a bound that the column's type cannot hold and 3251
/// when the column's sort order is unknown.
KeyBounds BoundsOf(const TableLayout& layout, const IndexStorage& index, const IndexRange& range);

}  // namespace marrowkit::jet
