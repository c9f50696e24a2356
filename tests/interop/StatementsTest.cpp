// Every statement that the program's operations execute, on a database of the frontend in both formats. What
// they leave behind is read back with other programs.

#include <array>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "creation/TemplateDatabase.h"
#include "interop/Comparison.h"
#include "interop/Exports.h"
#include "interop/OtherReaders.h"
#include "maintenance/LookupTables.h"
#include "maintenance/NullRepairs.h"
#include "platform/dao/Dao.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/ValueText.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/// Length types from -1 to 20, three times; every fifth game has extras, every second the added publisher.
constexpr int kGames = 66;
constexpr int kGamesWithExtras = 13;
constexpr int kGamesOfPublisher = 33;

class ProgramStatements : public testing::TestWithParam<jet::JetVersion> {
protected:
    ProgramStatements() : path_((folder_ / "Statements.mdb").string()) {
        CreateTemplateDatabase(path_, GetParam(), kNewestSchemaVersion);
    }

    dao::Database Open() const { return dao::DBEngine().OpenDatabase(path_); }

    void Execute(const std::vector<std::string>& statements) const {
        dao::Database database = Open();
        for (const std::string& statement : statements) database.Execute(statement);
        database.Close();
    }

    /// A column of a query as texts.
    std::vector<std::string> Column(const std::string& sql) const {
        dao::Database database = Open();
        dao::Recordset records = database.OpenRecordset(sql);
        std::vector<std::string> texts;
        for (; !records.EOF_(); records.MoveNext()) {
            const jet::Value value = records.Fields(std::size_t{0}).Value();
            texts.push_back(jet::IsNull(value) ? "NULL" : jet::ValueText(value));
        }
        return texts;
    }

    /// Games, music, extras, views and lookup records, with a Null in every field that is repaired.
    void Fill() const {
        std::vector<std::string> statements;
        for (const LookupTable& table : kLookupTables) {
            statements.push_back("INSERT INTO " + std::string(table.table) + " (" +
                                 std::string(table.keyField) + ", " + std::string(table.nameField) +
                                 ") VALUES (100, Null)");
        }
        for (const char* statement :
             {"INSERT INTO Difficulty (DI_Id, Difficulty) VALUES (100, Null)",
              "INSERT INTO PGenres (PG_Id, ParentGenre) VALUES (100, Null)",
              "INSERT INTO Genres (GE_Id, Genre) VALUES (100, Null)",
              "INSERT INTO Music (Name, Filename) VALUES (Null, Null)",
              "INSERT INTO ViewData (Name, Definition) VALUES (\"Mine\", \"all of it\")",
              "INSERT INTO ViewData (Name) VALUES (\"Yours\")",
              "INSERT INTO ViewFilters (VD_Id, FieldName) VALUES (1, \"Name\")",
              "UPDATE Config SET FirstLoadMessage = Null"}) {
            statements.emplace_back(statement);
        }
        for (int game = 1; game <= kGames; ++game) {
            statements.push_back(
                "INSERT INTO Games (Name, PU_Id, Extras, V_LengthType, Filesize) VALUES (" +
                (game % 3 == 0 ? std::string("Null") : "\"Game " + std::to_string(game) + "\"") + ", " +
                (game % 2 == 0 ? "100" : "37") + ", " + (game % 5 == 0 ? "Yes" : "No") + ", " +
                std::to_string(game % 22 - 1) + ", Null)");
        }
        for (int game = 5; game <= kGames; game += 5) {
            statements.push_back("INSERT INTO Extras (GA_Id) VALUES (" + std::to_string(game) + ")");
        }
        Execute(statements);
    }

    void ExpectReadersAgree() const {
        ExpectSound(path_);
        if (HaveMdbTools()) {
            EXPECT_GT(CompareWithMdbTools(path_), 15);
        }
        if (WhyNoMdbReader().empty()) {
            EXPECT_GT(CompareWithMdbReader(path_), 15);
        }
    }

    /// A column of a table as another program reads it, one text a row.
    static std::vector<std::string> ColumnOf(const ExportedTable& exported, const std::string& column) {
        EXPECT_EQ(exported.error, "");
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < exported.columns.size(); ++i) {
            if (exported.columns[i] != column) continue;
            for (const auto& row : exported.rows) texts.push_back(row[i].value_or("NULL"));
        }
        return texts;
    }
    std::vector<std::string> SeenByMdbTools(const std::string& table, const std::string& column) const {
        return ColumnOf(MdbToolsExport(path_, table), column);
    }
    /// This one tells an empty text from Null.
    std::vector<std::string> SeenByMdbReader(const std::string& table, const std::string& column) const {
        for (const ExportedTable& exported : MdbReaderExport(path_)) {
            if (exported.name == table) return ColumnOf(exported, column);
        }
        ADD_FAILURE() << "mdb-reader has no table " << table;
        return {};
    }

    TemporaryFolder folder_;
    std::string path_;
};

