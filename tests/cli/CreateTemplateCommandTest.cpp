#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLineTester.h"
#include "platform/files/HostPath.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

class CreateTemplateCommand : public testing::Test {
protected:
    CommandLineRun Run(std::vector<std::string> options) {
        options.insert(options.begin(), {"create-template", File()});
        return RunCli(options);
    }
    std::string File() { return (folder_ / "Empty.mdb").string(); }
    TemporaryFolder folder_;
};

TEST_F(CreateTemplateCommand, MakesTheNewestSchemaInJet4) {
    const CommandLineRun run = Run({});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "File,Format,Version\n\"" + WindowsPath(File()) + "\",\"Jet 4\",\"2.5\"\n");
    const auto database = jet::Database::Open(File());
    EXPECT_EQ(database->Version(), jet::JetVersion::Jet4);
    EXPECT_TRUE(database->OpenTable("Games")->FindColumn("V_LengthType").has_value());
}

TEST_F(CreateTemplateCommand, MakesAnOlderSchemaInJet3) {
    EXPECT_EQ(Run({"--jet3", "--schema-version", "2.0"}).exitCode, 0);
    const auto database = jet::Database::Open(File());
    EXPECT_EQ(database->Version(), jet::JetVersion::Jet3);
    EXPECT_FALSE(database->OpenTable("Games")->FindColumn("CRC").has_value());
}

TEST_F(CreateTemplateCommand, RefusesAFileThatExists) {
    WriteFile(File(), "precious");
    const CommandLineRun run = Run({});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, testing::Not(testing::IsEmpty()));
    EXPECT_EQ(ReadFile(File()), "precious");
}

TEST_F(CreateTemplateCommand, RefusesOptionsThatMakeNoSense) {
    EXPECT_EQ(Run({"--jet3", "--jet4"}).exitCode, 2);
    for (const char* version : {"2", "2.", "0.5", "2.55", "x.y", ""}) {
        EXPECT_EQ(Run({"--schema-version", version}).exitCode, 2) << version;
    }
    EXPECT_EQ(ReadFile(File()), "");
}

}  // namespace
}  // namespace marrowkit::test
