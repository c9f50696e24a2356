// Decimals and GUIDs in statements, and clauses that few statements have.

#include <gtest/gtest.h>

#include "SampleDatabase.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::test {
namespace {

class Decimals : public testing::Test {
protected:
    Decimals() {
        sample_.Execute("CREATE TABLE V (Id LONG, n DECIMAL(10, 3), g GUID)");
        Add(1, "1.5", "{00000003-0000-0000-0000-000000000000}");
        Add(2, "-20.25", "{00000001-0000-0000-0000-000000000000}");
        Add(3, "0", "{00000002-0000-0000-0000-000000000000}");
        Add(4, "-0.001", "{00000002-0000-0000-0000-000000000000}");
        Add(5, "1000000", "NULL");
        Add(6, "1.5", "NULL");
    }
    void Add(int id, const std::string& number, const std::string& guid) {
        const std::string text = guid == "NULL" ? guid : "'" + guid + "'";
        sample_.Execute("INSERT INTO V VALUES (" + std::to_string(id) + ", " + number + ", " + text + ")");
    }
    std::string Ids(const std::string& rest) { return Records(sample_.Open(), "SELECT Id FROM V " + rest); }

    SampleDatabase sample_{jet::JetVersion::Jet4};
};

TEST_F(Decimals, AreOrderedByTheirValue) {
    EXPECT_EQ(Ids("ORDER BY n, Id"), "2;4;3;1;6;5");
    EXPECT_EQ(Ids("ORDER BY n DESC, Id"), "5;1;6;3;4;2");
    EXPECT_EQ(Ids("WHERE n < 0 ORDER BY Id"), "2;4");
    EXPECT_EQ(Ids("WHERE n = 1.5 ORDER BY Id"), "1;6");
    EXPECT_EQ(Ids("WHERE n BETWEEN -1 AND 1 ORDER BY Id"), "3;4");
    EXPECT_EQ(Records(sample_.Open(), "SELECT COUNT(*) FROM (SELECT DISTINCT n FROM V)"), "5");
    EXPECT_EQ(Records(sample_.Open(), "SELECT n, COUNT(*) FROM V GROUP BY n HAVING COUNT(*) > 1"), "1.500|2");
    EXPECT_EQ(sample_.Check(), "");
}

TEST_F(Decimals, CanBeNegatedAndSummed) {
    EXPECT_EQ(Ids("WHERE -n = 20.25"), "2");
    EXPECT_EQ(Records(sample_.Open(), "SELECT MIN(n), MAX(n) FROM V"), "-20.250|1000000.000");
}

TEST_F(Decimals, AnIndexOverThemFollowsTheSameOrder) {
    sample_.Execute("CREATE INDEX ByN ON V (n)");
    EXPECT_EQ(Ids("WHERE n = 1.5 ORDER BY Id"), "1;6");
    EXPECT_EQ(Ids("WHERE n > -1 ORDER BY n, Id"), "4;3;1;6;5");
    EXPECT_EQ(sample_.Check(), "");
}

TEST_F(Decimals, GuidsAreComparedWithTheirTexts) {
    EXPECT_EQ(Ids("WHERE g = '{00000001-0000-0000-0000-000000000000}'"), "2");
    EXPECT_EQ(Ids("WHERE g = '{guid {00000001-0000-0000-0000-000000000000}}'"), "2");
    EXPECT_EQ(Ids("WHERE g IS NULL ORDER BY Id"), "5;6");
    EXPECT_EQ(Ids("WHERE g IS NOT NULL ORDER BY g, Id"), "2;3;4;1");
    EXPECT_EQ(Records(sample_.Open(), "SELECT COUNT(*) FROM (SELECT DISTINCT g FROM V)"), "4");
    EXPECT_EQ(ErrorOf(sample_.Open(), "SELECT Id FROM V WHERE g = 5"),
              "3464 Data type mismatch in criteria expression.");
    EXPECT_EQ(ErrorOf(sample_.Open(), "SELECT Id FROM V WHERE g = 'no guid'"),
              "3464 Data type mismatch in criteria expression.");
}

class Clauses : public testing::TestWithParam<jet::JetVersion> {
protected:
    SampleDatabase sample_{GetParam()};
};

TEST_P(Clauses, AConstraintIsAddedLater) {
    sample_.Execute("CREATE TABLE A (Id LONG, b LONG)");
    sample_.Execute("ALTER TABLE A ADD CONSTRAINT Once UNIQUE (b)");
    sample_.Execute("ALTER TABLE A ADD PRIMARY KEY (Id)");
    sample_.Execute("INSERT INTO A VALUES (1, 1)");
    EXPECT_EQ(ErrorOf(sample_.Open(), "INSERT INTO A VALUES (2, 1)").substr(0, 4), "3022");
    EXPECT_EQ(ErrorOf(sample_.Open(), "INSERT INTO A VALUES (1, 2)").substr(0, 4), "3022");
    EXPECT_EQ(sample_.Check(), "");
}

TEST_P(Clauses, ARelationshipWithoutActionRefuses) {
    sample_.Execute(
        "CREATE TABLE A (P LONG REFERENCES Publishers (PU_Id) ON UPDATE NO ACTION ON DELETE NO ACTION)");
    sample_.Execute("INSERT INTO A VALUES (1)");
    EXPECT_EQ(ErrorOf(sample_.Open(), "DELETE FROM Publishers WHERE PU_Id = 1").substr(0, 4), "3200");
    EXPECT_EQ(sample_.Check(), "");
}

TEST_P(Clauses, HalfClausesAreSyntaxErrors) {
    for (const char* sql :
         {"CREATE TABLE A (P LONG REFERENCES Publishers (PU_Id) ON UPDATE NOTHING)",
          "CREATE TABLE A (P LONG REFERENCES Publishers (PU_Id) ON DELETE NO)",
          "CREATE TABLE A (P LONG REFERENCES Publishers (PU_Id) ON INSERT CASCADE)",
          "CREATE TABLE A (P TEXT(10) WITH PRESSURE)", "CREATE INDEX I ON Games (Name) WITH NULL",
          "CREATE TABLE A (P DECIMAL(5, 6))", "CREATE TABLE A (P DECIMAL(29))",
          "CREATE TABLE A (P TEXT(256))", "CREATE TABLE A (P TEXT(0))"}) {
        EXPECT_NE(ErrorOf(sample_.Open(), sql), "none") << sql;
    }
    EXPECT_EQ(ErrorOf(sample_.Open(), "SELECT Id FROM A").substr(0, 4), "3078");
    EXPECT_EQ(sample_.Check(), "");
}

TEST_P(Clauses, AggregatesNeedOneArgument) {
    for (const char* sql :
         {"SELECT SUM(*) FROM Games", "SELECT COUNT() FROM Games", "SELECT MAX(Score, 1) FROM Games"}) {
        EXPECT_NE(ErrorOf(sample_.Open(), sql), "none") << sql;
    }
}

TEST_P(Clauses, AShareOfAllRecordsNeedsNoOrder) {
    EXPECT_EQ(Records(sample_.Open(), "SELECT TOP 50 PERCENT GA_Id FROM Games"), "1;2;3;4");
    EXPECT_EQ(Records(sample_.Open(), "SELECT TOP 50 PERCENT GA_Id FROM Games", dao::RecordsetType::Dynaset),
              "1;2;3;4");
    EXPECT_EQ(Records(sample_.Open(), "SELECT GA_Id FROM Games WHERE Year BETWEEN NULL AND 3000"), "");
}

INSTANTIATE_TEST_SUITE_P(Formats, Clauses, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4));

}  // namespace
}  // namespace marrowkit::test
