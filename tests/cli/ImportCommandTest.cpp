#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandLineTester.h"
#include "import/GamesLine.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/files/HostPath.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

class ImportCommand : public testing::Test {
protected:
    ImportCommand() {
        fs::copy_file(database_.HostFile(), database_.LibraryFolder() / "Empty.mdb");
        WriteFile(folder_ / "roms/Sub/found.zip", "123456789");
        WriteFile(folder_ / "roms/stray.bin", "stray");
    }

    std::string Datafile(const std::string& name, const std::string& games,
                         const std::string& version = "2.00") {
        WriteFile(folder_ / name, "[DAT]\r\nversion=" + version + "\r\n[GAMES]\r\n" + games);
        return (folder_ / name).string();
    }

    CommandLineRun Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--library", database_.LibraryFolder().string(), "import"});
        return RunCli(std::move(arguments));
    }

    bool Exists(const std::string& name) const { return fs::exists(database_.LibraryFolder() / name); }

    FrontendDatabase database_{2, 5};
    TemporaryFolder folder_;
};

TEST_F(ImportCommand, MakesADatabaseNamedAfterTheDatafile) {
    const CommandLineRun run = Run({Datafile("Games.dat", GamesLine("A", "a") + GamesLine("B", "b"))});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "Database,Entries,Written,Found,Files\n\"" + database_.LibraryRoot() +
                           "Games\\Games.mdb\",2,2,0,0\n");
    EXPECT_EQ(run.err,
              "Loading Datafile into memory...\nCreating New Database...\nAdding games to database...\n"
              "You will need to run \"Scan and Fix Errors\" on this database file before you can use it.\n");
    EXPECT_TRUE(Exists("Games/Games.mdb"));
}

TEST_F(ImportCommand, AddsToAnExistingDatabase) {
    const CommandLineRun run =
        Run({Datafile("Games.dat", GamesLine("A", "a")), "--into", "Arcade", "--quiet"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(database_.One("SELECT Name FROM Games"), "A");
    EXPECT_FALSE(Exists("Games"));
    EXPECT_EQ(Run({Datafile("Games.dat", GamesLine("A", "a")), "--into", "Nothing"}).err,
              "Huh? This database doesn't exist!\n");
}

TEST_F(ImportCommand, ScansForRoms) {
    const std::string datafile =
        Datafile("Games.dat", GamesLine("A", "a.zip", "CBF43926", "9") + GamesLine("B", "b.zip"));
    const CommandLineRun run =
        Run({datafile, "--into", "Arcade", "--roms", (folder_ / "roms").string(), "--match-extensions"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, EndsWith(",2,2,1,1\n"));
    EXPECT_THAT(run.err, HasSubstr("Grabbing CRC-32 values for 1 files...\nCRC-32/Size Matches found:\n"));
    EXPECT_THAT(database_.Rows("SELECT Filename, CCode FROM Games ORDER BY GA_Id"),
                testing::ElementsAre("Sub\\found.zip|2", "|4"));
}

TEST_F(ImportCommand, TakesTosecFromTheDatafilesNameUnlessToldOtherwise) {
    const std::string datafile = Datafile("Some tosec.dat", GamesLine("A (1985)(S)", "A (1985)(S).st"));
    EXPECT_EQ(Run({datafile, "--into", "Arcade"}).exitCode, 0);
    EXPECT_EQ(Run({datafile, "--into", "Arcade", "--no-tosec"}).exitCode, 0);
    const std::string other = Datafile("other.dat", GamesLine("A (1986)(S)", "A (1986)(S).st"));
    EXPECT_EQ(Run({other, "--into", "Arcade", "--tosec"}).exitCode, 0);
    EXPECT_THAT(database_.Rows("SELECT Name, YE_ID FROM Games ORDER BY GA_Id"),
                testing::ElementsAre("A |25", "A (1985)(S)|1", "A |26"));
}

TEST_F(ImportCommand, RefusesWhatTheDialogRefuses) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a"));
    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } kCases[] = {
        {{datafile, "--name", "Arcade"}, "There is already a Vellora folder with that name!\n"},
        {{datafile, "--name", "a?b"}, "You have entered one or more invalid characters!\n"},
        {{datafile, "--roms", (folder_ / "missing").string()}, "The Rom Path could not be found!\n"},
        {{datafile, "--roms", "C:missing"}, "Please enter an absolute (full) Rom Path!\n"},
        {{datafile, "--roms", R"(\\server\share)"}, "Please enter an absolute (full) Rom Path!\n"},
        {{datafile, "--roms", ""}, "Please enter an absolute (full) Rom Path!\n"},
        {{datafile, "--name", ""}, "You must enter a Vellora name!\n"},
        {{datafile, "--into", ""}, "Huh? This database doesn't exist!\n"},
        {{datafile, "--into", R"(\\server\share\a.mdb)"}, "Huh? This database doesn't exist!\n"},
        {{R"(\\server\share\a.dat)"}, "Could not find file: \\\\server\\share\\a.dat\n"},
        {{""}, "Could not find file: \n"},
        {{Datafile("old.dat", GamesLine("A", "a"), "1.92")},
         "This datafile was not found to be version 2.00!\n\nReported version is: [1.92]\n"},
        {{(folder_ / "none.dat").string()},
         "Could not find file: " + WindowsPath((folder_ / "none.dat").string()) + "\n"},
        {{Datafile("empty.dat", "")}, "Loading Datafile into memory...\nThere were no games to import!\n"},
    };
    for (const auto& c : kCases) {
        const CommandLineRun run = Run(c.arguments);
        EXPECT_EQ(run.exitCode, 1) << c.message;
        EXPECT_EQ(run.err, c.message);
        EXPECT_EQ(run.out, "");
    }
    EXPECT_FALSE(Exists("Games"));
}

TEST_F(ImportCommand, KnowsWrongUsage) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a"));
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {datafile, "--name-column", "6"},
                                                      {datafile, "--file-column", "8"},
                                                      {datafile, "--name", "x", "--into", "Arcade"},
                                                      {datafile, "--match-extensions"},
                                                      {datafile, "--tosec", "--no-tosec"}}) {
        EXPECT_EQ(Run(arguments).exitCode, 2);
    }
}

