#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifndef _WIN32
#include <unistd.h>

#include <sys/wait.h>

#include "support/OrdinaryUser.h"
#endif

#include "fault/MemoryStorage.h"
#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/FilePager.h"
#include "platform/jet/storage/LockFile.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "platform/jet/storage/Workload.h"
#include "support/FaultStorage.h"
#include "support/TemporaryFolder.h"

// Several processes on one file: real ones on real files, and several views of one disk in memory.

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;

constexpr const char* kPath = "Test.mdb";

/// A database on the host's disk, where the host's clock tells of changes. Returns its path.
std::string CreateIn(const ::marrowkit::test::TemporaryFolder& folder) {
    std::string path = (folder / "Test.mdb").string();
    TestDatabase::Create(HostStorage(), path, JetVersion::Jet4);
    return path;
}

class SharingTest : public ::testing::Test {
protected:
    SharingTest() {
        FaultStorage storage(disk);
        TestDatabase::Create(storage, kPath, JetVersion::Jet4);
    }

    static std::uint8_t ValueIn(Pager& pager) {
        pager.Refresh();
        return pager.Read(2).Bytes().U8(600);
    }
    static void Put(Pager& pager, std::uint8_t value) {
        Unit unit(pager);
        pager.Edit(2).Mutable().PutU8(600, value);
        unit.Commit();
    }

    std::shared_ptr<FaultDisk> disk = std::make_shared<FaultDisk>();
    FaultStorage one{disk};
    FaultStorage two{disk};
    FaultStorage three{disk};
    PagerOptions exclusive{false, true};
    PagerOptions readOnly{true, false};
};

TEST_F(SharingTest, EveryUserHasANumberAndTheLastRemovesTheFile) {
    auto first = Pager::Open(one, kPath);
    auto second = Pager::Open(two, kPath);
    const auto& entries = disk->names.at("Test.ldb")->now;
    ASSERT_EQ(entries.size(), 128U);
    EXPECT_STREQ(reinterpret_cast<const char*>(entries.data()) + 32, "Admin");
    EXPECT_STREQ(reinterpret_cast<const char*>(entries.data()) + 96, "Admin");
    EXPECT_EQ(entries[63], ' ');
    LockFile::User user;
    EXPECT_TRUE(LockFile::FindUser(three, kPath, user));
    EXPECT_EQ(user.name, "Admin");
    first.reset();
    EXPECT_TRUE(one.Exists("Test.ldb"));
    second.reset();
    EXPECT_FALSE(one.Exists("Test.ldb"));
    EXPECT_FALSE(one.Exists("Test.mdb.mkjournal"));
}

TEST_F(SharingTest, TheLockFileIsNamedLikeTheDatabase) {
    EXPECT_EQ(LockFile::PathFor("/a/b.c/Arcade.mdb"), "/a/b.c/Arcade.ldb");
    EXPECT_EQ(LockFile::PathFor("/a/b.c/Arcade"), "/a/b.c/Arcade.ldb");
    EXPECT_EQ(LockFile::PathFor("/a/.mdb"), "/a/.mdb.ldb");
    EXPECT_EQ(LockFile::PathFor("My.Games.mdb"), "My.Games.ldb");
}

TEST_F(SharingTest, SeesWhatAnotherProcessWroteAfterItsFlush) {
    const auto first = Pager::Open(one, kPath);
    const auto second = Pager::Open(two, kPath);
    const auto reader = Pager::Open(three, kPath, readOnly);
    EXPECT_EQ(ValueIn(*second), 0);
    EXPECT_EQ(ValueIn(*reader), 0);
    const std::uint64_t generation = second->Generation();
    Put(*first, 1);
    EXPECT_EQ(ValueIn(*second), 0);
    EXPECT_EQ(second->Generation(), generation);
    first->Flush();
    EXPECT_EQ(ValueIn(*second), 1);
    EXPECT_EQ(ValueIn(*reader), 1);
    EXPECT_GT(second->Generation(), generation);
    Put(*second, 2);
    second->Flush();
    EXPECT_EQ(ValueIn(*first), 2);
    EXPECT_EQ(ValueIn(*reader), 2);
    EXPECT_EQ(ValueIn(*first), 2);
}

