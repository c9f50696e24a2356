#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "checksum/clsCRC.h"
#include "import/FileTypes.h"
#include "import/RecordingProgress.h"
#include "import/RomExtensions.h"
#include "import/RomMatch.h"
#include "import/RomWalk.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

DatafileEntry Entry(const std::string& file, const std::string& crc = "", std::int32_t size = 0) {
    DatafileEntry entry;
    entry.Name = file;
    entry.FileName = file;
    entry.Crc = crc;
    entry.Size = size;
    return entry;
}

class RomScan : public testing::Test {
protected:
    RomScan() { SetRomFolder(folder.Path()); }

    void SetRomFolder(const std::filesystem::path& path) {
        settings.RomPath = WindowsPath(path.string());
        settings.RomPathSlash = WithFinalBackslash(settings.RomPath);
    }

    void Put(const std::string& name, const std::string& bytes = "x") {
        test::WriteFile(folder / name, bytes);
    }

    void PutSparse(const std::string& name, std::uintmax_t bytes) {
        Put(name, "");
        std::filesystem::resize_file(folder / name, bytes);
    }

    /// Paths below the ROM folder.
    std::vector<std::string> Listed() const {
        std::vector<std::string> names;
        for (const ScannedFile& file : tables.Files) {
            EXPECT_TRUE(file.Path.starts_with(settings.RomPathSlash)) << file.Path;
            names.push_back(file.Path.substr(settings.RomPathSlash.size()));
        }
        return names;
    }

    std::string Walk() { return PrepareFileList(settings, tables, progress); }
    std::string Match() { return MatchByCrcAndSize(settings, tables, progress); }

    test::TemporaryFolder folder;
    ImportSettings settings;
    ImportTables tables;
    test::RecordingProgress progress;
};

TEST_F(RomScan, ListsFilesAndSubfoldersAndThenWhatIsInThem) {
    Put("a.zip", "12345");
    Put("Sub/b.zip");
    Put("Sub/Deep/c");
    ASSERT_EQ(Walk(), "");
    EXPECT_THAT(Listed(), UnorderedElementsAre("a.zip", "Sub", "Sub\\b.zip", "Sub\\Deep", "Sub\\Deep\\c"));
    const auto position = [&](const std::string& name) {
        const auto names = Listed();
        return std::find(names.begin(), names.end(), name) - names.begin();
    };
    EXPECT_LT(position("a.zip"), 2);
    EXPECT_EQ(position("Sub\\Deep\\c"), 4);
    ASSERT_EQ(Match(), "");
    for (const ScannedFile& file : tables.Files) {
        const bool isFolder = file.Path.ends_with("Sub") || file.Path.ends_with("Deep");
        EXPECT_EQ(file.Size, isFolder ? 0 : file.Path.ends_with("a.zip") ? 5 : 1) << file.Path;
    }
}

TEST_F(RomScan, KeepsTheFileSystemsOrder) {
    for (int i = 0; i < 50; ++i) Put("game" + std::to_string(i * 7919 % 50));
    ASSERT_EQ(Walk(), "");
    std::vector<std::string> order;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        order.push_back(entry.path().filename().string());
    }
    EXPECT_EQ(Listed(), order);
}

TEST_F(RomScan, ListsOnlyMatchingExtensionsTypeByType) {
    settings.MatchExtensionsOnly = true;
    tables.FileTypes = {".D64", ".ZIP"};
    Put("a.zip");
    Put("b.d64");
    Put("c.tap");
    Put("d.d64.bak");
    Put("Sub/e.ZIP");
    std::filesystem::create_directory(folder / "Folder.zip");
    ASSERT_EQ(Walk(), "");
    const auto names = Listed();
    EXPECT_THAT(names, UnorderedElementsAre("b.d64", "a.zip", "Folder.zip", "Sub\\e.ZIP"));
    EXPECT_EQ(names.front(), "b.d64");
    EXPECT_EQ(names.back(), "Sub\\e.ZIP");
}

