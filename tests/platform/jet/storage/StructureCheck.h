#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/jet/storage/TestDatabase.h"

namespace marrowkit::jet::test {

/// One entry of an index as it lies in the file.
struct IndexEntry {
    std::vector<std::uint8_t> bytes;  ///< key and row pointer
    bool operator==(const IndexEntry&) const = default;
    auto operator<=>(const IndexEntry&) const = default;
};

struct IndexReport {
    std::vector<std::string> problems;
    std::vector<IndexEntry> entries;
    std::vector<PageNumber> pages;
    std::uint32_t levels = 0;
    std::size_t compressedLeaves = 0;
};

/// Reads an index page by page, by a decoder of its own, and reports everything that breaks the rules of the
/// format. `ownWriting` also asks for what genuine files do not have but ours must: zeros behind the entries.
IndexReport CheckIndex(Pager& pager, PageNumber root, bool ownWriting);

/// Slots, free-space word and owner of a data page.
std::vector<std::string> CheckDataPage(Pager& pager, PageNumber page, std::uint32_t owner);

/// Everything in a test database: pages' owners against all maps, data pages, moved rows, long values' pages,
/// the index.
std::vector<std::string> CheckDatabase(const TestDatabase& database);

}  // namespace marrowkit::jet::test
