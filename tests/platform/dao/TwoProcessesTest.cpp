// Two real processes write to one database at the same time.

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

class TwoProcesses : public ::testing::TestWithParam<jet::JetVersion> {};

TEST_P(TwoProcesses, InsertingAtTheSameTimeLoseNoRow) {
    const test::TemporaryFolder folder;
    const std::string path = (folder / "Shared.mdb").string();
    {
        dao::Database database = dao::DBEngine().CreateDatabase(path, GetParam());
        database.Execute("CREATE TABLE T (Id COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Name TEXT(40))");
        database.Execute("CREATE UNIQUE INDEX ByName ON T (Name)");
    }
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        int exitCode = 0;
        try {
            WriteRows(path, "child");
        } catch (const std::exception& error) {
            std::fprintf(stderr, "child: %s\n", error.what());
            exitCode = 1;
        }
        _exit(exitCode);
    }
    WriteRows(path, "parent");
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);

    dao::Database database = dao::DBEngine().OpenDatabase(path);
    EXPECT_EQ(test::Records(database, "SELECT COUNT(*), MIN(Id), MAX(Id) FROM T"),
              std::to_string(2 * kRowsEach) + "|1|" + std::to_string(2 * kRowsEach));
    EXPECT_EQ(test::Records(database, "SELECT COUNT(*) FROM T WHERE Name LIKE 'child*'"),
              std::to_string(kRowsEach));
    database.Close();
    EXPECT_TRUE(jet::Check(path).empty());
}

INSTANTIATE_TEST_SUITE_P(Formats, TwoProcesses,
                         ::testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == jet::JetVersion::Jet3 ? std::string("Jet3")
                                                                          : std::string("Jet4");
                         });

}  // namespace
}  // namespace marrowkit
