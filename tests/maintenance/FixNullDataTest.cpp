#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "maintenance/FixNullData.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/errors/RuntimeError.h"
#include "support/BothFormats.h"
#include "support/RecordingUserInterface.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

using test::FrontendDatabase;
using testing::ElementsAre;
using testing::IsEmpty;
using Message = test::RecordingUserInterface::Message;

class FixNulls : public test::BothFormats {};

const Message kFixed{"Fixed: All NULL Data Removed!", MessageIcon::Information, "Vellora"};

constexpr const char* kGameTexts =
    "Name, Filename, ScrnShotFilename, SidFileName, DateLastPlayed, HighScore, MemoText, Comment, V_Comment, "
    "FileToRun";

/// A record of Nulls in every table that is repaired.
void AddNulls(const FrontendDatabase& database) {
    database.Execute("INSERT INTO Games (TimesPlayed) VALUES (1)");
    for (const char* sql : {"INSERT INTO Music (Name) VALUES (NULL)",
                            "INSERT INTO Musicians (MU_Id, Musician) VALUES (100, NULL)",
                            "INSERT INTO Crackers (CR_Id, Cracker) VALUES (100, NULL)",
                            "INSERT INTO Difficulty (DI_Id, Difficulty) VALUES (100, NULL)",
                            "INSERT INTO Genres (GE_Id, Genre) VALUES (100, NULL)",
                            "INSERT INTO Languages (LA_Id, Language) VALUES (100, NULL)",
                            "INSERT INTO PGenres (PG_Id, ParentGenre) VALUES (100, NULL)",
                            "INSERT INTO Programmers (PR_Id, Programmer) VALUES (100, NULL)",
                            "INSERT INTO Publishers (PU_Id, Publisher) VALUES (100, NULL)"}) {
        database.Execute(sql);
    }
}

void ExpectBaseRepairs(const FrontendDatabase& database) {
    EXPECT_EQ(database.One(std::string("SELECT ") + kGameTexts + " FROM Games"), "|||||||||");
    EXPECT_EQ(database.One("SELECT Name, Filename FROM Music"), "|");
    EXPECT_EQ(database.One("SELECT Musician, Grp, Nick, Photo FROM Musicians WHERE MU_Id = 100"),
              "Rename Me!|||");
    EXPECT_EQ(database.One("SELECT Cracker FROM Crackers WHERE CR_Id = 100"), "Rename Me!");
    EXPECT_EQ(database.One("SELECT Difficulty FROM Difficulty WHERE DI_Id = 100"), "Rename Me!");
    EXPECT_EQ(database.One("SELECT Genre FROM Genres WHERE GE_Id = 100"), "Sub-Genre");
    EXPECT_EQ(database.One("SELECT Language FROM Languages WHERE LA_Id = 100"), "Rename Me!");
    EXPECT_EQ(database.One("SELECT ParentGenre FROM PGenres WHERE PG_Id = 100"), "Parent-Genre");
    EXPECT_EQ(database.One("SELECT Programmer FROM Programmers WHERE PR_Id = 100"), "Rename Me!");
    EXPECT_EQ(database.One("SELECT Publisher FROM Publishers WHERE PU_Id = 100"), "Rename Me!");
    EXPECT_EQ(database.One("SELECT Publisher FROM Publishers WHERE PU_Id = 37"), "[Unknown]");
}

