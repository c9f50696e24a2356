// The disk is full at every single allocation that an operation makes: the operation is refused with 3026,
// the file holds what it held before (or all of the operation, when only later work found no room) and is
// sound.

#include <functional>
#include <memory>
#include <numeric>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/engine/Database.h"
#include "support/FaultStorage.h"
#include "support/TableDesigns.h"

namespace marrowkit::test {
namespace {

using jet::Assignment;
using jet::ColumnType;
using jet::JetVersion;
using jet::test::FaultDisk;
using jet::test::FaultStorage;

constexpr const char* kPath = "Full.mdb";
constexpr int kChildren = 150;

std::string NameOf(int number, std::size_t size) {
    std::string name = std::to_string(number * 7919 % 1000) + " of Children";
    name.resize(size, 'x');
    return name;
}

void InsertChildren(jet::Database& database, int from, int to) {
    const auto children = database.OpenTable("Children");
    for (int i = from; i < to; ++i) {
        children->Insert(std::vector<Assignment>{{1, i % 5 + 1},
                                                 {2, NameOf(i, 40)},
                                                 {3, std::string(static_cast<std::size_t>(i % 9 * 100), 'm')},
                                                 {4, jet::Binary(static_cast<std::size_t>(i % 4 * 50), 7)}});
    }
}

void FillDatabase(jet::Database& database) {
    jet::TableDesign parents;
    parents.name = "Parents";
    parents.columns = {MakeColumn("Id", ColumnType::Long)};
    parents.indexes = {MakeIndex("PrimaryKey", "Id", true)};
    database.CreateTable(parents);
    jet::TableDesign children;
    children.name = "Children";
    children.columns = {MakeColumn("Id", ColumnType::Long), MakeColumn("Parent", ColumnType::Long),
                        MakeColumn("Name", ColumnType::Text, 255), MakeColumn("Notes", ColumnType::Memo),
                        MakeColumn("Picture", ColumnType::Ole)};
    children.columns.front().autoNumber = true;
    children.indexes = {MakeIndex("PrimaryKey", "Id", true), MakeIndex("Name", "Name")};
    database.CreateTable(children);
    for (int i = 1; i <= 5; ++i) {
        database.OpenTable("Parents")->Insert(std::vector<Assignment>{{0, i}});
    }
    InsertChildren(database, 0, kChildren);
}

std::vector<jet::RowId> RowsOf(const jet::Table& table) {
    std::vector<jet::RowId> rows;
    for (const auto scan = table.OpenScan({}); scan->Next();) rows.push_back(scan->Id());
    return rows;
}

/// Everything that a user of the database sees.
struct Contents {
    struct OneTable {
        std::string name;
        std::vector<std::string> columns;
        std::vector<std::string> indexes;
        std::vector<jet::Row> rows;
        bool operator==(const OneTable&) const = default;
    };
    std::vector<OneTable> tables;
    std::size_t relationships = 0;
    bool operator==(const Contents&) const = default;
};

Contents ContentsOf(jet::Database& database) {
    Contents contents;
    contents.relationships = database.Relationships().size();
    for (const std::string& name : database.TableNames()) {
        const auto table = database.OpenTable(name);
        Contents::OneTable& one = contents.tables.emplace_back();
        one.name = name;
        for (const jet::Column& column : table->Columns()) one.columns.push_back(column.name);
        for (const jet::Index& index : table->Indexes()) one.indexes.push_back(index.name);
        std::vector<std::size_t> columns(table->Columns().size());
        std::iota(columns.begin(), columns.end(), std::size_t{0});
        for (const auto scan = table->OpenScan(columns); scan->Next();) one.rows.push_back(scan->Values());
    }
    return contents;
}

struct Operation {
    const char* name;
    void (*run)(jet::Database& database);
    std::size_t cacheBytes = std::size_t{4} << 20;
};

void PrintTo(const Operation& one, std::ostream* out) {
    *out << one.name;
}

void InUnit(jet::Database& database, const std::function<void()>& changes) {
    jet::Unit unit(database.GetPager());
    changes();
    unit.Commit();
}

void ChangeChildren(jet::Database& database, const std::vector<Assignment>& values) {
    const auto children = database.OpenTable("Children");
    for (const jet::RowId row : RowsOf(*children)) children->Update(row, values);
}

const Operation kOperations[] = {
    {"InsertOne", [](jet::Database& database) { InsertChildren(database, 1, 2); }},
    {"InsertMany",
     [](jet::Database& database) { InUnit(database, [&] { InsertChildren(database, 0, 400); }); }},
    {"InsertMoreThanTheCacheHolds",
     [](jet::Database& database) { InUnit(database, [&] { InsertChildren(database, 0, 250); }); }, 1},
    {"LengthenRows",
     [](jet::Database& database) {
         InUnit(database, [&] { ChangeChildren(database, {{2, NameOf(3, 200)}}); });
     }},
    {"StoreMemos",
     [](jet::Database& database) {
         InUnit(database, [&] { ChangeChildren(database, {{3, std::string(9000, 'M')}}); });
     }},
    {"StorePictures",
     [](jet::Database& database) {
         const auto children = database.OpenTable("Children");
         const jet::RowId row = RowsOf(*children).front();
         children->Update(row, std::vector<Assignment>{{4, jet::Binary(300000, 9)}});
     }},
    {"DeleteRows",
     [](jet::Database& database) {
         InUnit(database, [&] {
             const auto children = database.OpenTable("Children");
             for (const jet::RowId row : RowsOf(*children)) children->Delete(row);
         });
     }},
    {"CreateTable",
     [](jet::Database& database) {
         jet::TableDesign design;
         design.name = "New";
         for (int i = 0; i < 90; ++i) {
             design.columns.push_back(
                 MakeColumn(("A rather long name of column " + std::to_string(i)).c_str(),
                            i % 9 == 0 ? ColumnType::Memo : ColumnType::Double));
             design.columns.back().required = true;
         }
         design.indexes = {MakeIndex("First", design.columns[1].name.c_str()),
                           MakeIndex("Second", design.columns[2].name.c_str())};
         database.CreateTable(design);
     }},
    {"CreateIndex",
     [](jet::Database& database) {
         jet::Index index = MakeIndex("Composite", "Name");
         index.parts.push_back({"Parent", false});
         database.CreateIndex("Children", index);
     }},
    {"AddColumn",
     [](jet::Database& database) { database.AddColumn("Children", MakeColumn("More", ColumnType::Memo)); }},
    {"CreateRelationship",
     [](jet::Database& database) {
         jet::Relationship relationship;
         relationship.name = "ParentOf";
         relationship.table = "Parents";
         relationship.foreignTable = "Children";
         relationship.columns = {{"Id", "Parent"}};
         database.CreateRelationship(relationship);
     }},
    {"DropTable", [](jet::Database& database) { database.DropTable("Children"); }},
};

class DiskFullTest : public testing::TestWithParam<std::tuple<JetVersion, Operation>> {
protected:
    static JetVersion Version() { return std::get<0>(GetParam()); }
    static const Operation& Tested() { return std::get<1>(GetParam()); }