TEST_F(RomScan, FindsNothingInAFolderThatIsMissingOrEmpty) {
    EXPECT_EQ(Walk(), "");
    EXPECT_THAT(tables.Files, IsEmpty());
    SetRomFolder(folder / "missing");
    EXPECT_EQ(Walk(), "");
    EXPECT_THAT(tables.Files, IsEmpty());
}

TEST_F(RomScan, ForgetsTheFilesOfAnEarlierWalk) {
    Put("a");
    ASSERT_EQ(Walk(), "");
    ASSERT_EQ(Walk(), "");
    EXPECT_EQ(tables.FileCount(), 1);
}

TEST_F(RomScan, WritesSizesFrom2GiBOnAsNegativeNumbers) {
    const std::pair<std::uintmax_t, std::int32_t> kSizes[] = {
        {0x7FFFFFFFULL, 0x7FFFFFFF}, {0x80000000ULL, -0x7FFFFFFF - 1},
        {0xFFFFFFFFULL, -1},         {0x100000000ULL, -1},
        {0x100000005ULL, 4},
    };
    for (const auto& [bytes, size] : kSizes) {
        EXPECT_EQ(SizeInList(bytes), size) << bytes;
    }
}

TEST_F(RomScan, TakesTheSizeOfASparseFileOf2GiBWithoutReadingItToItsEnd) {
    PutSparse("big", 0x80000000ULL);
    ASSERT_EQ(Walk(), "");
    progress.cancelAtEventRun = progress.eventRuns + 2;  // the first is the prompt's
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.Files.at(0).Size, std::numeric_limits<std::int32_t>::min());
}

TEST_F(RomScan, FailsOnASizeBeyond4GiBThatOverflows) {
    PutSparse("big", 0x180000000ULL);
    ASSERT_EQ(Walk(), "");
    ClearLastPlatformErrorCode();
    EXPECT_EQ(Match(), "Overflow  (6,0)");
    EXPECT_EQ(tables.Files.at(0).Crc, "") << "six gigabytes were not read for it";
}

TEST_F(RomScan, TellsOfASizeThatOverflowsBeforeFilesThatCannotBeRead) {
    Put("gone");
    ASSERT_EQ(Walk(), "");
    const ScannedFile gone = tables.Files.at(0);
    std::filesystem::remove(folder / "gone");
    PutSparse("big", 0x180000000ULL);
    ASSERT_EQ(Walk(), "");
    tables.Files.insert(tables.Files.begin(), gone);
    ClearLastPlatformErrorCode();
    EXPECT_TRUE(Match().starts_with("Overflow  (6,"));
}

TEST_F(RomScan, OverflowsBeyond32767Subfolders) {
    for (int i = 0; i < 32767; ++i) std::filesystem::create_directory(folder / std::to_string(i));
    ASSERT_EQ(Walk(), "");
    EXPECT_EQ(tables.FileCount(), 32767);
    std::filesystem::create_directory(folder / "one more");
    ClearLastPlatformErrorCode();
    EXPECT_EQ(Walk(), "Overflow  (6,0)");
}

TEST_F(RomScan, LetsEventsRunAfterEveryEntryAndStopsWhenCancelled) {
    for (int i = 0; i < 5; ++i) Put("game" + std::to_string(i));
    ASSERT_EQ(Walk(), "");
    EXPECT_EQ(progress.eventRuns, 10);  // once per entry in each of the two passes
    progress = {};
    progress.cancelAtEventRun = 7;
    ASSERT_EQ(Walk(), "");
    EXPECT_EQ(tables.FileCount(), 2);
    EXPECT_TRUE(progress.prompts.empty());
}

