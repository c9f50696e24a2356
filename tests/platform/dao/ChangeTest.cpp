#include <gtest/gtest.h>

#include "SampleDatabase.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {
namespace {

class Change : public testing::TestWithParam<jet::JetVersion> {
protected:
    Change() : sample_(GetParam()) {}

    /// Runs a statement and tells how many rows it says it changed.
    std::int32_t Run(const std::string& sql) {
        sample_.Execute(sql);
        return sample_.Open().RecordsAffected();
    }
    std::string Rows(const std::string& sql) { return Records(sample_.Open(), sql); }
    std::string Error(const std::string& sql) { return ErrorOf(sample_.Open(), sql); }
    void TearDown() override { EXPECT_EQ(sample_.Check(), ""); }

    SampleDatabase sample_;
};

TEST_P(Change, InsertGivesAutoNumbersAndDefaults) {
    EXPECT_EQ(Run("INSERT INTO Publishers (Publisher) VALUES ('Gremlin')"), 1);
    EXPECT_EQ(Rows("SELECT * FROM Publishers WHERE Publisher = 'gremlin'"), "5|Gremlin");
    EXPECT_EQ(Run("INSERT INTO Publishers (PU_Id, Publisher) VALUES (40, 'Hewson')"), 1);
    EXPECT_EQ(Run("INSERT INTO Publishers (Publisher) VALUES ('Imagine')"), 1);
    EXPECT_EQ(Rows("SELECT PU_Id FROM Publishers WHERE Publisher = 'Imagine'"), "41");
    EXPECT_EQ(Run("INSERT INTO Publishers VALUES (50, 'Jaleco')"), 1);
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id = 50"), "Jaleco");
}

TEST_P(Change, InsertConvertsValuesToTheColumns) {
    Run("INSERT INTO Games (Name, PU_Id, [Year], Price, Score, Fav, Added) "
        "VALUES (5, '7', 1990.4, '3.5', 2, 'Yes', '1/2/2003')");
    EXPECT_EQ(Rows("SELECT Name, PU_Id, [Year], Price, Score, Fav, Added FROM Games WHERE GA_Id = 8"),
              "5|7|1990|3.5|2|True|2003-01-02T00:00:00");
}

TEST_P(Change, InsertFromASelectMatchesColumnsByPositionOrName) {
    EXPECT_EQ(Run("INSERT INTO Publishers (Publisher) SELECT Name FROM Games WHERE [Year] = 1987"), 3);
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id > 4 ORDER BY Publisher"),
              "Bubble Bobble;Delta;Zynaps");
    EXPECT_EQ(Run("INSERT INTO Games SELECT Publisher AS Name, PU_Id FROM Publishers WHERE PU_Id = 2"), 1);
    EXPECT_EQ(Rows("SELECT Name, PU_Id FROM Games WHERE GA_Id = 8"), "U.S. Gold|2");
}

TEST_P(Change, InsertFromTheSameTableSeesOnlyTheOldRows) {
    EXPECT_EQ(Run("INSERT INTO Games (Name, PU_Id) SELECT Name, PU_Id FROM Games"), 7);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games"), "14");
}

TEST_P(Change, UpdateUsesTheOldValues) {
    EXPECT_EQ(Run("UPDATE Games SET Score = Price, Price = Score WHERE GA_Id = 1"), 1);
    EXPECT_EQ(Rows("SELECT Price, Score FROM Games WHERE GA_Id = 1"), "7.5|9.99");
    EXPECT_EQ(Run("UPDATE Games SET PU_Id = PU_Id + 1 WHERE PU_Id >= 1"), 6);
    EXPECT_EQ(Rows("SELECT PU_Id FROM Games ORDER BY GA_Id"), "2;3;4;2;2;NULL;10");
    EXPECT_EQ(Run("UPDATE Games AS G SET G.Name = UCase(G.Name) & '!' WHERE G.GA_Id = 2"), 1);
    EXPECT_EQ(Rows("SELECT Name FROM Games WHERE GA_Id = 2"), "ARMALYTE!");
}

