#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandLineTester.h"
#include "platform/files/HostPath.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

TEST(ListCommand, NamesDatabasesInOrder) {
    const TemporaryFolder library;
    WriteFile(library / "beta/beta.mdb", "12345");
    WriteFile(library / "Alpha/Alpha.mdb", "123");
    WriteFile(library / "Gamma/other.mdb", "123");
    const std::string root = library.Path().string();
    const CommandLineRun run = RunCli({"--library", root, "list"});
    EXPECT_EQ(run.exitCode, 0);
    const std::string prefix = WindowsPath(root) + "\\";
    EXPECT_EQ(run.out, "Name,Version,Games,Bytes,Path\n\"Alpha\",,,3,\"" + prefix +
                           "Alpha\\Alpha.mdb\"\n\"beta\",,,5,\"" + prefix + "beta\\beta.mdb\"\n");
    // Why nothing stands there.
    EXPECT_EQ(run.err,
              "Alpha: Unrecognized database format 'Alpha.mdb'.\n"
              "beta: Unrecognized database format 'beta.mdb'.\n");
    const auto document = nlohmann::json::parse(RunCli({"--library", root, "list", "--json"}).out);
    ASSERT_EQ(document.size(), 2u);
    EXPECT_EQ(document[1]["Name"], "beta");
    EXPECT_EQ(document[1]["Bytes"], 5);
}

TEST(ListCommand, IsEmptyForAnEmptyLibrary) {
    const TemporaryFolder library;
    const CommandLineRun run = RunCli({"list", "--library", library.Path().string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "Name,Version,Games,Bytes,Path\n");
    EXPECT_EQ(run.err, "There are no databases in " + WindowsPath(library.Path().string()) +
                           "\\; --library DIR or MARROWKIT_LIBRARY names another folder.\n");
    EXPECT_EQ(RunCli({"list", "--quiet", "--library", library.Path().string()}).err, "");
}

TEST(ListCommand, FailsForALibraryThatIsNotThere) {
    const TemporaryFolder folder;
    const std::string missing = (folder / "missing").string();
    const CommandLineRun run = RunCli({"list", "--library", missing});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "There is no such library: " + WindowsPath(missing) + "\\\n");
}

}  // namespace
}  // namespace marrowkit::test
