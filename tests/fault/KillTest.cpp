// Processes that work on a database and are killed at any moment. MARROWKIT_KILL_ROUNDS says how often.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#ifndef _WIN32
#include <unistd.h>

#include <sys/wait.h>
#endif

#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/storage/Journal.h"
#include "platform/jet/storage/Storage.h"
#include "support/TableDesigns.h"
#include "support/TemporaryFolder.h"

#ifndef _WIN32

namespace marrowkit::test {
namespace {

using jet::Assignment;
using jet::ColumnType;
using jet::JetVersion;
using jet::Value;

constexpr int kDefaultRounds = 15;
constexpr int kRowsPerUnit = 5;

int Rounds() {
    const char* rounds = std::getenv("MARROWKIT_KILL_ROUNDS");
    return rounds == nullptr ? kDefaultRounds : std::max(1, std::atoi(rounds));
}

void CreateTables(jet::Database& database) {
    jet::TableDesign batches;
    batches.name = "Batches";
    batches.columns = {MakeColumn("Id", ColumnType::Long), MakeColumn("Touched", ColumnType::Long)};
    batches.indexes = {MakeIndex("PrimaryKey", "Id", true)};
    database.CreateTable(batches);
    jet::TableDesign things;
    things.name = "Things";
    things.columns = {MakeColumn("Id", ColumnType::Long), MakeColumn("Batch", ColumnType::Long),
                      MakeColumn("Name", ColumnType::Text, 200), MakeColumn("Notes", ColumnType::Memo)};
    things.columns.front().autoNumber = true;
    things.indexes = {MakeIndex("PrimaryKey", "Id", true), MakeIndex("Name", "Name")};
    database.CreateTable(things);
    jet::Relationship relationship;
    relationship.name = "BatchOf";
    relationship.table = "Batches";
    relationship.foreignTable = "Things";
    relationship.columns = {{"Id", "Batch"}};
    relationship.cascadeDeletes = true;
    database.CreateRelationship(relationship);
}

/// The batches there are and how many things each has.
struct State {
    std::map<std::int32_t, int> things;
    std::int32_t greatest = 0;
};

State StateOf(jet::Database& database) {
    State state;
    const auto batches = database.OpenTable("Batches")->OpenScan({0});
    while (batches->Next()) state.things[std::get<std::int32_t>(batches->Values()[0])] = 0;
    const auto things = database.OpenTable("Things")->OpenScan({1});
    while (things->Next()) ++state.things[std::get<std::int32_t>(things->Values()[0])];
    if (!state.things.empty()) state.greatest = state.things.rbegin()->first;
    return state;
}

std::size_t IndexNamed(const jet::Table& table, std::string_view name) {
    std::size_t index = 0;
    while (table.Indexes().at(index).name != name) ++index;
    return index;
}

/// One unit: a new batch with its things; now and then the things of a batch get longer, or one goes with all
/// it has.
void RunUnit(jet::Database& database, std::int32_t batch, std::mt19937& random) {
    jet::Unit unit(database.GetPager());
    const auto batches = database.OpenTable("Batches");
    const auto things = database.OpenTable("Things");
    batches->Insert(std::vector<Assignment>{{0, batch}, {1, 0}});
    for (int i = 0; i < kRowsPerUnit; ++i) {
        things->Insert(
            std::vector<Assignment>{{1, batch},
                                    {2, "Thing " + std::to_string(random() % 100000)},
                                    {3, std::string(random() % 10 == 0 ? 9000 : random() % 300, 'm')}});
    }
    const Value old = static_cast<std::int32_t>(batch - static_cast<std::int32_t>(random() % 40));
    std::vector<jet::RowId> rows;
    const auto ofBatch =
        things->OpenIndexScan(IndexNamed(*things, "BatchOf"), jet::IndexRange::Equal({old}), {});
    while (ofBatch->Next()) rows.push_back(ofBatch->Id());
    for (const jet::RowId row : rows) {
        things->Update(row, std::vector<Assignment>{{2, std::string(random() % 200, 'x')}});
    }
    if (random() % 3 == 0) {
        const auto found = batches->OpenIndexScan(0, jet::IndexRange::Equal({old}), {0});
        if (found->Next() && found->Values()[0] != Value(batch)) batches->Delete(found->Id());
    }
    unit.Commit();
}

class KillTest : public testing::TestWithParam<JetVersion> {};
INSTANTIATE_TEST_SUITE_P(Versions, KillTest, testing::Values(JetVersion::Jet3, JetVersion::Jet4),
                         [](const auto& version) {
                             return version.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
                         });

[[noreturn]] void WorkUntilKilled(const std::string& path, int round) {
    try {
        jet::OpenOptions options;
        options.exclusive = round % 2 == 0;
        if (round % 3 == 0) options.cacheBytes = 1;
        const auto database = jet::Database::Open(path, options);
        std::mt19937 random(static_cast<unsigned>(round));
        std::int32_t batch = StateOf(*database).greatest;
        for (int i = 0;; ++i) {
            RunUnit(*database, ++batch, random);
            if (i % 7 == 0) database->GetPager().Flush();
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "the worker failed: %s\n", error.what());
    }
    std::_Exit(1);
}

TEST_P(KillTest, LeavesWholeUnitsAndASoundFile) {
    const TemporaryFolder folder;
    const std::string path = (folder / "Killed.mdb").string();
    {
        const auto database = jet::Database::Create(path, GetParam());
        CreateTables(*database);
        database->GetPager().Flush();
    }
    std::mt19937 random(1);
    std::int32_t greatest = 0;
    int withinAFlush = 0;
    for (int round = 0; round < Rounds(); ++round) {
        SCOPED_TRACE(round);
        const pid_t child = ::fork();
        if (child == 0) WorkUntilKilled(path, round);
        std::this_thread::sleep_for(std::chrono::milliseconds(20 + random() % 100));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the worker ended by itself";
        if (jet::Journal(jet::HostStorage(), path).NeedsRecovery()) ++withinAFlush;
        {
            const auto database = jet::Database::Open(path);
            const State state = StateOf(*database);
            EXPECT_GE(state.greatest, greatest) << "a flushed unit is gone";
            greatest = state.greatest;
            for (const auto& [batch, things] : state.things) EXPECT_EQ(things, kRowsPerUnit) << batch;
        }
        for (const jet::Problem& problem : jet::Check(path, 20)) ADD_FAILURE() << problem.ToText();
        EXPECT_FALSE(std::filesystem::exists(path + ".mkjournal.unfit"));
        if (HasFailure()) return;
    }
    EXPECT_GT(greatest, 0);
    RecordProperty("batches", greatest);
    if (Rounds() >= kDefaultRounds) {
        EXPECT_GT(withinAFlush, 0) << "no round was killed where there is something to recover";
    }
    RecordProperty("killed_within_a_flush", withinAFlush);
}

}  // namespace
}  // namespace marrowkit::test

#endif
