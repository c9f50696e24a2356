// Inserts, changes, deletions and scans of the frontend's largest table, beside SQLite (the same columns and
// indexes, in one transaction, through its C interface) and mdb-export, in one run.
//
//   jet_benchmark [rows] [repetitions] [jet4]
//
// With jet4 in the end only our own inserts, scans and deletes run, for a profiler.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "JetGames.h"
#include "SqliteGames.h"

namespace marrowkit::benchmark {
namespace {

namespace fs = std::filesystem;

/// Seconds of every repetition, by figure and reader.
using Figures = std::map<std::string, std::map<std::string, std::vector<double>>>;

double Seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

volatile std::size_t g_sink = 0;

template <typename Games>
void RunGames(Games& games, const std::string& who, const std::string& path, int rows, Figures& figures) {
    const auto time = [&](const char* what, const std::function<void()>& work) {
        figures[what][who].push_back(Seconds(work));
    };
    time("1 insert", [&] { games.Insert(rows); });
    time("2 scan, all columns", [&] { g_sink = games.ScanAll(); });
    time("3 scan, two columns", [&] { g_sink = games.ScanTwo(); });
    time("4 update a plain column", [&] { games.UpdateUnindexed(); });
    time("5 update an indexed column", [&] { games.UpdateIndexed(); });
    games.Close();
    time("7 open, read one row", [&] { g_sink = Games::OpenAndReadOne(path, rows / 2); });
}

void RunOnce(const fs::path& folder, int rows, Figures& figures) {
    const std::string jet4 = (folder / "games4.mdb").string();
    const std::string jet3 = (folder / "games3.mdb").string();
    const std::string sqlite = (folder / "games.sqlite").string();
    {
        JetGames games(jet4, jet::JetVersion::Jet4);
        RunGames(games, "jet4", jet4, rows, figures);
    }
    {
        JetGames games(jet3, jet::JetVersion::Jet3);
        RunGames(games, "jet3", jet3, rows, figures);
    }
    {
        SqliteGames games(sqlite);
        RunGames(games, "sqlite", sqlite, rows, figures);
    }
    const std::string command = "mdb-export '" + jet4 + "' Games > /dev/null 2>&1";
    const double seconds = Seconds([&] { g_sink = static_cast<std::size_t>(std::system(command.c_str())); });
    figures["2 scan, all columns"]["mdb-export"].push_back(seconds);
}

template <typename Games, typename... Arguments>
void RunDeletes(const std::string& who, int rows, Figures& figures, Arguments... arguments) {
    Games games(arguments...);
    games.Insert(rows);
    figures["6 delete every second row"][who].push_back(Seconds([&] { games.DeleteEverySecond(); }));
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Print(const Figures& figures, int rows) {
    std::printf("%-28s %-11s %12s %12s %10s\n", "", "", "ms (median)", "rows/s", "to jet4");
    for (const auto& [what, readers] : figures) {
        const double ours = Median(readers.at("jet4"));
        for (const auto& [who, seconds] : readers) {
            const double median = Median(seconds);
            std::printf("%-28s %-11s %12.2f %12.0f %9.2fx\n", what.c_str() + 2, who.c_str(), median * 1e3,
                        rows / median, median / ours);
        }
    }
}

void RunInserts(const fs::path& folder, int rows) {
    fs::create_directories(folder);
    const fs::path path = folder / "inserts.mdb";
    fs::remove(path);
    JetGames games(path.string(), jet::JetVersion::Jet4);
    const double seconds = Seconds([&] { games.Insert(rows); });
    std::printf("insert %.2f ms, %.0f rows/s\n", seconds * 1e3, rows / seconds);
    const double scan = Seconds([&] {
        for (int i = 0; i < 10; ++i) g_sink = games.ScanAll();
    });
    std::printf("scan %.2f ms, %.0f rows/s\n", scan * 1e2, rows * 10 / scan);
    const double deletes = Seconds([&] { games.DeleteEverySecond(); });
    std::printf("delete every second row %.2f ms, %.0f rows/s\n", deletes * 1e3, rows / deletes);
}

int Main(int rows, int repetitions) {
    const fs::path folder = fs::temp_directory_path() / "marrowkit-jet-benchmark";
    Figures figures;
    for (int i = 0; i < repetitions; ++i) {
        fs::remove_all(folder);
        fs::create_directories(folder);
        RunOnce(folder, rows, figures);
        RunDeletes<JetGames>("jet4", rows, figures, (folder / "d4.mdb").string(), jet::JetVersion::Jet4);
        RunDeletes<JetGames>("jet3", rows, figures, (folder / "d3.mdb").string(), jet::JetVersion::Jet3);
        RunDeletes<SqliteGames>("sqlite", rows, figures, (folder / "d.sqlite").string());
    }
    fs::remove_all(folder);
    std::printf("# %u cores, %d rows of 47 columns, 11 indexes, 8 relationships, %d repetitions%s\n",
                std::thread::hardware_concurrency(), rows, repetitions,
#ifdef NDEBUG
                "");
#else
                "  WARNING: not an optimised build");
#endif
    Print(figures, rows);
    return 0;
}

}  // namespace
}  // namespace marrowkit::benchmark

int main(int argc, char** argv) {
    const int rows = argc > 1 ? std::atoi(argv[1]) : 50'000;
    const int repetitions = argc > 2 ? std::atoi(argv[2]) : 5;
    if (argc > 3) {
        const auto folder = std::filesystem::temp_directory_path() / "marrowkit-jet-benchmark";
        for (int i = 0; i < repetitions; ++i) marrowkit::benchmark::RunInserts(folder, rows);
        return 0;
    }
    return marrowkit::benchmark::Main(rows, repetitions);
}
