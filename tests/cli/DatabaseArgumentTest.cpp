#include <filesystem>

#include <gtest/gtest.h>

#include "cli/DatabaseArgument.h"
#include "global/modGlobal.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::cli {
namespace {

class DatabaseArgument : public testing::Test {
protected:
    DatabaseArgument() {
        modGlobal::LibraryRoot = WithFinalBackslash(WindowsPath(folder_.Path().string()));
        test::WriteFile(folder_ / "Arcade/Arcade.mdb", "x");
        test::WriteFile(folder_ / "odd.mdb/odd.mdb.mdb", "x");
    }
    test::TemporaryFolder folder_;
};

TEST_F(DatabaseArgument, IsANameOfTheLibrary) {
    EXPECT_EQ(DatabaseOf("Arcade"), modGlobal::LibraryRoot + "Arcade\\Arcade.mdb");
}

TEST_F(DatabaseArgument, StaysANameOfTheLibraryWithoutSuchADatabase) {
    EXPECT_EQ(DatabaseOf("Nothing"), modGlobal::LibraryRoot + "Nothing\\Nothing.mdb");
}

TEST_F(DatabaseArgument, IsAPathOfTheHostOrOfWindows) {
    const std::string host = (folder_ / "Arcade/Arcade.mdb").string();
    EXPECT_EQ(DatabaseOf(host), WindowsPath(host));
    EXPECT_EQ(DatabaseOf(WindowsPath(host)), WindowsPath(host));
}

TEST_F(DatabaseArgument, MayBeAFileOfTheCurrentFolder) {
    EXPECT_EQ(DatabaseOf("some.mdb"), WindowsPath("some.mdb"));
    EXPECT_EQ(DatabaseOf("odd.mdb"), modGlobal::LibraryRoot + "odd.mdb\\odd.mdb.mdb");
}

// What the shell's completion makes of a database's folder.
TEST_F(DatabaseArgument, MayBeTheFolderOfADatabase) {
    const std::string folder = (folder_ / "Arcade").string();
    EXPECT_EQ(DatabaseOf(folder), WindowsPath(folder) + "\\Arcade.mdb");
    EXPECT_EQ(DatabaseOf(folder + "/"), WindowsPath(folder) + "\\Arcade.mdb");
    EXPECT_EQ(DatabaseOf(WindowsPath(folder) + "\\"), WindowsPath(folder) + "\\Arcade.mdb");
}

TEST_F(DatabaseArgument, StaysAFolderWithoutADatabaseOfItsName) {
    const std::string folder = folder_.Path().string();
    EXPECT_EQ(DatabaseOf(folder), WindowsPath(folder));
}

TEST_F(DatabaseArgument, MayBeAFileOfTheCurrentFolderWithAnyEnding) {
    test::WriteFile("./some.accdb", "x");
    test::WriteFile("./Arcade", "x");
    EXPECT_EQ(DatabaseOf("some.accdb"), WindowsPath("some.accdb"));
    EXPECT_EQ(DatabaseOf("Arcade"), modGlobal::LibraryRoot + "Arcade\\Arcade.mdb");
    std::filesystem::remove("some.accdb");
    std::filesystem::remove("Arcade");
}

}  // namespace
}  // namespace marrowkit::cli