TEST_F(SharingTest, NeverMixesPagesFromBeforeAndAfterAFlush) {
    for (const bool asReader : {false, true}) {
        {
            const auto writer = Pager::Open(one, kPath);
            Put(*writer, 1);
            // So that the last page is not among those that are read together with the first ones.
            Unit unit(*writer);
            for (int i = 0; i < 40; ++i) writer->Allocate();
            unit.Commit();
        }
        const auto writer = Pager::Open(one, kPath);
        const auto reader = Pager::Open(two, kPath, asReader ? readOnly : PagerOptions{});
        EXPECT_EQ(ValueIn(*reader), 1);
        const PageNumber last = writer->PageCount() - 1;
        Put(*writer, 2);
        writer->Flush();
        EXPECT_EQ(reader->Read(2).Bytes().U8(600), 1);  // cached: still the old state, and all of it
        ExpectError(3197, [&] { reader->Read(last); });
        EXPECT_EQ(reader->Read(last).Number(), last);
        EXPECT_EQ(reader->Read(2).Bytes().U8(600), 2);
    }
}

TEST_F(SharingTest, AUnitBuildsOnWhatOthersWroteBefore) {
    const auto first = Pager::Open(one, kPath);
    const auto second = Pager::Open(two, kPath);
    for (int i = 0; i < 20; ++i) {
        Pager& pager = i % 2 == 0 ? *first : *second;
        Unit unit(pager);
        const PageEdit page = pager.Edit(2);
        page.Mutable().PutU8(600, static_cast<std::uint8_t>(page.Bytes().U8(600) + 1));
        pager.Allocate();
        unit.Commit();
        pager.Flush();
    }
    EXPECT_EQ(ValueIn(*first), 20);
    EXPECT_EQ(first->PageCount(), second->PageCount());
}

TEST_F(SharingTest, ShowsABusyWritersUnitsToWhoeverHasTheFileOpen) {
    using Clock = std::chrono::steady_clock;
    struct Seen {
        std::uint8_t value;
        Clock::duration after;
    };
    const auto valueOnDiskAfterAWhileOfWriting = [this] {
        const auto start = Clock::now();
        const auto writer = Pager::Open(one, kPath);
        Put(*writer, 1);
        while (Clock::now() < start + std::chrono::milliseconds(400)) Put(*writer, 2);
        const auto reader = Pager::Open(two, kPath, readOnly);
        const std::uint8_t value = ValueIn(*reader);
        const Seen seen{value, Clock::now() - start};
        Put(*writer, 0);
        return seen;
    };
    {
        const auto other = Pager::Open(three, kPath);
        EXPECT_EQ(valueOnDiskAfterAWhileOfWriting().value, 2);
    }
    // Nobody is there to see them: the disk is spared, for two seconds. A machine that stood still for longer
    // proves nothing.
    const Seen alone = valueOnDiskAfterAWhileOfWriting();
    if (alone.after < std::chrono::seconds(2)) {
        EXPECT_EQ(alone.value, 0);
    }
}

TEST_F(SharingTest, AFailedUnitKeepsNobodyWaiting) {
    const auto first = Pager::Open(one, kPath);
    const auto second = Pager::Open(two, kPath);
    {
        Unit unit(*first);
        first->Edit(2).Mutable().PutU8(600, 9);
    }
    Put(*second, 1);
    second->Flush();
    EXPECT_EQ(ValueIn(*first), 1);
}

