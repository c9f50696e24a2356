#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandLineTester.h"
#include "platform/dao/Dao.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

using testing::HasSubstr;

class SqlCommand : public testing::Test {
protected:
    SqlCommand() : path_((folder_ / "sample.mdb").string()) {
        dao::Database database = dao::DBEngine().CreateDatabase(path_);
        database.Execute(
            "CREATE TABLE Games (GA_Id COUNTER PRIMARY KEY, Name TEXT(50), Fav YESNO, Added DATETIME)");
        database.Execute("INSERT INTO Games (Name, Fav) VALUES ('The \"End\"', True)");
        database.Execute("INSERT INTO Games (Added) VALUES (#6/5/2004 13:06:59#)");
        database.Close();
    }
    CommandLineRun Run(const std::string& statement) { return RunCli({"sql", path_, statement}); }

    TemporaryFolder folder_;
    std::string path_;
};

TEST_F(SqlCommand, PrintsTheRowsOfASelect) {
    const CommandLineRun run = Run("SELECT GA_Id, Name, Fav, Added FROM Games ORDER BY GA_Id DESC");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "GA_Id,Name,Fav,Added\n"
              "2,,False,2004-06-05T13:06:59\n"
              "1,\"The \"\"End\"\"\",True,\n");
    const std::string json = RunCli({"sql", "--json", path_, "SELECT COUNT(*) AS n FROM Games"}).out;
    EXPECT_EQ(nlohmann::json::parse(json), nlohmann::json::parse(R"([{"n": 2}])"));
}

TEST_F(SqlCommand, PrintsHowManyRecordsWereAffected) {
    EXPECT_EQ(Run("UPDATE Games SET Name = 'x' WHERE Name IS NULL").out, "RecordsAffected\n1\n");
    EXPECT_EQ(Run("DELETE * FROM Games").out, "RecordsAffected\n2\n");
    EXPECT_EQ(Run("CREATE TABLE T (a LONG)").out, "RecordsAffected\n0\n");
    EXPECT_EQ(Run("SELECT COUNT(*) FROM Games").out, "Expr1000\n0\n");
}

TEST_F(SqlCommand, SaysWhatIsWrongWithAStatement) {
    const CommandLineRun run = Run("SELECT Nosuch FROM Games");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("Too few parameters. Expected 1."));
    EXPECT_THAT(Run("FROB").err, HasSubstr("Invalid SQL statement"));
    EXPECT_EQ(RunCli({"sql", (folder_ / "absent.mdb").string(), "SELECT 1"}).exitCode, 1);
    EXPECT_EQ(RunCli({"sql", path_}).exitCode, 2);
}

}  // namespace
}  // namespace marrowkit::test
