// tables, schema and export.

#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLineTester.h"
#include "platform/files/HostPath.h"
#include "platform/jet/engine/Database.h"
#include "support/TableDesigns.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

using testing::HasSubstr;

jet::Index KeyOn(const char* name, const char* column, bool primary) {
    jet::Index index;
    index.name = name;
    index.parts.push_back({column, true});
    index.primaryKey = primary;
    return index;
}

class InspectCommands : public testing::Test {
protected:
    InspectCommands() : path_((folder_ / "sample.mdb").string()) {
        const auto database = jet::Database::Create(path_, jet::JetVersion::Jet4);
        jet::Column id = MakeColumn("GE_Id", jet::ColumnType::Long);
        id.autoNumber = true;
        jet::Column name = MakeColumn("Genre", jet::ColumnType::Text, 40);
        name.required = true;
        name.allowZeroLength = false;
        database->CreateTable({"Genres", {id, name}, {KeyOn("PrimaryKey", "GE_Id", true)}, "", ""});
        jet::Column rating = MakeColumn("Rating", jet::ColumnType::Integer);
        rating.defaultValue = "3";
        rating.validationRule = "Between 0 And 5";
        jet::Index byName = KeyOn("ByName", "Name", false);
        byName.parts[0].ascending = false;
        database->CreateTable(
            {"Games",
             {MakeColumn("Name", jet::ColumnType::Text, 50), MakeColumn("GE_Id", jet::ColumnType::Long),
              rating, MakeColumn("Fav", jet::ColumnType::Boolean),
              MakeColumn("Added", jet::ColumnType::DateTime)},
             {byName},
             "",
             ""});
        database->CreateRelationship(
            {"GenresGames", "Genres", "Games", {{"GE_Id", "GE_Id"}}, true, false, false, true});
        const jet::Assignment genre[] = {{1, std::string("Shoot 'em up")}};
        database->OpenTable("Genres")->Insert(genre);
        const jet::Assignment first[] = {
            {0, std::string("The \"End\"")}, {1, 1}, {3, true}, {4, jet::DateTime{38143.5}}};
        database->OpenTable("Games")->Insert(first);
        const jet::Assignment second[] = {{0, jet::Null{}}, {2, std::int16_t{5}}};
        database->OpenTable("Games")->Insert(second);
        database->GetPager().Flush();
    }
    TemporaryFolder folder_;
    std::string path_;
};

TEST_F(InspectCommands, TablesAreListed) {
    const CommandLineRun run = RunCli({"tables", path_});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "Name,Rows,Columns,Indexes\n\"Genres\",1,2,1\n\"Games\",2,5,2\n");
    EXPECT_THAT(RunCli({"tables", "--system", path_}).out, HasSubstr("\"MSysObjects\",11,17,2\n"));
}

