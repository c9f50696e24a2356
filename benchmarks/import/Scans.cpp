#include "Scans.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include <sys/stat.h>

#include "Datafiles.h"
#include "Figures.h"
#include "Silence.h"
#include "import/RomMatch.h"
#include "import/RomWalk.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/Numbers.h"

namespace marrowkit::benchmark {

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 20'000;
constexpr std::size_t kFileBytes = 16U << 10U;
constexpr int kMatchedFiles = 100'000;
constexpr int kRounds = 5;

std::vector<std::string> MakeFiles(const fs::path& folder) {
    constexpr std::size_t kDifferentBytes = 64;
    fs::create_directory(folder);
    std::mt19937 random(1);
    std::string content(kFileBytes, '\0');
    std::vector<std::string> files;
    for (int i = 0; i < kFiles; ++i) {
        for (std::size_t at = 0; at < kDifferentBytes; ++at) content[at] = static_cast<char>(random());
        files.push_back((folder / ("rom" + std::to_string(i) + ".bin")).string());
        std::ofstream(files.back(), std::ios::binary) << content;
    }
    return files;
}

/// What any program has to do to have the bytes in memory.
void JustRead(const std::vector<std::string>& files) {
    std::vector<char> buffer(256U << 10U);
    for (const std::string& file : files) {
        const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor < 0 || ::fstat(descriptor, &status) != 0) std::abort();
        const auto bytes = static_cast<std::size_t>(status.st_size);
        if (::read(descriptor, buffer.data(), bytes) != status.st_size) std::abort();
        ::close(descriptor);
    }
}

void Scan(const fs::path& folder) {
    ImportSettings settings;
    settings.RomPath = WindowsPath(folder.string());
    settings.RomPathSlash = WithFinalBackslash(settings.RomPath);
    ImportTables tables;
    NoProgress progress;
    if (!PrepareFileList(settings, tables, progress).empty() || tables.FileCount() != kFiles ||
        !MatchByCrcAndSize(settings, tables, progress).empty()) {
        std::abort();
    }
}

}  // namespace

void CompareScans(const fs::path& folder) {
    PrintTitle("Scanning " + std::to_string(kFiles) + " files of " + std::to_string(kFileBytes >> 10U) +
               " KiB: walk and checksums, every file in the cache");
    PrintHeader();
    const fs::path roms = folder / "roms";
    const std::vector<std::string> files = MakeFiles(roms);
    const std::string rhashCommand = "rhash -r --crc32 '" + roms.string() + "' > /dev/null";
    const bool haveRhash = std::system("command -v rhash > /dev/null") == 0;
    Best ours;
    Best reading;
    Best rhash;
    JustRead(files);
    for (int round = 0; round < kRounds; ++round) {
        reading.Take(CostOf([&] { JustRead(files); }));
        ours.Take(CostOf([&] { Scan(roms); }));
        if (haveRhash) {
            rhash.Take(CostOf([&] {
                if (std::system(rhashCommand.c_str()) != 0) std::abort();
            }));
        }
    }
    fs::remove_all(roms);
    Print({"scan of a ROM folder", "just reading them", ours.Get(), reading.Get(), "<= 1.30"});
    if (haveRhash) {
        Print({"scan of a ROM folder", "rhash -r --crc32", ours.Get(), rhash.Get(), "<= 0.33"});
    } else {
        std::printf("rhash is not installed\n");
    }
}

void MeasureMatching() {
    PrintTitle("Matching " + std::to_string(kMameGames) + " entries against " +
               std::to_string(kMatchedFiles) + " files; the peer is what is wanted at the most");
    PrintHeader();
    ImportSettings settings;
    settings.RomPath = "C:\\Roms";
    settings.RomPathSlash = "C:\\Roms\\";
    ImportTables tables;
    for (int i = 0; i < kMatchedFiles; ++i) {
        const auto crc = static_cast<std::int32_t>(static_cast<std::uint32_t>(i) * 2654435761U);
        tables.Files.push_back({"C:\\Roms\\rom" + std::to_string(i) + ".zip", i, Hex(crc)});
    }
    for (int i = 0; i < kMameGames; ++i) {
        // Every second one has a file.
        const ScannedFile& file = tables.Files[static_cast<std::size_t>(i)];
        DatafileEntry entry;
        entry.Name = "game" + std::to_string(i);
        entry.FileName = entry.Name + ".zip";
        entry.Crc = file.Crc;
        entry.Size = i % 2 == 0 ? file.Size : -1;
        tables.Entries.push_back(std::move(entry));
    }
    Best ours;
    NoProgress progress;
    for (int round = 0; round < kRounds; ++round) {
        ours.Take(CostOf([&] { MatchEntries(settings, tables, progress); }));
    }
    constexpr double kGoalSeconds = 0.1;
    Print({"matching", "wanted: 100 ms", ours.Get(), {kGoalSeconds, kGoalSeconds}, "<= 1.00"});
}

}  // namespace marrowkit::benchmark
