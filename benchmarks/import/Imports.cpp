#include "Imports.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>

#include "Datafiles.h"
#include "Figures.h"
#include "Silence.h"
#include "SqliteCopy.h"
#include "global/modGlobal.h"
#include "import/ImportEngine.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"

namespace marrowkit::benchmark {

namespace fs = std::filesystem;

namespace {

constexpr int kRounds = 3;

void CompareImport(const Datafile& datafile, bool tosec, const fs::path& folder) {
    const fs::path library = folder / "library";
    fs::create_directory(library);
    MakeTemplate(library);
    const SqliteCopy copy(Import(datafile.path, tosec, library));
    Best ours;
    Best theirs;
    for (int round = 0; round < kRounds; ++round) {
        fs::remove_all(library / "New");
        ours.Take(CostOf([&] { Import(datafile.path, tosec, library); }));
        theirs.Take(copy.CostToInsert(folder / "games.sqlite"));
    }
    Print({"import of " + datafile.name, "SQLite, " + std::to_string(copy.RowCount()) + " inserts",
           ours.Get(), theirs.Get(), tosec ? "" : "<= 1.00"});
    fs::remove_all(library);
}

struct Usage {
    double cpuSeconds;
    double megabytes;  ///< resident at the most
};

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs this program again to import one datafile.
Usage ImportInAProcess(const fs::path& datafile, const fs::path& library) {
    const std::string program = fs::read_symlink("/proc/self/exe").string();
    const std::string file = datafile.string();
    const std::string folder = library.string();
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(program.c_str(), program.c_str(), "import", file.c_str(), folder.c_str(), nullptr);
        ::_exit(127);
    }
    int status = 0;
    rusage usage{};
    while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    if (status != 0) {
        std::fprintf(stderr, "the import of %s failed\n", file.c_str());
        std::exit(1);
    }
    return {Seconds(usage.ru_utime) + Seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) / 1024};
}

}  // namespace

fs::path Import(const fs::path& datafile, bool tosec, const fs::path& library) {
    modGlobal::LibraryRoot = WithFinalBackslash(WindowsPath(library.string()));
    ImportSettings settings;
    settings.DatafilePath = WindowsPath(datafile.string());
    settings.TosecNames = tosec;
    settings.DatabaseName = "New";
    settings.NewFolderPath = modGlobal::LibraryRoot + settings.DatabaseName;
    settings.NewFolderPathSlash = settings.NewFolderPath + "\\";
    settings.RomPathSlash = "\\";
    ImportTables tables;
    NoProgress progress;
    SilentInterface ui;
    if (!RunImport(settings, tables, progress, ui)) std::exit(1);
    return library / "New" / "New.mdb";
}

void CompareImports(const fs::path& folder) {
    PrintTitle(
        "Importing into a new database; SQLite inserts the same rows, with the same indexes and\n"
        "references, in one transaction");
    PrintHeader();
    CompareImport(MameDatafile(folder), false, folder);
    CompareImport(TosecDatafile(folder), true, folder);
}

void MeasureGrowth(const fs::path& folder) {
    PrintTitle("Growth");
    std::printf("%-42s %10s %14s %10s  %s\n", "", "CPU ms", "us for a game", "peak MB", "to 10,000 games");
    double first = 0;
    for (const int games : {10'000, 100'000, 1'000'000}) {
        const fs::path library = folder / "library";
        fs::create_directory(library);
        MakeTemplate(library);
        const fs::path datafile = InventDatafile(folder, games);
        const Usage usage = ImportInAProcess(datafile, library);
        const double each = usage.cpuSeconds / games;
        if (first == 0) first = each;
        std::printf("%-42s %10.0f %14.2f %10.0f  %.2f x the time for each\n",
                    ("import of " + std::to_string(games) + " games").c_str(), usage.cpuSeconds * 1e3,
                    each * 1e6, usage.megabytes, each / first);
        std::fflush(stdout);
        fs::remove(datafile);
        fs::remove_all(library);
    }
}

}  // namespace marrowkit::benchmark
