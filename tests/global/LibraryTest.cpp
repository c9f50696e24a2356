#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "global/Library.h"
#include "global/modGlobal.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

class Library : public testing::Test {
protected:
    Library() { modGlobal::LibraryRoot = WithFinalBackslash(WindowsPath(folder_.Path().string())); }
    test::TemporaryFolder folder_;
};

TEST_F(Library, HasTheFoldersThatHoldADatabaseOfTheirOwnName) {
    test::WriteFile(folder_ / "Arcade/Arcade.mdb", "x");
    test::WriteFile(folder_ / "nimbus/NIMBUS.MDB", "x");
    test::WriteFile(folder_ / "Other/Arcade.mdb", "x");
    test::WriteFile(folder_ / "Empty.mdb", "x");
    test::WriteFile(folder_ / "Folder/readme.txt", "x");
    std::filesystem::create_directories(folder_ / "Trap/Trap.mdb");
    EXPECT_THAT(DatabaseNames(), testing::UnorderedElementsAre("Arcade", "nimbus"));
}

TEST_F(Library, LeavesOutTheFolderDocsInAnyCase) {
    test::WriteFile(folder_ / "dOcS/dOcS.mdb", "x");
    test::WriteFile(folder_ / "Docs2/Docs2.mdb", "x");
    EXPECT_THAT(DatabaseNames(), testing::ElementsAre("Docs2"));
}

TEST_F(Library, IsEmptyWithoutItsFolder) {
    modGlobal::LibraryRoot += "nowhere\\";
    EXPECT_THAT(DatabaseNames(), testing::IsEmpty());
}

TEST_F(Library, NamesADatabaseFileByItsFolder) {
    modGlobal::LibraryRoot = "C:\\Vellora\\";
    EXPECT_EQ(DatabasePathOf("Arcade"), "C:\\Vellora\\Arcade\\Arcade.mdb");
}

}  // namespace
}  // namespace marrowkit
