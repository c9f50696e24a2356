#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLineTester.h"
#include "platform/files/HostPath.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class CheckCommand : public testing::Test {
protected:
    CheckCommand() { jet::Database::Create(sound_, jet::JetVersion::Jet4); }

    /// The sound database with one byte of the first system table's free word changed.
    std::string MakeDamaged() {
        std::string bytes = ReadFile(sound_);
        bytes[4096 + 2] = static_cast<char>(bytes[4096 + 2] ^ 1);
        WriteFile(folder_ / "damaged.mdb", bytes);
        return (folder_ / "damaged.mdb").string();
    }

    TemporaryFolder folder_;
    std::string sound_ = (folder_ / "sound.mdb").string();
};

TEST_F(CheckCommand, EndsWith0ForASoundDatabase) {
    const CommandLineRun run = RunCli({"check", sound_});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_EQ(run.err, sound_ + ": no problems found\n");
    EXPECT_THAT(RunCli({"--quiet", "check", sound_}).err, IsEmpty());
}

TEST_F(CheckCommand, WritesALineForEachProblemAndEndsWith1) {
    const std::string damaged = MakeDamaged();
    const CommandLineRun run = RunCli({"check", sound_, damaged});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, testing::StartsWith(damaged + ": page 1 says "));
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1);
}

TEST_F(CheckCommand, WritesJson) {
    const CommandLineRun run = RunCli({"--json", "check", MakeDamaged()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, testing::StartsWith("["));
    EXPECT_THAT(run.out, HasSubstr("\"Page\": 1"));
}

TEST_F(CheckCommand, TellsWhatIsNoDatabase) {
    WriteFile(folder_ / "notes.txt", "no database");
    const CommandLineRun run = RunCli({"check", (folder_ / "notes.txt").string()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("Unrecognized database format"));
}

TEST_F(CheckCommand, GoesOnBehindAFileThatIsMissing) {
    const std::string missing = (folder_ / "missing.mdb").string();
    const CommandLineRun run = RunCli({"check", missing, sound_});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr(missing + ": Could not find file: " + WindowsPath(missing) + "\n"));
    const std::string folder = folder_.Path().string();
    EXPECT_EQ(RunCli({"check", folder}).err, folder + ": Could not find file: " + WindowsPath(folder) + "\n");
    EXPECT_THAT(run.err, HasSubstr(sound_ + ": no problems found"));
}

}  // namespace
}  // namespace marrowkit::test