TEST_P(ProgramStatements, NullRepairsLeaveNoNull) {
    Fill();
    dao::Database database = Open();
    int repaired = 0;
    for (const std::string_view statement : NullRepairs(2.5F)) {
        database.Execute(statement);
        repaired += database.RecordsAffected() > 0 ? 1 : 0;
    }
    EXPECT_EQ(repaired, 32) << "each statement has something to repair";
    for (const std::string_view statement : NullRepairs(2.5F)) {
        database.Execute(statement);
        EXPECT_EQ(database.RecordsAffected(), 0) << statement;
    }
    database.Close();
    ExpectReadersAgree();
    EXPECT_THAT(Column("SELECT COUNT(*) FROM Games WHERE V_LengthType < 0 OR V_LengthType > 19"),
                ElementsAre("0"));
    EXPECT_THAT(Column("SELECT Publisher FROM Publishers WHERE PU_Id = 100"), ElementsAre("Rename Me!"));
    if (!HaveMdbTools() || !WhyNoMdbReader().empty()) {
        GTEST_SKIP() << "mdbtools or mdb-reader is not installed: nothing was read back with it";
    }
    for (const char* field : {"Name", "Filename", "MemoText", "Korvo", "CRC", "Filesize"}) {
        EXPECT_THAT(SeenByMdbReader("Games", field),
                    testing::AllOf(testing::SizeIs(kGames), testing::Not(testing::Contains("NULL"))))
            << field;
    }
    EXPECT_THAT(SeenByMdbTools("Games", "V_LengthType"), testing::Not(testing::Contains("-1")));
    EXPECT_THAT(SeenByMdbTools("Genres", "Genre"), testing::Contains("Sub-Genre"));
    EXPECT_THAT(SeenByMdbTools("PGenres", "ParentGenre"), testing::Contains("Parent-Genre"));
}

TEST_P(ProgramStatements, GamesAreCountedBeforeAndAfterACompaction) {
    Fill();
    const auto count = [](const std::string& path) {
        dao::Database database = dao::DBEngine().OpenDatabase(path);
        dao::Recordset games = database.OpenRecordset("SELECT * FROM Games", dao::RecordsetType::Snapshot);
        games.MoveLast();
        games.MoveFirst();
        return games.RecordCount();
    };
    EXPECT_EQ(count(path_), kGames);
    const std::string compacted = (folder_ / "vltemp.mdb").string();
    dao::DBEngine().CompactDatabase(path_, compacted);
    EXPECT_EQ(count(compacted), kGames);
    ExpectSound(compacted);
    if (HaveMdbTools()) {
        EXPECT_GT(CompareWithMdbTools(compacted), 15);
    }
    if (WhyNoMdbReader().empty()) {
        EXPECT_GT(CompareWithMdbReader(compacted), 15);
    }
}

TEST_P(ProgramStatements, ExtrasAreUnlinkedAndDeleted) {
    Fill();
    dao::Database database = Open();
    database.Execute("UPDATE Games SET Extras = False WHERE Extras = True");
    EXPECT_EQ(database.RecordsAffected(), kGamesWithExtras);
    database.Execute("DELETE * FROM Extras WHERE (1)");
    EXPECT_EQ(database.RecordsAffected(), kGamesWithExtras);
    database.Close();
    ExpectReadersAgree();
    if (!HaveMdbTools()) GTEST_SKIP() << "mdbtools is not installed: nothing was read back with it";
    EXPECT_TRUE(SeenByMdbTools("Extras", "GA_Id").empty());
    EXPECT_EQ(SeenByMdbTools("Games", "Extras").size(), std::size_t{kGames});
}

TEST_P(ProgramStatements, ViewsAreDeletedRecordByRecord) {
    Fill();
    dao::Database database = Open();
    for (const char* source : {"SELECT * FROM ViewData", "SELECT * FROM ViewFilters"}) {
        dao::Recordset records = database.OpenRecordset(source, dao::RecordsetType::Dynaset);
        if (records.EOF_()) continue;
        for (records.MoveFirst(); !records.EOF_(); records.MoveNext()) records.Delete();
        records.Close();
    }
    database.Close();
    EXPECT_THAT(Column("SELECT COUNT(*) FROM ViewData"), ElementsAre("0"));
    EXPECT_THAT(Column("SELECT COUNT(*) FROM ViewFilters"), ElementsAre("0"));
    ExpectReadersAgree();
}

