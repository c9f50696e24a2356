#include "platform/jet/storage/TestDatabase.h"

#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet::test {

namespace {

constexpr std::size_t kLayoutAt = 100;

}  // namespace

TestDatabase TestDatabase::Create(Storage& storage, const std::string& path, JetVersion version,
                                  std::uint32_t databaseKey, std::size_t cacheBytes) {
    DatabaseHeader header = NewDatabaseHeader(version, 38000.25);
    header.databaseKey = databaseKey;
    PagerOptions options;
    options.cacheBytes = cacheBytes;
    TestDatabase database;
    database.pager = Pager::Create(storage, path, header, options);
    Pager& pager = *database.pager;
    Unit unit(pager);
    {
        const PageEdit page = pager.Allocate();
        page.Mutable().PutU8(0, static_cast<std::uint8_t>(PageType::TableDefinition));
        page.Mutable().PutU8(1, 1);
    }
    const std::vector<RowId> maps = UsageMap::CreateMaps(pager, 5);
    Layout& layout = database.layout;
    layout = {maps[0], maps[1], maps[2], maps[3], maps[4], 0};
    layout.root = BTree::CreateRoot(pager, Layout::kTable, layout.indexMap);
    {
        const PageEdit page = pager.Edit(Layout::kTable);
        for (std::size_t i = 0; i < maps.size(); ++i)
            page.Mutable().PutU32(kLayoutAt + 4 * i, maps[i].Stored());
        page.Mutable().PutU32(kLayoutAt + 20, layout.root);
    }
    unit.Commit();
    pager.Flush();
    return database;
}

TestDatabase TestDatabase::Open(Storage& storage, const std::string& path, const PagerOptions& options) {
    TestDatabase database;
    database.pager = Pager::Open(storage, path, options);
    const PageRef page = database.pager->Read(Layout::kTable);
    const auto map = [&](std::size_t i) { return RowId::FromStored(page.Bytes().U32(kLayoutAt + 4 * i)); };
    database.layout = {map(0), map(1), map(2), map(3), map(4), page.Bytes().U32(kLayoutAt + 20)};
    return database;
}

}  // namespace marrowkit::jet::test
