#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "maintenance/DeleteDatabaseFolder.h"
#include "platform/files/HostPath.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using Message = test::RecordingUserInterface::Message;

class DeleteFolder : public testing::Test {
protected:
    DeleteFolder() {
        test::WriteFile(folder / "Arcade" / "Arcade.mdb", "x");
        test::WriteFile(folder / "Arcade" / "Gfx" / "Deep" / "a.gif", "x");
        node.key = path + "\\";
        node.text = "Arcade";
    }

    test::TemporaryFolder folder;
    std::string path = WindowsPath((folder / "Arcade").string());
    SelectedNode node;
    test::RecordingUserInterface ui;
};

TEST_F(DeleteFolder, RemovesNestedSubfoldersAfterAConfirmation) {
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(DeleteDatabaseFolder(ui, node));
    EXPECT_FALSE(fs::exists(folder / "Arcade"));
    EXPECT_TRUE(fs::exists(folder.Path()));
    EXPECT_THAT(ui.messages,
                ElementsAre(Message{"Are you sure you want to permanently delete this Vellora folder?"
                                    "\r\n\r\n'" +
                                        path +
                                        "'\r\n\r\nWARNING: This action is irreversable.  Once it's gone, "
                                        "it's gone!",
                                    MessageIcon::Question, "Really Delete 'Arcade'?",
                                    MessageButtons::YesNoCancel, true}));
    EXPECT_THAT(ui.statusTexts, ElementsAre("Deleting '" + path + "'..."));
    EXPECT_THAT(ui.waitMessages, ElementsAre("Deleting..."));
    EXPECT_EQ(ui.busyDepth, 0);
    EXPECT_EQ(ui.treeRefreshes, 1);
}

TEST_F(DeleteFolder, ChangesNothingWithoutAYes) {
    for (const MessageAnswer answer : {MessageAnswer::No, MessageAnswer::Cancel}) {
        ui.answers = {answer};
        EXPECT_FALSE(DeleteDatabaseFolder(ui, node));
        EXPECT_TRUE(fs::exists(folder / "Arcade" / "Gfx" / "Deep" / "a.gif"));
    }
    EXPECT_TRUE(ui.statusTexts.empty());
    EXPECT_TRUE(ui.waitMessages.empty());
    EXPECT_EQ(ui.treeRefreshes, 0);
}

TEST_F(DeleteFolder, ReportsAFolderThatHasVanishedAndRebuildsTheTree) {
    fs::remove_all(folder / "Arcade");
    EXPECT_FALSE(DeleteDatabaseFolder(ui, node));
    EXPECT_THAT(ui.messages,
                ElementsAre(Message{"Huh? This folder doesn't exist!", MessageIcon::None, "Marrowkit"}));
    EXPECT_EQ(ui.treeRefreshes, 1);
}

}  // namespace
}  // namespace marrowkit
