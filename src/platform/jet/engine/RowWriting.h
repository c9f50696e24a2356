#pragma once

#include <optional>

#include "platform/jet/engine/RowDraft.h"

namespace marrowkit::jet {

/// Steps that inserting, changing and deleting rows have in common.

/// Encodes a column of the draft into `draft.encoded`; long values excepted. Throws 3163, 3421, 3349.
void EncodeColumn(const TableLayout& layout, RowDraft& draft, std::size_t column);

/// Stores a long value of the draft; its header goes to `draft.encoded`. REQUIRES: a unit is open.
void StoreLongValue(TableLayout& layout, RowDraft& draft, std::size_t column);

/// The next value of an AutoNumber column, of whatever kind; the counter stays.
Value NextAutoNumber(const TableLayout& layout, std::size_t column);

/// The counter follows every AutoNumber that is greater, handed out or given.
void RaiseAutoNumberCounter(TableLayout& layout, std::size_t column, const Value& value);

/// Builds the draft's key of a real index into `draft.keys`. Throws 3251 for a sort order that is not known.
void BuildKey(const TableLayout& layout, RowDraft& draft, std::size_t realIndex);

/// Checks what the index demands of the draft's key: no Null (3058), no second row with it (3022).
void CheckKey(const TableLayout& layout, const RowDraft& draft, std::size_t realIndex,
              std::optional<RowId> exceptRow);

/// Adds the entry of the draft's key, and counts a new distinct key.
void AddIndexEntry(TableLayout& layout, const RowKey& key, std::size_t realIndex, RowId row);

/// Removes a row's entry. An entry whose key other rules than ours built is found by its row. Throws 3049
/// when there is none at all.
void RemoveIndexEntry(TableLayout& layout, const RowKey& key, std::size_t realIndex, RowId row);

}  // namespace marrowkit::jet