TEST_P(Change, UpdateThroughTheIndexItChangesMeetsEachRowOnce) {
    for (int i = 0; i < 200; ++i) Run("INSERT INTO Games (PU_Id) VALUES (100)");
    EXPECT_EQ(Run("UPDATE Games SET PU_Id = PU_Id + 50 WHERE PU_Id >= 100"), 200);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games WHERE PU_Id = 150"), "200");
}

TEST_P(Change, NullRepairsReachNullsAndNothingElse) {
    EXPECT_EQ(Run("UPDATE Games SET Name = \"\" WHERE Name IS NULL"), 1);
    EXPECT_EQ(Run("UPDATE Games SET Name = \"\" WHERE Name IS NULL"), 0);
    EXPECT_EQ(Run("UPDATE Games SET Memo = \"\" WHERE Memo IS NULL"), 5);
    EXPECT_EQ(Run("UPDATE Publishers SET Publisher = \"Rename Me!\" WHERE Publisher IS NULL"), 1);
    EXPECT_EQ(Rows("SELECT Publisher FROM Publishers WHERE PU_Id = 4"), "Rename Me!");
    EXPECT_EQ(Run("UPDATE Games SET Score = 19 WHERE Score < 0"), 1);
    EXPECT_EQ(Run("UPDATE Games SET Score = 19 WHERE Score > 19"), 0);
    EXPECT_EQ(Run("UPDATE Games SET Fav = False WHERE Fav = True"), 1);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games WHERE Fav"), "0");
}

TEST_P(Change, DeleteInAllItsForms) {
    EXPECT_EQ(Run("DELETE * FROM Games WHERE PU_Id=9"), 1);
    EXPECT_EQ(Run("DELETE FROM Games WHERE PU_Id IS NULL"), 1);
    EXPECT_EQ(Run("DELETE Games.* FROM Games WHERE Games.GA_Id = 1"), 1);
    EXPECT_EQ(Run("DELETE * FROM Games WHERE GA_Id = 1"), 0);
    EXPECT_EQ(Rows("SELECT GA_Id FROM Games"), "2;3;4;5");
    EXPECT_EQ(Run("DELETE * FROM Games WHERE (1)"), 4);
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Games"), "0");
    EXPECT_EQ(Run("DELETE * FROM Games"), 0);
}

TEST_P(Change, SubqueriesSeeTheTablesAsTheyWereBefore) {
    EXPECT_EQ(Run("UPDATE Games SET Score = 1 WHERE PU_Id IN (SELECT PU_Id FROM Publishers WHERE PU_Id > 1)"),
              2);
    EXPECT_EQ(Rows("SELECT GA_Id FROM Games WHERE Score = 1 ORDER BY GA_Id"), "2;3");
    EXPECT_EQ(Run("UPDATE Games SET PU_Id = PU_Id + 1 WHERE PU_Id IN (SELECT PU_Id FROM Games)"), 6);
    EXPECT_EQ(Rows("SELECT PU_Id FROM Games ORDER BY GA_Id"), "2;3;4;2;2;NULL;10");
    EXPECT_EQ(
        Run("INSERT INTO Publishers (Publisher) SELECT Name FROM Games WHERE GA_Id = (SELECT MIN(GA_Id) "
            "FROM Games)"),
        1);
    EXPECT_EQ(Run("DELETE * FROM Games WHERE PU_Id NOT IN (SELECT PU_Id FROM Publishers)"), 1);
    EXPECT_EQ(Run("DELETE * FROM Games WHERE GA_Id IN (SELECT GA_Id FROM Games)"), 6);
}

