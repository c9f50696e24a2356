#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "import/GameWriter.h"
#include "import/RecordingProgress.h"
#include "import/TosecName.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/errors/RuntimeError.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

using test::FrontendDatabase;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

DatafileEntry Entry(const std::string& name, const std::string& fileName = "game.rom") {
    DatafileEntry entry;
    entry.Name = name;
    entry.FileName = fileName;
    entry.Crc = "1A2B3C4D";
    entry.Size = 4096;
    return entry;
}

DatafileEntry TosecEntry(const std::string& name) {
    DatafileEntry entry = Entry(name, name + ".st");
    ParseTosecName(entry);
    return entry;
}

class Writer : public testing::Test {
protected:
    std::string Write(const FrontendDatabase& database) {
        return WriteGames(database.Path(), settings, tables, progress);
    }
    std::string WriteTosec(const FrontendDatabase& database) {
        return WriteTosecGames(database.Path(), settings, tables, progress);
    }

    ImportSettings settings;
    ImportTables tables;
    test::RecordingProgress progress;
};

/// All fields of Games that an import sets, in the order of this list.
constexpr const char* kFields =
    "PU_Id, CR_Id, LA_Id, Name, YE_ID, Comment, FileToRun, FilenameIndex, ScrnShotFilename, MU_Id, GE_Id, "
    "DI_Id, PR_Id, SidFileName, DateLastPlayed, TimesPlayed, HighScore, SA, Filename, CCode, FA, CRC, "
    "Filesize, Fav, Extras, Classic, Rating, V_LoadingScreen, V_HighScoreSaver, V_IncludedDocs, V_PalNTSC, "
    "V_TrueDriveEmu, V_Length, V_LengthType, V_Trainers, PlayersFrom, PlayersTo, PlayersSim, V_Comment, "
    "Adult, MemoText, Prequel, Sequel, Related, Control";

std::string Games(const std::string& fields = kFields) {
    return "SELECT " + fields + " FROM Games ORDER BY GA_Id";
}

TEST_F(Writer, WritesEveryFieldOfAPlainGame) {
    for (const jet::JetVersion format : {jet::JetVersion::Jet3, jet::JetVersion::Jet4}) {
        const FrontendDatabase database(2, 5, format);
        tables.Entries = {Entry("Pac-Man")};
        // Nothing of what the other stages would have found counts.
        DatafileEntry& entry = tables.Entries[0];
        entry.Matched = entry.SaveFix = true;
        entry.MatchedFile = "found.zip";
        entry.PublicDomain = "Public Domain";
        entry.VersionComment = "[cracked by ?]";
        entry.Publisher = entry.Language = entry.Cracker = "X";
        entry.YearId = 30;
        entry.PalNtsc = 2;
        entry.Trainers = 3;
        EXPECT_EQ(Write(database), "");
        EXPECT_EQ(
            database.One(Games()),
            "37|8|1|Pac-Man|1|||0||38|1|8|1|||0||False|game.rom|4|False|1A2B3C4D|4096|False|False|False|"
            "0|False|False|False|1|False|0|19|-1|-1|-1|False||False||0|0|0|0");
        EXPECT_THAT(database.Problems(), IsEmpty());
    }
}

