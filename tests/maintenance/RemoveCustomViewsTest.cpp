#include <cstdlib>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "maintenance/FrontendDatabase.h"
#include "maintenance/RemoveCustomViews.h"
#include "platform/errors/RuntimeError.h"
#include "platform/registry/RegistryStore.h"
#include "support/BothFormats.h"
#include "support/Environment.h"
#include "support/RecordingUserInterface.h"

namespace marrowkit {
namespace {

using test::FrontendDatabase;
using testing::ElementsAre;
using testing::IsEmpty;
using Message = test::RecordingUserInterface::Message;

const Message kQuestion{"Do you really want to delete all the custom views from this database?",
                        MessageIcon::Question, "Confirm Removing All Custom Views",
                        MessageButtons::YesNoCancel, true};
const Message kDone{"Removed All Custom Views!", MessageIcon::Information, "Marrowkit"};

class RemoveViews : public test::BothFormats {
protected:
    /// The registry of this program alone, in a folder of the test.
    RemoveViews() { test::SetVariable("XDG_CONFIG_HOME", settings.Path().string()); }

    static std::string Key(const std::string& database) {
        return "Software\\Quillon\\Vellora\\Vellora\\" + database + "\\QuickFilter";
    }

    static std::int32_t NumFilters(const std::string& database) {
        RegistryVariant value = std::int32_t{-1};
        std::int32_t status = 0;
        RegistryStore().ReadValue("HKEY_LOCAL_MACHINE", Key(database), "NumFilters", value, status);
        return std::get<std::int32_t>(value);
    }

    test::TemporaryFolder settings;
    test::RecordingUserInterface ui;
};

TEST_P(RemoveViews, DeletesViewsAndFiltersAndResetsTheFrontendsCount) {
    const FrontendDatabase database(2, 5, GetParam());
    for (int i = 0; i < 5; ++i) {
        database.Execute("INSERT INTO ViewData (Name) VALUES (\"view\")");
        database.Execute("INSERT INTO ViewFilters (FieldName) VALUES (\"Name\")");
    }
    RegistryStore().WriteValue("HKEY_LOCAL_MACHINE", Key("Arcade"), "NumFilters", std::int32_t{7});
    RegistryStore().WriteValue("HKEY_LOCAL_MACHINE", Key("Arcade"), "Other", std::int32_t{7});
    ui.SetStatusText("before");
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(RemoveCustomViews(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kQuestion, kDone));
    EXPECT_THAT(ui.statusTexts, ElementsAre("before", "Removing Custom Views in 'Arcade.mdb'...", "before"));
    EXPECT_THAT(ui.waitMessages, ElementsAre("Removing Custom Views..."));
    EXPECT_EQ(ui.busyDepth, 0);
    EXPECT_EQ(ui.eventRuns, 10) << "once behind every record";
    EXPECT_THAT(database.Rows("SELECT * FROM ViewData"), IsEmpty());
    EXPECT_THAT(database.Rows("SELECT * FROM ViewFilters"), IsEmpty());
    EXPECT_EQ(NumFilters("Arcade"), 0);
    EXPECT_THAT(database.Problems(), IsEmpty());
}

TEST_P(RemoveViews, WritesTheCountAlsoWhenThereWasNoView) {
    const FrontendDatabase database(1, 3, GetParam());  // any version will do
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(RemoveCustomViews(ui, database.Node()));
    EXPECT_THAT(ui.messages, ElementsAre(kQuestion, kDone));
    EXPECT_EQ(NumFilters("Arcade"), 0);
}

TEST_P(RemoveViews, KeepsBlanksOfTheDatabasesNameInTheRegistryKey) {
    const FrontendDatabase database(2, 5, GetParam());
    SelectedNode node = database.Node();
    node.parentText = "My  tape games ";
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(RemoveCustomViews(ui, node));
    EXPECT_EQ(NumFilters("My  tape games "), 0);
    EXPECT_EQ(NumFilters("My tape games"), -1);
}

TEST_P(RemoveViews, ChangesNothingWithoutAYes) {
    const FrontendDatabase database(2, 5, GetParam());
    database.Execute("INSERT INTO ViewData (Name) VALUES (\"view\")");
    for (const MessageAnswer answer : {MessageAnswer::No, MessageAnswer::Cancel}) {
        ui.answers = {answer};
        EXPECT_FALSE(RemoveCustomViews(ui, database.Node()));
    }
    EXPECT_EQ(database.One("SELECT COUNT(*) FROM ViewData"), "1");
    EXPECT_EQ(NumFilters("Arcade"), -1);
    EXPECT_THAT(ui.statusTexts, IsEmpty());
}

TEST_P(RemoveViews, LetsARegistryErrorEscapeWhenTheViewsAreGone) {
    const FrontendDatabase database(2, 5, GetParam());
    database.Execute("INSERT INTO ViewData (Name) VALUES (\"view\")");
    test::WriteFile(settings / "marrowkit", "in the place of the registry's folder");
    ui.answers = {MessageAnswer::Yes};
    EXPECT_THROW(RemoveCustomViews(ui, database.Node()), RuntimeError);
    EXPECT_THAT(ui.messages, ElementsAre(kQuestion));
    EXPECT_THAT(database.Rows("SELECT * FROM ViewData"), IsEmpty());
}

TEST_P(RemoveViews, ReportsADatabaseThatHasVanishedAndRebuildsTheTree) {
    const FrontendDatabase database(2, 5, GetParam());
    std::filesystem::remove(database.HostFile());
    EXPECT_FALSE(RemoveCustomViews(ui, database.Node()));
    EXPECT_THAT(ui.messages,
                ElementsAre(Message{"Huh? This database doesn't exist!", MessageIcon::None, "Marrowkit"}));
    EXPECT_EQ(ui.treeRefreshes, 1);
}

MARROWKIT_TEST_BOTH_FORMATS(RemoveViews);

}  // namespace
}  // namespace marrowkit