TEST_F(SharingTest, ModesThatExcludeEachOther) {
    {
        const auto first = Pager::Open(one, kPath, exclusive);
        EXPECT_FALSE(one.Exists("Test.ldb"));
        ExpectError(3045, [&] { Pager::Open(two, kPath); });
        ExpectError(3045, [&] { Pager::Open(two, kPath, readOnly); });
        ExpectError(3045, [&] { Pager::Open(two, kPath, exclusive); });
        EXPECT_EQ(Pager::Open(one, kPath), first);
    }
    {
        const auto first = Pager::Open(one, kPath);
        ExpectError(3704, [&] { Pager::Open(two, kPath, exclusive); });
        ExpectError(3045, [&] { Pager::Open(one, kPath, exclusive); });
        EXPECT_TRUE(Pager::Open(two, kPath));
    }
    {
        const auto first = Pager::Open(one, kPath, readOnly);
        ExpectError(3045, [&] { Pager::Open(two, kPath, exclusive); });
    }
    EXPECT_TRUE(Pager::Open(two, kPath, exclusive));
}

TEST_F(SharingTest, AnExclusiveUserNoticesAFrontendThatCameLater) {
    const auto pager = Pager::Open(one, kPath, exclusive);
    EXPECT_NO_THROW(pager->RaiseWhenInUse());
    {
        constexpr std::uint64_t kSecondUser = 0x10000002;
        const auto frontend = two.Open("Test.ldb", OpenMode::CreateNew);
        frontend->TryLock(kSecondUser, 1, true);
        ExpectError(3704, [&] { pager->RaiseWhenInUse(); });
    }
    EXPECT_NO_THROW(pager->RaiseWhenInUse());
    const auto database = two.Open(kPath, OpenMode::ReadWrite);
    database->TryLock(0, 1, false);
    ExpectError(3045, [&] { pager->RaiseWhenInUse(); });
}

TEST_F(SharingTest, AFileThatIsReplacedWhileItIsOpenedIsNotTheOne) {
    /// A compaction puts its copy in the file's place between a look at the name and the locks.
    class SlowStorage : public marrowkit::test::MemoryStorage {
    public:
        std::string Identity(const std::string& /*path*/) override { return std::to_string(++files_); }

    private:
        int files_ = 0;
    };
    SlowStorage slow;
    slow.Put(kPath, disk->names.at(kPath)->now);
    for (const PagerOptions& options : {PagerOptions{}, exclusive, readOnly}) {
        ExpectError(3045, [&] { Pager::Open(slow, kPath, options); });
    }
    EXPECT_FALSE(slow.Exists("Test.ldb"));
}

#ifndef _WIN32
TEST(ExclusiveUse, OfAFileThatMayOnlyBeReadIsOneProcessesAtATime) {
    const marrowkit::test::TemporaryFolder folder;
    const std::string path = CreateIn(folder);
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    const marrowkit::test::OrdinaryUser user(folder.Path());
    const PagerOptions exclusive{false, true};
    auto pager = Pager::Open(HostStorage(), path, exclusive);
    EXPECT_TRUE(pager->IsReadOnly());
    EXPECT_EQ(Pager::Open(HostStorage(), path), pager) << "what this process opens shares it";
    // Another look at the same disk stands for another process.
    const auto disk = HostStorage().Open(path, OpenMode::ReadOnly);
    EXPECT_TRUE(disk->IsLockedByOther(FilePager::kPresenceLock, 1, true));
    disk->TryLock(FilePager::kPresenceLock, 1, true);
    pager.reset();
    ExpectError(3045, [&] { Pager::Open(HostStorage(), path, exclusive); });
}
#endif

TEST_F(SharingTest, AJet3DatabaseThatOthersUseSaysSoInItsOwnWords) {
    FaultStorage fresh;
    TestDatabase::Create(fresh, "Old.mdb", JetVersion::Jet3);
    FaultStorage other(std::shared_ptr<FaultDisk>(&fresh.Disk(), [](FaultDisk*) {}));
    const auto first = Pager::Open(fresh, "Old.mdb");
    ExpectError(3356, [&] { Pager::Open(other, "Old.mdb", exclusive); });
}