TEST_F(Writer, WritesEveryFieldOfATosecGame) {
    const FrontendDatabase database(2, 5);
    settings.ImportIntoExisting = true;
    tables.Entries = {TosecEntry("Gem (1991)(Kaiko)(de)(PAL)(PD)[cr ICS][t][f save]")};
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_EQ(database.One(Games()),
              "40|9|3|Gem |31|Public Domain||0||38|1|8|1|||0||False|"
              "Gem (1991)(Kaiko)(de)(PAL)(PD)[cr ICS][t][f save].st|4|False|1A2B3C4D|4096|False|False|False|"
              "0|False|True|False|0|False|0|NULL|-1|-1|-1|False| [trained]|False||0|0|0|0");
    EXPECT_EQ(database.One("SELECT Publisher FROM Publishers WHERE PU_Id = 40"), "Kaiko");
    EXPECT_EQ(database.One("SELECT Cracker FROM Crackers WHERE CR_Id = 9"), "ICS");
    EXPECT_EQ(database.One("SELECT Language FROM Languages WHERE LA_Id = 3"), "German");
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_F(Writer, SetsTheLengthTypeOnlyFromVersion25On) {
    const FrontendDatabase database(2, 5);
    database.Execute("UPDATE Config SET MinorVersion = 4");
    tables.Entries = {Entry("A")};
    EXPECT_EQ(Write(database), "");
    EXPECT_EQ(database.One("SELECT V_LengthType FROM Games"), "NULL");
    const FrontendDatabase older(2, 4);  // has no such field
    EXPECT_EQ(Write(older), "");
    EXPECT_EQ(older.One("SELECT Name FROM Games"), "A");
}

TEST_F(Writer, SkipsEntriesWithoutAName) {
    const FrontendDatabase database(2, 5);
    tables.Entries = {Entry(""), Entry("A"), Entry("")};
    EXPECT_EQ(Write(database), "");
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "2");
    EXPECT_THAT(progress.ranges, ElementsAre(std::pair(0, 2), std::pair(0, 2)));
    EXPECT_THAT(progress.values, ElementsAre(0, 0, 1, 2, 0, 0, 1, 2));
    EXPECT_EQ(progress.eventRuns, 6);
}

TEST_F(Writer, WritesWhatTheScanFound) {
    const FrontendDatabase database(2, 5);
    settings.ScanForRoms = true;
    tables.Entries = {Entry("found"), Entry("missing")};
    tables.Entries[0].Matched = true;
    tables.Entries[0].MatchedFile = "Sub\\game.zip";
    EXPECT_EQ(Write(database), "");
    EXPECT_THAT(database.Rows(Games("Filename, CCode, FA")), ElementsAre("Sub\\game.zip|2|True", "|4|False"));
}

TEST_F(Writer, CutsTexts) {
    const FrontendDatabase database(2, 5);
    std::string name;
    for (int i = 0; i < 300; ++i) name += "\xC3\xA9";
    tables.Entries = {Entry(name)};
    tables.Entries[0].VersionComment = std::string(150, 'v');
    tables.Entries[0].PublicDomain = std::string(150, 'p');
    tables.Entries[0].Cracker = std::string(200, 'c');
    tables.Entries[0].Publisher = std::string(200, 'u');
    tables.Entries[0].Language = std::string(200, 'l');
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_EQ(database.One(Games("Name, Comment, V_Comment")),
              name.substr(0, 510) + "|" + std::string(125, 'p') + "|" + std::string(100, 'v'));
    EXPECT_EQ(tables.Entries[0].Cracker, std::string(128, 'c'));
    EXPECT_EQ(tables.Entries[0].Publisher, std::string(128, 'u'));
    EXPECT_EQ(tables.Entries[0].Language, std::string(128, 'l'));
}

TEST_F(Writer, FallsBackToTheFixedRows) {
    const FrontendDatabase database(2, 5);
    tables.Entries = {TosecEntry("A (1985)(-)[cr]"), TosecEntry("B")};
    tables.Entries[1].Language = "";
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_THAT(database.Rows(Games("PU_Id, CR_Id, LA_Id")), ElementsAre("37|8|1", "37|7|1"));
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Publishers"), "2");
}

TEST_F(Writer, FindsLookupRowsIgnoringCaseAndKeepsTheFirstForm) {
    const FrontendDatabase database(2, 5);
    tables.Entries = {TosecEntry("A (1985)(Softco)"), TosecEntry("B (1986)(SOFTCO)"),
                      TosecEntry("C (1987)(softco)"), TosecEntry("D (1988)(Softco)")};
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_THAT(database.Rows(Games("PU_Id")), ElementsAre("40", "40", "40", "40"));
    EXPECT_THAT(database.Rows("SELECT Publisher FROM Publishers WHERE PU_Id > 39"), ElementsAre("Softco"));
}

