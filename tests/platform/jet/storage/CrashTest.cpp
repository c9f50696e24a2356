#include <memory>
#include <ostream>
#include <set>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/storage/Journal.h"
#include "platform/jet/storage/StructureCheck.h"
#include "platform/jet/storage/TestDatabase.h"
#include "platform/jet/storage/Workload.h"
#include "support/FaultStorage.h"

// Power failures, failing operations and full disks at every single operation that changes the disk.

namespace marrowkit::jet::test {
namespace {

using ::testing::IsEmpty;

constexpr const char* kPath = "Test.mdb";

struct Case {
    const char* name;
    JetVersion version;
    std::uint32_t databaseKey;
    bool exclusive;
    int units;
    int changes;
    std::uint32_t seed;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.name;
}

/// The states that the database went through, by fingerprint, and the last one that was promised to be
/// durable.
struct History {
    std::vector<std::uint64_t> states;
    std::size_t durable = 0;

    bool AllowsAfterCrash(std::uint64_t state) const {
        for (std::size_t i = durable; i < states.size(); ++i) {
            if (states[i] == state) return true;
        }
        return false;
    }
};

class CrashTest : public ::testing::TestWithParam<Case> {
protected:
    std::shared_ptr<FaultDisk> NewDisk() const {
        auto disk = std::make_shared<FaultDisk>();
        FaultStorage storage(disk);
        TestDatabase::Create(storage, kPath, GetParam().version, GetParam().databaseKey);
        return std::make_shared<FaultDisk>(*disk);
    }

    /// The smallest cache there is, so that large units have to write before they end.
    TestDatabase Open(FaultStorage& storage) const {
        PagerOptions options;
        options.exclusive = GetParam().exclusive;
        options.cacheBytes = 1;
        return TestDatabase::Open(storage, kPath, options);
    }

    /// Runs the workload until an error ends it. Every state that a committing unit leads to is noted before
    /// the commit, which may or may not have taken place when it throws.
    void Run(FaultStorage& storage, History& history) const {
        TestDatabase database = Open(storage);
        history.states = {Workload::Fingerprint(*database.pager)};
        history.durable = 0;
        Workload workload(database, GetParam().seed);
        for (int i = 0; i < GetParam().units; ++i) {
            // Fingerprints are taken with the unit open as well as after it, since the last commit may fail.
            if (workload.RunUnit(GetParam().changes)) {
                history.states.push_back(Workload::Fingerprint(*database.pager));
            }
            if (i % 3 == 2) {
                database.pager->Flush();
                history.durable = history.states.size() - 1;
            }
        }
    }

