#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "import/DatafileLoader.h"
#include "import/GamesLine.h"
#include "import/ImportReport.h"
#include "import/RecordingProgress.h"
#include "import/RomMatch.h"
#include "import/RomWalk.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Line(const std::string& name, const std::string& crc, const std::string& size) {
    return test::GamesLine(name, "f.bin", crc, size);
}

constexpr const char* kHeader = "[DAT]\r\nversion=2.00\r\n[GAMES]\r\n";

std::vector<std::string> Texts(const std::vector<ReportRow>& rows) {
    std::vector<std::string> texts;
    for (const ReportRow& row : rows) {
        texts.push_back(row.kind + "|" + (row.line ? std::to_string(*row.line) : "") + "|" + row.name + "|" +
                        row.file + "|" + row.detail);
    }
    return texts;
}

class Explain : public testing::Test {
protected:
    std::vector<std::string> Datafile(const std::string& bytes) {
        test::WriteFile(folder / "a.dat", bytes);
        settings.DatafilePath = (folder / "a.dat").string();
        return Texts(ExplainDatafile(settings));
    }

    test::TemporaryFolder folder;
    ImportSettings settings;
};

TEST_F(Explain, SaysNothingAboutACleanDatafile) {
    EXPECT_THAT(Datafile(kHeader + Line("A", "1", "1")), IsEmpty());
}

TEST_F(Explain, NamesSkippedLinesWithTheirReasons) {
    settings.SkipDuplicates = true;
    EXPECT_THAT(
        Datafile(kHeader + Line("A", "1", "1") +
                 "\xAC"
                 "short\xAC"
                 "x\r\n" +
                 Line("A", "2", "2") + Line("B", "3", "x") + Line("", "4", "4")),
        ElementsAre("skipped line|5|short||3 fields in place of 11", "skipped line|6|A||same name as line 4",
                    "skipped line|7|B||its size ends the import: Type mismatch",
                    "skipped line|8|||no name: not written into the database"));
}

TEST_F(Explain, HintsAtAnotherVersionAnEncodingAndLineEnds) {
    EXPECT_THAT(Datafile("[DAT]\r\nversion=1.92\r\n" + Line("A", "1", "1")),
                ElementsAre("hint||||The datafile says it is version [1.92], not 2.00."));
    std::string utf8 = std::string(kHeader) + Line("A", "1", "1");
    for (std::size_t at = 0; (at = utf8.find('\xAC', at)) != std::string::npos; at += 2) {
        utf8.replace(at, 1, "\xC2\xAC");
    }
    EXPECT_THAT(Datafile(utf8), ElementsAre(HasSubstr("is in UTF-8"), HasSubstr("no games to import")));
    std::string lineFeeds = std::string(kHeader) + Line("A", "1", "1");
    std::erase(lineFeeds, '\r');
    EXPECT_THAT(Datafile(lineFeeds), ElementsAre(HasSubstr("lone LF, so the whole file is one line"),
                                                 HasSubstr("no games to import")));
    EXPECT_THAT(Datafile(std::string(kHeader) + "; one\n; two\r\n" + Line("A", "1", "1")),
                ElementsAre(HasSubstr("Some lines end with a lone LF")));
}

TEST_F(Explain, TellsOfEveryEntryAndFile) {
    const std::string roms = WindowsPath((folder / "roms").string());
    settings.RomPath = roms;
    settings.RomPathSlash = roms + "\\";
    test::WriteFile(folder / "roms" / "a", "123456789");  // CBF43926
    test::WriteFile(folder / "roms" / "Sub" / "copy", "123456789");
    test::WriteFile(folder / "roms" / "Sub" / "stray", "stray");
    test::WriteFile(folder / "roms" / "Sub" / "short", std::string(4, '\0'));  // 2144DF1C
    ImportTables tables;
    test::RecordingProgress progress;
    ASSERT_EQ(PrepareFileList(settings, tables, progress), "");
    const auto entry = [](const char* name, const char* crc, std::int32_t size) {
        DatafileEntry made;
        made.Name = name;
        made.Crc = crc;
        made.Size = size;
        return made;
    };
    tables.Entries = {entry("Found", "CBF43926", 9), entry("Missing", "12345678", 9),
                      entry("Other size", "CBF43926", 10), entry("Zeros", "002144DF1C", 4)};
    ASSERT_EQ(MatchByCrcAndSize(settings, tables, progress), "");
    std::vector<std::string> texts = Texts(ExplainMatches(settings, tables));
    std::sort(texts.begin() + 4, texts.end());
    EXPECT_THAT(texts,
                ElementsAre("found||Found|a|", "missing||Missing||",
                            "near miss||Other size||has the checksum of a, whose size is 9",
                            "near miss||Zeros||has checksum and size of Sub\\short, but the datafile writes "
                            "the checksum with leading zeros",
                            "duplicate file|||Sub\\copy|same content as a", "unused file|||Sub\\short|",
                            "unused file|||Sub\\stray|"));
}

// Extensions are search patterns: one with a wildcard lists a file again that another one lists.
TEST_F(Explain, NamesAFileOnceThatSeveralExtensionsFind) {
    const std::string roms = WindowsPath((folder / "roms").string());
    settings.MatchExtensionsOnly = true;
    settings.RomPath = roms;
    settings.RomPathSlash = roms + "\\";
    test::WriteFile(folder / "roms" / "a.zip", "123456789");
    test::WriteFile(folder / "roms" / "copy.zip", "123456789");
    test::WriteFile(folder / "roms" / "stray.zip", "stray");
    ImportTables tables;
    tables.FileTypes = {".ZIP", ".Z?P"};
    test::RecordingProgress progress;
    ASSERT_EQ(PrepareFileList(settings, tables, progress), "");
    ASSERT_EQ(tables.Files.size(), 6u);
    ASSERT_EQ(MatchByCrcAndSize(settings, tables, progress), "");
    std::vector<std::string> texts = Texts(ExplainMatches(settings, tables));
    std::sort(texts.begin(), texts.end());
    ASSERT_EQ(texts.size(), 3u);
    EXPECT_THAT(texts[0], testing::StartsWith("duplicate file|||"));
    EXPECT_THAT(texts[1], testing::StartsWith("unused file|||"));
    EXPECT_EQ(texts[2], "unused file|||stray.zip|");
}

TEST_F(Explain, AgreesWithTheLoaderOnPublishedDatafiles) {
    MARROWKIT_NEED_TEST_DATA();
    for (const auto& file : test::SampleFiles("datafiles", ".dat")) {
        settings.DatafilePath = file.string();
        settings.SkipDuplicates = true;
        ImportTables tables;
        test::RecordingProgress progress;
        if (!LoadDatafileSkippingDuplicates(settings, tables, progress).empty()) continue;
        const auto rows = ExplainDatafile(settings);
        const auto kept = std::count_if(
            rows.begin(), rows.end(), [](const ReportRow& row) { return row.detail.starts_with("no name"); });
        const auto skipped = std::count_if(rows.begin(), rows.end(),
                                           [](const ReportRow& row) { return row.kind == "skipped line"; });
        const std::string bytes = test::ReadFile(file);
        DatafileLines lines(bytes);
        std::string_view line;
        int gamesLines = 0;
        while (lines.Next(line)) gamesLines += line.starts_with(kDatafileSeparator) ? 1 : 0;
        EXPECT_EQ(tables.EntryCount() + skipped - kept, gamesLines) << file;
    }
}

}  // namespace
}  // namespace marrowkit