TEST_F(Writer, RemovesAllLanguagesButTheFirstFromANewDatabaseOnly) {
    for (const bool existing : {true, false}) {
        const FrontendDatabase database(2, 5);
        database.Execute("INSERT INTO Languages (Language) VALUES (\"Latin\")");
        settings.ImportIntoExisting = existing;
        tables.Entries = {TosecEntry("A (1985)(S)(fr)")};
        EXPECT_EQ(WriteTosec(database), "");
        if (existing) {
            EXPECT_THAT(database.Rows("SELECT Language FROM Languages ORDER BY LA_Id"),
                        ElementsAre("English", "Klingon", "Latin", "French"));
        } else {
            EXPECT_THAT(database.Rows("SELECT Language FROM Languages ORDER BY LA_Id"),
                        ElementsAre("English", "French"));
        }
    }
}

TEST_F(Writer, EndsAtALookupTextWithADoubleQuoteAndKeepsEarlierGames) {
    const FrontendDatabase database(2, 5);
    settings.ImportIntoExisting = true;
    tables.Entries = {TosecEntry("A (1985)(S)"), TosecEntry("B (1985)(the \"best\" of)"),
                      TosecEntry("C (1985)(S)")};
    ClearLastPlatformErrorCode();
    EXPECT_THAT(WriteTosec(database), MatchesRegex("Syntax error.*  \\(3075,[0-9]+\\)"));
    EXPECT_THAT(database.Rows(Games("Name")), ElementsAre("A "));
    EXPECT_THAT(database.Problems(), IsEmpty());
}

// A text is put into the statement as it stands: one that makes it another statement finds what that finds.
TEST_F(Writer, LooksUpATextWithDoubleQuotesThatTheStatementSurvives) {
    const FrontendDatabase database(2, 5);
    settings.ImportIntoExisting = true;
    tables.Entries = {TosecEntry("A (1985)(Softco)"), TosecEntry("B (1985)(x\" OR Publisher = \"softco)"),
                      TosecEntry("C (1985)(S)[cr x\" OR CR_Id = 7 OR \"\" = \"y]")};
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_THAT(database.Rows(Games("PU_Id, CR_Id")), ElementsAre("40|7", "40|7", "41|7"));
    EXPECT_THAT(database.Rows("SELECT Publisher FROM Publishers WHERE PU_Id > 39 ORDER BY PU_Id"),
                ElementsAre("Softco", "S"));
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Crackers"), "2");
}

TEST_F(Writer, ReturnsTheTextOfAnyDatabaseError) {
    const FrontendDatabase database(2, 5);
    tables.Entries = {Entry("A")};
    database.Execute("ALTER TABLE Games DROP COLUMN Rating");
    EXPECT_THAT(Write(database), MatchesRegex(".*  \\(3265,[0-9]+\\)"));
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "0");
    std::filesystem::remove(database.HostFile());
    EXPECT_THAT(Write(database), MatchesRegex(".*  \\(3024,[0-9]+\\)"));
    EXPECT_THAT(WriteTosec(database), MatchesRegex(".*  \\(3024,[0-9]+\\)"));
}

TEST_F(Writer, CannotBeCancelled) {
    const FrontendDatabase database(2, 5);
    tables.Entries = {Entry("A"), Entry("B"), Entry("C")};
    progress.cancelled = true;
    EXPECT_EQ(Write(database), "");
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "3");
}

TEST_F(Writer, FillsTheFrontendsTemplate) {
    MARROWKIT_NEED_TEST_DATA();
    const FrontendDatabase database("template/Empty.mdb");
    for (int i = 0; i < 500; ++i) {
        tables.Entries.push_back(
            TosecEntry("Game " + std::to_string(i) + " (19" + std::to_string(70 + i % 30) + ")(Publisher " +
                       std::to_string(i % 50) + ")(fr)[cr Group " + std::to_string(i % 20) + "]"));
    }
    EXPECT_EQ(WriteTosec(database), "");
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "500");
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Languages"), "2");
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Publishers WHERE Publisher LIKE \"Publisher *\""), "50");
    EXPECT_THAT(database.Problems(), IsEmpty());
}

}  // namespace
}  // namespace marrowkit
