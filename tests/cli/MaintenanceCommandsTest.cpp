#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandLineTester.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/registry/RegistryStore.h"
#include "support/Environment.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class MaintenanceCommands : public testing::Test {
protected:
    MaintenanceCommands() { SetVariable("XDG_CONFIG_HOME", settings_.Path().string()); }

    CommandLineRun Run(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), {"--library", database_.LibraryFolder().string()});
        return RunCli(std::move(arguments), input);
    }

    TemporaryFolder settings_;
    FrontendDatabase database_{2, 5};
};

TEST_F(MaintenanceCommands, ListNamesVersionAndGames) {
    database_.Execute("INSERT INTO Games (Name) VALUES (\"A\")");
    const auto document = nlohmann::json::parse(Run({"list", "--json"}).out);
    ASSERT_EQ(document.size(), 1U);
    EXPECT_EQ(document[0]["Name"], "Arcade");
    EXPECT_EQ(document[0]["Version"], 2.5);
    EXPECT_EQ(document[0]["Games"], 1);
}

TEST_F(MaintenanceCommands, ShowNamesTablesAndFiles) {
    WriteFile(database_.LibraryFolder() / "Arcade/Gfx/a.txt", "12345");
    const CommandLineRun run = Run({"show", "Arcade"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, StartsWith("Kind,Name,Value\n\"database\",\"" + database_.Path() + "\",\n"));
    EXPECT_THAT(run.out, HasSubstr("\"format\",\"Jet 4\",\n\"version\",\"2.5\",\n"));
    EXPECT_THAT(run.out, HasSubstr("\"table\",\"Publishers\",2\n"));
    EXPECT_THAT(run.out, HasSubstr("\"file\",\"Gfx\\a.txt\",5\n"));
    const CommandLineRun missing = Run({"show", "Nothing"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "Could not find file: " + database_.LibraryRoot() + "Nothing\\Nothing.mdb\n");
}

TEST_F(MaintenanceCommands, ShowLooksAtNoOtherFilesThanTheDatabases) {
    const fs::path elsewhere = settings_ / "a.mdb";
    fs::copy_file(database_.HostFile(), elsewhere);
    const CommandLineRun run = Run({"show", elsewhere.string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("\"table\",\"Publishers\",2\n"));
    EXPECT_THAT(run.out, testing::Not(HasSubstr("\"file\"")));
}

TEST_F(MaintenanceCommands, ShowAndRecordsSayWhatIsNoDatabase) {
    WriteFile(settings_ / "junk.mdb", "junk");
    const std::string junk = (settings_ / "junk.mdb").string();
    for (const auto& arguments : {std::vector<std::string>{"show", junk}, {"records", junk, "Languages"}}) {
        const CommandLineRun run = Run(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, StartsWith("Unrecognized database format"));
    }
}

TEST_F(MaintenanceCommands, FixRepairsByNameAndByPath) {
    for (const std::string& argument : {std::string("Arcade"), database_.HostFile().string()}) {
        database_.Execute("INSERT INTO Games (TimesPlayed) VALUES (1)");
        const CommandLineRun run = Run({"fix", argument});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "Removing NULL Data...\nFixed: All NULL Data Removed!\n");
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Games WHERE Name IS NULL"), "0");
    }
}

TEST_F(MaintenanceCommands, FixFailsWithTheOperationsMessage) {
    const CommandLineRun run = Run({"fix", "Nothing", "--quiet"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "Could not find file: " + database_.LibraryRoot() + "Nothing\\Nothing.mdb\n");
}

TEST_F(MaintenanceCommands, CompactReportsSizes) {
    const CommandLineRun run = Run({"compact", "Arcade"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, testing::ContainsRegex("Compacted Database from [0-9]+Kb to [0-9]+Kb\\.\n"));
}

TEST_F(MaintenanceCommands, ClearExtrasAsksUnlessTold) {
    database_.Execute("INSERT INTO Extras (Name) VALUES (\"map\")");
    EXPECT_EQ(Run({"clear-extras", "Arcade"}).exitCode, 1);
    EXPECT_EQ(Run({"clear-extras", "Arcade"}, "n\n").exitCode, 1);
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Extras"), "1");
    const CommandLineRun run = Run({"clear-extras", "Arcade"}, "y\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("Cleared all Game Extras!"));
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Extras"), "0");
}

TEST_F(MaintenanceCommands, RemoveViewsResetsTheFrontendsCount) {
    database_.Execute("INSERT INTO ViewData (Name) VALUES (\"view\")");
    EXPECT_EQ(Run({"--yes", "remove-views", "Arcade"}).exitCode, 0);
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM ViewData"), "0");
    RegistryVariant count = std::int32_t{7};
    std::int32_t status = 0;
    RegistryStore().ReadValue("HKEY_LOCAL_MACHINE",
                              "Software\\Quillon\\Vellora\\Vellora\\Arcade\\QuickFilter", "NumFilters", count,
                              status);
    EXPECT_EQ(std::get<std::int32_t>(count), 0);
}

TEST_F(MaintenanceCommands, RecordsListsWhatMayBeDeleted) {
    const CommandLineRun run = Run({"records", "Arcade", "languages"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "ID,Name\n2,\"Klingon\"\n");
    EXPECT_EQ(Run({"records", "Arcade", "Games"}).exitCode, 2);
}

// A mistyped argument is nothing unexpected.
TEST_F(MaintenanceCommands, ADatabaseThatCannotBeAFileIsRefusedWithAMessage) {
    for (const std::string command : {"fix", "compact", "clear-extras", "remove-views", "show"}) {
        for (const std::string argument : {"", "Arc*", "a\"b", "\\\\server\\share\\x.mdb", "Q:"}) {
            const CommandLineRun run = Run({"--yes", command, argument});
            EXPECT_EQ(run.exitCode, 1) << command << " " << argument << ": " << run.err;
            EXPECT_THAT(run.err, testing::Not(HasSubstr("Run-time error"))) << command << " " << argument;
        }
    }
    EXPECT_EQ(Run({"delete-record", "Arc*", "Languages", "2", "--replace-with", "1"}).exitCode, 1);
}

TEST_F(MaintenanceCommands, DeleteRecordMovesGames) {
    database_.Execute("INSERT INTO Games (Name, LA_Id) VALUES (\"A\", 2)");
    const CommandLineRun run =
        Run({"delete-record", "Arcade", "Languages", "2", "--replace-with", "1"}, "yes\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("Delete the record \"Klingon\" from the table \"Languages\" and\n"
                                   "move all affected games to the record \"English\"?"));
    EXPECT_THAT(run.err, HasSubstr("Record Deleted!"));
    EXPECT_EQ(database_.One("SELECT LA_Id FROM Games"), "1");
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Languages"), "1");
}

TEST_F(MaintenanceCommands, DeleteRecordRefusesProtectedAndUnknownRecords) {
    for (const std::vector<std::string>& ids :
         {std::vector<std::string>{"1", "2"}, {"99", "1"}, {"2", "2"}, {"2", "99"}}) {
        const CommandLineRun run =
            Run({"--yes", "delete-record", "Arcade", "Languages", ids[0], "--replace-with", ids[1]});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, StartsWith("There is no "));
    }
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Languages"), "2");
}

// The window takes such a key for no choice at all.
TEST_F(MaintenanceCommands, ARecordWhoseKeyIsNotPositiveIsNoReplacement) {
    for (const std::string id : {"0", "-7"}) {
        database_.Execute("INSERT INTO Languages (LA_Id, Language) VALUES (" + id + ", \"Odd\")");
        const CommandLineRun run =
            Run({"--yes", "delete-record", "Arcade", "Languages", "2", "--replace-with", id});
        EXPECT_EQ(run.exitCode, 1) << id;
        EXPECT_EQ(run.err, "There is no other record " + id + " in Languages that could take its place.\n");
    }
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Languages WHERE LA_Id = 2"), "1");
    EXPECT_EQ(Run({"--yes", "delete-record", "Arcade", "Languages", "-7", "--replace-with", "1"}).exitCode,
              0);
    EXPECT_EQ(database_.One("SELECT COUNT(*) FROM Languages WHERE LA_Id = -7"), "0");
}

TEST_F(MaintenanceCommands, DeleteRemovesADatabasesFolderAndNothingElse) {
    WriteFile(database_.LibraryFolder() / "Other/file", "x");
    for (const std::string& name : {std::string("Other"), std::string(".."), std::string("Arcade\\Gfx"),
                                    database_.HostFile().string(), std::string()}) {
        EXPECT_NE(Run({"--yes", "delete", name}).exitCode, 0) << name;
    }
    EXPECT_TRUE(fs::exists(database_.HostFile()));
    EXPECT_EQ(Run({"delete", "Arcade"}).exitCode, 1);
    EXPECT_TRUE(fs::exists(database_.HostFile()));
    EXPECT_EQ(Run({"--yes", "delete", "arcade"}).exitCode, 0);
    EXPECT_FALSE(fs::exists(database_.LibraryFolder() / "Arcade"));
    EXPECT_TRUE(fs::exists(database_.LibraryFolder() / "Other/file"));
}

}  // namespace
}  // namespace marrowkit::test
