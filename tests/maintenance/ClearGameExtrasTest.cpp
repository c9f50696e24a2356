#include <filesystem>

#include <gmock/gmock.h>

#include "maintenance/ClearGameExtras.h"
#include "maintenance/FrontendDatabase.h"
#include "support/BothFormats.h"
#include "support/RecordingUserInterface.h"

namespace marrowkit {
namespace {

using test::FrontendDatabase;
using testing::ElementsAre;
using testing::IsEmpty;
using Message = test::RecordingUserInterface::Message;

class ClearExtras : public test::BothFormats {};

const Message kQuestion{
    "Do you really want to clear all the Game Extras linked this database?\r\n\r\n"
    "(This will not remove the files themselves.)",
    MessageIcon::Question, "Confirm Clearing All Game Extras", MessageButtons::YesNoCancel, true};
const Message kDone{"Cleared all Game Extras!", MessageIcon::Information, "Marrowkit"};
const Message kTooOld{"Database must be v2.1 or higher to perform this operation!", MessageIcon::Information,
                      "Marrowkit"};

void AddExtras(const FrontendDatabase& database) {
    database.Execute("INSERT INTO Games (Name, Extras) VALUES (\"with\", True)");
    database.Execute("INSERT INTO Games (Name, Extras) VALUES (\"without\", False)");
    database.Execute("INSERT INTO Extras (GA_Id, Name) VALUES (1, \"map\")");
    database.Execute("INSERT INTO Extras (GA_Id, Name) VALUES (1, \"manual\")");
}

TEST_P(ClearExtras, UnlinksAllExtrasAfterAConfirmation) {
    const FrontendDatabase database(2, 1, GetParam());  // just high enough
    AddExtras(database);
    test::RecordingUserInterface ui;
    ui.SetStatusText("before");
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(ClearGameExtras(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kQuestion, kDone));
    EXPECT_THAT(ui.statusTexts, ElementsAre("before", "Clearing Game Extras in 'Arcade.mdb'...", "before"));
    EXPECT_THAT(ui.waitMessages, ElementsAre("Clearing Game Extras..."));
    EXPECT_EQ(ui.busyDepth, 0);
    EXPECT_EQ(ui.eventRuns, 2) << "once behind every statement";
    EXPECT_THAT(database.Rows("SELECT Name, Extras FROM Games ORDER BY GA_Id"),
                ElementsAre("with|False", "without|False"));
    EXPECT_THAT(database.Rows("SELECT * FROM Extras"), IsEmpty());
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_P(ClearExtras, SucceedsWithoutExtras) {
    const FrontendDatabase database(2, 5, GetParam());
    test::RecordingUserInterface ui;
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(ClearGameExtras(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kQuestion, kDone));
}

TEST_P(ClearExtras, ChangesNothingWithoutAYes) {
    const FrontendDatabase database(2, 5, GetParam());
    AddExtras(database);
    for (const MessageAnswer answer : {MessageAnswer::No, MessageAnswer::Cancel}) {
        test::RecordingUserInterface ui;
        ui.answers = {answer};
        EXPECT_FALSE(ClearGameExtras(ui, database.Node()));
        EXPECT_THAT(ui.messages, ElementsAre(kQuestion));
        EXPECT_THAT(ui.statusTexts, IsEmpty());
    }
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM Extras"), "2");
}

TEST_P(ClearExtras, RefusesVersion20) {
    const FrontendDatabase database(2, 0, GetParam());
    const std::string before = test::ReadFile(database.HostFile());
    test::RecordingUserInterface ui;
    EXPECT_FALSE(ClearGameExtras(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kTooOld));
    EXPECT_TRUE(test::ReadFile(database.HostFile()) == before);
}

// The version is asked for first, and what cannot be read counts as version 1.3.
TEST_P(ClearExtras, TakesAMissingFileForTooOld) {
    const FrontendDatabase database(2, 5, GetParam());
    std::filesystem::remove(database.HostFile());
    test::RecordingUserInterface ui;
    EXPECT_FALSE(ClearGameExtras(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kTooOld));
    EXPECT_EQ(ui.treeRefreshes, 0);
}

MARROWKIT_TEST_BOTH_FORMATS(ClearExtras);

}  // namespace
}  // namespace marrowkit
