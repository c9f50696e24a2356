// How the time for one row grows with the table: the workload of jet_benchmark on ever larger tables, beside
// SQLite's. Linear means that a line's figures stay the same from left to right.
//
//   jet_growth [LARGEST]        10,000 rows and ten times as many each step up to LARGEST; 100,000

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Comparison.h"
#include "JetGames.h"
#include "SqliteGames.h"

namespace marrowkit::benchmark {
namespace {

namespace fs = std::filesystem;

struct Microseconds {
    double all;
    double cpu;
};

/// For a row, by operation and engine, one for each size.
using Lines = std::map<std::pair<std::string, std::string>, std::vector<Microseconds>>;

template <typename Games>
void Run(Games& games, const std::string& who, int rows, Lines& lines) {
    const auto time = [&](const char* what, int times, const std::function<void()>& work) {
        Cost best = CostOf(work);
        for (int i = 1; i < times; ++i) best = Best(best, CostOf(work));
        lines[{what, who}].push_back({best.seconds * 1e6 / rows, best.cpuSeconds * 1e6 / rows});
    };
    time("insert", 1, [&] { games.Insert(1, rows); });
    time("scan, all columns", 3, [&] { Keep(games.ScanAll()); });
    time("update a plain column", 1, [&] { games.UpdateUnindexed(); });
    time("update an indexed column", 1, [&] { games.UpdateIndexed(); });
    time("delete every second row", 1, [&] { games.DeleteEverySecond(); });
}

void RunSize(const fs::path& folder, int rows, Lines& lines) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    {
        JetGames games((folder / "games4.mdb").string(), jet::JetVersion::Jet4);
        Run(games, "Jet 4", rows, lines);
    }
    SqliteGames games((folder / "games.sqlite").string());
    Run(games, "SQLite", rows, lines);
}

void Print(const std::vector<int>& sizes, const Lines& lines) {
    std::printf("# microseconds for a row, of the processor alone in brackets; %s\n%-26s %-8s",
                MachineText().c_str(), "", "");
    for (const int rows : sizes) std::printf(" %13d rows", rows);
    std::printf(" %20s\n", "last : first");
    for (const auto& [name, figures] : lines) {
        std::printf("%-26s %-8s", name.first.c_str(), name.second.c_str());
        for (const Microseconds& figure : figures) std::printf(" %9.2f (%6.2f)", figure.all, figure.cpu);
        std::printf(" %8.2f x (%5.2f x)\n", figures.back().all / figures.front().all,
                    figures.back().cpu / figures.front().cpu);
    }
}

}  // namespace
}  // namespace marrowkit::benchmark

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    const int largest = argc > 1 ? std::atoi(argv[1]) : 100'000;
    const fs::path folder = fs::temp_directory_path() / "marrowkit-jet-growth";
    std::vector<int> sizes;
    marrowkit::benchmark::Lines lines;
    for (int rows = 10'000; rows <= largest; rows *= 10) {
        sizes.push_back(rows);
        marrowkit::benchmark::RunSize(folder, rows, lines);
    }
    fs::remove_all(folder);
    marrowkit::benchmark::Print(sizes, lines);
    return 0;
}