TEST_F(ImportCommand, EndsWithTheFatalReportWhereThePlainLoaderFails) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a", "1", "x"));
    const CommandLineRun run = Run({datafile, "--quiet"});
    EXPECT_EQ(run.exitCode, 70);
    EXPECT_THAT(run.err, HasSubstr("Run-time error '13':\n\nType mismatch\n"));
    const CommandLineRun skipping = Run({datafile, "--quiet", "--skip-duplicates"});
    EXPECT_EQ(skipping.exitCode, 1);
    EXPECT_THAT(skipping.err, HasSubstr("it may be a misreported v1.92 datafile!"));
}

TEST_F(ImportCommand, ExplainsItselfWithoutWritingAnything) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a.zip", "CBF43926", "9") +
                                                           "\xAC"
                                                           "broken\xAC\r\n" +
                                                           GamesLine("B", "b.zip", "CBF43926", "10"));
    const CommandLineRun run = Run({datafile, "--dry-run", "--roms", (folder_ / "roms").string(), "--json"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_FALSE(Exists("Games"));
    EXPECT_THAT(run.err, testing::Not(HasSubstr("Scan and Fix")));
    const auto report = nlohmann::json::parse(run.out);
    std::vector<std::string> kinds;
    for (const auto& row : report) kinds.push_back(row["Kind"]);
    EXPECT_THAT(kinds, testing::ElementsAre("skipped line", "found", "near miss", "unused file"));
    EXPECT_EQ(report[0]["Line"], 5);
    EXPECT_EQ(report[1]["File"], "Sub\\found.zip");
    EXPECT_EQ(report[3]["File"], "stray.bin");
}

TEST_F(ImportCommand, RemindsOfScanAndFixAlsoWhenAddingGamesFailed) {
    const std::string datafile =
        Datafile("Games.dat", GamesLine("A", "A (1985)(S).st") + GamesLine("B", "B (1985)(So\"ft).st") +
                                  GamesLine("C", "C (1985)(S).st"));
    const CommandLineRun run = Run({datafile, "--into", "Arcade", "--tosec"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("(3075,"));
    EXPECT_THAT(run.err,
                EndsWith("\nYou will need to run \"Scan and Fix Errors\" on this database file before "
                         "you can use it.\n"));
    EXPECT_THAT(database_.Rows("SELECT Name FROM Games"), testing::ElementsAre("A"));
}

TEST_F(ImportCommand, NamesTheGameThatCouldNotBeAdded) {
    const std::string datafile = Datafile(
        "Games.dat", GamesLine("A", "a") + GamesLine("B", std::string(256, 'b')) + GamesLine("C", "c"));
    const CommandLineRun run = Run({datafile});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err,
                HasSubstr("  (3163,0)\nThe game that could not be added, number 2 of 3: B (file name: "
                          "bbb"));
    // What was made and written stays.
    EXPECT_TRUE(Exists("Games/Games.mdb"));
    const CommandLineRun dry = Run({datafile, "--name", "Other", "--dry-run"});
    EXPECT_EQ(dry.exitCode, 0);
    EXPECT_THAT(dry.out, HasSubstr("\"too long\",5,\"B\",\"\",\"\",,\"its file name has 256 characters"));
}

TEST_F(ImportCommand, SummarisesAsJson) {
    const std::string datafile =
        Datafile("Games.dat", GamesLine("A", "a.zip", "CBF43926", "9") + GamesLine("", "b"));
    const CommandLineRun run = Run({datafile, "--json", "--quiet", "--roms", (folder_ / "roms").string()});
    EXPECT_EQ(run.exitCode, 0);
    const auto result = nlohmann::json::parse(run.out);
    EXPECT_EQ(result["Database"], database_.LibraryRoot() + "Games\\Games.mdb");
    EXPECT_EQ(result["Entries"], 2);
    EXPECT_EQ(result["Written"], 1);
    EXPECT_EQ(result["Found"], 1);
    EXPECT_EQ(result["Files"], 3);
    ASSERT_EQ(result["Stages"].size(), 6U);
    EXPECT_EQ(result["Stages"][0]["Stage"], "Loading Datafile into memory...");
    EXPECT_GE(result["Stages"][5]["Seconds"], 0.0);
}

TEST_F(ImportCommand, SaysOnceThatEmptyMdbIsMissing) {
    fs::remove(database_.LibraryFolder() / "Empty.mdb");
    const CommandLineRun run = Run({Datafile("Games.dat", GamesLine("A", "a"))});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "Loading Datafile into memory...\nCreating New Database...\n"
              "Could not find Empty.mdb in the Vellora installation folder.\n\n"
              "You can download another Empty.mdb file from the Vellora web site.\n");
    EXPECT_FALSE(Exists("Games"));
}

