// Datafiles of many games. MARROWKIT_TEST_SCALE multiplies their number: 50 makes it a million.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <unistd.h>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "import/DatafileLoader.h"
#include "import/GamesLine.h"
#include "import/ImportEngine.h"
#include "import/ImportFixture.h"

namespace marrowkit {
namespace {

int ScaledGames() {
    const char* scale = std::getenv("MARROWKIT_TEST_SCALE");
    constexpr int kGames = 20'000;
    return kGames * (scale != nullptr ? std::max(1, std::atoi(scale)) : 1);
}

/// Counts instead of remembering.
class CountingProgress : public ImportProgress {
public:
    void SetPrompt(const std::string&) override {}
    void SetStatus(const std::string&) override {}
    void SetBarRange(std::int32_t, std::int32_t maximum) override { barMaximum = maximum; }
    void SetBarValue(std::int32_t value) override { barValue = value; }
    void SetCancelEnabled(bool) override {}
    bool Cancelled() const override { return false; }
    void LetEventsRun() override { ++eventRuns; }

    std::int32_t barMaximum = 0;
    std::int32_t barValue = 0;
    int eventRuns = 0;
};

class ImportScale : public test::ImportFixture {
protected:
    ImportScale() {
        settings.DatafilePath = WindowsPath((folder / "games.dat").string());
        std::ofstream file(folder / "games.dat", std::ios::binary);
        file << "[DAT]\r\nversion=2.00\r\n[GAMES]\r\n";
        for (int i = 0; i < games; ++i) {
            const std::string name = "Game of a usual name, number " + std::to_string(i);
            file << test::GamesLine(name, name + ".zip", "CBF43926", std::to_string(i));
        }
    }

    const int games = ScaledGames();
};

TEST_F(ImportScale, EveryLineOfALargeDatafileBecomesAGame) {
    CountingProgress counting;
    ASSERT_TRUE(RunImport(settings, tables, counting, ui));
    EXPECT_EQ(tables.EntryCount(), games);
    EXPECT_EQ(tables.GamesWritten, games);
    EXPECT_EQ(counting.barMaximum, games - 1);
    EXPECT_EQ(counting.barValue, games - 1);
    EXPECT_GE(counting.eventRuns, 2 * games);
    dao::Database fresh = dao::DBEngine().OpenDatabase(settings.NewFolderPath + "\\Fresh.mdb");
    dao::Recordset sums = fresh.OpenRecordset(
        "SELECT COUNT(*), MIN(Filesize), MAX(Filesize), MIN(GA_Id), MAX(GA_Id) FROM Games");
    const int expected[] = {games, 0, games - 1};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(std::get<std::int32_t>(sums.Fields(i).Value()), expected[i]) << i;
    }
    EXPECT_EQ(std::get<std::int32_t>(sums.Fields(4).Value()) - std::get<std::int32_t>(sums.Fields(3).Value()),
              games - 1);
}

// A sanitizer needs memory of its own.
#if !defined(__SANITIZE_ADDRESS__)
/// How much memory some work needed at the most, in bytes; it is done by another process and has to say yes.
std::int64_t PeakBytes(const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    EXPECT_EQ(status, 0);
    constexpr std::int64_t kUnitBytes = 1024;
    return usage.ru_maxrss * kUnitBytes;
}

// Two texts that do not fit into the record, the record, and as much again while the table grows.
TEST_F(ImportScale, LoadingALargeDatafileNeedsMemoryForItsEntriesOnly) {
    constexpr std::int64_t kMostBytesOfAGame = 640;
    constexpr std::int64_t kAllowance = std::int64_t{4} << 20;
    CountingProgress counting;
    const std::int64_t before = PeakBytes([] { return true; });
    for (const bool skip : {false, true}) {
        const std::int64_t peak = PeakBytes([&] {
            const std::string text = skip ? LoadDatafileSkippingDuplicates(settings, tables, counting)
                                          : LoadDatafile(settings, tables, counting);
            return text.empty() && tables.EntryCount() == games;
        });
        std::printf("%d games: %.0f bytes each\n", games, static_cast<double>(peak - before) / games);
        EXPECT_LT(peak - before, games * kMostBytesOfAGame + kAllowance) << "skipping duplicates: " << skip;
    }
}

TEST_F(ImportScale, WritingALargeDatafileKeepsNothingOfTheGamesWritten) {
    constexpr std::int64_t kMostBytesOfAGame = 640;
    constexpr std::int64_t kDatabaseCache = std::int64_t{64} << 20;
    CountingProgress counting;
    const std::int64_t before = PeakBytes([] { return true; });
    const std::int64_t peak = PeakBytes([&] { return RunImport(settings, tables, counting, ui); });
    std::printf("%d games: %.0f bytes each\n", games, static_cast<double>(peak - before) / games);
    EXPECT_LT(peak - before, games * kMostBytesOfAGame + 2 * kDatabaseCache);
}
#endif

}  // namespace
}  // namespace marrowkit
