#include <filesystem>
#include <string>
#include <utility>

#include <gmock/gmock.h>

#include "maintenance/CompactDatabase.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/text/Numbers.h"
#include "support/BothFormats.h"
#include "support/RecordingUserInterface.h"
#include "support/TestData.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using test::FrontendDatabase;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Message = test::RecordingUserInterface::Message;

class Compaction : public test::BothFormats {};

bool Compact(test::RecordingUserInterface& ui, const FrontendDatabase& database) {
    return CompactSelectedDatabase(ui, database.Path(), database.Node().parentKey);
}

std::string Kilobytes(std::uintmax_t bytes) {
    return Format0(static_cast<double>(bytes) / 1024.0);
}

TEST_P(Compaction, ReportsTheSizesBeforeAndAfter) {
    const FrontendDatabase database(2, 5, GetParam());
    for (int i = 0; i < 300; ++i) {
        database.Execute("INSERT INTO Games (Name, MemoText) VALUES (\"Game " + std::to_string(i) + "\", \"" +
                         std::string(500, 'x') + "\")");
    }
    database.Execute("DELETE * FROM Games WHERE GA_Id > 10");
    const auto before = fs::file_size(database.HostFile());
    test::RecordingUserInterface ui;
    EXPECT_TRUE(Compact(ui, database));
    const auto after = fs::file_size(database.HostFile());
    EXPECT_LT(after, before);
    EXPECT_THAT(ui.messages, ElementsAre(Message{"Compacted Database from " + Kilobytes(before) + "Kb to " +
                                                     Kilobytes(after) + "Kb.",
                                                 MessageIcon::Information, "Vellora"}));
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Games"), "10");
    EXPECT_THAT(database.Problems(), IsEmpty());
    EXPECT_FALSE(fs::exists(database.HostFile().parent_path() / "vltemp.mdb"));
    EXPECT_EQ(ui.hourglassCount, 1);
    EXPECT_FALSE(ui.hourglass);
}

TEST_P(Compaction, AcceptsADatabaseWithoutGames) {
    const FrontendDatabase database(2, 5, GetParam());
    test::RecordingUserInterface ui;
    EXPECT_TRUE(Compact(ui, database));
    EXPECT_THAT(ui.messages.at(0).text, StartsWith("Compacted Database from "));
}

TEST_P(Compaction, ReplacesALeftoverTemporaryFileWithoutAQuestion) {
    const FrontendDatabase database(2, 5, GetParam());
    const fs::path leftover = database.HostFile().parent_path() / "vltemp.mdb";
    test::WriteFile(leftover, "left over");
    test::RecordingUserInterface ui;
    EXPECT_TRUE(Compact(ui, database));
    EXPECT_EQ(ui.messages.size(), 1U);
    EXPECT_FALSE(fs::exists(leftover));
}

TEST_P(Compaction, LeavesTheFilesPermissionsAsTheyWere) {
    const FrontendDatabase database(2, 5, GetParam());
    for (const unsigned mode : {0600U, 0660U, 0444U, 0644U}) {
        fs::permissions(database.HostFile(), fs::perms(mode));
        test::RecordingUserInterface ui;
        EXPECT_TRUE(Compact(ui, database));
        EXPECT_EQ(fs::status(database.HostFile()).permissions(), fs::perms(mode)) << std::oct << mode;
    }
}

TEST_P(Compaction, ReportsAMissingFile) {
    const FrontendDatabase database(2, 5, GetParam());
    fs::remove(database.HostFile());
    test::RecordingUserInterface ui;
    EXPECT_FALSE(Compact(ui, database));
    EXPECT_THAT(ui.messages, ElementsAre(Message{"Could not find file: " + database.Path(),
                                                 MessageIcon::Information, "Vellora"}));
    EXPECT_EQ(ui.hourglassCount, 0);
}