TEST_F(ImportCommand, ExplainsAFailureToo) {
    const std::string lineFeeds = (folder_ / "lf.dat").string();
    WriteFile(lineFeeds, "[DAT]\nversion=2.00\n" + GamesLine("A", "a"));
    const CommandLineRun nothing = Run({lineFeeds, "--dry-run"});
    EXPECT_EQ(nothing.exitCode, 1);
    EXPECT_THAT(nothing.out, HasSubstr("\"hint\",,\"\",\"\",\"\",,\"There were no games to import!\"\n"));

    const std::string wrongSize = Datafile("size.dat", GamesLine("A", "a", "1", "x"));
    const std::string report = (folder_ / "r.csv").string();
    EXPECT_EQ(Run({wrongSize, "--report", report}).exitCode, 70);
    EXPECT_THAT(ReadFile(folder_ / "r.csv"), HasSubstr("4,\"A\",\"\",\"\",,\"its size ends the import: "));
    EXPECT_FALSE(Exists("size"));
}

// The message alone leaves one guessing what is wrong with a datafile full of games.
TEST_F(ImportCommand, HintsAtWhatHidesTheGamesOfADatafile) {
    const std::string file = (folder_ / "a.dat").string();
    const std::string told = "There were no games to import!\n";
    WriteFile(file, "[DAT]\nversion=2.00\n\xAC\n");
    const CommandLineRun lineFeeds = Run({file, "--quiet"});
    EXPECT_EQ(lineFeeds.exitCode, 1);
    EXPECT_EQ(
        lineFeeds.err,
        "All lines end with a lone LF, so the whole file is one line. Lines must end with CR LF.\n" + told);
    WriteFile(file,
              "[DAT]\r\nversion=2.00\r\n\xC2\xAC"
              "A\xC2\xAC\r\n");
    EXPECT_THAT(Run({file}).err, HasSubstr("the datafile is in UTF-8."));
    EXPECT_THAT(Run({Datafile("b.dat",
                              "\xAC"
                              "A\xAC\r\n\xAC\r\n")})
                    .err,
                HasSubstr("2 lines begin like games lines and are none; --dry-run lists them.\n"));
    EXPECT_THAT(Run({Datafile("c.dat", "")}).err, EndsWith("Loading Datafile into memory...\n" + told));
    EXPECT_THAT(Run({file, "--dry-run"}).err, Not(HasSubstr("UTF-8")));  // the report says so
}

