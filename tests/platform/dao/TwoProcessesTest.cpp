// Two real processes write to one database at the same time.

#include <cstdint>
#include <functional>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "platform/dao/SampleDatabase.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

constexpr int kRowsEach = 1000;

/// Adds rows named after the writer, one unit each; every tenth by a statement of its own, which is durable
/// on return.
void WriteRows(const std::string& path, const std::string& writer) {
    dao::Database database = dao::DBEngine().OpenDatabase(path);
    dao::Recordset rows = database.OpenRecordset("SELECT * FROM T", dao::RecordsetType::Dynaset);
    for (int i = 0; i < kRowsEach; ++i) {
        const std::string name = writer + std::to_string(i);
        if (i % 10 == 0) {
            database.Execute("INSERT INTO T (Name) VALUES ('" + name + "')");
            continue;
        }
        rows.AddNew();
        rows.Fields("Name").SetValue(name);
        rows.Update();
    }
    rows.Close();
    database.Close();
}

/// The work in a process of its own, which ends with 1 when it fails.
pid_t InAProcess(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child != 0) return child;
    try {
        work();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "child: %s\n", error.what());
        _exit(1);
    }
    _exit(0);
}

void ExpectGoodEnd(pid_t child) {
    ASSERT_GT(child, 0);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

void Execute(const std::string& path, int times, const std::string& statement) {
    dao::Database database = dao::DBEngine().OpenDatabase(path);
    for (int i = 0; i < times; ++i) database.Execute(statement);
    database.Close();
}

class TwoProcesses : public ::testing::TestWithParam<jet::JetVersion> {};

TEST_P(TwoProcesses, InsertingAtTheSameTimeLoseNoRow) {
    const test::TemporaryFolder folder;
    const std::string path = (folder / "Shared.mdb").string();
    {
        dao::Database database = dao::DBEngine().CreateDatabase(path, GetParam());
        database.Execute("CREATE TABLE T (Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Name TEXT(40))");
        database.Execute("CREATE UNIQUE INDEX ByName ON T (Name)");
    }
    const pid_t child = InAProcess([&] { WriteRows(path, "child"); });
    WriteRows(path, "parent");
    ExpectGoodEnd(child);

    dao::Database database = dao::DBEngine().OpenDatabase(path);
    EXPECT_EQ(test::Records(database, "SELECT COUNT(*), MIN(Id), MAX(Id) FROM T"),
              std::to_string(2 * kRowsEach) + "|1|" + std::to_string(2 * kRowsEach));
    EXPECT_EQ(test::Records(database, "SELECT COUNT(*) FROM T WHERE Name LIKE 'child*'"),
              std::to_string(kRowsEach));
    database.Close();
    EXPECT_TRUE(jet::Check(path).empty());
}

/// What a statement changes is chosen when nobody else can change it any more: of two processes that want the
/// same records, each gets a record that the other does not get.
class TwoProcessesTakingRecords : public TwoProcesses {
protected:
    static constexpr int kRecords = 80;

    TwoProcessesTakingRecords() {
        dao::Database database = dao::DBEngine().CreateDatabase(path_, GetParam());
        database.Execute("CREATE TABLE T (Id LONG CONSTRAINT PrimaryKey PRIMARY KEY, Taken LONG)");
        database.Execute("CREATE TABLE Claims (Who TEXT(10), Records LONG)");
        for (int id = 0; id < kRecords; ++id)
            database.Execute("INSERT INTO T VALUES (" + std::to_string(id) + ", 0)");
    }

    void TakeOneByOne(const std::string& who, const std::string& statement) {
        dao::Database database = dao::DBEngine().OpenDatabase(path_);
        std::int64_t records = 0;
        for (int id = 0; id < kRecords; ++id) {
            database.Execute(statement + " WHERE Taken = 0 AND Id = " + std::to_string(id));
            records += database.RecordsAffected();
        }
        database.Execute("INSERT INTO Claims VALUES ('" + who + "', " + std::to_string(records) + ")");
        database.Close();
    }

    std::string One(const std::string& query) {
        dao::Database database = dao::DBEngine().OpenDatabase(path_);
        return test::Records(database, query);
    }

    const test::TemporaryFolder folder_;
    const std::string path_ = (folder_ / "Shared.mdb").string();
};

TEST_P(TwoProcessesTakingRecords, ByUpdates) {
    const pid_t child = InAProcess([&] { TakeOneByOne("child", "UPDATE T SET Taken = 1"); });
    TakeOneByOne("parent", "UPDATE T SET Taken = 2");
    ExpectGoodEnd(child);
    EXPECT_EQ(One("SELECT SUM(Records) FROM Claims"), std::to_string(kRecords));
    EXPECT_EQ(One("SELECT COUNT(*) FROM T WHERE Taken = 1"),
              One("SELECT Records FROM Claims WHERE Who = 'child'"));
}

TEST_P(TwoProcessesTakingRecords, ByADeletionAndAnUpdate) {
    const pid_t child = InAProcess([&] { TakeOneByOne("child", "DELETE FROM T"); });
    TakeOneByOne("parent", "UPDATE T SET Taken = 2");
    ExpectGoodEnd(child);
    EXPECT_EQ(One("SELECT SUM(Records) FROM Claims"), std::to_string(kRecords));
    EXPECT_EQ(One("SELECT COUNT(*) FROM T"), One("SELECT Records FROM Claims WHERE Who = 'parent'"));
}

TEST_P(TwoProcesses, AddWhatAQueryFindsInTheNewestState) {
    constexpr int kTimes = 60;
    const test::TemporaryFolder folder;
    const std::string path = (folder / "Shared.mdb").string();
    {
        dao::Database database = dao::DBEngine().CreateDatabase(path, GetParam());
        database.Execute("CREATE TABLE T (Number LONG CONSTRAINT PrimaryKey PRIMARY KEY)");
        database.Execute("INSERT INTO T VALUES (0)");
    }
    const std::string next = "INSERT INTO T SELECT MAX(Number) + 1 AS [Number] FROM T";
    const pid_t child = InAProcess([&] { Execute(path, kTimes, next); });
    Execute(path, kTimes, next);
    ExpectGoodEnd(child);
    dao::Database database = dao::DBEngine().OpenDatabase(path);
    EXPECT_EQ(test::Records(database, "SELECT COUNT(*), MAX(Number) FROM T"),
              std::to_string(2 * kTimes + 1) + "|" + std::to_string(2 * kTimes));
}

std::string NameOf(const ::testing::TestParamInfo<jet::JetVersion>& tested) {
    return tested.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
}

constexpr auto kFormats = {jet::JetVersion::Jet3, jet::JetVersion::Jet4};
INSTANTIATE_TEST_SUITE_P(Formats, TwoProcesses, ::testing::ValuesIn(kFormats), NameOf);
INSTANTIATE_TEST_SUITE_P(Formats, TwoProcessesTakingRecords, ::testing::ValuesIn(kFormats), NameOf);

}  // namespace
}  // namespace marrowkit
