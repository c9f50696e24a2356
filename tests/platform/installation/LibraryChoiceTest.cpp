#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/installation/LibraryChoice.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;

/// Settings of its own; the environment is as before at the end.
class LibraryChoice : public testing::Test {
protected:
    LibraryChoice() {
        Keep("XDG_CONFIG_HOME", config_);
        Keep("HOME", home_);
        ::setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
    }
    ~LibraryChoice() override {
        Restore("XDG_CONFIG_HOME", config_);
        Restore("HOME", home_);
    }
    test::TemporaryFolder folder_;

private:
    using Variable = std::pair<bool, std::string>;
    static void Keep(const char* name, Variable& variable) {
        if (const char* value = std::getenv(name)) variable = {true, value};
    }
    static void Restore(const char* name, const Variable& variable) {
        if (variable.first) {
            ::setenv(name, variable.second.c_str(), 1);
        } else {
            ::unsetenv(name);
        }
    }
    Variable config_;
    Variable home_;
};

TEST_F(LibraryChoice, IsEmptyBeforeOneWasMade) {
    EXPECT_EQ(RememberedLibrary(), "");
}

TEST_F(LibraryChoice, IsRememberedAndReplaced) {
    RememberLibrary("/games/Vellora");
    EXPECT_EQ(RememberedLibrary(), "/games/Vellora");
    RememberLibrary("/games/My Vellora, ümlauts");
    EXPECT_EQ(RememberedLibrary(), "/games/My Vellora, ümlauts");
    EXPECT_TRUE(fs::exists(folder_ / "config/marrowkit/library"));
}

TEST_F(LibraryChoice, GoesBelowTheHomeFolderWhenNothingElseIsNamed) {
    ::setenv("XDG_CONFIG_HOME", "relative", 1);  // to be ignored
    ::setenv("HOME", (folder_ / "home").c_str(), 1);
    RememberLibrary("/games");
    EXPECT_TRUE(fs::exists(folder_ / "home/.config/marrowkit/library"));
}

TEST_F(LibraryChoice, CannotBeRememberedWithoutAHome) {
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    EXPECT_EQ(RememberedLibrary(), "");
    EXPECT_THROW(RememberLibrary("/games"), RuntimeError);
}

TEST_F(LibraryChoice, IsForProgramsInABinWithTheDesktopEntryBesideIt) {
    fs::create_directories(folder_ / "usr/bin");
    fs::create_directories(folder_ / "usr/share/applications");
    const std::string bin = (folder_ / "usr/bin").string();
    EXPECT_FALSE(IsInstalledIn(bin));
    test::WriteFile(folder_ / "usr/share/applications/marrowkit.desktop", "");
    EXPECT_TRUE(IsInstalledIn(bin));
    EXPECT_FALSE(IsInstalledIn((folder_ / "usr/share").string()));
    EXPECT_FALSE(IsInstalled()) << "tests run where they were built";
}

}  // namespace
}  // namespace marrowkit