    static FaultDisk MakeDisk(JetVersion version) {
        const auto disk = std::make_shared<FaultDisk>();
        FaultStorage storage(disk);
        jet::OpenOptions options;
        options.storage = &storage;
        {
            const auto database = jet::Database::Create(kPath, version, options);
            FillDatabase(*database);
            database->GetPager().Flush();
        }
        return FaultDisk(*disk);
    }

    static std::shared_ptr<jet::Database> Open(FaultStorage& storage) {
        jet::OpenOptions options;
        options.storage = &storage;
        options.cacheBytes = Tested().cacheBytes;
        return jet::Database::Open(kPath, options);
    }

    static void Expect3026(const RuntimeError& error) { EXPECT_EQ(error.number, 3026) << error.description; }

    /// Runs the operation and makes it durable. False when there was no room.
    static bool RunOn(jet::Database& database) {
        try {
            Tested().run(database);
            database.GetPager().Flush();
            return true;
        } catch (const RuntimeError& error) {
            Expect3026(error);
            return false;
        }
    }

    static Contents ExpectSound(const std::shared_ptr<FaultDisk>& disk) {
        disk->capacity = ~std::uint64_t{0};
        FaultStorage storage(disk);
        const Contents contents = ContentsOf(*Open(storage));
        for (const jet::Problem& problem : jet::Check(kPath, 20, &storage)) ADD_FAILURE() << problem.ToText();
        EXPECT_EQ(disk->names.size(), 1U) << "something lies beside the database";
        return contents;
    }
};

/// Calls `run` with ever more spare bytes: for each write that needs more than there is, with none of them,
/// half of them and all but one. `run` returns what the disk would have had to hold beyond its start, 0 when
/// it all went well. Returns how many writes there were.
template <typename Run>
int ForEveryAllocation(const Run& run) {
    std::uint64_t spare = 0;
    for (int allocations = 0;; ++allocations) {
        const std::uint64_t needed = run(spare);
        if (testing::Test::HasFailure() || needed == 0) return allocations;
        EXPECT_GT(needed, spare);
        for (const std::uint64_t less : {(spare + needed) / 2, needed - 1}) {
            SCOPED_TRACE("in the middle of a write");
            if (less > spare) {
                EXPECT_EQ(run(less), needed);
            }
        }
        spare = needed;
    }
}

TEST_P(DiskFullTest, IsToldAtEveryAllocationAndLeavesTheFileIntact) {
    const FaultDisk base = MakeDisk(Version());
    Contents before;
    Contents after;
    {
        const auto disk = std::make_shared<FaultDisk>(base);
        FaultStorage storage(disk);
        const auto database = Open(storage);
        before = ContentsOf(*database);
        ASSERT_TRUE(RunOn(*database));
        after = ContentsOf(*database);
        ASSERT_FALSE(before == after);
    }
    int runs = 0;
    const int allocations = ForEveryAllocation([&](std::uint64_t spare) -> std::uint64_t {
        SCOPED_TRACE("spare bytes " + std::to_string(spare));
        const auto disk = std::make_shared<FaultDisk>(base);
        disk->capacity = disk->UsedBytes() + spare;
        bool done = false;
        {
            FaultStorage storage(disk);
            std::shared_ptr<jet::Database> database;
            try {
                database = Open(storage);
            } catch (const RuntimeError& error) {
                Expect3026(error);
            }
            done = database && RunOn(*database);
            if (database && !done) {
                const Contents now = ContentsOf(*database);
                EXPECT_TRUE(now == before || now == after);
            }
            if (database && !done && runs++ % 2 == 1) {
                // Someone makes room, and it can be done after all.
                disk->capacity = ~std::uint64_t{0};
                if (ContentsOf(*database) == before) {
                    EXPECT_TRUE(RunOn(*database));
                } else {
                    database->GetPager().Flush();
                }
                EXPECT_TRUE(ContentsOf(*database) == after);
            }
        }
        const Contents left = ExpectSound(disk);
        EXPECT_TRUE(left == after || (!done && left == before));
        return done ? 0 : disk->refusedBytes - base.UsedBytes();
    });
    EXPECT_GE(allocations, 2);
    RecordProperty("allocations", allocations);
}

INSTANTIATE_TEST_SUITE_P(Operations, DiskFullTest,
                         testing::Combine(testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                                          testing::ValuesIn(kOperations)),
                         [](const auto& tested) {
                             const bool isJet3 = std::get<0>(tested.param) == JetVersion::Jet3;
                             return (isJet3 ? "Jet3" : "Jet4") + std::string(std::get<1>(tested.param).name);
                         });

class DiskFullCompactionTest : public testing::TestWithParam<JetVersion> {};

TEST_P(DiskFullCompactionTest, LeavesTheSourceAndNothingElse) {
    FaultDisk base;
    {
        const auto disk = std::make_shared<FaultDisk>();
        FaultStorage storage(disk);
        jet::OpenOptions options;
        options.storage = &storage;
        {
            const auto database = jet::Database::Create(kPath, GetParam(), options);
            FillDatabase(*database);
            database->GetPager().Flush();
        }
        base.names = FaultDisk(*disk).names;
    }
    const int allocations = ForEveryAllocation([&](std::uint64_t spare) -> std::uint64_t {
        SCOPED_TRACE("spare bytes " + std::to_string(spare));
        const auto disk = std::make_shared<FaultDisk>(base);
        disk->capacity = disk->UsedBytes() + spare;
        FaultStorage storage(disk);
        jet::OpenOptions options;
        options.storage = &storage;
        bool done = false;
        try {
            jet::Compact(kPath, "Copy.mdb", options);
            done = true;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3026) << error.description;
        }
        EXPECT_EQ(disk->names.size(), done ? 2U : 1U) << "something was left behind";
        EXPECT_EQ(disk->names.at(kPath)->now, base.names.at(kPath)->now);
        return done ? 0 : disk->refusedBytes - base.UsedBytes();
    });
    EXPECT_GE(allocations, 1);
    RecordProperty("allocations", allocations);
}

INSTANTIATE_TEST_SUITE_P(Versions, DiskFullCompactionTest,
                         testing::Values(JetVersion::Jet3, JetVersion::Jet4), [](const auto& version) {
                             return version.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
