#include <array>
#include <cstdint>
#include <thread>

#include <gtest/gtest.h>

#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/Storage.h"
#include "support/TemporaryFolder.h"

// What the rest of the engine expects of the host's files, where Windows by itself does otherwise.

namespace marrowkit::jet::test {
namespace {

class WindowsStorageTest : public ::testing::Test {
protected:
    std::string Path(const char* name) const { return (folder_ / name).string(); }
    std::unique_ptr<StorageFile> New(const char* name) const {
        return HostStorage().Open(Path(name), OpenMode::CreateNew);
    }
    std::unique_ptr<StorageFile> Open(const char* name, OpenMode mode = OpenMode::ReadWrite) const {
        return HostStorage().Open(Path(name), mode);
    }

private:
    ::marrowkit::test::TemporaryFolder folder_;
};

TEST_F(WindowsStorageTest, OwnLocksAreNobodyElses) {
    const auto mine = New("a.ldb");
    ASSERT_TRUE(mine->TryLock(0x10000003, 1, true));
    ASSERT_TRUE(mine->TryLock(0x10000005, 2, false));
    EXPECT_TRUE(mine->TryLock(0x10000003, 1, true)) << "asked for again";
    EXPECT_FALSE(mine->IsLockedByOther(0x10000000, 256, true));

    const auto other = Open("a.ldb");
    EXPECT_TRUE(other->IsLockedByOther(0x10000000, 256, true));
    EXPECT_FALSE(other->IsLockedByOther(0x10000000, 3, true));
    EXPECT_FALSE(other->TryLock(0x10000003, 1, true));
    EXPECT_FALSE(other->TryLock(0x10000006, 1, true));
    EXPECT_TRUE(other->TryLock(0x10000005, 2, false)) << "both only share";
    ASSERT_TRUE(other->TryLock(0x10000008, 1, true));
    EXPECT_TRUE(mine->IsLockedByOther(0x10000000, 256, true));
    EXPECT_TRUE(mine->IsLockedByOther(0x10000008, 1, true));

    mine->Unlock(0x10000003, 1);
    EXPECT_TRUE(other->TryLock(0x10000003, 1, true));
}

TEST_F(WindowsStorageTest, LocksGoWithTheirFile) {
    auto mine = New("a.mdb");
    constexpr std::uint64_t kFarBehind = std::uint64_t{1} << 32;
    ASSERT_TRUE(mine->TryLock(kFarBehind, 1, true));
    const auto other = Open("a.mdb", OpenMode::ReadOnly);
    EXPECT_FALSE(other->TryLock(kFarBehind, 1, false));
    mine.reset();
    EXPECT_TRUE(other->TryLock(kFarBehind, 1, false));
}

// Whoever asks whether bytes are locked holds them for that moment, which must keep nobody from locking them.
TEST_F(WindowsStorageTest, AskingForLocksKeepsNobodyFromTakingThem) {
    const auto asking = New("a.ldb");
    const auto locking = Open("a.ldb");
    constexpr int kRounds = 500;
    std::thread asker([&] {
        for (int i = 0; i < kRounds; ++i) asking->IsLockedByOther(100, 10, true);
    });
    int refused = 0;
    for (int i = 0; i < kRounds; ++i) {
        if (locking->TryLock(105, 1, true)) {
            locking->Unlock(105, 1);
        } else {
            ++refused;
        }
    }
    asker.join();
    EXPECT_LT(refused, kRounds / 10);
}

TEST_F(WindowsStorageTest, AnOpenFileCanBeRemovedAndReadToItsEnd) {
    const auto file = New("a.mdb");
    const std::array<std::uint8_t, 4> bytes{1, 2, 3, 4};
    file->Write(2, bytes);
    EXPECT_EQ(file->Size(), 6U);
    std::array<std::uint8_t, 8> read{};
    EXPECT_EQ(file->Read(4, read), 2U);
    EXPECT_EQ(read[1], 4);
    EXPECT_EQ(file->Read(100, read), 0U);
    file->Truncate(3);
    EXPECT_EQ(file->Size(), 3U);
    file->Sync();
    HostStorage().Remove(Path("a.mdb"));
    HostStorage().Remove(Path("a.mdb"));
}

TEST_F(WindowsStorageTest, FailuresHaveDaosNumbers) {
    New("a.mdb");
    ExpectError(3204, [&] { New("a.mdb"); });
    ExpectError(3024, [&] { Open("none.mdb"); });
    ExpectError(3044, [&] { Open("none/none.mdb"); });
    ExpectError(3051, [&] { HostStorage().Open(Path("."), OpenMode::ReadOnly); });
}

TEST_F(WindowsStorageTest, EveryNameOfAFileIsThatFile) {
    New("Games.mdb");
    EXPECT_EQ(HostStorage().Identity(Path("GAMES.MDB")), HostStorage().Identity(Path("./Games.mdb")));
    New("Other.mdb");
    EXPECT_NE(HostStorage().Identity(Path("Other.mdb")), HostStorage().Identity(Path("Games.mdb")));
}

}  // namespace
}  // namespace marrowkit::jet::test
