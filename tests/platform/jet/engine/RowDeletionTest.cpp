// Deleting rows: each goes as a whole or not at all, inside of a unit too.

#include <algorithm>
#include <random>

#include "EngineTestSupport.h"
#include "platform/jet/check/CheckTestDatabase.h"
#include "platform/jet/storage/BTree.h"

namespace marrowkit::jet::test {
namespace {

constexpr int kRows = 400;

TableDesign TwoIndexes() {
    return {"T",
            {LongColumn("Id"), LongColumn("Same"), ColumnOf("Memo", ColumnType::Memo)},
            {PrimaryKey({"Id"}), IndexOn("Same", {"Same"})},
            "",
            ""};
}

std::vector<RowId> Fill(Table& table) {
    std::vector<RowId> rows;
    for (int i = 0; i < kRows; ++i) rows.push_back(Insert(table, {{"Id", i}, {"Same", i}}));
    return rows;
}

class RowDeletionTest : public NewDatabaseTest {
protected:
    RowDeletionTest() {
        database_->CreateTable(TwoIndexes());
        rows_ = Fill(T("T"));
    }
    BTree TreeOf(std::size_t realIndex) {
        const TableDefinition& definition = T("T").Definition();
        const RealIndex& index = definition.realIndexes.at(realIndex);
        return {database_->GetPager(), definition.page, index.rootPage, index.pageMap};
    }
    std::vector<std::uint8_t> KeyOf(const BTree& tree, RowId row) {
        BTree::Cursor cursor(tree);
        cursor.SeekBefore({});
        while (cursor.Next()) {
            if (cursor.Row() == row) return {cursor.Key().begin(), cursor.Key().end()};
        }
        return {};
    }
    std::vector<RowId> rows_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, RowDeletionTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(RowDeletionTest, OneThatFailsLeavesTheRestOfItsUnitAlone) {
    for (const std::size_t damaged : {0U, 1U}) {
        SCOPED_TRACE(damaged);
        const std::size_t first = damaged * 10;
        const auto before = T("T").RowCount();
        Unit unit(database_->GetPager());
        T("T").Delete(rows_[first]);
        BTree tree = TreeOf(damaged);
        const auto key = KeyOf(tree, rows_[first + 1]);
        ASSERT_TRUE(tree.Erase(key, rows_[first + 1]));
        EXPECT_EQ(ErrorOf([&] { T("T").Delete(rows_[first + 1]); }), 3049);
        EXPECT_EQ(ValueOf(T("T"), rows_[first + 1], "Id"), Value(static_cast<std::int32_t>(first + 1)));
        const std::string whole = damaged == 0 ? "Same" : "PrimaryKey";
        EXPECT_EQ(Walk(T("T"), whole, IndexRange::Equal({static_cast<std::int32_t>(first + 1)}), "Id").size(),
                  1U);
        EXPECT_EQ(T("T").RowCount(), before - 1);
        T("T").Delete(rows_[first + 2]);
        EXPECT_EQ(T("T").RowCount(), before - 2);
        TreeOf(damaged).Insert(key, rows_[first + 1]);
        unit.Commit();
        ExpectSound();
    }
}

TEST_P(RowDeletionTest, ARolledBackUnitBringsAllRowsBack) {
    std::mt19937 random(3);
    std::vector<RowId> order = rows_;
    for (const std::size_t count : {std::size_t{1}, order.size() / 2, order.size()}) {
        std::ranges::shuffle(order, random);
        const auto before = RowsOf(T("T"));
        {
            Unit unit(database_->GetPager());
            for (std::size_t i = 0; i < count; ++i) T("T").Delete(order[i]);
            EXPECT_EQ(T("T").RowCount(), static_cast<std::int64_t>(order.size() - count));
        }
        EXPECT_EQ(RowsOf(T("T")), before);
        EXPECT_EQ(T("T").RowCount(), kRows);
        ExpectSound();
    }
}

TEST_P(RowDeletionTest, DeletesAllRowsInAnyOrderWhileAScanStandsOnThem) {
    Unit unit(database_->GetPager());
    const auto scan = T("T").OpenScan({0});
    std::size_t met = 0;
    while (scan->Next()) {
        ++met;
        T("T").Delete(scan->Id());
        EXPECT_EQ(ErrorOf([&] { T("T").Delete(scan->Id()); }), 3167);
    }
    EXPECT_EQ(met, rows_.size());
    EXPECT_EQ(T("T").RowCount(), 0);
    unit.Commit();
    ExpectSound();
}

TEST_P(RowDeletionTest, LongValuesGoWithTheirRows) {
    const RowId row = Insert(T("T"), {{"Id", kRows}, {"Memo", std::string(9000, 'x')}});
    Unit unit(database_->GetPager());
    T("T").Delete(row);
    unit.Commit();
    ExpectSound();
}

class SharedPageTest : public ::testing::TestWithParam<JetVersion> {};
INSTANTIATE_TEST_SUITE_P(BothFormats, SharedPageTest, ::testing::ValuesIn(kBothVersions), VersionName);

TEST_P(SharedPageTest, IndexesThatDamageHasGivenTheSamePagesAreRefused) {
    const marrowkit::test::TemporaryFolder folder;
    const std::string path = (folder / "test.mdb").string();
    {
        const auto database = Database::Create(path, GetParam());
        database->CreateTable(TwoIndexes());
        Fill(*database->OpenTable("T"));
    }
    const std::string text = marrowkit::test::ReadFile(path);
    marrowkit::test::DatabaseBytes file({text.begin(), text.end()});
    file.EditDefinition("T", [](TableDefinition& definition) {
        definition.realIndexes.at(1).rootPage = definition.realIndexes.at(0).rootPage;
    });
    marrowkit::test::WriteFile(path, std::string(file.bytes.begin(), file.bytes.end()));

    const auto database = Database::Open(path);
    const auto table = database->OpenTable("T");
    Unit unit(database->GetPager());
    const auto before = RowsOf(*table);
    const auto scan = table->OpenScan({0});
    ASSERT_TRUE(scan->Next());
    EXPECT_EQ(ErrorOf([&] { table->Delete(scan->Id()); }), 3049);
    EXPECT_EQ(RowsOf(*table), before);
    EXPECT_EQ(Walk(*table, "PrimaryKey", IndexRange::Equal({0}), "Id").size(), 1U);
}

}  // namespace
}  // namespace marrowkit::jet::test
