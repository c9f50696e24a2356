#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "platform/jet/storage/UsageMap.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

// Databases written by Access: every table, row, long value and index page of them is read.

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;

/// A table definition with its continuation pages put together; nothing for pages that are none.
std::optional<TableDefinition> ReadDefinition(Pager& pager, PageNumber first) {
    std::vector<std::uint8_t> logical;
    std::size_t pages = 0;
    for (PageNumber page = first; page != 0 && ++pages < 50;) {
        const PageRef ref = pager.Read(page);
        if (ref.Type() != PageType::TableDefinition) return std::nullopt;
        const auto bytes = ref.Bytes().From(page == first ? 0 : 8).All();
        logical.insert(logical.end(), bytes.begin(), bytes.end());
        page = ref.Bytes().U32(4);
    }
    return ParseTableDefinition(pager.PageGeometry(), first, ByteView(logical));
}

struct Counts {
    std::size_t files = 0, tables = 0, rows = 0, longValues = 0, indexes = 0, indexPages = 0, entries = 0;
};

/// The tables of the catalog: rows of the table at page 2 whose type is 1.
std::vector<PageNumber> TablePages(Pager& pager, const TableDefinition& catalog) {
    std::vector<PageNumber> pages;
    const RowStore rows(pager, kCatalogPage, catalog.ownedMap, catalog.freeMap);
    RowStore::Cursor cursor(rows);
    while (cursor.Next()) {
        const RowView row(pager.PageGeometry(), catalog, cursor.Bytes());
        if (std::get<std::int16_t>(row.Decode(*catalog.ColumnByNumber(3))) != 1) continue;
        pages.push_back(
            static_cast<PageNumber>(std::get<std::int32_t>(row.Decode(*catalog.ColumnByNumber(0)))) &
            0xFFFFFF);
    }
    return pages;
}

void ReadTable(Pager& pager, const TableDefinition& table, Counts& counts) {
    const RowStore rows(pager, table.page, table.ownedMap, table.freeMap);
    for (const PageNumber page : UsageMap(pager, table.ownedMap).Members()) {
        EXPECT_THAT(CheckDataPage(pager, page, table.page), IsEmpty());
    }
    std::size_t count = 0;
    RowStore::Cursor cursor(rows);
    while (cursor.Next()) {
        ++count;
        const RowView row(pager.PageGeometry(), table, cursor.Bytes());
        for (const ColumnDefinition& column : table.columns) {
            if (!column.IsLongValue() || row.IsNull(column)) continue;
            const LongValueStore values(pager, column.ownedMap, column.freeMap);
            EXPECT_EQ(values.Load(row.Bytes(column)).size(), LongValueStore::Length(row.Bytes(column)));
            ++counts.longValues;
        }
    }
    counts.rows += count;
    std::size_t backwards = 0;
    while (cursor.Previous()) ++backwards;
    EXPECT_EQ(backwards, count);

    for (const RealIndex& index : table.realIndexes) {
        const IndexReport report = CheckIndex(pager, index.rootPage, false);
        EXPECT_THAT(report.problems, IsEmpty());
        std::set<PageNumber> pages(report.pages.begin(), report.pages.end());
        const auto members = UsageMap(pager, index.pageMap).Members();
        EXPECT_EQ(std::set<PageNumber>(members.begin(), members.end()), pages);
        const BTree tree(pager, table.page, index.rootPage, index.pageMap);
        BTree::Cursor walk(tree);
        walk.SeekBefore({});
        for (const IndexEntry& entry : report.entries) {
            ASSERT_TRUE(walk.Next());
            ASSERT_TRUE(std::ranges::equal(walk.Key(), std::span(entry.bytes).first(entry.bytes.size() - 4)));
            EXPECT_TRUE(rows.Read(walk.Row()));
            EXPECT_TRUE(tree.ContainsKey(walk.Key()));
        }
        EXPECT_FALSE(walk.Next());
        ++counts.indexes;
        counts.indexPages += pages.size();
        counts.entries += report.entries.size();
    }
}

