// Compaction of a database of games, its verification included, beside SQLite's VACUUM of the same rows and
// indexes and a plain copy of the file, in one run. All three leave their result on stable storage.
//
//   compact_benchmark [rows] [repetitions] [jet3 | jet4]
//
// With a format in the end only our own compaction of such a file runs, for a profiler.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "JetGames.h"
#include "SqliteGames.h"
#include "platform/jet/compact/Compact.h"

namespace marrowkit::benchmark {
namespace {

namespace fs = std::filesystem;

/// Seconds by the clock on the wall, and those that a processor worked for us.
struct Took {
    double wall = 1e9;
    double processor = 1e9;

    /// The best of several runs: what disturbs a run can only make it longer.
    void Add(const Took& run) {
        wall = std::min(wall, run.wall);
        processor = std::min(processor, run.processor);
    }
};

Took Time(const std::function<void()>& work) {
    const std::clock_t processor = std::clock();
    const auto start = std::chrono::steady_clock::now();
    work();
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return {wall, static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC};
}

void Sync(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0 || fsync(descriptor) != 0) {
        std::perror("fsync");
        std::exit(1);
    }
    close(descriptor);
}

Took CompactOnce(const fs::path& source) {
    const fs::path target = source.string() + ".compacted";
    fs::remove(target);
    return Time([&] { jet::Compact(source.string(), target.string()); });
}

Took CopyOnce(const fs::path& source) {
    const fs::path target = source.string() + ".copy";
    fs::remove(target);
    const std::string command = "cp '" + source.string() + "' '" + target.string() + "'";
    return Time([&] {
        if (std::system(command.c_str()) != 0) std::exit(1);
        Sync(target);
    });
}

void MakeJet(const fs::path& path, jet::JetVersion version, int rows) {
    JetGames games(path.string(), version);
    games.Insert(rows);
}

void MakeSqlite(const fs::path& path, int rows) {
    SqliteGames games(path.string());
    games.Insert(rows);
}

Took VacuumOnce(const fs::path& path) {
    SqliteGames games(path.string(), SqliteGames::kExisting);
    return Time([&] { games.Vacuum(); });
}

void Print(const char* what, const fs::path& file, int rows, const Took& took, const Took& peer) {
    std::printf("%-24s %9.1f %11.1f %11.1f %12.0f %10.2fx %10.2fx\n", what,
                static_cast<double>(fs::file_size(file)) / 1e6, took.wall * 1e3, took.processor * 1e3,
                rows / took.wall, took.wall / peer.wall, took.processor / peer.processor);
}

void Run(const fs::path& folder, int rows, int repetitions) {
    const fs::path jet4 = folder / "games4.mdb";
    const fs::path jet3 = folder / "games3.mdb";
    const fs::path sqlite = folder / "games.sqlite";
    MakeSqlite(sqlite, rows);
    MakeJet(jet4, jet::JetVersion::Jet4, rows);
    MakeJet(jet3, jet::JetVersion::Jet3, rows);
    // In turns, so that whatever else the machine does meets all of them.
    Took vacuum;
    Took ours4;
    Took ours3;
    Took copy;
    for (int i = 0; i < repetitions; ++i) {
        vacuum.Add(VacuumOnce(sqlite));
        ours4.Add(CompactOnce(jet4));
        ours3.Add(CompactOnce(jet3));
        copy.Add(CopyOnce(jet4));
    }
    copy.processor = 0;  // another process worked
    std::printf("# %u cores, %d rows of 47 columns, 11 indexes, best of %d%s\n",
                std::thread::hardware_concurrency(), rows, repetitions,
#ifdef NDEBUG
                "");
#else
                "  WARNING: not an optimised build");
#endif
    std::printf("%-24s %9s %11s %11s %12s %23s\n", "", "", "", "", "", "to VACUUM's time");
    std::printf("%-24s %9s %11s %11s %12s %11s %11s\n", "", "file, MB", "ms", "CPU ms", "rows/s", "wall",
                "CPU");
    Print("compact, jet4", jet4, rows, ours4, vacuum);
    Print("compact, jet3", jet3, rows, ours3, vacuum);
    Print("SQLite VACUUM", sqlite, rows, vacuum, vacuum);
    Print("cp and fsync, jet4", jet4, rows, copy, vacuum);
}

int Main(int argc, char** argv) {
    const int rows = argc > 1 ? std::atoi(argv[1]) : 100'000;
    const int repetitions = argc > 2 ? std::atoi(argv[2]) : 3;
    const std::string only = argc > 3 ? argv[3] : "";
    const fs::path folder = fs::temp_directory_path() / ("marrowkit-compact-" + std::to_string(getpid()));
    fs::create_directories(folder);
    if (only.empty()) {
        Run(folder, rows, repetitions);
    } else {
        const fs::path file = folder / "games.mdb";
        MakeJet(file, only == "jet3" ? jet::JetVersion::Jet3 : jet::JetVersion::Jet4, rows);
        Took took;
        for (int i = 0; i < repetitions; ++i) took.Add(CompactOnce(file));
        std::printf("%.1f ms, %.1f ms of a processor\n", took.wall * 1e3, took.processor * 1e3);
    }
    fs::remove_all(folder);
    return 0;
}

}  // namespace
}  // namespace marrowkit::benchmark

int main(int argc, char** argv) {
    return marrowkit::benchmark::Main(argc, argv);
}
