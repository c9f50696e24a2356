#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/storage/Expect.h"
#include "platform/jet/storage/Journal.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "platform/jet/storage/Workload.h"
#include "support/FaultStorage.h"

// Journals that do not belong to the file any more, and journals that are damaged themselves.

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;

constexpr const char* kPath = "Test.mdb";
constexpr const char* kJournal = "Test.mdb.mkjournal";

class JournalTest : public ::testing::TestWithParam<JetVersion> {
protected:
    /// Leaves a disk as a flush that was interrupted while writing pages leaves it.
    JournalTest() {
        {
            FaultStorage storage(disk);
            TestDatabase database = TestDatabase::Create(storage, kPath, GetParam());
            Workload workload(database, 1);
            for (int i = 0; i < 10; ++i) workload.RunUnit(20);
            database.pager->Flush();
            before = Workload::Fingerprint(*database.pager);
        }
        sound = disk->names.at(kPath)->now;
        FaultStorage storage(disk);
        {
            TestDatabase database = TestDatabase::Open(storage, kPath);
            Workload workload(database, 2);
            workload.RunUnit(20);
            while (!workload.RunUnit(20)) {
            }
            // The header and the records of the journal, its sync, the folder's; then pages.
            disk->powerOffAt = disk->operations + 8;
            ExpectError(3043, [&] { database.pager->Flush(); });
        }
        disk->Reboot(Survival::Everything, 1);
        pageBytes = GeometryOf(GetParam()).pageBytes;
    }

    std::vector<std::uint8_t>& File() { return disk->names.at(kPath)->now; }
    std::vector<std::uint8_t>& JournalFile() { return disk->names.at(kJournal)->now; }

    /// Opens the file and says whether its journal was put to use; whatever happens, a journal that was not
    /// used must leave the file as it is.
    bool IsReplayed() {
        const std::vector<std::uint8_t> found = File();
        FaultStorage storage(disk);
        bool unfit = false;
        try {
            TestDatabase database = TestDatabase::Open(storage, kPath);
            unfit = storage.Exists(std::string(kJournal) + ".unfit");
            if (!unfit) {
                EXPECT_EQ(Workload::Fingerprint(*database.pager), before);
            }
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3049) << error.description;
            unfit = storage.Exists(std::string(kJournal) + ".unfit");
        }
        if (unfit) {
            EXPECT_EQ(File(), found);
        }
        return !unfit;
    }

    /// First byte of a page that the interrupted flush changed.
    std::size_t ChangedPage() {
        for (std::size_t at = 0; at < sound.size(); at += pageBytes) {
            if (!std::equal(sound.begin() + static_cast<std::ptrdiff_t>(at),
                            sound.begin() + static_cast<std::ptrdiff_t>(at + pageBytes),
                            File().begin() + static_cast<std::ptrdiff_t>(at)))
                return at;
        }
        ADD_FAILURE() << "the flush had not begun";
        return 0;
    }

    std::shared_ptr<FaultDisk> disk = std::make_shared<FaultDisk>();
    std::vector<std::uint8_t> sound;
    std::uint64_t before = 0;
    std::size_t pageBytes = 0;
};

TEST_P(JournalTest, IsReplayedOnTheFileItBelongsTo) {
    ChangedPage();
    EXPECT_TRUE(IsReplayed());
    EXPECT_EQ(File(), sound);
}

TEST_P(JournalTest, IsNotReplayedWhenARecordedPageWasWrittenByOthers) {
    File()[ChangedPage() + 100] ^= 0xFF;
    EXPECT_FALSE(IsReplayed());
}

TEST_P(JournalTest, IsNotReplayedWhenJetCommittedSomething) {
    File()[GeometryOf(GetParam()).commitWordsStart + 2] ^= 1;
    EXPECT_FALSE(IsReplayed());
}

TEST_P(JournalTest, IsNotReplayedWhenTheFileGrew) {
    File().resize(File().size() + 200 * pageBytes, 0x11);
    EXPECT_FALSE(IsReplayed());
}

TEST_P(JournalTest, IsNotReplayedWhenTheFileShrank) {
    File().resize(sound.size() - pageBytes);
    EXPECT_FALSE(IsReplayed());
}

TEST_P(JournalTest, IsNotReplayedOnAnotherFileOfTheName) {
    FaultStorage other;
    TestDatabase::Create(other, kPath, GetParam());
    File() = other.Disk().names.at(kPath)->now;
    EXPECT_FALSE(IsReplayed());
}

TEST_P(JournalTest, IsVoidWithADamagedHeader) {
    for (const std::size_t at : {0U, 8U, 12U, 16U, 24U, 100U, 511U}) {
        SCOPED_TRACE(at);
        auto copy = std::make_shared<FaultDisk>(*disk);
        copy->names.at(kJournal)->now[at] ^= 0x10;
        const auto found = copy->names.at(kPath)->now;
        FaultStorage storage(copy);
        try {
            Pager::Open(storage, kPath);
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3049);
        }
        EXPECT_EQ(copy->names.at(kPath)->now, found);
    }
}

TEST_P(JournalTest, NeverPutsBackWhatFailsItsChecksum) {
    // A record that is damaged ends the journal. Pages recorded behind it were written, so the file is not
    // what the journal describes any more; nothing may be made up then.
    for (std::size_t at = 512; at < JournalFile().size(); at += 777) {
        SCOPED_TRACE(at);
        auto copy = std::make_shared<FaultDisk>(*disk);
        copy->names.at(kJournal)->now[at] ^= 0x10;
        FaultStorage storage(copy);
        try {
            Pager::Open(storage, kPath);
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3049);
        }
        const auto& after = copy->names.at(kPath)->now;
        for (std::size_t page = 0; page + pageBytes <= after.size() && page < sound.size();
             page += pageBytes) {
            const auto from = static_cast<std::ptrdiff_t>(page);
            const auto to = static_cast<std::ptrdiff_t>(page + pageBytes);
            const bool old = std::equal(after.begin() + from, after.begin() + to, sound.begin() + from);
            const bool untouched =
                std::equal(after.begin() + from, after.begin() + to, File().begin() + from);
            EXPECT_TRUE(old || untouched) << "page at " << page;
        }
    }
}

TEST_P(JournalTest, CutAnywhereIsSafeToOpen) {
    for (std::size_t size = 0; size < JournalFile().size(); size += 997) {
        auto copy = std::make_shared<FaultDisk>(*disk);
        copy->names.at(kJournal)->now.resize(size);
        FaultStorage storage(copy);
        try {
            Pager::Open(storage, kPath);
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3049);
        }
    }
}

TEST_P(JournalTest, IsReplayedBeforeAReadOnlyOpen) {
    FaultStorage storage(disk);
    PagerOptions options;
    options.readOnly = true;
    TestDatabase database = TestDatabase::Open(storage, kPath, options);
    EXPECT_EQ(Workload::Fingerprint(*database.pager), before);
    EXPECT_EQ(File(), sound);
}

INSTANTIATE_TEST_SUITE_P(Formats, JournalTest, ::testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& tested) {
                             return tested.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

}  // namespace
}  // namespace marrowkit::jet::test