TEST_F(RomScan, FollowsLinksAndLeavesOutThoseThatLeadNowhere) {
    Put("Sub/a", "12345");
    std::filesystem::create_symlink(folder / "Sub" / "a", folder / "Sub" / "link");
    std::filesystem::create_symlink(folder / "none", folder / "Sub" / "dangling");
    ASSERT_EQ(Walk(), "");
    EXPECT_THAT(Listed(), UnorderedElementsAre("Sub", "Sub\\a", "Sub\\link"));
    tables.Entries = {Entry("x", "CBF53A1C", 5)};
    ASSERT_EQ(Match(), "");
    for (const ScannedFile& file : tables.Files) {
        if (file.Path.ends_with("Sub")) continue;
        EXPECT_EQ(file.Size, 5);
        EXPECT_EQ(file.Crc, "CBF53A1C");
    }
    EXPECT_TRUE(tables.Entries[0].Matched);
}

#ifndef _WIN32
TEST_F(RomScan, ListsAPipeWithoutWaitingForIt) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(Walk(), "");
    EXPECT_THAT(Listed(), ElementsAre("pipe"));
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.Files[0].Size, 0);
    EXPECT_EQ(tables.Files[0].Crc, "0");
}
#endif

TEST_F(RomScan, DoesNotGoRoundInLinkedFolders) {
    Put("Sub/a");
    std::filesystem::create_directory_symlink(folder.Path(), folder / "Sub" / "up");
    ASSERT_EQ(Walk(), "");
    EXPECT_THAT(Listed(), UnorderedElementsAre("Sub", "Sub\\a"));
}

// The check value of CRC-32 over the digits 1 to 9 is CBF43926.
TEST_F(RomScan, MatchesByChecksumAndSizeAndWritesThePathBelowTheRomFolder) {
    Put("Sub/game.zip", "123456789");
    Put("other", "12345678");
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x", "CBF43926", 9), Entry("x", "CBF43926", 8), Entry("x", "cbf43926", 9),
                      Entry("x", "CBF43926", 9)};
    ASSERT_EQ(Match(), "");
    for (const std::size_t matched : {0U, 3U}) {
        EXPECT_TRUE(tables.Entries[matched].Matched);
        EXPECT_EQ(tables.Entries[matched].MatchedFile, "Sub\\game.zip");
    }
    for (const std::size_t unmatched : {1U, 2U}) {
        EXPECT_FALSE(tables.Entries[unmatched].Matched);
        EXPECT_EQ(tables.Entries[unmatched].MatchedFile, "");
    }
    EXPECT_THAT(progress.prompts,
                ElementsAre("Grabbing CRC-32 values for 3 files...", "CRC-32/Size Matches found:"));
    EXPECT_THAT(progress.statuses, ElementsAre("0", "1", "2"));
    EXPECT_THAT(progress.ranges, ElementsAre(std::pair(0, 2), std::pair(0, 3)));
    EXPECT_THAT(progress.values, ElementsAre(0, 1, 2, 0, 1, 2, 3));
}

TEST_F(RomScan, CutsThePathBehindADriveRoot) {
    Put("game.zip", "123456789");
    ASSERT_EQ(Walk(), "");
    settings.RomPath = settings.RomPathSlash = tables.Files.at(0).Path.substr(0, 3);
    tables.Entries = {Entry("x", "CBF43926", 9)};
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.Entries[0].MatchedFile, tables.Files[0].Path.substr(3));
}

// Such a path passes the options' checks; the backslash appended to it belongs to both paths.
TEST_F(RomScan, CutsThePathBehindAForwardSlash) {
    Put("Sub/game.zip", "123456789");
    settings.RomPath += '/';
    settings.RomPathSlash = settings.RomPath + '\\';
    ASSERT_EQ(Walk(), "");
    EXPECT_THAT(Listed(), UnorderedElementsAre("Sub", "Sub\\game.zip"));
    tables.Entries = {Entry("x", "CBF43926", 9)};
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.Entries[0].MatchedFile, "Sub\\game.zip");
}

TEST_F(RomScan, TakesTheFirstWalkedOfFilesThatAreAlike) {
    Put("a", "123456789");
    Put("Sub/b", "123456789");
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x", "CBF43926", 9), Entry("y", "CBF43926", 9)};
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.Entries[0].MatchedFile, "a");
    EXPECT_EQ(tables.Entries[1].MatchedFile, "a");
}