TEST_F(SharingTest, ALeftOverLockFileIsHarmless) {
    one.Open("Test.ldb", OpenMode::CreateNew)->Write(0, std::vector<std::uint8_t>(64, 'x'));
    {
        const auto pager = Pager::Open(one, kPath, exclusive);
        EXPECT_FALSE(one.Exists("Test.ldb"));
    }
    one.Open("Test.ldb", OpenMode::CreateNew)->Write(0, std::vector<std::uint8_t>(64, 'x'));
    Put(*Pager::Open(one, kPath), 3);
    EXPECT_FALSE(one.Exists("Test.ldb"));
}

TEST_F(SharingTest, AFileThatCannotBeOpenedKeepsNoLockFileBesideIt) {
    const std::uint64_t whole = one.Open(kPath, OpenMode::ReadOnly)->Size();
    for (const std::uint64_t size : {whole - 1, std::uint64_t{4096}}) {
        one.Open(kPath, OpenMode::ReadWrite)->Truncate(size);
        ExpectError(3049, [&] { Pager::Open(one, kPath); });
        EXPECT_FALSE(one.Exists("Test.ldb")) << size;
    }
}

TEST_F(SharingTest, WhoeverLeavesKeepsTheLockFileForThoseWhoAreJoining) {
    auto leaving = Pager::Open(one, kPath);
    const auto joining = two.Open(kPath, OpenMode::ReadWrite);
    ASSERT_TRUE(joining->TryLock(FilePager::kPresenceLock, 1, false));
    ASSERT_TRUE(FilePager::Enter(FilePager::Gate::Coming, *joining));
    const auto lockFile = two.Open("Test.ldb", OpenMode::ReadWrite);  // and about to take a number
    leaving.reset();
    EXPECT_TRUE(lockFile->IsAt("Test.ldb"));
    joining->Unlock(FilePager::kGateLock, 1);
    Pager::Open(three, kPath).reset();
    EXPECT_FALSE(two.Exists("Test.ldb"));
}

TEST_F(SharingTest, ThoseWhoComeShareTheGateAndWhoGoesHasItAlone) {
    const auto first = one.Open(kPath, OpenMode::ReadWrite);
    const auto second = two.Open(kPath, OpenMode::ReadWrite);
    EXPECT_TRUE(FilePager::Enter(FilePager::Gate::Coming, *first));
    EXPECT_TRUE(FilePager::Enter(FilePager::Gate::Coming, *second));
    second->Unlock(FilePager::kGateLock, 1);
    EXPECT_FALSE(FilePager::Enter(FilePager::Gate::Going, *second));
    first->Unlock(FilePager::kGateLock, 1);
    EXPECT_TRUE(FilePager::Enter(FilePager::Gate::Going, *second));
    EXPECT_FALSE(first->TryLock(FilePager::kGateLock, 1, false));
}

/// The disk of someone whose lock file is removed, a few times, right after he has opened it.
class UnluckyStorage final : public Storage {
public:
    UnluckyStorage(FaultStorage& storage, int removals) : storage_(storage), removals_(removals) {}
    std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) override {
        auto file = storage_.Open(path, mode);
        if (removals_-- > 0) storage_.Remove(path);
        return file;
    }
    bool Exists(const std::string& path) override { return storage_.Exists(path); }
    void Remove(const std::string& path) override { storage_.Remove(path); }
    void Rename(const std::string& from, const std::string& to) override { storage_.Rename(from, to); }
    void SyncFolderOf(const std::string& path) override { storage_.SyncFolderOf(path); }
    std::string Identity(const std::string& path) override { return storage_.Identity(path); }

private:
    FaultStorage& storage_;
    int removals_;
};

TEST_F(SharingTest, AUserIsThereForOthersToSeeEvenIfTheLockFileVanishedAsHeJoined) {
    UnluckyStorage unlucky(two, 3);
    LockFile joined(unlucky, kPath);
    joined.Join();
    EXPECT_TRUE(two.Exists("Test.ldb"));
    LockFile::User user;
    EXPECT_TRUE(LockFile::FindUser(one, kPath, user));
    joined.Leave(true);
    EXPECT_FALSE(two.Exists("Test.ldb"));
}

