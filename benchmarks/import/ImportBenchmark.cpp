// Whole imports, ROM scans, matching, and how an import grows with its datafile, beside the peers in one run.
//
//   import_benchmark [growth] [imports] [scans] [matching]
//
// Everything without an argument, in about a minute. The datafiles are genuine ones where MARROWKIT_TEST_DATA
// names the folder of sample files, else invented ones of as many games.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "Imports.h"
#include "Scans.h"

namespace fs = std::filesystem;
using namespace marrowkit::benchmark;

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    // How the growth is measured: one import in a process of its own.
    if (arguments.size() == 3 && arguments[0] == "import") {
        Import(arguments[1], false, arguments[2]);
        return 0;
    }
    const auto wanted = [&](const char* part) {
        return arguments.empty() || std::find(arguments.begin(), arguments.end(), part) != arguments.end();
    };
    const fs::path folder = fs::temp_directory_path() / ("import-benchmark-" + std::to_string(::getpid()));
    fs::create_directory(folder);
    std::printf("# %u cores%s\n", std::thread::hardware_concurrency(),
#ifdef NDEBUG
                "");
#else
                "  WARNING: not an optimised build");
#endif
    // First: a process inherits the memory peak of the one that started it.
    if (wanted("growth")) MeasureGrowth(folder);
    if (wanted("imports")) CompareImports(folder);
    if (wanted("scans")) CompareScans(folder);
    if (wanted("matching")) MeasureMatching();
    fs::remove_all(folder);
    return 0;
}
