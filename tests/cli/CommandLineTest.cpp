#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLineTester.h"
#include "global/modGlobal.h"
#include "platform/installation/BuildVersion.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(CommandLine, ExplainsItself) {
    const CommandLineRun run = RunCli({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, IsEmpty());
    for (const char* text : {"--library", "--json", "--quiet", "--yes", "--version", "crc", "Exit codes"}) {
        EXPECT_THAT(run.out, HasSubstr(text));
    }
}

TEST(CommandLine, ExplainsACommandWithExamples) {
    const CommandLineRun run = RunCli({"crc", "--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("Examples:\n  marrowkit-cli crc"));
}

TEST(CommandLine, TellsItsVersion) {
    const CommandLineRun run = RunCli({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, BuildVersionText() + "\n");
    // The number is that of the windows and of the files.
    EXPECT_THAT(run.out, testing::StartsWith("Marrowkit " + modGlobal::VersionText() + " (commit "));
}

TEST(CommandLine, EndsWith2ForWrongUsage) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"nonsense"}, {"crc"}, {"crc", "--nonsense", "x"}, {"--library"}}) {
        const CommandLineRun run = RunCli(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.err, HasSubstr("--help"));
        EXPECT_THAT(run.out, IsEmpty());
    }
}

TEST(CommandLine, NamesACommandThatThereIsNot) {
    const CommandLineRun run = RunCli({"lst", "--json"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(
        run.err,
        "There is no command 'lst'. Did you mean 'list'?\n'marrowkit-cli --help' lists the commands.\n");
    EXPECT_THAT(RunCli({"chekc"}).err, HasSubstr("Did you mean 'check'?"));
    EXPECT_THAT(RunCli({"delete-recrod"}).err, HasSubstr("Did you mean 'delete-record'?"));
    EXPECT_THAT(RunCli({"x"}).err, Not(HasSubstr("mean")));
    EXPECT_EQ(RunCli({}).err, "A command is missing.\n'marrowkit-cli --help' lists the commands.\n");
}

TEST(CommandLine, ShowsTheUsageOfACommandThatIsUsedWrongly) {
    EXPECT_EQ(RunCli({"export", "a.mdb"}).err,
              "TABLE is required\nUsage: marrowkit-cli export [OPTIONS] FILE TABLE\n"
              "'marrowkit-cli export --help' explains it.\n");
    EXPECT_EQ(RunCli({"list", "--library"}).err,
              "--library: 1 required DIR missing\nUsage: marrowkit-cli list [OPTIONS]\n"
              "'marrowkit-cli list --help' explains it.\n");
}

TEST(CommandLine, NamesAnOptionThatThereIsNot) {
    EXPECT_THAT(RunCli({"import", "a.dat", "--name-colum", "3"}).err,
                testing::StartsWith("There is no option '--name-colum'. Did you mean '--name-column'?\n"));
    EXPECT_THAT(RunCli({"--libary", "x", "list"}).err,
                testing::StartsWith("There is no option '--libary'. Did you mean '--library'?\n"));
    EXPECT_THAT(RunCli({"list", "--quite"}).err, HasSubstr("Did you mean '--quiet'?"));
    EXPECT_THAT(RunCli({"list", "-q"}).err, testing::StartsWith("There is no option '-q'.\n"));
    EXPECT_THAT(RunCli({"list", "--nonsense=3"}).err,
                testing::StartsWith("There is no option '--nonsense'.\n"));
    EXPECT_THAT(RunCli({"-V"}).err, testing::StartsWith("There is no option '-V'.\n"));
}

TEST(CommandLine, TakesAnOptionWithAValueOnlyOnce) {
    EXPECT_THAT(RunCli({"list", "--library", "a", "--library", "b"}).err,
                testing::StartsWith("--library may be given only once\n"));
    EXPECT_THAT(RunCli({"import", "a.dat", "--name", "a", "--name=b"}).err,
                testing::StartsWith("--name may be given only once\n"));
}

TEST(CommandLine, NamesSurplusArgumentsInTheirOrder) {
    EXPECT_THAT(RunCli({"sql", "a.mdb", "SELECT", "Name", "FROM", "Games"}).err,
                testing::StartsWith("There are more arguments than expected: Name FROM Games\n"));
}

TEST(CommandLine, RefusesALibraryWithoutAName) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--library", "", "list"}, {"list", "--library="}}) {
        const CommandLineRun run = RunCli(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.err, testing::StartsWith("--library: "));
        EXPECT_THAT(run.out, IsEmpty());
    }
}

TEST(CommandLine, TakesGlobalOptionsBeforeAndBehindTheCommand) {
    const TemporaryFolder folder;
    WriteFile(folder / "a", "123456789");
    const std::string file = (folder / "a").string();
    const CommandLineRun before = RunCli({"--json", "crc", file});
    const CommandLineRun behind = RunCli({"crc", file, "--json"});
    EXPECT_EQ(before.exitCode, 0);
    EXPECT_THAT(before.out, testing::StartsWith("["));
    EXPECT_EQ(before.out, behind.out);
}

TEST(CommandLine, EndsWithTheFatalErrorReportForAnErrorNobodyExpected) {
    const TemporaryFolder folder;
    WriteFile(folder / "junk.mdb", "junk");
    const CommandLineRun run =
        RunCli({"delete-record", (folder / "junk.mdb").string(), "Languages", "2", "--replace-with", "1"});
    EXPECT_EQ(run.exitCode, 70);
    EXPECT_EQ(run.err, "Run-time error '3343':\n\nUnrecognized database format 'junk.mdb'.\n");
    EXPECT_THAT(run.out, IsEmpty());
}

TEST(CommandLine, RefusesALibraryThatCannotBe) {
    const CommandLineRun run = RunCli({"crc", "x", "--library", "Q:\\nowhere"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "The library cannot be used: Device unavailable.\n");
    EXPECT_THAT(run.out, IsEmpty());
}

TEST(CommandLine, FailsWhenTheResultsCannotBeWritten) {
    const TemporaryFolder folder;
    WriteFile(folder / "a", "123456789");
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    out.setstate(std::ios::badbit);
    EXPECT_EQ(cli::RunCommandLine({"crc", (folder / "a").string()}, {in, out, err}), 1);
    EXPECT_EQ(err.str(), "The results could not be written.\n");
    for (const char* option : {"--help", "--version"}) {
        err.str("");
        EXPECT_EQ(cli::RunCommandLine({option}, {in, out, err}), 1) << option;
        EXPECT_EQ(err.str(), "The results could not be written.\n");
    }
}

}  // namespace
}  // namespace marrowkit::test
