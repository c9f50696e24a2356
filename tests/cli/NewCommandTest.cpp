#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLineTester.h"
#include "platform/files/HostPath.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;

class NewCommand : public testing::Test {
protected:
    NewCommand() { WriteFile(library_ / "Empty.mdb", "template"); }
    CommandLineRun New(const std::string& name) {
        return RunCli({"--library", library_.Path().string(), "new", name});
    }
    TemporaryFolder library_;
};

TEST_F(NewCommand, MakesADatabase) {
    const CommandLineRun run = New("Tape games");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "Name,Folder\n\"Tape games\",\"" + WindowsPath(library_.Path().string()) +
                           "\\Tape games\\\"\n");
    EXPECT_EQ(ReadFile(library_ / "Tape games/Tape games.mdb"), "template");
    EXPECT_TRUE(fs::exists(library_ / "Tape games/Credits.ini"));
}

TEST_F(NewCommand, RefusesAnExistingFolderWithItsMessage) {
    fs::create_directory(library_ / "arcade");
    for (const bool quiet : {false, true}) {
        std::vector<std::string> arguments{"--library", library_.Path().string(), "new", "Arcade"};
        if (quiet) arguments.push_back("--quiet");
        const CommandLineRun run = RunCli(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "There is already a Vellora folder with that name!\n");
    }
}

TEST_F(NewCommand, RefusesWithoutTheTemplateDatabase) {
    fs::remove(library_ / "Empty.mdb");
    const CommandLineRun run = New("Arcade");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "Could not find Empty.mdb in the Vellora installation folder.\n\n"
              "You can download another Empty.mdb file from the Vellora web site.\n");
}

TEST_F(NewCommand, RefusesNamesThatTheDialogWouldNotTake) {
    EXPECT_EQ(New("").err, "The name of a database cannot be empty.\n");
    EXPECT_EQ(New("a/b").err, "You have entered one or more invalid characters!\n");
    EXPECT_EQ(New("what?").err, "You have entered one or more invalid characters!\n");
    EXPECT_EQ(New(std::string(65, 'x')).err, "The name of a database has at most 64 characters.\n");
    EXPECT_EQ(New("..").exitCode, 1);
    EXPECT_EQ(New("dot.").exitCode, 1);
    for (const char* device : {"nul", "Com1", "LPT9.games", "aux .x"}) {
        EXPECT_EQ(New(device).err,
                  std::string("Windows cannot have a folder of that name: ") + device + "\n");
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(library_.Path()), fs::directory_iterator()), 1);
}

// The library never shows the frontend's own folder "Docs" as a database.
TEST_F(NewCommand, RefusesTheNameOfTheFrontendsDocuments) {
    for (const char* name : {"Docs", "DOCS"}) {
        const CommandLineRun run = New(name);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, std::string("A folder of that name is never shown as a database: ") + name + "\n");
    }
    EXPECT_FALSE(fs::exists(library_ / "Docs"));
}

TEST_F(NewCommand, TellsWhatStoppedIt) {
    WriteFile(library_ / "Arcade", "a file");
    const CommandLineRun run = New("Arcade");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, testing::StartsWith("Path/File access error  (75,"));
}

}  // namespace
}  // namespace marrowkit::test
