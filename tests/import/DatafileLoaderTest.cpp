#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "import/DatafileLoader.h"
#include "import/RecordingProgress.h"
#include "platform/errors/RuntimeError.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A games line from nine columns.
std::string Line(const std::vector<std::string>& columns, const std::string& end = "\r\n") {
    std::string line;
    for (const std::string& column : columns) line += "\xAC" + column;
    return line + "\xAC" + end;
}

std::string Game(const std::string& name, const std::string& file = "rom.bin",
                 const std::string& size = "8192", const std::string& merge = "") {
    return Line({"parent", "Parent Text", name, "Game Text", file, "1a2b3c4d", size, "romof", merge});
}

class Loader : public testing::Test {
protected:
    std::string Load(const std::string& bytes) {
        test::WriteFile(folder / "a.dat", bytes);
        settings.DatafilePath = (folder / "a.dat").string();
        return settings.SkipDuplicates ? LoadDatafileSkippingDuplicates(settings, tables, progress)
                                       : LoadDatafile(settings, tables, progress);
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const DatafileEntry& entry : tables.Entries) names.push_back(entry.Name);
        return names;
    }

    test::TemporaryFolder folder;
    ImportSettings settings;
    ImportTables tables;
    test::RecordingProgress progress;
};

constexpr const char* kHint =
    "\r\n\r\nThis may not be a valid v2.00 datafile, it may be a misreported v1.92 datafile!";

TEST_F(Loader, ReadsTheChosenColumns) {
    ASSERT_EQ(Load("[GAMES]\r\n" + Game("Pac-Man", "pac.rom", "16384")), "");
    ASSERT_EQ(tables.EntryCount(), 1);
    DatafileEntry expected;
    expected.Name = "Pac-Man";
    expected.FileName = "pac.rom";
    expected.Crc = "1A2B3C4D";
    expected.Size = 16384;
    EXPECT_EQ(tables.Entries[0], expected);

    const char* const columns[] = {"",        "parent",   "Parent Text", "Pac-Man", "Game Text",
                                   "pac.rom", "1a2b3c4d", "16384",       "romof"};
    for (const int column : {1, 2, 3, 4, 5, 8}) {
        settings.NameColumn = column;
        ASSERT_EQ(Load(Game("Pac-Man", "pac.rom", "16384")), "");
        EXPECT_EQ(tables.Entries[0].Name, columns[column]);
    }
    // 7 is what the item "RomOf Name (col 8)" of the file list stands for.
    for (const int column : {1, 3, 5, 7}) {
        settings.FileColumn = column;
        ASSERT_EQ(Load(Game("Pac-Man", "pac.rom", "16384")), "");
        EXPECT_EQ(tables.Entries[0].FileName, columns[column]);
    }
}

TEST_F(Loader, ReadsLoneCarriageReturnsAndALastLineWithoutAnEnd) {
    ASSERT_EQ(Load(Line({"", "", "A", "", "a", "1", "1", "", ""}, "\r") +
                   Line({"", "", "B", "", "b", "2", "2", "", ""}, "")),
              "");
    EXPECT_THAT(Names(), ElementsAre("A", "B"));
}

TEST_F(Loader, ReadsAFileWithLineFeedEndsAsOneLine) {
    std::string lines = "[GAMES]\n";
    for (int i = 0; i < 3; ++i) lines += Line({"", "", "A", "", "a", "1", "1", "", ""}, "\n");
    EXPECT_EQ(Load(lines), "There were no games to import!");
    // One line that is a games line of 11 fields all the same.
    EXPECT_EQ(Load(Line({"", "", "A", "", "a", "1", "1", "", ""}, "\nand what follows\n")), "");
    EXPECT_THAT(Names(), ElementsAre("A"));
}

TEST_F(Loader, KeepsALineFeedInsideAField) {
    ASSERT_EQ(Load(Line({"", "", "A\nB", "", "a", "1", "1", "", ""})), "");
    EXPECT_THAT(Names(), ElementsAre("A\nB"));
}

TEST_F(Loader, SkipsLinesOf10And12FieldsSilently) {
    ASSERT_EQ(Load(Line({"", "", "ten", "", "a", "1", "1", ""}) +
                   Line({"", "", "twelve", "", "a", "1", "1", "", "", ""}) + Game("eleven")),
              "");
    EXPECT_THAT(Names(), ElementsAre("eleven"));
    EXPECT_THAT(progress.statuses, ElementsAre("1"));
}

TEST_F(Loader, FindsGamesLinesInAnySection) {
    ASSERT_EQ(Load(Game("before") + "[CREDITS]\r\nAuthor=x\r\n" + Game("inside") + "; comment\r\n\r\n"), "");
    EXPECT_THAT(Names(), ElementsAre("before", "inside"));
}

TEST_F(Loader, TakesTheSizeFromColumn9WhenColumn7IsN) {
    ASSERT_EQ(Load(Game("A", "a", "N", "4096")), "");
    EXPECT_EQ(tables.Entries[0].Size, 4096);
}