/// A program that knows Jet's locks but not ours.
class Stranger {
public:
    explicit Stranger(FaultStorage& storage)
        : file_(storage.Open("Test.ldb",
                             storage.Exists("Test.ldb") ? OpenMode::ReadWrite : OpenMode::CreateNew)) {}
    void Hold(std::uint64_t offset) { EXPECT_TRUE(file_->TryLock(offset, 1, true)); }

private:
    std::unique_ptr<StorageFile> file_;
};

TEST_F(SharingTest, WhatAStrangerUsesIsReadButNotWritten) {
    auto stranger = std::make_unique<Stranger>(two);
    stranger->Hold(0x10000001);
    const auto pager = Pager::Open(one, kPath);
    EXPECT_EQ(ValueIn(*pager), 0);
    ExpectError(3045, [&] { Put(*pager, 1); });
    ExpectError(3704, [&] { Pager::Open(three, kPath, exclusive); });
    stranger.reset();
    Put(*pager, 1);
    EXPECT_EQ(ValueIn(*pager), 1);
}

TEST_F(SharingTest, SeesWhatAStrangerWroteBeforeItLeft) {
    const ::marrowkit::test::TemporaryFolder folder;
    const std::string path = CreateIn(folder);
    const auto pager = Pager::Open(HostStorage(), path);
    const auto stranger = HostStorage().Open(path, OpenMode::ReadWrite);
    for (const std::uint8_t value : {std::uint8_t{7}, std::uint8_t{8}}) {
        Put(*pager, 1);
        pager->Flush();
        EXPECT_EQ(ValueIn(*pager), 1);
        // Writes until the clock of the file system has moved on.
        const std::uint64_t before = stranger->ChangeMark();
        while (stranger->ChangeMark() == before) stranger->Write(2 * 4096 + 600, std::span(&value, 1));
        if (value == 7) {
            EXPECT_EQ(ValueIn(*pager), value);
        }
        Unit unit(*pager);
        EXPECT_EQ(pager->Read(2).Bytes().U8(600), value);
        unit.Commit();
    }
}

TEST_F(SharingTest, UnitsCommittedBeforeAStrangerCameAreWritten) {
    const auto pager = Pager::Open(one, kPath);
    Put(*pager, 5);
    Stranger stranger(two);
    stranger.Hold(0x10000002);
    pager->Flush();
    EXPECT_EQ(disk->names.at(kPath)->now[2 * 4096 + 600], 5);
    ExpectError(3045, [&] { Put(*pager, 6); });
}

TEST_F(SharingTest, WhatAStrangerWroteBeforeItLeftIsNotWrittenOver) {
    const ::marrowkit::test::TemporaryFolder folder;
    const std::string path = CreateIn(folder);
    const std::uint8_t value = 7;
    {
        const auto pager = Pager::Open(HostStorage(), path);
        Put(*pager, 1);
        {
            const auto stranger = HostStorage().Open(path, OpenMode::ReadWrite);
            const std::uint64_t before = stranger->ChangeMark();
            while (stranger->ChangeMark() == before) stranger->Write(2 * 4096 + 600, std::span(&value, 1));
        }
        ExpectError(3045, [&] { pager->Flush(); });
        ExpectError(3045, [&] { pager->Flush(); });
    }
    EXPECT_EQ(ValueIn(*Pager::Open(HostStorage(), path)), value);
}

/// Leaves the file as a process does that dies within a flush, its pages half written.
void InterruptAFlush(FaultDisk& disk, FaultStorage& storage) {
    {
        const auto pager = Pager::Open(storage, kPath);
        Unit unit(*pager);
        for (const PageNumber page : {PageNumber{2}, PageNumber{4}}) {
            pager->Edit(page).Mutable().PutU8(600, 9);
        }
        unit.Commit();
        // Creating the journal, its header, the records, two syncs, and the first of two pages.
        disk.powerOffAt = disk.operations + 7;
    }
    disk.Reboot(Survival::Everything, 1);
}

