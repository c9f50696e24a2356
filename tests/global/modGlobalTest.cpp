#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "global/modGlobal.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/DriveMap.h"
#include "platform/files/HostPath.h"
#include "support/Environment.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;

class ModGlobal : public testing::Test {
protected:
    ModGlobal() { test::UnsetVariable("MARROWKIT_LIBRARY"); }
    ~ModGlobal() override {
        test::UnsetVariable("MARROWKIT_LIBRARY");
        UseDrives(DriveMap());
    }
    test::TemporaryFolder folder_;
};

TEST_F(ModGlobal, TellsTheVersionWithoutPadding) {
    EXPECT_EQ(modGlobal::VersionText(), "1.1");
}

TEST_F(ModGlobal, TakesTheProgramsFolderAndEndsItWithABackslash) {
    modGlobal::Start();
    EXPECT_THAT(modGlobal::LibraryRoot, testing::EndsWith("\\"));
#ifdef _WIN32
    constexpr const char* kProgram = "global_test.exe";
#else
    constexpr const char* kProgram = "global_test";
#endif
    EXPECT_TRUE(fs::exists(fs::path(HostPath(modGlobal::LibraryRoot)) / kProgram));
}

TEST_F(ModGlobal, TakesTheFolderOfTheEnvironment) {
    test::SetVariable("MARROWKIT_LIBRARY", folder_.Path().string());
    modGlobal::Start();
    EXPECT_TRUE(fs::equivalent(HostPath(modGlobal::LibraryRoot), folder_.Path()));
#ifndef _WIN32
    EXPECT_THAT(modGlobal::LibraryRoot, testing::MatchesRegex("Z:\\\\.*[^\\]\\\\"));
#endif
}

TEST_F(ModGlobal, PrefersTheFolderItIsGiven) {
    test::SetVariable("MARROWKIT_LIBRARY", "/nowhere");
    modGlobal::Start(folder_.Path().string() + "/");
    EXPECT_TRUE(fs::equivalent(HostPath(modGlobal::LibraryRoot), folder_.Path()));
}

#ifndef _WIN32
TEST_F(ModGlobal, NamesALibraryInAWinePrefixByThePrefixsDrives) {
    fs::create_directories(folder_ / "dosdevices");
    fs::create_directories(folder_ / "drive_c/Vellora");
    fs::create_directory_symlink("../drive_c", folder_ / "dosdevices/c:");
    fs::create_directory_symlink("/", folder_ / "dosdevices/z:");
    modGlobal::Start((folder_ / "drive_c/Vellora").string());
    EXPECT_EQ(modGlobal::LibraryRoot, "C:\\Vellora\\");
    modGlobal::Start("c:\\vellora");
    EXPECT_EQ(modGlobal::LibraryRoot, "C:\\Vellora\\");
}
#endif

TEST_F(ModGlobal, RefusesADriveThatDoesNotExist) {
    EXPECT_THROW(modGlobal::Start("Q:\\Vellora"), RuntimeError);
}

}  // namespace
}  // namespace marrowkit
