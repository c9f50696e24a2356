#pragma once

#include <cstdint>
#include <vector>

#include "platform/jet/compact/CompactSorter.h"
#include "platform/jet/compact/CompactTarget.h"

namespace marrowkit::jet::compact {

/// A finished index of the new file.
struct BuiltIndex {
    PageNumber root = 0;
    std::vector<PageNumber> pages;  ///< ascending, root included
    std::uint32_t entries = 0;
    std::uint32_t distinct = 0;
};

/// Builds a tree from sorted entries, from the leaves up; leaves are packed full, and share prefixes where
/// their entries would not fit otherwise. An index without entries is one empty leaf.
BuiltIndex BuildIndex(CompactTarget& target, PageNumber table, EntrySorter& sorted);

}  // namespace marrowkit::jet::compact
