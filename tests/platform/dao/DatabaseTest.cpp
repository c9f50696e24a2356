#include <functional>

#include <gtest/gtest.h>

#include "SampleDatabase.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {
namespace {

int NumberOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

TEST(DBEngine, SaysWhatIsWrongWithAFile) {
    TemporaryFolder folder;
    dao::DBEngine engine;
    WriteFile(folder / "text.mdb", std::string(10000, 'x'));
    WriteFile(folder / "empty.mdb", "");
    EXPECT_EQ(NumberOf([&] { engine.OpenDatabase((folder / "absent.mdb").string()); }), 3024);
    EXPECT_EQ(NumberOf([&] { engine.OpenDatabase((folder / "nowhere/absent.mdb").string()); }), 3044);
    EXPECT_EQ(NumberOf([&] { engine.OpenDatabase((folder / "text.mdb").string()); }), 3343);
    EXPECT_NE(NumberOf([&] { engine.OpenDatabase((folder / "empty.mdb").string()); }), 0);
    EXPECT_EQ(NumberOf([&] { engine.OpenDatabase(""); }), 3044);
    EXPECT_EQ(NumberOf([&] { engine.OpenDatabase("7:\\x.mdb"); }), 3044);
}

TEST(DBEngine, CompactsIntoANewFileOnly) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    sample.Execute("DELETE * FROM Games WHERE GA_Id > 3");
    TemporaryFolder folder;
    const std::string target = (folder / "compact.mdb").string();
    dao::DBEngine engine;
    sample.Open().Close();
    engine.CompactDatabase(sample.Path(), target);
    dao::Database database = engine.OpenDatabase(target);
    EXPECT_EQ(Records(database, "SELECT GA_Id, Name FROM Games"), "1|Zynaps;2|armalyte;3|Bubble Bobble");
    EXPECT_EQ(Records(database, "SELECT GA_Id FROM Games ORDER BY Name"), "2;3;1");
    database.Close();
    EXPECT_EQ(NumberOf([&] { engine.CompactDatabase(sample.Path(), target); }), 3204);
    EXPECT_EQ(NumberOf([&] { engine.CompactDatabase((folder / "absent.mdb").string(), target + "2"); }),
              3024);
}

TEST(Database, NothingWorksAfterClose) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    dao::Database database = dao::DBEngine().OpenDatabase(sample.Path());
    database.Close();
    EXPECT_EQ(NumberOf([&] { database.Execute("DELETE * FROM Games"); }), 3420);
    EXPECT_EQ(NumberOf([&] { database.OpenRecordset("Games"); }), 3420);
    EXPECT_EQ(NumberOf([&] { database.RecordsAffected(); }), 3420);
    EXPECT_EQ(NumberOf([&] { database.Close(); }), 3420);
}

TEST(Database, OpensTablesByNameAndRefusesOthers) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    dao::Database& database = sample.Open();
    EXPECT_EQ(database.OpenRecordset("games", dao::RecordsetType::Table).RecordCount(), 7);
    EXPECT_FALSE(database.OpenRecordset("[Games]").EOF_());
    EXPECT_EQ(NumberOf([&] { database.OpenRecordset("Nosuch"); }), 3078);
    EXPECT_EQ(NumberOf([&] { database.OpenRecordset("Nosuch", dao::RecordsetType::Table); }), 3011);
    EXPECT_EQ(NumberOf([&] { database.OpenRecordset("SELECT * FROM Games", dao::RecordsetType::Table); }),
              3011);
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): a number from outside.
    EXPECT_EQ(NumberOf([&] { database.OpenRecordset("Games", static_cast<dao::RecordsetType>(3)); }), 3001);
}

TEST(Database, RecordsAffectedIsThatOfTheLastStatement) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    sample.Execute("UPDATE Games SET PU_Id = 5 WHERE PU_Id = 1");
    EXPECT_EQ(sample.Open().RecordsAffected(), 3);
    sample.Execute("CREATE TABLE T (a LONG)");
    EXPECT_EQ(sample.Open().RecordsAffected(), 0);
}

TEST(Database, TwoConnectionsOfOneProcessSeeTheSame) {
    SampleDatabase sample(jet::JetVersion::Jet4);
    dao::Database other = dao::DBEngine().OpenDatabase(sample.Path());
    dao::Recordset snapshot = other.OpenRecordset("SELECT Name FROM Games", dao::RecordsetType::Snapshot);
    sample.Execute("UPDATE Games SET Name = 'x' WHERE GA_Id = 1");
    EXPECT_EQ(Show(snapshot.Fields("Name").Value()), "Zynaps");
    EXPECT_EQ(Records(other, "SELECT Name FROM Games WHERE GA_Id = 1"), "x");
}

}  // namespace
}  // namespace marrowkit::test
