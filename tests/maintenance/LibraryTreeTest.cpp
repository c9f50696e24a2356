#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "global/modGlobal.h"
#include "maintenance/LibraryTree.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Texts(const std::vector<LibraryNode>& nodes) {
    std::vector<std::string> texts;
    for (const LibraryNode& node : nodes) texts.push_back(node.text);
    return texts;
}

class LibraryTree : public testing::Test {
protected:
    void Put(const std::string& file) { test::WriteFile(folder / file, "x"); }
    LibraryNode Read() {
        modGlobal::LibraryRoot = library;
        return ReadLibraryTree();
    }

    test::TemporaryFolder folder;
    std::string library = WindowsPath(folder.Path().string()) + "\\";
};

TEST_F(LibraryTree, ShowsADatabaseWithItsFiles) {
    for (const char* file : {"Arcade/Arcade.mdb", "Arcade/b.ini", "Arcade/A.INI", "Arcade/Credits.txt",
                             "Arcade/Scripts/run.txt", "Arcade/Scripts/run.bat", "Arcade/help.htm"}) {
        Put(file);
    }
    const LibraryNode root = Read();
    EXPECT_EQ(root.key, "ROOT");
    EXPECT_EQ(root.text, "Velloras");
    EXPECT_EQ(root.image, TreeImage::Vellora);
    ASSERT_THAT(Texts(root.children), ElementsAre("Arcade"));

    const LibraryNode& arcade = root.children[0];
    EXPECT_EQ(arcade.key, library + "Arcade\\");
    EXPECT_EQ(arcade.image, TreeImage::Vellora);
    ASSERT_THAT(Texts(arcade.children),
                ElementsAre("Arcade.mdb", "INI Files", "Korvo Scripts", "Text Files"));

    const LibraryNode& database = arcade.children[0];
    EXPECT_EQ(database.key, library + "Arcade\\Arcade.mdb");
    EXPECT_EQ(database.image, TreeImage::Access);
    const LibraryNode& iniFolder = arcade.children[1];
    EXPECT_EQ(iniFolder.key, "Arcade INI Files");
    EXPECT_EQ(iniFolder.image, TreeImage::Folder);
    EXPECT_THAT(Texts(iniFolder.children), ElementsAre("A.INI", "b.ini"));
    EXPECT_EQ(iniFolder.children[1].key, library + "Arcade\\b.ini");
    EXPECT_EQ(iniFolder.children[1].image, TreeImage::IniFile);
    const LibraryNode& scriptFolder = arcade.children[2];
    EXPECT_EQ(scriptFolder.key, "Arcade Korvo Scripts");
    ASSERT_THAT(Texts(scriptFolder.children), ElementsAre("run.txt"));
    EXPECT_EQ(scriptFolder.children[0].key, library + "Arcade\\Scripts\\run.txt");
    EXPECT_EQ(scriptFolder.children[0].image, TreeImage::TextFile);
    const LibraryNode& textFolder = arcade.children[3];
    EXPECT_EQ(textFolder.key, "Arcade Text Files");
    ASSERT_THAT(Texts(textFolder.children), ElementsAre("Credits.txt"));
    EXPECT_EQ(textFolder.children[0].key, library + "Arcade\\Credits.txt");
}

TEST_F(LibraryTree, NeverShowsAFolderCalledDocs) {
    for (const char* name : {"DOCS", "Docs"}) {
        Put(std::string(name) + "/" + name + ".mdb");
        EXPECT_THAT(Read().children, IsEmpty()) << name;
    }
}

TEST_F(LibraryTree, ShowsOnlyFoldersWithADatabaseFileOfTheirOwnName) {
    Put("A/B.mdb");
    Put("C.mdb");
    fs::create_directories(folder / "D" / "D.mdb");
    EXPECT_THAT(Read().children, IsEmpty());
    Put("E/e.MDB");
    EXPECT_THAT(Texts(Read().children), ElementsAre("E"));
}

TEST_F(LibraryTree, MakesAMissingScriptsFolder) {
    Put("Arcade/Arcade.mdb");
    Read();
    EXPECT_TRUE(fs::is_directory(folder / "Arcade" / "Scripts"));
}

TEST_F(LibraryTree, RaisesWhenTheScriptsFolderCannotBeMade) {
    Put("Arcade/Arcade.mdb");
    Put("Arcade/Scripts");  // a file of that name
    EXPECT_THROW(Read(), RuntimeError);
}