TEST_F(SharingTest, AnInterruptedFlushIsNotUndoneUnderAStrangersFeet) {
    InterruptAFlush(*disk, one);
    const auto torn = disk->names.at(kPath)->now;
    ASSERT_EQ(torn[2 * 4096 + 600], 9);
    ASSERT_EQ(torn[4 * 4096 + 600], 0);
    auto stranger = std::make_unique<Stranger>(two);
    stranger->Hold(0x10000005);
    for (const bool asReader : {false, true}) {
        ExpectError(3045, [&] { Pager::Open(three, kPath, asReader ? readOnly : PagerOptions{}); });
    }
    EXPECT_EQ(disk->names.at(kPath)->now, torn);
    EXPECT_TRUE(Journal(three, kPath).NeedsRecovery());
    stranger.reset();
    EXPECT_EQ(ValueIn(*Pager::Open(three, kPath, readOnly)), 0);
    EXPECT_FALSE(Journal(three, kPath).NeedsRecovery());
    EXPECT_FALSE(one.Exists("Test.ldb"));
}

#ifndef _WIN32  // there is no fork()

TEST_F(SharingTest, WhatAStrangerHasWrittenIsNotWrittenOver) {
    const ::marrowkit::test::TemporaryFolder folder;
    const std::string path = CreateIn(folder);
    const std::uint8_t value = 7;
    {
        const auto pager = Pager::Open(HostStorage(), path);
        Put(*pager, 1);
        const pid_t child = ::fork();
        if (child == 0) {
            // The stranger stays until it is killed.
            const auto lock = HostStorage().Open(LockFile::PathFor(path), OpenMode::ReadWrite);
            const auto file = HostStorage().Open(path, OpenMode::ReadWrite);
            const std::uint64_t before = file->ChangeMark();
            if (!lock->TryLock(0x10000002, 1, true)) std::_Exit(1);
            while (file->ChangeMark() == before) file->Write(2 * 4096 + 600, std::span(&value, 1));
            file->Write(3 * 4096 + 600, std::span(&value, 1));
            for (;;) ::pause();
        }
        std::uint8_t found = 0;
        while (found != value) {
            HostStorage().Open(path, OpenMode::ReadOnly)->Read(3 * 4096 + 600, std::span(&found, 1));
        }
        ExpectError(3045, [&] { pager->Flush(); });
        ExpectError(3045, [&] { pager->Flush(); });
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        HostStorage().Open(path, OpenMode::ReadOnly)->Read(2 * 4096 + 600, std::span(&found, 1));
        EXPECT_EQ(found, value);
    }
}

#endif

TEST_F(SharingTest, LocksOnPagesOrTablesMeanAStranger) {
    for (const std::uint64_t lock : {0x20000A01, 0x40000202, 0x50000203, 0x60000204}) {
        const auto pager = Pager::Open(one, kPath);
        auto stranger = std::make_unique<Stranger>(two);
        stranger->Hold(lock);
        ExpectError(3045, [&] { Put(*pager, 1); });
        stranger.reset();
        Put(*pager, 1);
    }
}

TEST_F(SharingTest, AStrangerKeepsItsLockFile) {
    auto stranger = std::make_unique<Stranger>(two);
    stranger->Hold(0x10000001);
    Pager::Open(one, kPath);
    EXPECT_TRUE(one.Exists("Test.ldb"));
}

// ---- Real processes

#ifndef _WIN32

/// Runs a function in a process of its own.
template <typename Function>
pid_t Start(const Function& function) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    int code = 1;
    try {
        function();
        code = 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "child: %s\n", error.what());
    }
    std::_Exit(code);
}