TEST_F(RomScan, GivesEmptyFilesAndFoldersTheChecksumTextZero) {
    Put("empty", "");
    std::filesystem::create_directory(folder / "Folder");
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x", "0", 0), Entry("x", "00000000", 0), Entry("x", "", 0)};
    ASSERT_EQ(Match(), "");
    for (const ScannedFile& file : tables.Files) EXPECT_EQ(file.Crc, "0");
    EXPECT_TRUE(tables.Entries[0].Matched);
    EXPECT_FALSE(tables.Entries[1].Matched);
    EXPECT_FALSE(tables.Entries[2].Matched);
}

// A folder stands in the list with the checksum text and the size of an empty file, and before what is in it.
TEST_F(RomScan, NeverMatchesAFolder) {
    std::filesystem::create_directory(folder / "Folder");
    ASSERT_EQ(Walk(), "");
    ASSERT_EQ(tables.Files.size(), 1u);
    tables.Entries = {Entry("x", "0", 0)};
    ASSERT_EQ(Match(), "");
    EXPECT_FALSE(tables.Entries[0].Matched);
    EXPECT_EQ(tables.Entries[0].MatchedFile, "");

    Put("Folder/empty", "");
    tables.Files.clear();
    ASSERT_EQ(Walk(), "");
    ASSERT_EQ(Match(), "");
    EXPECT_TRUE(tables.Entries[0].Matched);
    EXPECT_EQ(tables.Entries[0].MatchedFile, "Folder\\empty");
}

// Checksums have no leading zeros where they come from a file, and stay as they are written in a datafile.
TEST_F(RomScan, NeverMatchesADatafileChecksumWithLeadingZeros) {
    std::string bytes;
    clsCRC crc;
    for (int i = 0;; ++i) {
        bytes = "rom " + std::to_string(i);
        if (static_cast<std::uint32_t>(crc.CalculateString(bytes)) < 0x10000000U) break;
    }
    Put("rom", bytes);
    ASSERT_EQ(Walk(), "");
    ASSERT_EQ(Match(), "");
    const std::string text = tables.Files.at(0).Crc;
    ASSERT_LT(text.size(), 8U);
    const auto size = static_cast<std::int32_t>(bytes.size());
    tables.Entries = {Entry("x", std::string(8 - text.size(), '0') + text, size), Entry("x", text, size)};
    ASSERT_EQ(Match(), "");
    EXPECT_FALSE(tables.Entries[0].Matched);
    EXPECT_TRUE(tables.Entries[1].Matched);
}

TEST_F(RomScan, StopsBeforeAnyMatchingWhenCancelledWhileChecksumming) {
    Put("a", "123456789");
    Put("b", "123456789");
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x", "CBF43926", 9)};
    progress = {};
    progress.cancelAtEventRun = 2;  // the first is the prompt's
    ASSERT_EQ(Match(), "");
    EXPECT_FALSE(tables.Entries[0].Matched);
    EXPECT_EQ(progress.prompts.size(), 1U);
    EXPECT_EQ(tables.Files[1].Crc, "");
}

TEST_F(RomScan, HearsCancelInsideALargeFile) {
    Put("disc.iso");
    constexpr std::uintmax_t kBytes = 64U << 20;
    std::filesystem::resize_file(folder / "disc.iso", kBytes);
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x", "0", static_cast<std::int32_t>(kBytes))};
    progress = {};
    progress.cancelAtEventRun = 5;  // the first is the prompt's
    ASSERT_EQ(Match(), "");
    EXPECT_LE(progress.eventRuns, 6) << "the rest of the file was not read";
    EXPECT_EQ(progress.prompts.size(), 1U);
    EXPECT_FALSE(tables.Entries[0].Matched);
}

