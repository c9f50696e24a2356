#pragma once

#include <optional>
#include <string_view>

#include "platform/jet/engine/TableLayout.h"

namespace marrowkit::jet {

// Indexes in a definition that is about to be saved.

/// The real index that an index's design asks for, without pages. Throws 3285 (no or too many columns, a
/// column that cannot be indexed), 3409 (unknown column), 3251 (sort order unknown).
RealIndex DesignRealIndex(JetVersion version, const TableDefinition& table, const Index& index);

/// Adds a logical index with the next free number, at its place by name. Returns its number. Throws 3375,
/// 3283 and 3626 (more than 32 indexes).
std::uint32_t AddLogicalIndex(JetVersion version, TableDefinition& table, std::string_view tableName,
                              LogicalIndex index);

const LogicalIndex* FindLogicalIndex(JetVersion version, const TableDefinition& table, std::string_view name);

/// Allocates an index's map and root. REQUIRES: a unit is open.
void CreateIndexPages(Pager& pager, PageNumber table, RealIndex& index);

/// Fills a new index from the rows the table has, and its statistics. Throws 3022, 3058. REQUIRES: a unit is
/// open.
void BuildFromRows(const TableLayout& layout, RealIndex& index);

/// Removes a real index that no logical one uses any more: releases its pages, closes the gap in the numbers.
/// REQUIRES: a unit is open.
void RemoveRealIndexIfUnused(Pager& pager, TableDefinition& table, std::size_t realIndex);

}  // namespace marrowkit::jet