TEST_F(LibraryTree, ShowsADatabasesOwnPicture) {
    Put("Arcade/Arcade.mdb");
    Put("Arcade/Gfx/Startup_32x32.gif");
    const LibraryNode root = Read();
    EXPECT_EQ(root.children[0].image, TreeImage::Own);
    EXPECT_EQ(root.children[0].ownImagePath, library + "Arcade\\Gfx\\Startup_32x32.gif");
}

TEST_F(LibraryTree, KeepsTheFileSystemsOrderOfDatabases) {
    for (int i = 0; i < 30; ++i) {
        const std::string name = "Game " + std::to_string(i * 17 % 30);
        Put(name + "/" + name + ".mdb");
    }
    std::vector<std::string> order;
    for (const auto& entry : fs::directory_iterator(folder.Path()))
        order.push_back(entry.path().filename().string());
    EXPECT_EQ(Texts(Read().children), order);
}

TEST_F(LibraryTree, FindsNodesByTheirKeys) {
    Put("Arcade/Arcade.mdb");
    Put("Arcade/Credits.txt");
    const LibraryNode root = Read();
    EXPECT_EQ(FindNode(root, "ROOT"), &root);
    EXPECT_EQ(FindNode(root, library + "Arcade\\"), &root.children[0]);
    ASSERT_NE(FindNode(root, library + "Arcade\\Credits.txt"), nullptr);
    EXPECT_EQ(FindNode(root, library + "Other\\"), nullptr);
    EXPECT_EQ(FindNode(root, ""), nullptr);
}

TEST_F(LibraryTree, IsEmptyForAMissingLibrary) {
    library += "missing\\";
    EXPECT_THAT(Read().children, IsEmpty());
}

TEST(NodeMenus, FollowFromKeys) {
    struct Case {
        const char* key;
        const char* parentKey;
        NodeMenu menu;
    };
    constexpr Case kCases[] = {
        {"ROOT", "", NodeMenu::Root},
        {"C:\\V\\Arcade\\", "ROOT", NodeMenu::DatabaseFolder},
        {"Arcade INI Files", "C:\\V\\Arcade\\", NodeMenu::None},
        {"Arcade Text Files", "C:\\V\\Arcade\\", NodeMenu::None},
        {"Arcade Korvo Scripts", "C:\\V\\Arcade\\", NodeMenu::ScriptFolder},
        {"C:\\V\\Arcade\\Arcade.mdb", "C:\\V\\Arcade\\", NodeMenu::Database},
        {"C:\\V\\Arcade\\Arcade.MDB", "C:\\V\\Arcade\\", NodeMenu::Database},
        {"C:\\V\\Arcade\\Paths.ini", "Arcade INI Files", NodeMenu::None},
        {"C:\\V\\Arcade\\Credits.txt", "Arcade Text Files", NodeMenu::None},
        {"C:\\V\\Arcade\\Scripts\\run.txt", "Arcade Korvo Scripts", NodeMenu::None},
    };
    for (const Case& c : kCases) EXPECT_EQ(MenuOfNode(c.key, c.parentKey), c.menu) << c.key;
}

TEST(DoubleClicks, OpenFilesOnly) {
    struct Case {
        const char* key;
        const char* parentKey;
        DoubleClickAction action;
    };
    constexpr Case kCases[] = {
        {"", "", DoubleClickAction::Nothing},
        {"ROOT", "", DoubleClickAction::Nothing},
        {"C:\\V\\Arcade\\", "ROOT", DoubleClickAction::Nothing},
        {"Arcade INI Files", "C:\\V\\Arcade\\", DoubleClickAction::Nothing},
        {"Arcade Text Files", "C:\\V\\Arcade\\", DoubleClickAction::Nothing},
        {"Arcade Korvo Scripts", "C:\\V\\Arcade\\", DoubleClickAction::Nothing},
        {"C:\\V\\Arcade\\Arcade.mdb", "C:\\V\\Arcade\\", DoubleClickAction::OpenDatabase},
        {"C:\\V\\Arcade\\Paths.ini", "Arcade INI Files", DoubleClickAction::OpenFile},
        {"C:\\V\\Arcade\\Credits.txt", "Arcade Text Files", DoubleClickAction::OpenFile},
        {"C:\\V\\Arcade\\Scripts\\run.txt", "Arcade Korvo Scripts", DoubleClickAction::OpenFile},
    };
    for (const Case& c : kCases) EXPECT_EQ(DoubleClickOnNode(c.key, c.parentKey), c.action) << c.key;
}

}  // namespace
}  // namespace marrowkit
