#include <array>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/registry/RegistryStore.h"
#include "platform/registry/WineServerLock.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* kHive = "HKEY_LOCAL_MACHINE";
constexpr const char* kKey = "Software\\Quillon\\Vellora\\Vellora\\My Arcade\\QuickFilter";
constexpr const char* kWin64 =
    "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
    "[Software\\\\Quillon\\\\Vellora\\\\Vellora\\\\My Arcade\\\\QuickFilter] "
    "1\n\"NumFilters\"=dword:00000007\n\n"
    "[Software\\\\Wow6432Node\\\\Quillon\\\\Vellora\\\\Vellora\\\\My Arcade\\\\QuickFilter] 1\n"
    "\"NumFilters\"=dword:00000003\n\"Other\"=\"keep \\x20ac\"\n";
constexpr const char* kWin32 =
    "WINE REGISTRY Version 2\n\n#arch=win32\n\n"
    "[Software\\\\Quillon\\\\Vellora\\\\Vellora\\\\My Arcade\\\\QuickFilter] 1\n\"NumFilters\"=\"3\"\n";

class WineRegistryTest : public testing::Test {
protected:
    fs::path Prefix() const { return folder_.Path() / "prefix"; }
    std::string Servers() const { return (folder_.Path() / "servers").string(); }
    fs::path ServerFolder() const { return WineServerFolderOf(Prefix().string(), Servers()); }
    RegistryStore Store() const { return RegistryStore(MakeWineRegistry(Prefix().string(), Servers())); }
    void Put(std::string_view text) const { test::WriteFile(Prefix() / "system.reg", text); }
    std::string Text() const { return test::ReadFile(Prefix() / "system.reg"); }

private:
    test::TemporaryFolder folder_;
};

std::string Replaced(std::string text, std::string_view what, std::string_view with) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos);
    return text.replace(at, what.size(), with);
}

TEST_F(WineRegistryTest, A64BitPrefixHasA32BitView) {
    Put(kWin64);
    RegistryVariant value = 0;
    std::int32_t status = -1;
    Store().ReadValue(kHive, kKey, "NumFilters", value, status);
    EXPECT_EQ(value, RegistryVariant(3));
    EXPECT_EQ(status, 0);
    Store().WriteValue(kHive, kKey, "NumFilters", 0);
    EXPECT_EQ(Text(), Replaced(kWin64, "dword:00000003", "dword:00000000"));
}

TEST_F(WineRegistryTest, A32BitPrefixHasNone) {
    Put(kWin32);
    Store().WriteValue(kHive, kKey, "NumFilters", 0);
    EXPECT_EQ(Text(), Replaced(kWin32, "\"3\"", "\"0\""));  // a text stays one
}

TEST_F(WineRegistryTest, TheFilesModeStaysAndNoTemporaryFileDoes) {
    Put(kWin64);
    fs::permissions(Prefix() / "system.reg", fs::perms(0640));
    Store().WriteValue(kHive, "Software\\Quillon\\Marrowkit\\Window", "MainWidth", 4770.0F);
    EXPECT_EQ(fs::status(Prefix() / "system.reg").permissions(), fs::perms(0640));
    EXPECT_EQ(Text().find(kWin64), 0U);
    EXPECT_NE(Text().find("\n[Software\\\\Wow6432Node\\\\Quillon\\\\Marrowkit\\\\Window] "),
              std::string::npos);
    EXPECT_EQ(std::distance(fs::directory_iterator(Prefix()), fs::directory_iterator()), 1);
}

TEST_F(WineRegistryTest, AnythingElseThanARegistryIsLeftAlone) {
    for (const char* text : {"", "WINE REGISTRY Version 3\n", "garbage"}) {
        Put(text);
        try {
            Store().WriteValue(kHive, kKey, "NumFilters", 0);
            ADD_FAILURE() << "nothing was raised";
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 75);
        }
        EXPECT_EQ(Text(), text);
        RegistryVariant value = 5;
        std::int32_t status = 0;
        Store().ReadValue(kHive, kKey, "NumFilters", value, status);
        EXPECT_EQ(value, RegistryVariant(5));
    }
}