TEST_P(Compaction, ReportsEveryOtherErrorWithItsNumbers) {
    const FrontendDatabase database(2, 5, GetParam());
    test::WriteFile(database.HostFile(), std::string(8192, 'x'));
    test::RecordingUserInterface ui;
    EXPECT_FALSE(Compact(ui, database));
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_THAT(ui.messages[0].text,
                StartsWith("Unable to compact database '" + database.Path() + "'.\r\n\r\n"));
    EXPECT_THAT(ui.messages[0].text, testing::MatchesRegex(".* \\(3343,[0-9]+\\)"));
    EXPECT_EQ(ui.messages[0].icon, MessageIcon::Error);
    EXPECT_EQ(ui.messages[0].title, "Marrow-Kit");
    EXPECT_EQ(fs::file_size(database.HostFile()), 8192U);
}

TEST_P(Compaction, LeavesTheDatabaseWhereTheTemporaryFileCannotBeMade) {
    const FrontendDatabase database(2, 5, GetParam());
    test::RecordingUserInterface ui;
    EXPECT_FALSE(CompactSelectedDatabase(ui, database.Path(), database.LibraryRoot() + "missing\\"));
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_THAT(ui.messages[0].text, HasSubstr("Unable to compact database"));
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Publishers"), "2");
}

TEST_P(Compaction, DoesNothingWithoutASelectedNode) {
    test::RecordingUserInterface ui;
    EXPECT_FALSE(CompactSelectedDatabase(ui, "", ""));
    EXPECT_THAT(ui.messages, IsEmpty());
}

/// Measures files as the test says: before, then after.
class Scales : public CompactionDisk {
public:
    Scales(std::int64_t before, std::int64_t after) : next_(before), after_(after) {}
    std::int64_t Length(const std::string& /*file*/) override { return std::exchange(next_, after_); }

private:
    std::int64_t next_;
    std::int64_t after_;
};

TEST_P(Compaction, TellsSizesInWholeKilobytesHalvesUp) {
    const FrontendDatabase database(2, 5, GetParam());
    const struct {
        std::int64_t before;
        std::int64_t after;
        const char* text;
    } kCases[] = {
        {2097152, 1048576, "Compacted Database from 2048Kb to 1024Kb."},
        {512, 511, "Compacted Database from 1Kb to 0Kb."},
        {1536, 1535, "Compacted Database from 2Kb to 1Kb."},
        {2560, 0, "Compacted Database from 3Kb to 0Kb."},
        {2147483647, 1073741824, "Compacted Database from 2097152Kb to 1048576Kb."},
    };
    for (const auto& c : kCases) {
        test::RecordingUserInterface ui;
        Scales scales(c.before, c.after);
        EXPECT_TRUE(CompactSelectedDatabase(ui, database.Path(), database.Node().parentKey, scales));
        EXPECT_THAT(ui.messages, ElementsAre(Message{c.text, MessageIcon::Information, "Vellora"}));
    }
}

TEST_P(Compaction, ShowsWhatItIsBusyWith) {
    const FrontendDatabase database(2, 5, GetParam());
    test::RecordingUserInterface ui;
    ui.SetStatusText("before");
    EXPECT_TRUE(CompactWithBusyDisplay(ui, database.Node()));
    EXPECT_THAT(ui.statusTexts, ElementsAre("before", "Compacting before...", "before"));
    EXPECT_THAT(ui.waitMessages, ElementsAre("Compacting..."));
    EXPECT_EQ(ui.busyDepth, 0);
}

TEST_P(Compaction, KeepsEveryGameOfADatabaseOfTheFrontend) {
    MARROWKIT_NEED_TEST_DATA();
    const FrontendDatabase database("template/Games-2.1-nulls.mdb");
    const auto games = database.Rows("SELECT * FROM Games ORDER BY GA_Id");
    test::RecordingUserInterface ui;
    EXPECT_TRUE(Compact(ui, database));
    EXPECT_EQ(database.Rows("SELECT * FROM Games ORDER BY GA_Id"), games);
    EXPECT_THAT(database.Problems(), IsEmpty());
}

MARROWKIT_TEST_BOTH_FORMATS(Compaction);

}  // namespace
}  // namespace marrowkit
