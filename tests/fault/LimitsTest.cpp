// Files that reach the size the format allows: 1 GB in Jet 3, 2 GB in Jet 4. They are made of zeros that
// nobody keeps.

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "support/SparseStorage.h"

namespace marrowkit::test {
namespace {

using jet::Assignment;
using jet::ColumnType;
using jet::JetVersion;

constexpr const char* kPath = "Large.mdb";

class SizeLimitTest : public testing::TestWithParam<JetVersion> {
protected:
    static std::uint64_t LimitBytes() {
        return std::uint64_t{1} << (GetParam() == JetVersion::Jet3 ? 30 : 31);
    }
    static std::uint64_t PageBytes() { return GetParam() == JetVersion::Jet3 ? 2048 : 4096; }

    /// A database with one table and two rows, and pages that belong to nobody up to this many below the
    /// limit.
    void MakeFile(std::uint64_t pagesBelow) {
        {
            jet::OpenOptions options;
            options.storage = &storage_;
            const auto database = jet::Database::Create(kPath, GetParam(), options);
            jet::TableDesign design;
            design.name = "T";
            jet::Column id;
            id.name = "Id";
            id.autoNumber = true;
            jet::Column memo;
            memo.name = "Memo";
            memo.type = ColumnType::Memo;
            design.columns = {id, memo};
            jet::Index key;
            key.name = "PrimaryKey";
            key.parts = {{"Id", true}};
            key.primaryKey = key.unique = key.required = true;
            design.indexes = {key};
            database->CreateTable(design);
            for (int i = 0; i < 2; ++i) Insert(*database, 10);
            database->GetPager().Flush();
        }
        storage_.Stretch(kPath, LimitBytes() - (pagesBelow + 1) * PageBytes());
        // The global map takes pages that it does not reach for free: they are used up first.
        const auto database = Open();
        jet::Unit unit(database->GetPager());
        const jet::PageNumber stretched = database->GetPager().PageCount();
        while (database->GetPager().PageCount() == stretched) database->GetPager().Allocate();
        unit.Commit();
    }
    std::shared_ptr<jet::Database> Open() {
        jet::OpenOptions options;
        options.storage = &storage_;
        options.cacheBytes = std::size_t{4} << 20;
        return jet::Database::Open(kPath, options);
    }
    static void Insert(jet::Database& database, std::size_t memoBytes) {
        database.OpenTable("T")->Insert(std::vector<Assignment>{{1, std::string(memoBytes, 'm')}});
    }
    template <typename Call>
    static int ErrorOf(const Call& call) {
        try {
            call();
        } catch (const RuntimeError& error) {
            return error.number;
        }
        return 0;
    }
    static std::vector<std::size_t> MemoSizes(jet::Database& database) {
        std::vector<std::size_t> sizes;
        const auto scan = database.OpenTable("T")->OpenScan({1});
        while (scan->Next()) sizes.push_back(std::get<std::string>(scan->Values()[0]).size());
        return sizes;
    }
    void ExpectSound() {
        EXPECT_LE(storage_.SizeOf(kPath), LimitBytes());
        for (const jet::Problem& problem : jet::Check(kPath, 20, &storage_)) {
            ADD_FAILURE() << problem.ToText();
        }
    }

    jet::test::SparseStorage storage_;
};
INSTANTIATE_TEST_SUITE_P(Versions, SizeLimitTest, testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& version) {
                             return version.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

TEST_P(SizeLimitTest, IsToldBeforeAnythingIsDamaged) {
    MakeFile(200);
    std::vector<std::size_t> expected{10, 10};
    {
        const auto database = Open();
        int error = 0;
        while (expected.size() < 500) {
            error = ErrorOf([&] { Insert(*database, 20000); });
            if (error != 0) break;
            expected.push_back(20000);
        }
        EXPECT_EQ(error, 3036);
        EXPECT_GT(expected.size(), 10U);
        EXPECT_EQ(MemoSizes(*database), expected);
        jet::TableDesign other;
        other.name = "Other";
        for (int i = 0; i < 200; ++i) {
            jet::Column column;
            column.name = "A rather long name of a column with number " + std::to_string(i);
            other.columns.push_back(column);
        }
        EXPECT_EQ(ErrorOf([&] { database->CreateTable(other); }), 3036);
        EXPECT_EQ(database->TableNames(), std::vector<std::string>{"T"});
        // Smaller things may still fit on pages there are.
        Insert(*database, 10);
        expected.push_back(10);
        database->GetPager().Flush();
    }
    ExpectSound();
    const auto database = Open();
    EXPECT_EQ(MemoSizes(*database), expected);
}

TEST_P(SizeLimitTest, RoomIsFoundAgainAfterDeletions) {
    MakeFile(100);
    {
        const auto database = Open();
        while (ErrorOf([&] { Insert(*database, 20000); }) == 0) {
        }
        const auto table = database->OpenTable("T");
        std::vector<jet::RowId> rows;
        for (const auto scan = table->OpenScan({}); scan->Next();) rows.push_back(scan->Id());
        ASSERT_GT(rows.size(), 4U);
        table->Delete(rows[2]);
        table->Delete(rows[3]);
        Insert(*database, 20000);
        database->GetPager().Flush();
    }
    ExpectSound();
}

/// A unit that finds no room in its middle is undone as a whole.
TEST_P(SizeLimitTest, AUnitThatDoesNotFitLeavesNothing) {
    MakeFile(60);
    {
        const auto database = Open();
        const std::vector<std::size_t> before = MemoSizes(*database);
        EXPECT_EQ(ErrorOf([&] {
                      jet::Unit unit(database->GetPager());
                      for (int i = 0; i < 100; ++i) Insert(*database, 9000);
                      unit.Commit();
                  }),
                  3036);
        EXPECT_EQ(MemoSizes(*database), before);
        database->GetPager().Flush();
    }
    ExpectSound();
}

}  // namespace
}  // namespace marrowkit::test