/// A child process that holds the server's lock as wineserver does, until the end of the scope.
class LockHolder {
public:
    explicit LockHolder(const fs::path& lockFile) {
        std::array<int, 2> ready{};
        EXPECT_EQ(pipe(ready.data()), 0);
        child_ = fork();
        if (child_ == 0) {
            const int file = open(lockFile.c_str(), O_RDWR | O_CREAT, 0600);
            struct flock lock {};
            lock.l_type = F_WRLCK;
            lock.l_whence = SEEK_SET;
            lock.l_len = 1;
            const char locked = fcntl(file, F_SETLK, &lock) == 0 ? 'y' : 'n';
            static_cast<void>(!write(ready[1], &locked, 1));
            for (;;) pause();
        }
        char locked = 'n';
        EXPECT_EQ(read(ready[0], &locked, 1), 1);
        EXPECT_EQ(locked, 'y');
        close(ready[0]);
        close(ready[1]);
    }
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;
    ~LockHolder() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    pid_t Process() const { return child_; }

private:
    pid_t child_ = -1;
};

TEST_F(WineRegistryTest, ARunningServerKeepsUsFromWriting) {
    Put(kWin64);
    fs::create_directories(ServerFolder());
    {
        const LockHolder server(ServerFolder() / "lock");
        try {
            Store().WriteValue(kHive, kKey, "NumFilters", 0);
            ADD_FAILURE() << "nothing was raised";
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 70);
            const std::string process = "(process " + std::to_string(server.Process()) + ")";
            EXPECT_NE(
                error.description.find("Permission denied: the registry of the Wine prefix is in use by "),
                std::string::npos)
                << error.description;
            EXPECT_NE(error.description.find(process), std::string::npos) << error.description;
        }
        EXPECT_EQ(Text(), kWin64);
        RegistryVariant value = 0;
        std::int32_t status = 0;
        Store().ReadValue(kHive, kKey, "NumFilters", value, status);
        EXPECT_EQ(value, RegistryVariant(3));
    }
    Store().WriteValue(kHive, kKey, "NumFilters", 0);
    EXPECT_EQ(Text(), Replaced(kWin64, "dword:00000003", "dword:00000000"));
}

TEST_F(WineRegistryTest, TheLockIsHeldWhileItLastsAndGivenBack) {
    fs::create_directories(Prefix());
    fs::create_directories(ServerFolder());
    // As seen by another process, which a starting wineserver is.
    const auto isFree = [this] {
        const pid_t child = fork();
        if (child == 0) {
            const int file = open((ServerFolder() / "lock").c_str(), O_RDWR | O_CREAT, 0600);
            struct flock lock {};
            lock.l_type = F_WRLCK;
            lock.l_whence = SEEK_SET;
            lock.l_len = 1;
            _exit(fcntl(file, F_SETLK, &lock) == 0 ? 1 : 0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status) == 1;
    };
    EXPECT_TRUE(isFree());
    {
        const WineServerLock lock(Prefix().string(), Servers());
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(WineRegistryTest, AStoreInAPrefixUsesItsFile) {
    Put(kWin64);
    fs::create_directories(Prefix() / "dosdevices");
    fs::create_directories(Prefix() / "drive_c/Vellora");
    fs::create_directory_symlink("../drive_c", Prefix() / "dosdevices/c:");
    UseDrives(DriveMap::ForProgramIn((Prefix() / "drive_c/Vellora").string()));
    RegistryVariant value = "";
    std::int32_t status = 0;
    RegistryStore().ReadValue(kHive, kKey, "Other", value, status);
    EXPECT_EQ(value, RegistryVariant("keep €"));
    UseDrives(DriveMap());
}

}  // namespace
}  // namespace marrowkit