TEST_F(ImportCommand, WritesItsReportIntoAFile) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a.zip", "CBF43926", "9"));
    const std::string roms = (folder_ / "roms").string();
    const CommandLineRun csv = Run({datafile, "--roms", roms, "--report", (folder_ / "r.csv").string()});
    EXPECT_EQ(csv.exitCode, 0);
    EXPECT_THAT(csv.out, HasSubstr("Database,Entries,Written,Found,Files\n"));
    EXPECT_EQ(ReadFile(folder_ / "r.csv"),
              "Kind,Line,Name,File,CRC,Size,Detail\n"
              "\"found\",,\"A\",\"Sub\\found.zip\",\"CBF43926\",9,\"\"\n"
              "\"unused file\",,\"\",\"stray.bin\",\"9E477589\",5,\"\"\n");
    EXPECT_TRUE(Exists("Games/Games.mdb"));
    Run({datafile, "--name", "Second", "--dry-run", "--report", (folder_ / "r.json").string()});
    EXPECT_TRUE(nlohmann::json::parse(ReadFile(folder_ / "r.json")).empty());
    EXPECT_FALSE(Exists("Second"));
}

// Not after the work is done, and not by the report of an error that nobody expected.
TEST_F(ImportCommand, RefusesAReportThatCannotBeWrittenBeforeAnythingElse) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a"));
    const std::string folder = folder_.Path().string();
    const std::string missing = (folder_ / "missing/r.csv").string();
    EXPECT_EQ(Run({datafile, "--report", missing}).err,
              "There is no folder for the report: " + WindowsPath(missing) + "\n");
    EXPECT_EQ(Run({datafile, "--report", folder}).err,
              "The report cannot have the name of a folder: " + WindowsPath(folder) + "\n");
    EXPECT_EQ(Run({datafile, "--report", missing}).exitCode, 1);
    EXPECT_EQ(Run({datafile, "--report", ""}).err, "The report needs the name of a file.\n");
    EXPECT_FALSE(Exists("Games"));
}

TEST_F(ImportCommand, TellsOfAReportThatCouldNotBeWritten) {
    const CommandLineRun run =
        Run({Datafile("Games.dat", GamesLine("A", "a")), "--report", "/dev/full", "--quiet"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("The report could not be written: Disk full\n"));
    EXPECT_THAT(run.out, HasSubstr("Games.mdb\",1,1,0,0\n"));
    EXPECT_TRUE(Exists("Games/Games.mdb"));
}

// Paths.ini is a text of code page 1252, which the frontend reads.
TEST_F(ImportCommand, WarnsOfARomFolderThatPathsIniCannotName) {
    const std::string datafile = Datafile("Games.dat", GamesLine("A", "a"));
    fs::create_directory(folder_ / "\xE6\x97\xA5\xE6\x9C\xAC");
    fs::create_directory(folder_ / "R\xC3\xB6ms");
    const std::string japanese = (folder_ / "\xE6\x97\xA5\xE6\x9C\xAC").string();
    const CommandLineRun warned = Run({datafile, "--roms", japanese, "--quiet"});
    EXPECT_EQ(warned.exitCode, 0);
    EXPECT_THAT(warned.err, HasSubstr("Paths.ini cannot hold every letter of the ROM folder's name, and the "
                                      "frontend will not find it: " +
                                      WindowsPath(japanese) + "\n"));
    const std::string roms = (folder_ / "R\xC3\xB6ms").string();
    EXPECT_THAT(Run({datafile, "--name", "B", "--roms", roms}).err, Not(HasSubstr("Paths.ini")));
    // The games of an existing database are found by what its Paths.ini says already.
    EXPECT_THAT(Run({datafile, "--into", "B", "--roms", japanese}).err, Not(HasSubstr("Paths.ini")));
}

}  // namespace
}  // namespace marrowkit::test
