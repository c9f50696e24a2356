// A file as large as the format allows for: makes one of rows with long memos, then opens it and reads one
// row by its key, scans it, adds rows to it and checks it, each in a process of its own, so that the most
// memory that each of them had can be told. SQLite does the same beside it.
//
//   jet_large_file [MEGABYTES]        250; up to 2,000
//
// Twice as much goes to the temporary folder.
//
// "cold" has the host forget the file before it is opened, as after a restart.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>

#include <sys/resource.h>
#include <sys/wait.h>

#include "Comparison.h"
#include "JetGames.h"
#include "SqliteGames.h"

namespace marrowkit::benchmark {
namespace {

namespace fs = std::filesystem;

constexpr int kBatchRows = 10'000;
/// Of rows with long memos, measured.
constexpr int kRowsPerMegabyte = 190;

struct Outcome {
    double milliseconds = 0;
    double megabytes = 0;  ///< the most memory the process had
};

/// Runs the work in a process of its own.
Outcome Measure(const std::function<void()>& work) {
    int channel[2];
    if (pipe(channel) != 0) std::exit(1);
    const pid_t child = fork();
    if (child == 0) {
        const double seconds = CostOf(work).seconds;
        const bool told = write(channel[1], &seconds, sizeof seconds) == sizeof seconds;
        _exit(told ? 0 : 1);
    }
    close(channel[1]);
    double seconds = 0;
    const bool heard = read(channel[0], &seconds, sizeof seconds) == sizeof seconds;
    close(channel[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (!heard || status != 0) {
        std::fprintf(stderr, "a measurement failed\n");
        std::exit(1);
    }
    return {seconds * 1e3, static_cast<double>(usage.ru_maxrss) / 1024};
}

void ForgetInHost(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    fsync(file);
    posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    close(file);
}

void Print(const char* what, const Outcome& ours, const Outcome& peer) {
    std::printf("%-34s %12.2f %9.0f   %12.2f %9.0f %7.2f x\n", what, ours.milliseconds, ours.megabytes,
                peer.milliseconds, peer.megabytes, peer.milliseconds / ours.milliseconds);
}

/// Both do the same work on their own file.
void Compare(const char* what, const std::function<void()>& ours, const std::function<void()>& peers) {
    Print(what, Measure(ours), Measure(peers));
}

template <typename Games>
void Insert(Games&& games, int first, int last) {
    for (int at = first; at <= last; at += kBatchRows) {
        games.Insert(at, std::min(at + kBatchRows - 1, last), GameRowWithLongMemo);
    }
}

void Run(const fs::path& folder, int megabytes) {
    const std::string ours = (folder / "large.mdb").string();
    const std::string peers = (folder / "large.sqlite").string();
    const int rows = megabytes * kRowsPerMegabyte;
    std::printf("%-34s %12s %9s   %12s %9s %9s\n", "", "ours: ms", "MB", "SQLite: ms", "MB", "ratio");
    Compare(
        "make, in units of 10,000 rows", [&] { Insert(JetGames(ours, jet::JetVersion::Jet4), 1, rows); },
        [&] { Insert(SqliteGames(peers), 1, rows); });
    ForgetInHost(ours);
    ForgetInHost(peers);
    const auto readOne = [&](const char* what) {
        Compare(
            what, [&] { Keep(JetGames::OpenAndReadOne(ours, rows / 2)); },
            [&] { Keep(SqliteGames::OpenAndReadOne(peers, rows / 2)); });
    };
    readOne("open, read one row by key, cold");
    readOne("open, read one row by key");
    Compare(
        "open, scan all columns", [&] { Keep(JetGames(ours).ScanAll()); },
        [&] { Keep(SqliteGames(peers, SqliteGames::kExisting).ScanAll()); });
    Compare(
        "open, insert 10,000 rows in one unit", [&] { Insert(JetGames(ours), rows + 1, rows + kBatchRows); },
        [&] { Insert(SqliteGames(peers, SqliteGames::kExisting), rows + 1, rows + kBatchRows); });
    Compare(
        "check (integrity_check)",
        [&] {
            if (JetGames::Check(ours) != 0) std::exit(1);
        },
        [&] {
            if (SqliteGames::Check(peers) != 0) std::exit(1);
        });
    const auto size = [](const std::string& path) {
        return static_cast<double>(fs::file_size(path)) / (1U << 20U);
    };
    std::printf("# %d rows, a Jet 4 file of %.0f MB (SQLite's: %.0f MB); %s\n", rows + kBatchRows, size(ours),
                size(peers), MachineText().c_str());
}

}  // namespace
}  // namespace marrowkit::benchmark

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // what is still held back would be printed by every child
    const fs::path folder = fs::temp_directory_path() / "marrowkit-jet-large-file";
    fs::remove_all(folder);
    fs::create_directories(folder);
    marrowkit::benchmark::Run(folder, argc > 1 ? std::atoi(argv[1]) : 250);
    fs::remove_all(folder);
    return 0;
}
