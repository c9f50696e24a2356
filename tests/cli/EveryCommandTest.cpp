// The program's own options with each of its commands. A command that is missing here fails IsTestedHere.

#include <algorithm>
#include <filesystem>
#include <ostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandWorld.h"

namespace marrowkit::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// One way to use a command, and what it then does besides its work. '@' stands for the folder of the
/// samples.
struct Sample {
    const char* command;
    std::vector<std::string> arguments;
    bool hasResult = false;    // on standard output
    bool tells = false;        // on standard error, when it goes well
    bool warns = false;        // of what is still to be done; no option silences that
    bool asks = false;         // before it destroys anything
    bool usesLibrary = false;  // for the name of a database
};

void PrintTo(const Sample& one, std::ostream* out) {
    *out << one.command;
}

const Sample kSamples[] = {
    {.command = "list", .arguments = {}, .hasResult = true, .usesLibrary = true},
    {.command = "show", .arguments = {"Arcade"}, .hasResult = true, .usesLibrary = true},
    {.command = "new", .arguments = {"Tape"}, .hasResult = true, .usesLibrary = true},
    {.command = "import",
     .arguments = {"@Games.dat"},
     .hasResult = true,
     .tells = true,
     .warns = true,
     .usesLibrary = true},
    {.command = "fix", .arguments = {"Arcade"}, .tells = true, .usesLibrary = true},
    {.command = "compact", .arguments = {"Arcade"}, .tells = true, .usesLibrary = true},
    {.command = "clear-extras", .arguments = {"Arcade"}, .tells = true, .asks = true, .usesLibrary = true},
    {.command = "remove-views", .arguments = {"Arcade"}, .tells = true, .asks = true, .usesLibrary = true},
    {.command = "records", .arguments = {"Arcade", "Languages"}, .hasResult = true, .usesLibrary = true},
    {.command = "delete-record",
     .arguments = {"Arcade", "Languages", "2", "--replace-with", "1"},
     .tells = true,
     .asks = true,
     .usesLibrary = true},
    {.command = "delete", .arguments = {"Arcade"}, .tells = true, .asks = true, .usesLibrary = true},
    {.command = "check", .arguments = {"@copy.mdb"}, .hasResult = true, .tells = true},
    {.command = "tables", .arguments = {"Arcade"}, .hasResult = true, .usesLibrary = true},
    {.command = "schema", .arguments = {"Arcade"}, .hasResult = true, .usesLibrary = true},
    {.command = "export", .arguments = {"Arcade", "Games"}, .hasResult = true, .usesLibrary = true},
    {.command = "sql",
     .arguments = {"Arcade", "SELECT Name FROM Games"},
     .hasResult = true,
     .usesLibrary = true},
    {.command = "create-template", .arguments = {"@new.mdb"}, .hasResult = true},
    {.command = "crc", .arguments = {"@copy.mdb"}, .hasResult = true},
    {.command = "tosec", .arguments = {"Gem (1991)(Kaiko).st"}, .hasResult = true},
};

constexpr const char* kQuestion = "\\[(y/N|Y/n)";

/// Every test starts from a library that no other command has changed.
class EveryCommand : public testing::TestWithParam<Sample> {
protected:
    EveryCommand() {
        world_.Datafile();
        std::filesystem::copy_file(world_.arcade.HostFile(), world_.folder / "copy.mdb");
    }

    std::vector<std::string> Words(const std::vector<std::string>& behind = {}) const {
        std::vector<std::string> words = {GetParam().command};
        for (const std::string& argument : GetParam().arguments) {
            words.push_back(argument[0] == '@' ? world_.File(argument.substr(1)) : argument);
        }
        words.insert(words.end(), behind.begin(), behind.end());
        return words;
    }
    CommandLineRun Run(const std::vector<std::string>& behind) { return world_.Run(Words(behind)); }

    CommandWorld world_;
};

TEST(EveryCommandOfTheProgram, IsTestedHere) {
    std::set<std::string> tested;
    for (const Sample& sample : kSamples) tested.insert(sample.command);
    EXPECT_EQ(tested, RealCommandLine().commands);
}

TEST_P(EveryCommand, AnswersWithOneJsonDocumentWhenAskedTo) {
    const CommandLineRun run = Run({"--yes", "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(nlohmann::json::accept(run.out), GetParam().hasResult) << run.out;
    EXPECT_EQ(run.out.empty(), !GetParam().hasResult) << run.out;
}

TEST_P(EveryCommand, AnswersInPlainTextOtherwise) {
    const CommandLineRun run = Run({"--yes"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_FALSE(nlohmann::json::accept(run.out)) << run.out;
    EXPECT_EQ(!run.err.empty(), GetParam().tells) << run.err;
}

TEST_P(EveryCommand, TellsNothingButWarningsWhenQuiet) {
    const CommandLineRun run = Run({"--yes", "--quiet"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(!run.err.empty(), GetParam().warns) << run.err;
}

TEST_P(EveryCommand, AsksBeforeItDestroysAndTakesNoAnswerForNo) {
    const std::string before = ReadFile(world_.arcade.HostFile());
    const CommandLineRun run = Run({});
    if (!GetParam().asks) {
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_THAT(run.err, Not(ContainsRegex(kQuestion)));
        return;
    }
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, ContainsRegex(kQuestion));
    EXPECT_EQ(ReadFile(world_.arcade.HostFile()), before);
    EXPECT_EQ(Run({"--yes"}).exitCode, 0);
    EXPECT_NE(ReadFile(world_.arcade.HostFile()), before);
}

TEST_P(EveryCommand, LooksForDatabasesInTheLibraryThatItIsTold) {
    const CommandLineRun elsewhere = RunCli(Words({"--yes"}));
    const bool found = elsewhere.exitCode == 0 && elsewhere.out.find('\n') != elsewhere.out.size() - 1;
    if (!GetParam().usesLibrary) {
        EXPECT_EQ(elsewhere.exitCode, 0) << elsewhere.err;
        return;
    }
    EXPECT_FALSE(found) << elsewhere.out;
    EXPECT_THAT(elsewhere.err, Not(testing::IsEmpty()));
    EXPECT_EQ(Run({"--yes"}).exitCode, 0);
}

TEST_P(EveryCommand, ExplainsItselfInsteadOfWorking) {
    const CommandLineRun run = Run({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr(std::string("marrowkit-cli ") + GetParam().command));
    EXPECT_EQ(Run({"-h"}).out, run.out);
    EXPECT_TRUE(world_.Has("Arcade/Arcade.mdb"));
    EXPECT_FALSE(world_.Has("Tape") || world_.Has("Games"));
}

INSTANTIATE_TEST_SUITE_P(Cli, EveryCommand, testing::ValuesIn(kSamples), [](const auto& test) {
    std::string name = test.param.command;
    std::erase(name, '-');
    return name;
});

}  // namespace
}  // namespace marrowkit::test