    void ExpectSoundState(const std::shared_ptr<FaultDisk>& disk, const History& history,
                          const char* where) const {
        SCOPED_TRACE(where);
        FaultStorage storage(disk);
        TestDatabase database = Open(storage);
        EXPECT_TRUE(history.AllowsAfterCrash(Workload::Fingerprint(*database.pager)));
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        EXPECT_FALSE(storage.Exists(Journal::PathFor(kPath) + ".unfit"));
    }
};

TEST_P(CrashTest, LeavesAStateBetweenUnitsWheneverThePowerGoes) {
    const auto fresh = NewDisk();
    History complete;
    std::uint64_t operations = 0;
    {
        const auto disk = std::make_shared<FaultDisk>(*fresh);
        FaultStorage storage(disk);
        Run(storage, complete);
        operations = disk->operations;
    }
    ASSERT_GT(operations, 20U);
    for (std::uint64_t at = 1; at <= operations + 3; ++at) {
        for (const Survival survival : {Survival::Nothing, Survival::Everything, Survival::SomeSectors}) {
            SCOPED_TRACE("operation " + std::to_string(at));
            const auto disk = std::make_shared<FaultDisk>(*fresh);
            disk->powerOffAt = at;
            History history;
            {
                FaultStorage storage(disk);
                try {
                    Run(storage, history);
                } catch (const RuntimeError&) {
                    // The power is off; what was under way may have become complete.
                }
            }
            if (history.states.empty()) history.states = {complete.states.front()};
            // A unit whose commit flushed before the power went counts as well.
            if (history.states.size() < complete.states.size())
                history.states.push_back(complete.states[history.states.size()]);
            disk->Reboot(survival, static_cast<std::uint32_t>(at));
            ExpectSoundState(disk, history, "after one failure");
            if (HasFailure()) return;
        }
    }
}

TEST_P(CrashTest, RecoversWhenRecoveryItselfIsInterrupted) {
    const auto fresh = NewDisk();
    History complete;
    std::uint64_t operations = 0;
    {
        const auto disk = std::make_shared<FaultDisk>(*fresh);
        FaultStorage storage(disk);
        Run(storage, complete);
        operations = disk->operations;
    }
    for (std::uint64_t at = 3; at <= operations; at += 7) {
        for (std::uint64_t then = 1; then < 40; ++then) {
            const auto disk = std::make_shared<FaultDisk>(*fresh);
            disk->powerOffAt = at;
            History history;
            {
                FaultStorage storage(disk);
                try {
                    Run(storage, history);
                } catch (const RuntimeError&) {
                }
            }
            if (history.states.empty()) history.states = {complete.states.front()};
            if (history.states.size() < complete.states.size())
                history.states.push_back(complete.states[history.states.size()]);
            disk->Reboot(Survival::SomeSectors, static_cast<std::uint32_t>(at));
            disk->powerOffAt = disk->operations + then;
            bool recovered = true;
            {
                FaultStorage storage(disk);
                try {
                    Open(storage);
                } catch (const RuntimeError&) {
                    recovered = false;
                }
            }
            recovered = recovered && !disk->isOff;
            disk->Reboot(Survival::SomeSectors, static_cast<std::uint32_t>(then));
            ExpectSoundState(disk, history, "after a failure during recovery");
            if (HasFailure() || recovered) break;
        }
        if (HasFailure()) return;
    }
}

TEST_P(CrashTest, GoesOnAfterAnOperationThatFailedOnce) {
    const auto fresh = NewDisk();
    std::uint64_t operations = 0;
    {
        const auto disk = std::make_shared<FaultDisk>(*fresh);
        FaultStorage storage(disk);
        History history;
        Run(storage, history);
        operations = disk->operations;
    }
    for (std::uint64_t at = 1; at <= operations; ++at) {
        for (const int number : {3043, 3026}) {
            SCOPED_TRACE("operation " + std::to_string(at));
            const auto disk = std::make_shared<FaultDisk>(*fresh);
            FaultStorage storage(disk);
            disk->failAt = at;
            disk->failNumber = number;
            std::uint64_t last = 0;
            int errors = 0;
            try {
                TestDatabase database = Open(storage);
                Workload workload(database, GetParam().seed);
                for (int i = 0; i < GetParam().units; ++i) {
                    try {
                        workload.RunUnit(GetParam().changes);
                        if (i % 3 == 2) database.pager->Flush();
                    } catch (const RuntimeError& error) {
                        EXPECT_EQ(error.number, errors == 0 ? number : 3043);
                        ++errors;
                    }
                    EXPECT_THAT(CheckDatabase(database), IsEmpty());
                }
                database.pager->Flush();
                last = Workload::Fingerprint(*database.pager);
            } catch (const RuntimeError& error) {
                EXPECT_EQ(error.number, errors == 0 ? number : 3043);
                ++errors;
            }
            // When pages of an unfinished unit were on their way to the disk as the sync failed, nobody knows
            // what is there: the pager refuses everything until the file is opened again.
            if (GetParam().changes < 100) {
                EXPECT_LE(errors, 1);
            }
            disk->failAt = 0;
            TestDatabase database = Open(storage);
            if (last != 0) {
                EXPECT_EQ(Workload::Fingerprint(*database.pager), last);
            }
            EXPECT_THAT(CheckDatabase(database), IsEmpty());
            if (HasFailure()) return;
        }
    }
}

TEST_P(CrashTest, KeepsAGoodStateWhenASyncFails) {
    const auto fresh = NewDisk();
    std::uint64_t syncs = 0;
    {
        const auto disk = std::make_shared<FaultDisk>(*fresh);
        FaultStorage storage(disk);
        History history;
        Run(storage, history);
        syncs = disk->syncs;
    }
    ASSERT_GT(syncs, 3U);
    for (std::uint64_t at = 1; at <= syncs; ++at) {
        SCOPED_TRACE("sync " + std::to_string(at));
        const auto disk = std::make_shared<FaultDisk>(*fresh);
        disk->failSyncAt = at;
        History history;
        {
            FaultStorage storage(disk);
            TestDatabase database = Open(storage);
            history.states = {Workload::Fingerprint(*database.pager)};
            Workload workload(database, GetParam().seed);
            for (int i = 0; i < GetParam().units; ++i) {
                try {
                    if (workload.RunUnit(GetParam().changes))
                        history.states.push_back(Workload::Fingerprint(*database.pager));
                    if (i % 3 == 2) {
                        database.pager->Flush();
                        history.durable = history.states.size() - 1;
                    }
                } catch (const RuntimeError& error) {
                    EXPECT_EQ(error.number, 3043);
                }
            }
        }
        // What was not synced is lost: a promise that rested on a failed sync would be broken now.
        disk->Reboot(Survival::Nothing, 1);
        ExpectSoundState(disk, history, "after a failed sync");
        if (HasFailure()) return;
    }
}

TEST_P(CrashTest, ReportsAFullDiskAndKeepsWhatWasCommitted) {
    const auto fresh = NewDisk();
    for (std::uint64_t spare = 0; spare < 400000; spare += 17000) {
        SCOPED_TRACE("spare bytes " + std::to_string(spare));
        const auto disk = std::make_shared<FaultDisk>(*fresh);
        disk->capacity = disk->UsedBytes() + spare;
        std::uint64_t last = 0;
        bool full = false;
        FaultStorage storage(disk);
        try {
            TestDatabase database = Open(storage);
            Workload workload(database, GetParam().seed);
            for (int i = 0; i < GetParam().units; ++i) {
                try {
                    workload.RunUnit(GetParam().changes);
                    database.pager->Flush();
                } catch (const RuntimeError& error) {
                    EXPECT_EQ(error.number, 3026);
                    full = true;
                }
                EXPECT_THAT(CheckDatabase(database), IsEmpty());
            }
            if (full) {
                // Someone makes room, and everything that was committed can be kept after all.
                disk->capacity = ~std::uint64_t{0};
                database.pager->Flush();
            }
            last = Workload::Fingerprint(*database.pager);
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3026);
        }
        disk->capacity = ~std::uint64_t{0};
        TestDatabase database = Open(storage);
        if (last != 0) {
            EXPECT_EQ(Workload::Fingerprint(*database.pager), last);
        }
        EXPECT_THAT(CheckDatabase(database), IsEmpty());
        if (HasFailure()) return;
        if (!full && last != 0) break;
    }
}

INSTANTIATE_TEST_SUITE_P(Workloads, CrashTest,
                         ::testing::Values(Case{"SmallUnitsJet4", JetVersion::Jet4, 0, true, 12, 6, 1},
                                           Case{"SmallUnitsJet3Shared", JetVersion::Jet3, 0, false, 12, 6, 2},
                                           Case{"SpillingUnitsJet4Shared", JetVersion::Jet4, 0, false, 4, 160,
                                                3},
                                           Case{"SpillingUnitsJet3", JetVersion::Jet3, 0, true, 4, 120, 4},
                                           Case{"EncodedJet4", JetVersion::Jet4, 0x12345678, true, 9, 10, 5}),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace marrowkit::jet::test
