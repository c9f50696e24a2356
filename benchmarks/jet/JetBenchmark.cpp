// Inserts, scans, changes and deletions of the frontend's largest table, beside SQLite (the same columns,
// indexes, foreign keys and cache, in one transaction, through its C interface) and mdb-export, in one run.
//
//   jet_benchmark [ROWS [REPETITIONS]]        30,000 rows, 3 repetitions
//   jet_benchmark ROWS REPETITIONS jet4       ours alone, for a profiler
//
// "scan" takes every row through the engine's own interface and decodes its columns to values; mdb-export has
// to write them as text besides, so "export as CSV" has two processes do the same: marrowkit-cli export and
// mdb-export, both to /dev/null. Each ratio is the peer's time to ours: above 1 we are faster. On a machine
// that others use too, the ratio of the processor's time is the steadier one.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "Comparison.h"
#include "JetGames.h"
#include "SqliteGames.h"

namespace marrowkit::benchmark {
namespace {

namespace fs = std::filesystem;
using Side = Comparison::Side;

template <typename Games>
void RunGames(Games& games, Side side, const std::string& who, const std::string& path, int rows,
              Comparison& figures) {
    const auto time = [&](const char* what, const std::function<void()>& work) {
        figures.Add(what, side, who, rows, CostOf(work));
    };
    time("insert", [&] { games.Insert(1, rows); });
    time("scan, all columns", [&] { Keep(games.ScanAll()); });
    time("scan, two columns", [&] { Keep(games.ScanTwo()); });
    time("update a plain column", [&] { games.UpdateUnindexed(); });
    time("update an indexed column", [&] { games.UpdateIndexed(); });
    games.Close();
    figures.Add("open, read one row by key", side, who, 0,
                CostOf([&] { Keep(Games::OpenAndReadOne(path, rows / 2)); }));
}

/// Runs a command with its output thrown away; figures of commands that are not there are left out.
void RunExport(const std::string& command, Side side, const std::string& who, const char* what, int rows,
               Comparison& figures) {
    int result = 0;
    const Cost cost = CostOf([&] { result = std::system((command + " > /dev/null 2>&1").c_str()); });
    if (result == 0) {
        figures.Add(what, side, who, rows, cost);
    } else {
        std::fprintf(stderr, "failed: %s\n", command.c_str());
    }
}

void RunOnce(const fs::path& folder, int rows, Comparison& figures) {
    const std::string jet4 = (folder / "games4.mdb").string();
    const std::string jet3 = (folder / "games3.mdb").string();
    const std::string sqlite = (folder / "games.sqlite").string();
    {
        JetGames games(jet4, jet::JetVersion::Jet4);
        RunGames(games, Side::Ours, "Jet 4", jet4, rows, figures);
    }
    {
        JetGames games(jet3, jet::JetVersion::Jet3);
        RunGames(games, Side::Ours, "Jet 3", jet3, rows, figures);
    }
    {
        SqliteGames games(sqlite);
        RunGames(games, Side::Peer, "SQLite", sqlite, rows, figures);
    }
    const std::string mdbExport = "mdb-export '" + jet4 + "' Games";
    const std::string ourExport = std::string("'") + MARROWKIT_CLI + "' export '" + jet4 + "' Games";
    RunExport(mdbExport, Side::Peer, "mdb-export", "scan, all columns", rows, figures);
    RunExport(mdbExport, Side::Peer, "mdb-export", "export as CSV", rows, figures);
    RunExport(ourExport, Side::Ours, "CLI, Jet 4", "export as CSV", rows, figures);
}

template <typename Games, typename... Arguments>
void RunDeletes(Side side, const std::string& who, int rows, Comparison& figures, Arguments... arguments) {
    Games games(arguments...);
    games.Insert(1, rows);
    figures.Add("delete every second row", side, who, rows, CostOf([&] { games.DeleteEverySecond(); }));
}

void RunOursAlone(const fs::path& folder, int rows) {
    const fs::path path = folder / "games4.mdb";
    fs::remove(path);
    JetGames games(path.string(), jet::JetVersion::Jet4);
    const auto time = [&](const char* what, const std::function<void()>& work) {
        const Cost cost = CostOf(work);
        std::printf("%-26s %10.2f ms, of the processor %10.2f ms\n", what, cost.seconds * 1e3,
                    cost.cpuSeconds * 1e3);
    };
    time("insert", [&] { games.Insert(1, rows); });
    time("scan, all columns", [&] { Keep(games.ScanAll()); });
    time("update a plain column", [&] { games.UpdateUnindexed(); });
    time("update an indexed column", [&] { games.UpdateIndexed(); });
    time("delete every second row", [&] { games.DeleteEverySecond(); });
}

void RunAll(const fs::path& folder, int rows, int repetitions) {
    Comparison figures;
    for (int i = 0; i < repetitions; ++i) {
        fs::remove_all(folder);
        fs::create_directories(folder);
        RunOnce(folder, rows, figures);
        RunDeletes<JetGames>(Side::Ours, "Jet 4", rows, figures, (folder / "d4.mdb").string(),
                             jet::JetVersion::Jet4);
        RunDeletes<JetGames>(Side::Ours, "Jet 3", rows, figures, (folder / "d3.mdb").string(),
                             jet::JetVersion::Jet3);
        RunDeletes<SqliteGames>(Side::Peer, "SQLite", rows, figures, (folder / "d.sqlite").string());
    }
    std::printf("# %d rows of 47 columns, 11 indexes, 8 relationships; best of %d; %s\n", rows, repetitions,
                MachineText().c_str());
    figures.Print();
}

}  // namespace
}  // namespace marrowkit::benchmark

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    const int rows = argc > 1 ? std::atoi(argv[1]) : 30'000;
    const int repetitions = argc > 2 ? std::atoi(argv[2]) : 3;
    const fs::path folder = fs::temp_directory_path() / "marrowkit-jet-benchmark";
    fs::create_directories(folder);
    if (argc > 3) {
        for (int i = 0; i < repetitions; ++i) marrowkit::benchmark::RunOursAlone(folder, rows);
    } else {
        marrowkit::benchmark::RunAll(folder, rows, repetitions);
    }
    fs::remove_all(folder);
    return 0;
}
