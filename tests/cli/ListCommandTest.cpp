#include <filesystem>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/CommandLineTester.h"
#include "platform/files/HostPath.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

TEST(ListCommand, TellsVersionGamesAndSizeInTheOrderOfNames) {
    const TemporaryFolder library;
    const std::string root = library.Path().string();
    std::filesystem::create_directories(library / "beta");
    const std::string beta = (library / "beta/beta.mdb").string();
    ASSERT_EQ(RunCli({"create-template", "--schema-version", "2.1", beta}).exitCode, 0);
    {
        const auto database = jet::Database::Open(beta);
        const auto games = database->OpenTable("Games");
        const jet::Assignment name{games->FindColumn("Name").value(), "Nimbus"};
        games->Insert({&name, 1});
    }
    WriteFile(library / "Alpha/Alpha.mdb", "123");
    WriteFile(library / "Gamma/other.mdb", "123");
    const CommandLineRun run = RunCli({"--library", root, "list"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    const std::string prefix = WindowsPath(root) + "\\";
    EXPECT_EQ(run.out, "Name,Version,Games,Bytes,Path\n\"Alpha\",,,3,\"" + prefix +
                           "Alpha\\Alpha.mdb\"\n\"beta\",2.1,1," +
                           std::to_string(std::filesystem::file_size(beta)) + ",\"" + prefix +
                           "beta\\beta.mdb\"\n");
    const auto document = nlohmann::json::parse(RunCli({"--library", root, "list", "--json"}).out);
    ASSERT_EQ(document.size(), 2u);
    EXPECT_EQ(document[0]["Version"], nullptr);
    EXPECT_EQ(document[1]["Name"], "beta");
    EXPECT_EQ(document[1]["Version"], 2.1);
    EXPECT_EQ(document[1]["Games"], 1);
}

TEST(ListCommand, IsEmptyForAnEmptyLibrary) {
    const TemporaryFolder library;
    const CommandLineRun run = RunCli({"list", "--library", library.Path().string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "Name,Version,Games,Bytes,Path\n");
}

}  // namespace
}  // namespace marrowkit::test
