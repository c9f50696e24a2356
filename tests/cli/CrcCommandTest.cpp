#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLineTester.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

class CrcCommand : public testing::Test {
protected:
    std::string Make(const std::string& name, const std::string& content) {
        WriteFile(folder_ / name, content);
        return (folder_ / name).string();
    }
    TemporaryFolder folder_;
};

TEST_F(CrcCommand, WritesChecksumsAsTheScanDoes) {
    const std::string digits = Make("digits", "123456789");
    const std::string empty = Make("empty", "");
    const CommandLineRun run = RunCli({"crc", digits, empty});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "File,CRC\n\"" + digits + "\",\"CBF43926\"\n\"" + empty + "\",\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(CrcCommand, HasNoLeadingZeros) {
    const CommandLineRun run = RunCli({"crc", "--crc16", Make("one", std::string(1, '\x01'))});
    EXPECT_THAT(run.out, testing::HasSubstr("\"1021\""));
    const CommandLineRun zero = RunCli({"crc", "--crc16", Make("zero", std::string(1, '\0'))});
    EXPECT_THAT(zero.out, testing::HasSubstr(",\"0\"\n"));
}

TEST_F(CrcCommand, SumsByCrc16WhenAskedTo) {
    const CommandLineRun run = RunCli({"crc", "--crc16", Make("digits", "123456789")});
    EXPECT_THAT(run.out, testing::HasSubstr(",\"31C3\"\n"));
}

TEST_F(CrcCommand, NamesFilesItCannotReadAndGoesOn) {
    const std::string digits = Make("digits", "123456789");
    const std::string missing = (folder_ / "missing").string();
    const CommandLineRun run = RunCli({"crc", missing, digits});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, missing + ": File not found\n");
    EXPECT_EQ(run.out, "File,CRC\n\"" + digits + "\",\"CBF43926\"\n");
}

TEST_F(CrcCommand, DoesNotTakeAFolderForAnEmptyFile) {
    const std::string folder = folder_.Path().string();
    const CommandLineRun run = RunCli({"crc", folder, folder + "/"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, folder + ": This is a folder\n" + folder + "/: This is a folder\n");
    EXPECT_EQ(run.out, "File,CRC\n");
}

TEST_F(CrcCommand, WritesJson) {
    const std::string digits = Make("digits", "123456789");
    const std::string empty = Make("empty", "");
    const CommandLineRun run = RunCli({"crc", "--json", digits, empty});
    EXPECT_EQ(run.out, "[\n  {\"File\": \"" + digits + "\", \"CRC\": \"CBF43926\"},\n  {\"File\": \"" +
                           empty + "\", \"CRC\": null}\n]\n");
}

}  // namespace
}  // namespace marrowkit::test