TEST_P(ProgramStatements, LookupRecordsAreListedReplacedAndDeleted) {
    Fill();
    for (const LookupTable& table : kLookupTables) {
        dao::Database database = Open();
        const std::string name(table.table);
        const std::string key(table.keyField);
        EXPECT_THAT(ListLookupRecords(database, table.deletionList), testing::Contains(LookupRecord{100, ""}))
            << name;
        const auto replacements = ListLookupRecords(database, ReplacementStatement(table, 100));
        ASSERT_FALSE(replacements.empty()) << name;
        EXPECT_THAT(replacements, testing::Not(testing::Contains(LookupRecord{100, ""}))) << name;
        database.Execute("UPDATE Games SET " + key + "=" + std::to_string(replacements[0].id) + " WHERE " +
                         key + "=100");
        EXPECT_EQ(database.RecordsAffected(), name == "Publishers" ? kGamesOfPublisher : 0);
        database.Execute("DELETE * FROM " + name + " WHERE " + key + "=100");
        EXPECT_EQ(database.RecordsAffected(), 1) << name;
        database.Close();
    }
    ExpectReadersAgree();
    if (!HaveMdbTools()) GTEST_SKIP() << "mdbtools is not installed: nothing was read back with it";
    EXPECT_THAT(SeenByMdbTools("Games", "PU_Id"), testing::Not(testing::Contains("100")));
    EXPECT_THAT(SeenByMdbTools("Publishers", "PU_Id"), testing::Not(testing::Contains("100")));
}

TEST_P(ProgramStatements, AnImportFindsOrAddsLookupRecords) {
    constexpr std::array<std::array<const char*, 3>, 3> kTables{{{"Crackers", "CR_Id", "Cracker"},
                                                                 {"Publishers", "PU_Id", "Publisher"},
                                                                 {"Languages", "LA_Id", "Language"}}};
    Execute({"DELETE * FROM Languages WHERE LA_Id > 1"});
    EXPECT_THAT(Column("SELECT LA_Id FROM Languages"), ElementsAre("1"));
    dao::Database database = Open();
    for (const auto& [table, key, field] : kTables) {
        std::vector<jet::Value> keys;
        for (const char* text : {"Gr\xC3\xB6\xC3\x9F"
                                 "e",
                                 "O'Neill & Sons",
                                 "GR\xC3\x96\xC3\x9F"
                                 "E"}) {
            dao::Recordset found = database.OpenRecordset(std::string("SELECT * FROM ") + table + " WHERE " +
                                                          field + " = \"" + text + "\"");
            if (found.EOF_()) {
                found.AddNew();
                keys.push_back(found.Fields(key).Value());
                found.Fields(field).SetValue(std::string(text));
                found.Update();
            } else {
                found.MoveFirst();
                keys.push_back(found.Fields(key).Value());
            }
            found.Close();
        }
        EXPECT_NE(keys[0], keys[1]) << table;
        EXPECT_EQ(keys[0], keys[2]) << table << ": texts are compared without regard to case";
    }
    dao::Recordset games = database.OpenRecordset("SELECT * FROM Games");
    for (int game = 0; game < 50; ++game) {
        games.AddNew();
        games.Fields("Name").SetValue("Imported \"" + std::to_string(game) + "\"");
        games.Fields("MemoText").SetValue(std::string(static_cast<std::size_t>(game * 200), 'm'));
        games.Fields("V_LengthType").SetValue(19);
        games.Update();
    }
    games.Close();
    database.Close();
    ExpectReadersAgree();
    if (!HaveMdbTools()) GTEST_SKIP() << "mdbtools is not installed: nothing was read back with it";
    EXPECT_THAT(SeenByMdbTools("Publishers", "Publisher"), testing::Contains("O'Neill & Sons"));
    EXPECT_THAT(SeenByMdbTools("Games", "Name"), testing::Contains("Imported \"49\""));
}

TEST_P(ProgramStatements, ADoubleQuoteInATextBreaksTheLookup) {
    dao::Database database = Open();
    try {
        database.OpenRecordset("SELECT * FROM Publishers WHERE Publisher = \"The \"Best\" Ltd\"");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3075);
        EXPECT_EQ(error.description,
                  "Syntax error (missing operator) in query expression 'Publisher = \"The \"Best\" Ltd\"'.");
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ProgramStatements,
                         testing::Values(jet::JetVersion::Jet3, jet::JetVersion::Jet4),
                         [](const auto& format) {
                             return format.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::test