TEST(GenuineFiles, AreReadPageForPage) {
    MARROWKIT_NEED_TEST_DATA();
    Counts counts;
    for (const auto& path : ::marrowkit::test::SampleFiles("mdb", ".mdb")) {
        SCOPED_TRACE(path.filename().string());
        PagerOptions options;
        options.readOnly = true;
        std::shared_ptr<Pager> pager;
        try {
            pager = Pager::Open(HostStorage(), path.string(), options);
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3031) << error.description;
            continue;
        }
        ++counts.files;
        const auto catalog = ReadDefinition(*pager, kCatalogPage);
        ASSERT_TRUE(catalog);
        for (const PageNumber page : TablePages(*pager, *catalog)) {
            const auto table = ReadDefinition(*pager, page);
            ASSERT_TRUE(table);
            ++counts.tables;
            ReadTable(*pager, *table, counts);
            EXPECT_FALSE(pager->IsFree(page));
        }
        EXPECT_FALSE(std::filesystem::exists(path.string() + ".mkjournal"));
    }
    EXPECT_GT(counts.files, 0U);
    EXPECT_GT(counts.entries, 0U);
    std::cout << counts.files << " files, " << counts.tables << " tables, " << counts.rows << " rows, "
              << counts.longValues << " long values, " << counts.indexes << " indexes, " << counts.indexPages
              << " index pages, " << counts.entries << " entries\n";
}

/// Takes all entries out of each index of a copy, and puts them back in another order.
TEST(GenuineFiles, IndexesSurviveHavingEveryEntryReplaced) {
    MARROWKIT_NEED_TEST_DATA();
    ::marrowkit::test::TemporaryFolder folder;
    std::size_t rebuilt = 0;
    for (const auto& path : ::marrowkit::test::SampleFiles("mdb", ".mdb")) {
        SCOPED_TRACE(path.filename().string());
        if (std::filesystem::file_size(path) > 3000000) continue;
        const auto copy = ::marrowkit::test::CopySample(path, folder);
        std::shared_ptr<Pager> pager;
        try {
            pager = Pager::Open(HostStorage(), copy.string());
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3031) << error.description;
            continue;
        }
        const auto catalog = ReadDefinition(*pager, kCatalogPage);
        Unit unit(*pager);
        for (const PageNumber page : TablePages(*pager, *catalog)) {
            const auto table = ReadDefinition(*pager, page);
            for (const RealIndex& index : table->realIndexes) {
                const IndexReport before = CheckIndex(*pager, index.rootPage, false);
                BTree tree(*pager, table->page, index.rootPage, index.pageMap);
                const auto keyOf = [](const IndexEntry& entry) {
                    return std::span(entry.bytes).first(entry.bytes.size() - 4);
                };
                const auto rowOf = [](const IndexEntry& entry) {
                    const ByteView pointer = ByteView(entry.bytes).From(entry.bytes.size() - 4);
                    return RowId{pointer.U24BigEndian(0), pointer.U8(3)};
                };
                for (const IndexEntry& entry : before.entries)
                    ASSERT_TRUE(tree.Erase(keyOf(entry), rowOf(entry)));
                EXPECT_THAT(CheckIndex(*pager, index.rootPage, false).entries, IsEmpty());
                for (std::size_t start = 0; start < 3; ++start) {
                    for (std::size_t i = start; i < before.entries.size(); i += 3)
                        tree.Insert(keyOf(before.entries[i]), rowOf(before.entries[i]));
                }
                const IndexReport after = CheckIndex(*pager, index.rootPage, false);
                EXPECT_THAT(after.problems, IsEmpty());
                EXPECT_TRUE(after.entries == before.entries);
                const auto members = UsageMap(*pager, index.pageMap).Members();
                EXPECT_EQ(std::set<PageNumber>(members.begin(), members.end()),
                          std::set<PageNumber>(after.pages.begin(), after.pages.end()));
                ++rebuilt;
            }
        }
        unit.Commit();
    }
    EXPECT_GT(rebuilt, 0U);
}

}  // namespace
}  // namespace marrowkit::jet::test