int Wait(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

TEST(Processes, LoseNoUpdateOfEachOther) {
    ::marrowkit::test::TemporaryFolder folder;
    const std::string path = (folder / "Shared.mdb").string();
    TestDatabase::Create(HostStorage(), path, JetVersion::Jet4);
    constexpr std::uint32_t kUnits = 1000;
    const auto work = [&](std::uint8_t who) {
        TestDatabase database = TestDatabase::Open(HostStorage(), path);
        RowStore rows = database.Rows();
        BTree index = database.Index();
        for (std::uint32_t i = 0; i < kUnits; ++i) {
            Unit unit(*database.pager);
            {
                const PageEdit page = database.pager->Edit(2);
                page.Mutable().PutU32(600, page.Bytes().U32(600) + 1);
            }
            std::vector<std::uint8_t> key{0x7F, who, static_cast<std::uint8_t>(i >> 8),
                                          static_cast<std::uint8_t>(i)};
            index.Insert(key, rows.Append(key));
            unit.Commit();
        }
    };
    const pid_t first = Start([&] { work(1); });
    const pid_t second = Start([&] { work(2); });
    EXPECT_EQ(Wait(first), 0);
    EXPECT_EQ(Wait(second), 0);
    TestDatabase database = TestDatabase::Open(HostStorage(), path);
    EXPECT_EQ(database.pager->Read(2).Bytes().U32(600), 2 * kUnits);
    EXPECT_EQ(CheckIndex(*database.pager, database.layout.root, true).entries.size(), 2 * kUnits);
    EXPECT_THAT(CheckDatabase(database), IsEmpty());
}

class KilledProcesses : public ::testing::TestWithParam<JetVersion> {};
INSTANTIATE_TEST_SUITE_P(Formats, KilledProcesses, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& version) {
                             return version.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

TEST_P(KilledProcesses, LeaveWholeUnits) {
    const char* rounds = std::getenv("MARROWKIT_KILL_ROUNDS");
    ::marrowkit::test::TemporaryFolder folder;
    const std::string path = folder / "Killed.mdb";
    TestDatabase::Create(HostStorage(), path, GetParam());
    std::mt19937 random(1);
    std::uint32_t last = 0;
    for (int round = 0; round < (rounds != nullptr ? std::atoi(rounds) : 15); ++round) {
        SCOPED_TRACE(round);
        const pid_t child = Start([&] {
            PagerOptions options;
            options.cacheBytes = 1;
            options.exclusive = round % 2 == 0;
            TestDatabase database = TestDatabase::Open(HostStorage(), path, options);
            RowStore rows = database.Rows();
            LongValueStore values = database.LongValues();
            BTree index = database.Index();
            for (std::uint32_t i = 0;; ++i) {
                Unit unit(*database.pager);
                std::uint32_t count = 0;
                {
                    const PageEdit page = database.pager->Edit(2);
                    count = page.Bytes().U32(600) + 1;
                    page.Mutable().PutU32(600, count);
                }
                for (std::uint8_t k = 0; k < 5; ++k) {
                    std::vector<std::uint8_t> key{0x7F,
                                                  static_cast<std::uint8_t>(count * 37),
                                                  static_cast<std::uint8_t>(count >> 16),
                                                  static_cast<std::uint8_t>(count >> 8),
                                                  static_cast<std::uint8_t>(count),
                                                  k};
                    std::vector<std::uint8_t> row = values.Store(std::vector<std::uint8_t>(300, k));
                    row.resize(200);
                    index.Insert(key, rows.Append(row));
                }
                unit.Commit();
                if (i % 7 == 0) database.pager->Flush();
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + random() % 60));
        ::kill(child, SIGKILL);
        Wait(child);
        PagerOptions options;
        options.exclusive = round % 3 == 0;
        TestDatabase database = TestDatabase::Open(HostStorage(), path, options);
        const std::uint32_t count = database.pager->Read(2).Bytes().U32(600);
        EXPECT_GE(count, last);
        last = count;
        EXPECT_EQ(CheckIndex(*database.pager, database.layout.root, true).entries.size(), 5U * count);
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        EXPECT_FALSE(std::filesystem::exists(path + ".mkjournal.unfit"));
        if (::testing::Test::HasFailure()) return;
    }
    EXPECT_GT(last, 0U);
}

#endif

}  // namespace
}  // namespace marrowkit::jet::test
