// CalculateFile over a folder of small files, beside merely reading them and beside rhash, when that is
// installed. The files are read once before, so that the disk plays no part. The figures are the best of
// several rounds taken in turn, so that a busy moment of the machine does not hit one side only.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include <sys/stat.h>

#include "checksum/clsCRC.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFiles = 20000;
constexpr std::size_t kFileBytes = 16u << 10;
constexpr int kRounds = 7;

std::vector<std::string> MakeFiles(const fs::path& folder) {
    std::mt19937 random(1);
    std::string content(kFileBytes, '\0');
    std::vector<std::string> files;
    for (int i = 0; i < kFiles; ++i) {
        for (std::size_t at = 0; at < 64; ++at) content[at] = static_cast<char>(random());
        files.push_back((folder / ("rom" + std::to_string(i) + ".bin")).string());
        std::ofstream(files.back(), std::ios::binary) << content;
    }
    return files;
}

/// What any program has to do to have the bytes in memory.
void JustRead(const std::vector<std::string>& files) {
    std::vector<char> buffer(256u << 10);
    for (const std::string& file : files) {
        const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status;
        if (descriptor < 0 || ::fstat(descriptor, &status) != 0) std::abort();
        if (::read(descriptor, buffer.data(), static_cast<std::size_t>(status.st_size)) != status.st_size) {
            std::abort();
        }
        ::close(descriptor);
    }
}

void Checksum(const std::vector<std::string>& files) {
    marrowkit::clsCRC crc;
    for (const std::string& file : files) {
        marrowkit::WholeFileReader reader(file.c_str());
        if (!crc.CalculateOpenFile(reader)) std::abort();
    }
}

double MillisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / ("crc-files-" + std::to_string(::getpid()));
    fs::create_directory(folder);
    const std::vector<std::string> files = MakeFiles(folder);
    const std::string rhashCommand = "rhash --crc32 -r '" + folder.string() + "' > /dev/null";
    const bool haveRhash = std::system("command -v rhash > /dev/null") == 0;

    double reading = 1e9;
    double summing = 1e9;
    double rhash = 1e9;
    JustRead(files);
    for (int round = 0; round < kRounds; ++round) {
        reading = std::min(reading, MillisecondsOf([&] { JustRead(files); }));
        summing = std::min(summing, MillisecondsOf([&] { Checksum(files); }));
        if (haveRhash) {
            rhash = std::min(rhash, MillisecondsOf([&] {
                                 if (std::system(rhashCommand.c_str()) != 0) std::abort();
                             }));
        }
    }
    fs::remove_all(folder);

    std::printf("%d files of %zu bytes, best of %d\n", kFiles, kFileBytes, kRounds);
    std::printf("just reading    %8.1f ms\n", reading);
    std::printf("CalculateFile   %8.1f ms  = %.2f x just reading\n", summing, summing / reading);
    if (haveRhash) {
        std::printf("rhash --crc32   %8.1f ms  = %.2f x CalculateFile\n", rhash, rhash / summing);
    } else {
        std::printf("rhash is not installed\n");
    }
    return 0;
}
