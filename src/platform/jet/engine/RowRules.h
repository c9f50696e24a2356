#pragma once

#include "platform/jet/engine/RowDraft.h"

namespace marrowkit::jet {

/// The rules that one column's new value must keep: required (3314), no empty text (3315), validation rule
/// (3317, with the column's own text where it has one). Sizes are checked where values are encoded.
void CheckColumnRules(const TableLayout& layout, RowDraft& draft, std::size_t column);

/// The table's own validation rule (3316).
void CheckTableRule(const TableLayout& layout, RowDraft& draft);

/// The default value of a column, converted to its type; Null for none and for AutoNumbers.
Value EvaluateDefault(const TableLayout& layout, std::size_t column);

}  // namespace marrowkit::jet