TEST_P(Change, AFailingRowUndoesTheWholeStatement) {
    const std::string before = Rows("SELECT * FROM Publishers");
    EXPECT_TRUE(Error("UPDATE Publishers SET Publisher = 'same'").starts_with("3022"));
    EXPECT_EQ(Rows("SELECT * FROM Publishers"), before);
    EXPECT_TRUE(Error("INSERT INTO Publishers (Publisher) SELECT 'x' FROM Games").starts_with("3022"));
    EXPECT_EQ(Rows("SELECT * FROM Publishers"), before);
    EXPECT_TRUE(Error("UPDATE Games SET Score = 1 / (GA_Id - 7)").starts_with("11 "));
    EXPECT_EQ(Rows("SELECT Score FROM Games WHERE GA_Id = 1"), "7.5");
    EXPECT_TRUE(
        Error("UPDATE Publishers SET Publisher = String(200, 'x') WHERE PU_Id = 1").starts_with("3163"));
    EXPECT_EQ(Rows("SELECT * FROM Publishers"), before);
}

TEST_P(Change, RelationshipsAreKept) {
    EXPECT_TRUE(
        Error("ALTER TABLE Games ADD CONSTRAINT Owner FOREIGN KEY (PU_Id) REFERENCES Publishers (PU_Id)")
            .starts_with("3379"));
    Run("DELETE * FROM Games WHERE PU_Id = 9");
    Run("ALTER TABLE Games ADD CONSTRAINT Owner FOREIGN KEY (PU_Id) REFERENCES Publishers (PU_Id)");
    EXPECT_TRUE(Error("DELETE * FROM Publishers WHERE PU_Id = 1").starts_with("3200"));
    EXPECT_TRUE(Error("UPDATE Games SET PU_Id = 77 WHERE GA_Id = 1").starts_with("3201"));
    EXPECT_TRUE(Error("INSERT INTO Games (PU_Id) VALUES (77)").starts_with("3201"));
    EXPECT_EQ(Run("UPDATE Games SET PU_Id = 2 WHERE PU_Id = 1"), 3);
    EXPECT_EQ(Run("DELETE * FROM Publishers WHERE PU_Id = 1"), 1);
    Run("ALTER TABLE Games DROP CONSTRAINT Owner");
    EXPECT_EQ(Run("DELETE * FROM Publishers"), 3);
}

TEST_P(Change, CascadesReachTheOtherTable) {
    Run("DELETE * FROM Games WHERE PU_Id = 9");
    Run("ALTER TABLE Games ADD CONSTRAINT Owner FOREIGN KEY (PU_Id) REFERENCES Publishers ON DELETE CASCADE");
    EXPECT_EQ(Run("DELETE * FROM Publishers WHERE PU_Id = 1"), 1);
    EXPECT_EQ(Rows("SELECT GA_Id FROM Games"), "2;3;6");
}

TEST_P(Change, SelectIntoMakesATable) {
    EXPECT_EQ(Run("SELECT GA_Id, Name, Price * 2 AS Twice INTO Copy FROM Games WHERE PU_Id = 1"), 3);
    EXPECT_EQ(Rows("SELECT * FROM Copy"), "1|Zynaps|19.98;4|Co-op|5;5|Coop|NULL");
    EXPECT_TRUE(Error("SELECT Name INTO Copy FROM Games").starts_with("3065") ||
                Error("SELECT Name INTO Copy FROM Games").starts_with("3219"));
}

TEST_P(Change, WhatAnExecuteWroteIsThereForTheNextConnection) {
    Run("UPDATE Games SET Name = 'kept' WHERE GA_Id = 1");
    dao::Database other = dao::DBEngine().OpenDatabase(sample_.Path());
    EXPECT_EQ(Records(other, "SELECT Name FROM Games WHERE GA_Id = 1"), "kept");
    other.Execute("UPDATE Games SET Name = 'again' WHERE GA_Id = 1");
    EXPECT_EQ(Rows("SELECT Name FROM Games WHERE GA_Id = 1"), "again");
    other.Close();
}

INSTANTIATE_TEST_SUITE_P(Formats, Change, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