// The databases lack the fields that came after their version: a statement too many would raise.
TEST_P(FixNulls, RunsOnlyTheBaseRepairsOnVersion20) {
    const FrontendDatabase database(2, 0, GetParam());
    AddNulls(database);
    test::RecordingUserInterface ui;
    EXPECT_TRUE(FixNullData(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kFixed));
    ExpectBaseRepairs(database);
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_P(FixNulls, AddsChecksumsSizesAndExtrasAbove20) {
    for (const int minor : {1, 2}) {
        const FrontendDatabase database(2, minor, GetParam());
        AddNulls(database);
        database.Execute("INSERT INTO Extras (GA_Id) VALUES (1)");
        test::RecordingUserInterface ui;
        EXPECT_TRUE(FixNullData(ui, database.Node()));
        EXPECT_THAT(ui.messages, ElementsAre(kFixed));
        ExpectBaseRepairs(database);
        EXPECT_EQ(database.One("SELECT CRC, Filesize FROM Games"), "|0");
        EXPECT_EQ(database.One("SELECT Name, Path, Data FROM Extras"), "||");
    }
}

TEST_P(FixNulls, AddsTheScriptEntryAbove22) {
    for (const int minor : {3, 4}) {
        const FrontendDatabase database(2, minor, GetParam());
        AddNulls(database);
        test::RecordingUserInterface ui;
        EXPECT_TRUE(FixNullData(ui, database.Node()));
        EXPECT_EQ(database.One("SELECT CRC, Filesize, Korvo FROM Games"), "|0|");
    }
}

TEST_P(FixNulls, LeavesFieldsOfLaterVersionsAloneEvenWhenTheyAreThere) {
    const FrontendDatabase database(2, 5, GetParam());
    AddNulls(database);
    database.Execute("UPDATE Games SET V_LengthType = 99");
    const struct {
        int minor;
        const char* left;
    } kCases[] = {{0, "NULL|NULL|NULL|99|NULL"}, {2, "|0|NULL|99|NULL"}, {4, "|0||99|NULL"}, {5, "|0||19|"}};
    for (const auto& c : kCases) {
        database.Execute("UPDATE Config SET MinorVersion = " + std::to_string(c.minor));
        test::RecordingUserInterface ui;
        EXPECT_TRUE(FixNullData(ui, database.Node()));
        EXPECT_EQ(database.One("SELECT CRC, Filesize, Korvo, V_LengthType FROM Games") + "|" +
                      database.One("SELECT FirstLoadMessage FROM Config"),
                  c.left)
            << c.minor;
    }
}

TEST_P(FixNulls, TurnsUnknownLengthTypesInto19) {
    const FrontendDatabase database(2, 5, GetParam());
    for (const int type : {-32768, -1, 0, 5, 19, 20, 32767}) {
        database.Execute("INSERT INTO Games (Name, V_LengthType) VALUES (\"g\", " + std::to_string(type) +
                         ")");
    }
    test::RecordingUserInterface ui;
    EXPECT_TRUE(FixNullData(ui, database.Node()));
    EXPECT_THAT(database.Rows("SELECT V_LengthType FROM Games ORDER BY GA_Id"),
                ElementsAre("19", "19", "0", "5", "19", "19", "19"));
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_P(FixNulls, GivesTheSameDatabaseAndMessageTheSecondTime) {
    const FrontendDatabase database(2, 5, GetParam());
    AddNulls(database);
    test::RecordingUserInterface ui;
    EXPECT_TRUE(FixNullData(ui, database.Node()));
    const auto games = database.Rows("SELECT * FROM Games");
    EXPECT_TRUE(FixNullData(ui, database.Node()));
    EXPECT_EQ(database.Rows("SELECT * FROM Games"), games);
    EXPECT_THAT(ui.messages, ElementsAre(kFixed, kFixed));
}

TEST_P(FixNulls, ShowsTheHourglassWhileItWorks) {
    const FrontendDatabase database(2, 5, GetParam());
    test::RecordingUserInterface ui;
    FixNullData(ui, database.Node());
    EXPECT_EQ(ui.hourglassCount, 1);
    EXPECT_FALSE(ui.hourglass);
    EXPECT_EQ(ui.eventRuns, 1);
}

TEST_P(FixNulls, ReportsAMissingFile) {
    const FrontendDatabase database(2, 5, GetParam());
    std::filesystem::remove(database.HostFile());
    test::RecordingUserInterface ui;
    EXPECT_FALSE(FixNullData(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(Message{"Could not find file: " + database.Path(),
                                                 MessageIcon::Information, "Vellora"}));
    EXPECT_EQ(ui.hourglassCount, 0);
}

TEST_P(FixNulls, RefusesDatabasesBelow20AndFilesThatAreNone) {
    const FrontendDatabase database(1, 9, GetParam());
    test::RecordingUserInterface ui;
    EXPECT_FALSE(FixNullData(ui, database.Node()));
    database.Execute("DELETE * FROM Config");
    EXPECT_FALSE(FixNullData(ui, database.Node()));
    test::WriteFile(database.HostFile(), "not a database");
    EXPECT_FALSE(FixNullData(ui, database.Node()));
    const Message refused{"Version of database is less than 2.0!", MessageIcon::Information, "Vellora"};
    EXPECT_THAT(ui.messages, ElementsAre(refused, refused, refused));
}

TEST_P(FixNulls, DoesNothingWithoutASelectedNode) {
    test::RecordingUserInterface ui;
    EXPECT_FALSE(FixNullData(ui, {}));
    EXPECT_THAT(ui.messages, IsEmpty());
}

TEST_P(FixNulls, LetsAFailingStatementEscapeAndKeepsWhatRanBefore) {
    const FrontendDatabase database(2, 5, GetParam());
    AddNulls(database);
    database.Execute("DROP TABLE Music");
    test::RecordingUserInterface ui;
    try {
        FixNullData(ui, database.Node());
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3078);
    }
    EXPECT_THAT(ui.messages, IsEmpty());
    EXPECT_EQ(database.One("SELECT Name, FileToRun FROM Games"), "|");
    EXPECT_EQ(database.One("SELECT Cracker FROM Crackers WHERE CR_Id = 100"), "NULL");
}

TEST_P(FixNulls, PutsTheStatusTextBack) {
    const FrontendDatabase database(2, 5, GetParam());
    test::RecordingUserInterface ui;
    ui.SetStatusText("before");
    EXPECT_TRUE(ScanAndFixErrors(ui, database.Node()));
    EXPECT_THAT(ui.statusTexts, ElementsAre("before", "Removing NULL Data...", "before"));
    EXPECT_THAT(ui.waitMessages, ElementsAre("Removing NULL Data..."));
    EXPECT_EQ(ui.busyDepth, 0);
    std::filesystem::remove(database.HostFile());
    EXPECT_FALSE(ScanAndFixErrors(ui, database.Node()));
    EXPECT_EQ(ui.statusTexts.back(), "before");
    EXPECT_EQ(ui.busyDepth, 0);
}

TEST_P(FixNulls, RepairsADatabaseOfTheFrontend) {
    MARROWKIT_NEED_TEST_DATA();
    const FrontendDatabase database("template/Games-2.1-nulls.mdb");
    ASSERT_NE(database.One("SELECT COUNT(*) FROM Games WHERE Name IS NULL"), "0");
    const std::string games = database.One("SELECT COUNT(*) FROM Games");
    test::RecordingUserInterface ui;
    EXPECT_TRUE(FixNullData(ui, database.Node()));
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), games);
    for (const char* field :
         {"Name", "Filename", "ScrnShotFilename", "SidFileName", "DateLastPlayed", "HighScore", "MemoText",
          "Comment", "V_Comment", "FileToRun", "CRC", "Filesize"}) {
        EXPECT_EQ(database.One(std::string("SELECT COUNT(*) FROM Games WHERE ") + field + " IS NULL"), "0")
            << field;
    }
    EXPECT_THAT(database.Problems(), IsEmpty());
}

MARROWKIT_TEST_BOTH_FORMATS(FixNulls);

}  // namespace
}  // namespace marrowkit
