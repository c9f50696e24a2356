#pragma once

#include <memory>
#include <string>

#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/LongValueStore.h"
#include "platform/jet/storage/Pager.h"
#include "platform/jet/storage/RowStore.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet::test {

/// Where the structures of a test database lie; kept on page 2 so that reopening finds them.
struct Layout {
    static constexpr PageNumber kTable = 2;
    RowId owned;
    RowId free;
    RowId indexMap;
    RowId longOwned;
    RowId longFree;
    PageNumber root = 0;
};

/// A database file with one of everything and no catalog: a table's row pages, an index, a long-value column.
struct TestDatabase {
    std::shared_ptr<Pager> pager;
    Layout layout;

    static TestDatabase Create(Storage& storage, const std::string& path, JetVersion version,
                               std::uint32_t databaseKey = 0, std::size_t cacheBytes = std::size_t{4} << 20);
    static TestDatabase Open(Storage& storage, const std::string& path, const PagerOptions& options = {});

    RowStore Rows() const { return {*pager, Layout::kTable, layout.owned, layout.free}; }
    BTree Index() const { return {*pager, Layout::kTable, layout.root, layout.indexMap}; }
    LongValueStore LongValues() const { return {*pager, layout.longOwned, layout.longFree}; }
};

}  // namespace marrowkit::jet::test
