#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include "global/modGlobal.h"
#include "maintenance/DeleteDatabaseFolder.h"
#include "platform/dao/Dao.h"
#include "platform/errors/RuntimeError.h"
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
        modGlobal::LibraryRoot = WindowsPath(folder.Path().string()) + "\\";
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

TEST_F(DeleteFolder, OfADatabaseThatSomebodyHasOpenStaysWhole) {
    const std::string file = path + "\\Games.mdb";
    dao::Database open = dao::DBEngine().CreateDatabase(file);
    open.Close();
    dao::Database user = dao::DBEngine().OpenDatabase(file);
    ui.answers = {MessageAnswer::Yes, MessageAnswer::Yes};
    EXPECT_THROW(DeleteDatabaseFolder(ui, node), RuntimeError);
    EXPECT_TRUE(fs::exists(folder / "Arcade" / "Arcade.mdb"));
    EXPECT_TRUE(fs::exists(folder / "Arcade" / "Games.mdb"));
    EXPECT_TRUE(fs::exists(folder / "Arcade" / "Gfx" / "Deep" / "a.gif"));
    user.Close();
    EXPECT_TRUE(DeleteDatabaseFolder(ui, node));
    EXPECT_FALSE(fs::exists(folder / "Arcade"));
}

TEST_F(DeleteFolder, TakesNamesWithBlanksUmlautsAndDots) {
    for (const char* name : {"My  Old Games",
                             "K\xC3\xB6ln \xC3\x9C"
                             "bung",
                             "v1.2.3", ".hidden", "100% & more's"}) {
        test::WriteFile(folder / name / (std::string(name) + ".mdb"), "x");
        test::WriteFile(folder / name / "Gfx" / "\xC3\xA4.gif", "x");
        node.key = WindowsPath((folder / name).string()) + "\\";
        node.text = name;
        ui.answers = {MessageAnswer::Yes};
        EXPECT_TRUE(DeleteDatabaseFolder(ui, node)) << name;
        EXPECT_FALSE(fs::exists(folder / name)) << name;
        EXPECT_EQ(ui.messages.back().title, "Really Delete '" + node.text + "'?");
    }
    EXPECT_TRUE(fs::exists(folder / "Arcade" / "Arcade.mdb"));
}

TEST_F(DeleteFolder, DoesNotFollowLinksInIt) {
    const test::TemporaryFolder elsewhere;
    test::WriteFile(elsewhere / "Roms" / "game.zip", "x");
    fs::create_directory_symlink(elsewhere / "Roms", folder / "Arcade" / "Roms");
    fs::create_symlink(elsewhere / "Roms" / "game.zip", folder / "Arcade" / "game.zip");
    fs::create_directory_symlink(folder.Path(), folder / "Arcade" / "Gfx" / "up");
    test::WriteFile(folder / "Other" / "Other.mdb", "x");
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(DeleteDatabaseFolder(ui, node));
    EXPECT_FALSE(fs::exists(folder / "Arcade"));
    EXPECT_TRUE(fs::exists(elsewhere / "Roms" / "game.zip"));
    EXPECT_TRUE(fs::exists(folder / "Other" / "Other.mdb"));
}

TEST_F(DeleteFolder, OfADatabaseThatIsALinkDeletesTheLink) {
    const test::TemporaryFolder elsewhere;
    test::WriteFile(elsewhere / "Linked" / "Linked.mdb", "x");
    fs::create_directory_symlink(elsewhere / "Linked", folder / "Linked");
    node.key = WindowsPath(folder.Path().string()) + "\\Linked\\";
    ui.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(DeleteDatabaseFolder(ui, node));
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder / "Linked")));
    EXPECT_TRUE(fs::exists(elsewhere / "Linked" / "Linked.mdb"));
}

// The menu acts on the selected node, which may be another one than that under the pointer.
TEST_F(DeleteFolder, NeverLeavesTheLibrary) {
    const fs::path before = fs::current_path();
    test::WriteFile(folder / "ROO" / "kept", "x");
    test::WriteFile(folder / "Arcade INI File" / "kept", "x");
    fs::current_path(folder.Path());
    const std::string root = modGlobal::LibraryRoot;
    modGlobal::LibraryRoot = root + "Library\\";
    test::WriteFile(folder / "Library" / "Arcade" / "Arcade.mdb", "x");
    for (const std::string& key : {std::string("ROOT"), std::string("Arcade INI Files"), root + "Arcade\\",
                                   modGlobal::LibraryRoot, modGlobal::LibraryRoot + "..\\",
                                   modGlobal::LibraryRoot + "Arcade\\..\\", modGlobal::LibraryRoot + ".\\"}) {
        node.key = key;
        ui.messages.clear();
        EXPECT_FALSE(DeleteDatabaseFolder(ui, node)) << key;
        EXPECT_THAT(ui.messages,
                    ElementsAre(Message{"Huh? This folder doesn't exist!", MessageIcon::None, "Marrowkit"}))
            << key;
    }
    for (const char* kept : {"ROO", "Arcade INI File", "Arcade", "Library/Arcade"})
        EXPECT_TRUE(fs::exists(folder / kept)) << kept;
    fs::current_path(before);
}

}  // namespace
}  // namespace marrowkit