TEST_F(RomScan, KeepsEarlierMatchesWhenCancelledWhileMatching) {
    Put("a", "123456789");
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x", "CBF43926", 9), Entry("y", "CBF43926", 9)};
    progress = {};
    progress.cancelAtEventRun = 4;  // prompt, file, prompt, first entry
    ASSERT_EQ(Match(), "");
    EXPECT_TRUE(tables.Entries[0].Matched);
    EXPECT_FALSE(tables.Entries[1].Matched);
}

TEST_F(RomScan, ReturnsTheTextOfAFileThatCannotBeRead) {
    Put("a");
    ASSERT_EQ(Walk(), "");
    std::filesystem::remove(folder / "a");
    EXPECT_EQ(Match(), "File not found  (53,2)");
}

TEST_F(RomScan, BuildsTheExtensionListOfAScanOfAllFilesFromTheFirstDot) {
    Put("a");
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("Game.ZIP"), Entry("other.zip"), Entry("disk.part2.zip"), Entry("none"),
                      Entry("x.Bin")};
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.RomExtensionList, "zip;part2.zip;bin;");
}

TEST_F(RomScan, LeavesTheExtensionListOfAFilteredScanAlone) {
    Put("a.zip");
    settings.MatchExtensionsOnly = true;
    tables.FileTypes = {".ZIP"};
    tables.RomExtensionList = ".ZIP;";
    ASSERT_EQ(Walk(), "");
    tables.Entries = {Entry("x.bin")};
    ASSERT_EQ(Match(), "");
    EXPECT_EQ(tables.RomExtensionList, ".ZIP;");
}

/// What the list means, done the slow way.
std::string PlainExtensionList(const std::vector<std::string>& names) {
    std::string list = ";";
    for (const std::string& name : names) {
        const std::size_t dot = name.find('.');
        if (dot == std::string::npos) continue;
        const std::string extension = name.substr(dot + 1);
        if (list.find(";" + extension + ";") == std::string::npos) list += extension + ";";
    }
    return list.substr(1);
}

TEST(RomExtensions, TreatSemicolonsInExtensionsAsTheTextSearchDoes) {
    const std::vector<std::vector<std::string>> kLists = {
        {"a.x;y", "b.x", "c.y", "d.y;x"}, {"a.x", "b.y", "c.x;y", "d.y;x"},
        {"a.", "b.", "c.;", "d.;;"},      {"a.;", "b.", "c.x"},
        {"a.x;;y", "b.", "c.y;"},
    };
    for (const auto& names : kLists) {
        RomExtensions extensions;
        for (const std::string& name : names) extensions.Add(name);
        EXPECT_EQ(extensions.List(), PlainExtensionList(names)) << names.front();
    }
}

TEST(FileTypes, AreTheDistinctExtensionsFromTheLastDotInUpperCase) {
    ImportTables tables;
    tables.Entries = {Entry("a.zip"), Entry("b.part.D64"), Entry("none"), Entry("c.ZIP"), Entry("d.")};
    test::RecordingProgress progress;
    EXPECT_TRUE(BuildFileTypes(tables, progress));
    EXPECT_THAT(tables.FileTypes, ElementsAre(".ZIP", ".D64", "."));
    EXPECT_EQ(tables.RomExtensionList, ".ZIP;.D64;.;");
    EXPECT_THAT(progress.ranges, ElementsAre(std::pair(0, 4)));
    EXPECT_THAT(progress.values, ElementsAre(0, 1, 2, 3, 4));
    EXPECT_EQ(progress.eventRuns, 5);
}

TEST(FileTypes, AreNoneWhenNoNameHasADotOrTheImportIsCancelled) {
    ImportTables tables;
    tables.Entries = {Entry("a"), Entry("b")};
    test::RecordingProgress progress;
    EXPECT_FALSE(BuildFileTypes(tables, progress));
    EXPECT_EQ(tables.RomExtensionList, "");
    tables.Entries = {Entry("a.x"), Entry("b.y")};
    progress.cancelAtEventRun = progress.eventRuns + 1;
    EXPECT_FALSE(BuildFileTypes(tables, progress));
}

}  // namespace
}  // namespace marrowkit