TEST_F(Loader, ReadsSizesAsTheRuntimeConvertsNumbers) {
    const std::pair<const char*, std::int32_t> kSizes[] = {{"0", 0},
                                                           {"007", 7},
                                                           {" 12 ", 12},
                                                           {"-5", -5},
                                                           {"2147483647", 2147483647},
                                                           {"&H10", 16},
                                                           {"1e3", 1000},
                                                           {"2.5", 2},
                                                           {"3.5", 4},
                                                           {"-2147483648", -2147483647 - 1},
                                                           {"999999999", 999999999}};
    for (const auto& [text, size] : kSizes) {
        ASSERT_EQ(Load(Game("A", "a", text)), "") << text;
        EXPECT_EQ(tables.Entries[0].Size, size) << text;
    }
}

TEST_F(Loader, LetsErrorsOfThePlainLoaderEscape) {
    const std::pair<const char*, int> kSizes[] = {{"", 13}, {"n", 13}, {"x", 13}, {"2147483648", 6}};
    for (const auto& [size, number] : kSizes) {
        try {
            Load(Game("A", "a", size));
            FAIL() << size;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, number) << size;
        }
    }
    settings.DatafilePath = (folder / "missing.dat").string();
    try {
        LoadDatafile(settings, tables, progress);
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 53);
    }
}

TEST_F(Loader, TrapsErrorsWhenSkippingDuplicatesAndHintsAtAnOlderVersion) {
    settings.SkipDuplicates = true;
    ClearLastPlatformErrorCode();
    EXPECT_EQ(Load(Game("A") + Game("B", "b", "x")), std::string("Type mismatch  (13,0)") + kHint);
    EXPECT_EQ(Load(Game("A", "a", "N", "x")), std::string("Type mismatch  (13,0)") + kHint);
    EXPECT_EQ(Load(Game("A", "a", "2147483648")), "Overflow  (6,0)");
    settings.DatafilePath = (folder / "missing.dat").string();
    EXPECT_EQ(LoadDatafileSkippingDuplicates(settings, tables, progress), "File not found  (53,2)");
}

TEST_F(Loader, TakesTheFirstOfLinesWithOneNameAndTellsCaseApart) {
    settings.SkipDuplicates = true;
    ASSERT_EQ(Load(Game("Pac-Man", "first") + Game("pac-man", "other") + Game("Pac-Man", "second")), "");
    EXPECT_THAT(Names(), ElementsAre("Pac-Man", "pac-man"));
    EXPECT_EQ(tables.Entries[0].FileName, "first");
    EXPECT_THAT(progress.statuses, ElementsAre("1", "2"));
    EXPECT_EQ(progress.eventRuns, 2);
}

TEST_F(Loader, DoesNotLookAtTheSizeOfASkippedDuplicate) {
    settings.SkipDuplicates = true;
    EXPECT_EQ(Load(Game("A") + Game("A", "a", "no number")), "");
}

TEST_F(Loader, SkipsDuplicatesByTheChosenNameColumn) {
    settings.SkipDuplicates = true;
    settings.NameColumn = 1;
    ASSERT_EQ(Load(Game("A") + Game("B")), "");
    EXPECT_THAT(Names(), ElementsAre("parent"));
}

TEST_F(Loader, AppendsZipAlways) {
    settings.AddZipExtension = true;
    ASSERT_EQ(Load(Game("A", "game.zip") + Game("B", "")), "");
    EXPECT_EQ(tables.Entries[0].FileName, "game.zip.zip");
    EXPECT_EQ(tables.Entries[1].FileName, ".zip");
}

TEST_F(Loader, ReadsTextInTheCodePageAndKeepsItAsItIs) {
    ASSERT_EQ(Load(Game("  Pok\xE9mon \x80 ", "P\xC9.bin")), "");
    EXPECT_EQ(tables.Entries[0].Name, "  Pok\xC3\xA9mon \xE2\x82\xAC ");
    EXPECT_EQ(tables.Entries[0].FileName, "P\xC3\x89.bin");
}

TEST_F(Loader, OnlyUpperCasesTheChecksumColumn) {
    ASSERT_EQ(Load(Line({"", "", "A", "", "a", "00abcdef", "1", "", ""}) +
                   Line({"", "", "B", "", "b", " xyz ", "1", "", ""})),
              "");
    EXPECT_EQ(tables.Entries[0].Crc, "00ABCDEF");
    EXPECT_EQ(tables.Entries[1].Crc, " XYZ ");
}

TEST_F(Loader, SaysWhenThereWasNothing) {
    for (const bool skip : {false, true}) {
        settings.SkipDuplicates = skip;
        EXPECT_EQ(Load(""), "There were no games to import!");
        EXPECT_EQ(Load("[DAT]\r\nversion=2.00\r\n"), "There were no games to import!");
        EXPECT_THAT(tables.Entries, IsEmpty());
    }
}

TEST_F(Loader, StartsAfreshEachTime) {
    ASSERT_EQ(Load(Game("A") + Game("B")), "");
    ASSERT_EQ(Load(Game("C")), "");
    EXPECT_THAT(Names(), ElementsAre("C"));
}

TEST_F(Loader, StopsWhenCancelled) {
    for (const bool skip : {false, true}) {
        progress = {};
        progress.cancelAtEventRun = 2;
        settings.SkipDuplicates = skip;
        EXPECT_EQ(Load(Game("A") + Game("B") + Game("C", "c", "no number")), "");
        EXPECT_THAT(Names(), ElementsAre("A", "B"));
    }
}

}  // namespace
}  // namespace marrowkit
