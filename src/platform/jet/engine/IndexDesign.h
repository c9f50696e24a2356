#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/jet/engine/TableLayout.h"

namespace marrowkit::jet {

// Indexes in a definition that is about to be saved.

/// The real index that an index's design asks for, without pages. Throws 3285 (no or too many columns, a
/// column that cannot be indexed), 3409 (unknown column), 3251 (sort order unknown).
RealIndex DesignRealIndex(JetVersion version, const TableDefinition& table, const Index& index);

/// The number that the next logical index of a table gets: behind all others, as Jet counts, as long as the
/// hidden indexes of relationships have letters for it; then the lowest that is free.
std::uint32_t NextIndexNumber(const TableDefinition& table);

/// The name of the hidden index that a relationship has in its primary table: .rA for number 0, .rB for 1.
std::string HiddenIndexName(std::uint32_t number);

/// Adds a logical index with the next number, at its place by name. Returns its number. Throws 3375,
/// 3283 and 3626 (more than 32 indexes).
std::uint32_t AddLogicalIndex(JetVersion version, TableDefinition& table, std::string_view tableName,
                              LogicalIndex index);

const LogicalIndex* FindLogicalIndex(JetVersion version, const TableDefinition& table, std::string_view name);

/// Allocates an index's map and root. REQUIRES: a unit is open.
void CreateIndexPages(Pager& pager, PageNumber table, RealIndex& index);

/// Fills a new index from the rows the table has, and its statistics. Throws 3022, 3058. REQUIRES: a unit is
/// open.
void BuildFromRows(const TableLayout& layout, RealIndex& index);

/// Takes the rules off a tree that nothing but the foreign sides of relationships uses any more: it must not
/// refuse what they allow. `keepsUnique`: one of them is one to one.
void RelaxRealIndex(TableDefinition& table, std::size_t realIndex, bool keepsUnique);

/// Removes a real index that no logical one uses any more: releases its pages, closes the gap in the numbers.
/// REQUIRES: a unit is open.
void RemoveRealIndexIfUnused(Pager& pager, TableDefinition& table, std::size_t realIndex);

}  // namespace marrowkit::jet
