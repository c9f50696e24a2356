#include <cstdint>
#include <optional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#ifndef _WIN32
#include <unistd.h>

#include <sys/stat.h>

#include "support/OrdinaryUser.h"
#endif

#include "checksum/clsCRC.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;

std::string RandomText(std::size_t bytes) {
    std::mt19937 random(static_cast<unsigned>(bytes));
    std::string text(bytes, '\0');
    for (char& c : text) c = static_cast<char>(random());
    return text;
}

std::span<const std::uint8_t> BytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::optional<std::int32_t> CalculateHostFile(clsCRC& crc, const char* hostPath) {
    WholeFileReader file(hostPath);
    return crc.CalculateOpenFile(file);
}

int ErrorOf(const fs::path& file) {
    clsCRC crc;
    try {
        CalculateHostFile(crc, file.string().c_str());
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

TEST(CalculateFile, GivesNothingForAnEmptyFileAndKeepsTheRunningValues) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "empty.bin", "");
    clsCRC crc;
    crc.AddString("123456789");
    EXPECT_EQ(CalculateHostFile(crc, (folder / "empty.bin").string().c_str()), std::nullopt);
    EXPECT_EQ(crc.Value(), -873187034);
}

TEST(CalculateFile, GivesNothingForAFolder) {
    const test::TemporaryFolder folder;
    clsCRC crc;
    EXPECT_EQ(CalculateHostFile(crc, folder.Path().string().c_str()), std::nullopt);
}

TEST(CalculateFile, SumsTheWholeFileWhateverItsLength) {
    const test::TemporaryFolder folder;
    clsCRC crc;
    clsCRC expected;
    constexpr std::size_t kBlock = 256u << 10;
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{100}, std::size_t{16384}, kBlock - 1, kBlock,
                                    kBlock + 1, 3 * kBlock + 12345}) {
        const std::string content = RandomText(bytes);
        test::WriteFile(folder / "rom.bin", content);
        for (const int algorithm : {1, 0}) {
            crc.SetAlgorithm(algorithm);
            expected.SetAlgorithm(algorithm);
            crc.AddString("left over from before");
            EXPECT_EQ(CalculateHostFile(crc, (folder / "rom.bin").string().c_str()),
                      expected.CalculateBytes(BytesOf(content)))
                << bytes << " bytes, algorithm " << algorithm;
            EXPECT_EQ(crc.Value(), expected.Value());
        }
    }
}

TEST(CalculateFile, SumsAFileOfAnOpenFolder) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "rom.bin", "123456789");
    test::WriteFile(folder / "empty.bin", "");
    clsCRC crc;
    const OpenHostFolder open(folder.Path().string());
#ifndef _WIN32  // which has none for this purpose
    EXPECT_GE(open.Descriptor(), 0);
#endif
    WholeFileReader rom(open, "rom.bin");
    EXPECT_EQ(rom.Length(), 9U);
    EXPECT_EQ(crc.CalculateOpenFile(rom), -873187034);
    WholeFileReader empty(open, "empty.bin");
    EXPECT_EQ(crc.CalculateOpenFile(empty), std::nullopt);
    try {
        const WholeFileReader missing(open, "nothing.bin");
        ADD_FAILURE() << "opened";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 53);
    }
}

TEST(CalculateFile, SaysThatTheFolderOfAFileIsMissing) {
    const test::TemporaryFolder folder;
    const OpenHostFolder open((folder / "none").string());
    EXPECT_LT(open.Descriptor(), 0);
    try {
        const WholeFileReader missing(open, "nothing.bin");
        ADD_FAILURE() << "opened";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 76);
    }
}

TEST(CalculateFile, AsksBetweenBlocksAndStopsAtANo) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "large", std::string(1U << 20, 'x'));
    clsCRC crc;
    crc.AddString("123456789");
    int asked = 0;
    crc.AskBetweenBlocks([&asked] { return ++asked < 3; });
    EXPECT_EQ(CalculateHostFile(crc, (folder / "large").string().c_str()), std::nullopt);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(crc.Value(), -873187034) << "the running values are those of before";
    crc.AskBetweenBlocks([&asked] { return ++asked > 0; });
    const auto whole = CalculateHostFile(crc, (folder / "large").string().c_str());
    EXPECT_EQ(asked, 6) << "not behind the last block";
    crc.AskBetweenBlocks({});
    EXPECT_EQ(CalculateHostFile(crc, (folder / "large").string().c_str()), whole);
}

TEST(CalculateFile, RaisesFileNotFoundForAMissingFile) {
    const test::TemporaryFolder folder;
    EXPECT_EQ(ErrorOf(folder / "nothing.bin"), 53);
}

TEST(CalculateFile, FindsAFileByItsWindowsPathInAnyCase) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "Nimbus.d64", "123456789");
    clsCRC crc;
    EXPECT_EQ(crc.CalculateFile(WindowsPath((folder / "nimbus.D64").string())), -873187034);
    EXPECT_THROW(crc.CalculateFile(WindowsPath((folder / "nothing").string())), RuntimeError);
}

TEST(CalculateFile, KeepsTheRunningValuesWhenItFails) {
    const test::TemporaryFolder folder;
    clsCRC crc;
    crc.AddString("123456789");
    EXPECT_THROW(CalculateHostFile(crc, (folder / "nothing.bin").string().c_str()), RuntimeError);
    EXPECT_EQ(crc.Value(), -873187034);
}

#ifndef _WIN32
TEST(CalculateFile, RaisesAnAccessErrorForAFileThatCannotBeRead) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "secret.bin", "content");
    fs::permissions(folder / "secret.bin", fs::perms::none);
    const test::OrdinaryUser user(folder.Path());
    EXPECT_EQ(ErrorOf(folder / "secret.bin"), 75);
}

// The length is known without opening the file.
TEST(CalculateFile, GivesNothingForAnEmptyFileThatCannotBeRead) {
    const test::TemporaryFolder folder;
    test::WriteFile(folder / "secret.bin", "");
    fs::permissions(folder / "secret.bin", fs::perms::none);
    EXPECT_EQ(ErrorOf(folder / "secret.bin"), 0);
}

TEST(CalculateFile, DoesNotWaitForAPipe) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    clsCRC crc;
    EXPECT_EQ(CalculateHostFile(crc, (folder / "pipe").string().c_str()), std::nullopt);
}

#ifdef __linux__
// Files of the kernel have content but no length, and the length decides.
TEST(CalculateFile, GivesNothingForAFileThatTellsNoLength) {
    EXPECT_FALSE(test::ReadFile("/proc/self/status").empty());
    clsCRC crc;
    EXPECT_EQ(CalculateHostFile(crc, "/proc/self/status"), std::nullopt);
}
#endif
#endif

}  // namespace
}  // namespace marrowkit