TEST_F(InspectCommands, RowsAreExportedInStorageOrder) {
    const CommandLineRun run = RunCli({"export", path_, "GAMES"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "Name,GE_Id,Rating,Fav,Added\n"
              "\"The \"\"End\"\"\",1,3,True,2004-06-05T12:00:00\n"
              ",,5,False,\n");
    EXPECT_THAT(RunCli({"export", "--json", path_, "Genres"}).out,
                HasSubstr(R"({"GE_Id": 1, "Genre": "Shoot 'em up"})"));
}

TEST_F(InspectCommands, SchemaIsSql) {
    const CommandLineRun run = RunCli({"schema", path_});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "CREATE TABLE [Genres] (\n"
              "    [GE_Id] COUNTER,\n"
              "    [Genre] TEXT(40) NOT NULL  -- no empty text\n"
              ");\n"
              "CREATE INDEX [PrimaryKey] ON [Genres] ([GE_Id]) WITH PRIMARY;\n"
              "\n"
              "CREATE TABLE [Games] (\n"
              "    [Name] TEXT(50),\n"
              "    [GE_Id] LONG,\n"
              "    [Rating] SHORT,  -- default 3; rule Between 0 And 5\n"
              "    [Fav] BIT,\n"
              "    [Added] DATETIME\n"
              ");\n"
              "CREATE INDEX [ByName] ON [Games] ([Name] DESC);\n"
              "\n"
              "ALTER TABLE [Games] ADD CONSTRAINT [GenresGames] FOREIGN KEY ([GE_Id]) REFERENCES [Genres] "
              "([GE_Id]) "
              "ON DELETE CASCADE;\n");
}

TEST_F(InspectCommands, TheSqlOfASchemaMakesItAgain) {
    const std::string copy = (folder_ / "copy.mdb").string();
    for (const std::string& file : {(folder_ / "types.mdb").string(), copy}) {
        jet::Database::Create(file, jet::JetVersion::Jet4)->GetPager().Flush();
    }
    const std::string types = (folder_ / "types.mdb").string();
    for (const char* sql :
         {"CREATE TABLE T (Id COUNTER, a BIT, b BYTE, c SHORT NOT NULL, d LONG, e CURRENCY, f SINGLE, g "
          "DOUBLE, h "
          "DATETIME, i BINARY(16), j TEXT(40), k LONGBINARY, l MEMO, m GUID, n DECIMAL(10, 3))",
          "CREATE INDEX PrimaryKey ON T (Id) WITH PRIMARY",
          "CREATE INDEX Sparse ON T (d, e DESC) WITH IGNORE NULL",
          "CREATE UNIQUE INDEX Full ON T (c) WITH DISALLOW NULL", "CREATE TABLE U (T LONG)",
          "ALTER TABLE U ADD CONSTRAINT TU FOREIGN KEY (T) REFERENCES T (Id) ON UPDATE CASCADE"}) {
        ASSERT_EQ(RunCli({"sql", types, sql}).exitCode, 0) << sql;
    }
    const std::string schema = RunCli({"schema", types}).out;
    std::string statement;
    std::istringstream lines(schema);
    for (std::string line; std::getline(lines, line);) {
        statement += line.substr(0, line.find("  --")) + "\n";
        if (!line.ends_with(";")) continue;
        const CommandLineRun run = RunCli({"sql", copy, statement});
        EXPECT_EQ(run.exitCode, 0) << statement << run.err;
        statement.clear();
    }
    EXPECT_THAT(schema, HasSubstr("[n] DECIMAL(10, 3)"));
    EXPECT_EQ(RunCli({"schema", copy}).out, schema);
}

TEST_F(InspectCommands, SchemaIsJsonWhenAskedTo) {
    const std::string out = RunCli({"schema", "--json", path_}).out;
    EXPECT_THAT(out, HasSubstr("\"format\": \"Jet 4\""));
    EXPECT_THAT(out, HasSubstr("\"rule\": \"Between 0 And 5\""));
    EXPECT_THAT(out, HasSubstr("\"cascadeDeletes\": true"));
    EXPECT_THAT(out, HasSubstr("\"autoNumber\": \"next\""));
}

TEST_F(InspectCommands, FailuresAreTold) {
    const CommandLineRun table = RunCli({"export", path_, "Nothing"});
    EXPECT_EQ(table.exitCode, 1);
    EXPECT_THAT(table.err, HasSubstr("could not find the object 'Nothing'"));
    const CommandLineRun file = RunCli({"tables", (folder_ / "missing.mdb").string()});
    EXPECT_EQ(file.exitCode, 1);
    EXPECT_THAT(file.err, HasSubstr("Could not find file"));
    const CommandLineRun name = RunCli({"--library", folder_.Path().string(), "tables", "Nothing"});
    EXPECT_EQ(name.err,
              "Could not find file: " + WindowsPath((folder_ / "Nothing/Nothing.mdb").string()) + "\n");
    WriteFile(folder_ / "text.mdb", "This is no database.");
    EXPECT_EQ(RunCli({"schema", (folder_ / "text.mdb").string()}).exitCode, 1);
    EXPECT_EQ(RunCli({"export", path_}).exitCode, 2);
}

/// What is left of a table can be saved: its rows are written, then the error says that there were more.
TEST_F(InspectCommands, RowsInFrontOfDamageAreWritten) {
    {
        const auto database = jet::Database::Open(path_);
        database->CreateTable({"Long", {MakeColumn("Name", jet::ColumnType::Text, 50)}, {}, "", ""});
        const auto table = database->OpenTable("Long");
        const jet::Assignment row[] = {{0, std::string(50, 'n')}};
        for (int i = 0; i < 500; ++i) table->Insert(row);
        database->GetPager().Flush();
    }
    const auto bytes = std::filesystem::file_size(path_);
    std::filesystem::resize_file(path_, bytes - jet::GeometryOf(jet::JetVersion::Jet4).pageBytes);
    const CommandLineRun run = RunCli({"export", path_, "Long"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("the file may be corrupt"));
    EXPECT_GT(std::count(run.out.begin(), run.out.end(), '\n'), 300);
}

}  // namespace
}  // namespace marrowkit::test
