#pragma once

#include <optional>
#include <vector>

#include "platform/jet/engine/LocalTable.h"

namespace marrowkit::jet {

/// The rows of the partner table that refer to a row here, for one relationship of which this table is the
/// primary side.
struct Dependents {
    LocalTable* table = nullptr;
    std::vector<std::size_t> columns;  ///< foreign columns, in the order of the primary index
    std::vector<RowId> rows;
};

/// `key` holds the primary row's values in the order of its index. At most `limit` rows are looked for.
Dependents FindDependents(LocalTable& primary, RelationshipSide& side, std::span<const Value> key,
                          std::size_t limit = static_cast<std::size_t>(-1));

/// Throws 3201 when the row of the draft refers to a row that is not there. A row may refer to itself: the
/// draft's own key counts; what is stored under `self` (the row's state before an update) does not.
/// REQUIRES: the draft's key of the side's real index is built.
void CheckReference(LocalTable& foreign, TableLayout& layout, RelationshipSide& side, RowDraft& draft,
                    std::optional<RowId> self);

}  // namespace marrowkit::jet
