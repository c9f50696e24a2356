#include <gtest/gtest.h>

#include "SampleDatabase.h"

namespace marrowkit::test {
namespace {

class Design : public testing::TestWithParam<jet::JetVersion> {
protected:
    Design() : sample_(GetParam()) {}

    void Run(const std::string& sql) { sample_.Execute(sql); }
    std::string Rows(const std::string& sql) { return Records(sample_.Open(), sql); }
    std::string Error(const std::string& sql) { return ErrorOf(sample_.Open(), sql); }
    int ErrorNumber(const std::string& sql) {
        const std::string error = Error(sql);
        return error == "none" ? 0 : std::stoi(error);
    }
    jet::ColumnType TypeOf(const std::string& column) {
        return sample_.Open().OpenRecordset("T", dao::RecordsetType::Table).Fields(column).Type();
    }
    void TearDown() override { EXPECT_EQ(sample_.Check(), ""); }

    SampleDatabase sample_;
};

TEST_P(Design, EveryTypeNameMakesItsColumn) {
    struct TypeCase {
        const char* word;
        jet::ColumnType type;
    };
    using enum jet::ColumnType;
    constexpr TypeCase kCases[] = {
        {"BIT", Boolean},       {"YESNO", Boolean},    {"LOGICAL", Boolean},    {"BOOLEAN", Boolean},
        {"BYTE", Byte},         {"INTEGER1", Byte},    {"SHORT", Integer},      {"SMALLINT", Integer},
        {"INTEGER2", Integer},  {"LONG", Long},        {"INT", Long},           {"INTEGER", Long},
        {"INTEGER4", Long},     {"COUNTER", Long},     {"AUTOINCREMENT", Long}, {"CURRENCY", Currency},
        {"MONEY", Currency},    {"SINGLE", Single},    {"REAL", Single},        {"IEEESINGLE", Single},
        {"DOUBLE", Double},     {"FLOAT", Double},     {"NUMBER", Double},      {"NUMERIC", Double},
        {"DATETIME", DateTime}, {"DATE", DateTime},    {"TIME", DateTime},      {"TEXT", Text},
        {"TEXT(20)", Text},     {"VARCHAR(20)", Text}, {"CHAR(5)", Text},       {"STRING", Text},
        {"MEMO", Memo},         {"LONGTEXT", Memo},    {"NOTE", Memo},          {"BINARY(10)", Binary},
        {"LONGBINARY", Ole},    {"OLEOBJECT", Ole},    {"GENERAL", Ole},        {"GUID", Guid},
    };
    for (const TypeCase& c : kCases) {
        Run(std::string("CREATE TABLE T (a ") + c.word + ")");
        EXPECT_EQ(TypeOf("a"), c.type) << c.word;
        Run("DROP TABLE T");
    }
    if (GetParam() == jet::JetVersion::Jet4) {
        Run("CREATE TABLE T (a DECIMAL(10,2))");
        EXPECT_EQ(TypeOf("a"), Numeric);
        Run("INSERT INTO T (a) VALUES (12.345)");
        EXPECT_EQ(Rows("SELECT a FROM T"), "12.35");
    }
}

TEST_P(Design, SizesRequiredAndDefaultAreKept) {
    Run("CREATE TABLE T (a TEXT(3) NOT NULL, b LONG DEFAULT 5 NOT NULL, c TEXT DEFAULT 'x')");
    Run("INSERT INTO T (a) VALUES ('abc')");
    EXPECT_EQ(Rows("SELECT * FROM T"), "abc|5|x");
    EXPECT_EQ(ErrorNumber("INSERT INTO T (a) VALUES ('abcd')"), 3163);
    EXPECT_EQ(ErrorNumber("INSERT INTO T (b) VALUES (1)"), 3314);
    EXPECT_EQ(ErrorNumber("UPDATE T SET a = Null"), 3314);
}

TEST_P(Design, PrimaryAndUniqueConstraints) {
    Run("CREATE TABLE T (a LONG, b LONG, c LONG CONSTRAINT OnlyOne UNIQUE, CONSTRAINT Both PRIMARY KEY (a, "
        "b))");
    Run("INSERT INTO T (a, b, c) VALUES (1, 1, 1)");
    Run("INSERT INTO T (a, b, c) VALUES (1, 2, 2)");
    EXPECT_EQ(ErrorNumber("INSERT INTO T (a, b, c) VALUES (1, 2, 3)"), 3022);
    EXPECT_EQ(ErrorNumber("INSERT INTO T (a, b, c) VALUES (1, 3, 2)"), 3022);
    EXPECT_EQ(ErrorNumber("INSERT INTO T (a, c) VALUES (1, 4)"), 3058);
    EXPECT_EQ(ErrorNumber("CREATE INDEX X ON T (c) WITH PRIMARY"), 3283);
    EXPECT_EQ(ErrorNumber("CREATE INDEX Both ON T (c)"), 3375);
    Run("ALTER TABLE T DROP CONSTRAINT OnlyOne");
    Run("INSERT INTO T (a, b, c) VALUES (1, 3, 2)");
    EXPECT_EQ(ErrorNumber("CREATE UNIQUE INDEX C ON T (c)"), 3022);
}

TEST_P(Design, IndexesWithNulls) {
    Run("CREATE TABLE T (a LONG, b LONG)");
    Run("CREATE UNIQUE INDEX A ON T (a) WITH DISALLOW NULL");
    Run("CREATE INDEX B ON T (b DESC) WITH IGNORE NULL");
    Run("INSERT INTO T (a, b) VALUES (1, 1)");
    Run("INSERT INTO T (a) VALUES (2)");
    Run("INSERT INTO T (a, b) VALUES (3, 3)");
    EXPECT_EQ(ErrorNumber("INSERT INTO T (b) VALUES (1)"), 3058);
    EXPECT_EQ(Rows("SELECT a FROM T ORDER BY b"), "2;1;3");
    EXPECT_EQ(Rows("SELECT a FROM T ORDER BY b DESC"), "3;1;2");
    EXPECT_EQ(Rows("SELECT a FROM T WHERE b IS NULL"), "2");
    EXPECT_EQ(Rows("SELECT a FROM T WHERE b > 1"), "3");
    EXPECT_EQ(Rows("SELECT a FROM T WHERE b < 2"), "1");
    EXPECT_EQ(Rows("SELECT a FROM T WHERE b BETWEEN 1 AND 3 ORDER BY a"), "1;3");
    Run("DROP INDEX B ON T");
    EXPECT_EQ(Rows("SELECT a FROM T WHERE b > 1"), "3");
}

TEST_P(Design, ColumnsComeAndGo) {
    Run("ALTER TABLE Publishers ADD COLUMN Country TEXT(20)");
    Run("ALTER TABLE Publishers ADD Founded LONG DEFAULT 1980");
    Run("UPDATE Publishers SET Country = 'UK' WHERE PU_Id = 1");
    Run("INSERT INTO Publishers (Publisher) VALUES ('New')");
    EXPECT_EQ(Rows("SELECT PU_Id, Country, Founded FROM Publishers WHERE PU_Id IN (1, 5)"),
              "1|UK|NULL;5|NULL|1980");
    Run("ALTER TABLE Publishers DROP COLUMN Country");
    EXPECT_EQ(ErrorNumber("SELECT Country FROM Publishers"), 3061);
    EXPECT_EQ(Rows("SELECT * FROM Publishers WHERE PU_Id = 5"), "5|New|1980");
    EXPECT_EQ(ErrorNumber("ALTER TABLE Publishers ADD COLUMN Publisher TEXT"), 3380);
    EXPECT_EQ(ErrorNumber("ALTER TABLE Publishers DROP COLUMN Nosuch"), 3381);
}

TEST_P(Design, ForeignKeysInTheirForms) {
    Run("CREATE TABLE Parent (id COUNTER PRIMARY KEY, name TEXT)");
    Run("CREATE TABLE ChildA (id LONG CONSTRAINT RelA REFERENCES Parent (id) ON UPDATE CASCADE ON DELETE "
        "CASCADE)");
    Run("CREATE TABLE ChildB (pid LONG, CONSTRAINT RelB FOREIGN KEY (pid) REFERENCES Parent)");
    Run("CREATE TABLE ChildC (pid LONG REFERENCES Parent)");
    Run("INSERT INTO Parent (name) VALUES ('a')");
    Run("INSERT INTO ChildA (id) VALUES (1)");
    EXPECT_EQ(ErrorNumber("INSERT INTO ChildA (id) VALUES (2)"), 3201);
    EXPECT_EQ(ErrorNumber("INSERT INTO ChildB (pid) VALUES (2)"), 3201);
    EXPECT_EQ(ErrorNumber("INSERT INTO ChildC (pid) VALUES (2)"), 3201);
    Run("INSERT INTO ChildB (pid) VALUES (Null)");
    EXPECT_EQ(ErrorNumber("DROP TABLE Parent"), 3281);
    Run("DELETE * FROM Parent WHERE id = 1");
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM ChildA"), "0");
    EXPECT_EQ(ErrorNumber("DROP TABLE ChildA"), 3281);
    Run("ALTER TABLE ChildA DROP CONSTRAINT RelA");
    Run("DROP TABLE ChildA");
    Run("ALTER TABLE ChildB DROP CONSTRAINT RelB");
    Run("INSERT INTO ChildB (pid) VALUES (5)");
}

TEST_P(Design, MistakesHaveTheirNumbers) {
    struct Mistake {
        const char* sql;
        int number;
    };
    constexpr Mistake kMistakes[] = {
        {"CREATE", 3290},
        {"CREATE TABLE", 3290},
        {"CREATE TABLE T", 3290},
        {"CREATE TABLE T ()", 3292},
        {"CREATE TABLE T (a)", 3292},
        {"CREATE TABLE T (a FROB)", 3292},
        {"CREATE TABLE T (a TEXT(0))", 3292},
        {"CREATE TABLE T (a TEXT(256))", 3292},
        {"CREATE TABLE T (a TEXT(1,2,3))", 3292},
        {"CREATE TABLE T (a LONG", 3290},
        {"CREATE TABLE T (a LONG) x", 3290},
        {"CREATE TABLE T (a LONG PRIMARY)", 3289},
        {"CREATE TABLE T (a LONG NOT)", 3289},
        {"CREATE TABLE T (a LONG, CONSTRAINT)", 3289},
        {"CREATE TABLE T (a LONG, CONSTRAINT x PRIMARY KEY)", 3289},
        {"CREATE TABLE T (a LONG, CONSTRAINT x FOREIGN KEY (a))", 3289},
        {"CREATE TABLE T (a LONG, a LONG)", 3191},
        {"CREATE TABLE Games (a LONG)", 3010},
        {"CREATE TABLE T (a LONG REFERENCES Nosuch)", 3371},
        {"CREATE TABLE T (a TEXT REFERENCES Publishers (PU_Id))", 3368},
        {"CREATE TABLE T (a LONG, b LONG, FOREIGN KEY (a, b) REFERENCES Publishers (PU_Id))", 3368},
        {"CREATE UNIQUE TABLE T (a LONG)", 3290},
        {"CREATE INDEX", 3291},
        {"CREATE INDEX x ON Games", 3291},
        {"CREATE INDEX x ON Games ()", 3291},
        {"CREATE INDEX x ON Games (Name) WITH FROB", 3291},
        {"CREATE INDEX x ON Nosuch (a)", 3371},
        {"CREATE INDEX x ON Games (Nosuch)", 3409},
        {"CREATE INDEX PU_Id ON Games (Name)", 3375},
        {"DROP", 3295},
        {"DROP TABLE", 3295},
        {"DROP INDEX x", 3295},
        {"DROP TABLE Nosuch", 3376},
        {"DROP INDEX Nosuch ON Games", 3372},
        {"ALTER Games ADD a LONG", 3293},
        {"ALTER TABLE Games", 3293},
        {"ALTER TABLE Games ADD COLUMN", 3292},
        {"ALTER TABLE Games FROB a", 3293},
        {"ALTER TABLE Nosuch ADD a LONG", 3371},
        {"ALTER TABLE Games DROP CONSTRAINT Nosuch", 3371},
    };
    for (const Mistake& mistake : kMistakes)
        EXPECT_EQ(ErrorNumber(mistake.sql), mistake.number) << Error(mistake.sql) << " for " << mistake.sql;
    EXPECT_EQ(ErrorNumber("SELECT * FROM T"), 3078);
}

TEST_P(Design, ATableWithAnOpenRecordsetIsInUse) {
    dao::Recordset records = sample_.Open().OpenRecordset("Games", dao::RecordsetType::Table);
    EXPECT_EQ(ErrorNumber("DROP TABLE Games"), 3211);
    EXPECT_EQ(ErrorNumber("ALTER TABLE games ADD x LONG"), 3211);
    EXPECT_EQ(ErrorNumber("CREATE INDEX x ON Games (Name)"), 3211);
    records.Close();
    Run("DROP TABLE Games");
    EXPECT_EQ(ErrorNumber("SELECT * FROM Games"), 3078);
}

INSTANTIATE_TEST_SUITE_P(Formats, Design, testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
