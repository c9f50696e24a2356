// How long the main window takes to show a library: F5 over many database folders, each with an icon of its
// own and the usual side files, all of it in the file system's cache.
//
//   library_benchmark [FOLDERS...]      default: 1000 2000 5000 10000
//
// The library is made below TMPDIR; /dev/shm makes and removes it quickly.
#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "global/modGlobal.h"
#include "maintenance/LibraryTree.h"
#include "platform/files/HostPath.h"
#include "shell/frmMain.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;

constexpr int kRuns = 7;

void Write(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

/// A GIF of 32 by 32 pixels, white around a square of a colour. Its pixels are not compressed: the table of
/// codes is cleared before the codes would need a ninth bit.
std::string Gif(int colour) {
    constexpr int kPixels = 32;
    constexpr int kColours = 128;
    constexpr char kClear = static_cast<char>(kColours);
    constexpr char kEnd = static_cast<char>(kColours + 1);
    std::string gif("GIF89a\x20\0\x20\0\xF6\0\0", 13);
    for (int i = 0; i < kColours; ++i) {
        const bool white = i == 0;
        for (const int part : {2 * i, 255 - i, (i * 37) % 256}) gif += static_cast<char>(white ? 255 : part);
    }
    gif += std::string("\x2C\0\0\0\0\x20\0\x20\0\0\x07", 11);
    std::string codes;
    for (int i = 0; i < kPixels * kPixels; ++i) {
        if (i % 100 == 0) codes += kClear;
        const int x = i % kPixels;
        const int y = i / kPixels;
        const bool inside = x >= 6 && x < 26 && y >= 6 && y < 26;
        codes += static_cast<char>(inside ? 1 + colour % (kColours - 1) : 0);
    }
    codes += kEnd;
    for (std::size_t at = 0; at < codes.size(); at += 255) {
        const std::string block = codes.substr(at, 255);
        gif += static_cast<char>(block.size());
        gif += block;
    }
    return gif + std::string("\0;", 2);
}

void MakeFolders(const fs::path& library, int from, int to) {
    for (int i = from; i < to; ++i) {
        const std::string name = "Database " + std::to_string(i);
        const fs::path folder = library / name;
        for (const char* subfolder : {"Gfx", "Scripts", "Sounds", "Splash"})
            fs::create_directories(folder / subfolder);
        for (const char* file :
             {"Credits.ini", "Emulators.ini", "Paths.ini", "Text.ini", "Credits.txt", "Scripts/Start.txt"})
            Write(folder / file, "\r\n");
        Write(folder / (name + ".mdb"), "x");
        Write(folder / "Gfx/Startup_32x32.gif", Gif(i));
    }
}

/// Best and middle one of some runs, in milliseconds.
struct Times {
    double best = 0;
    double median = 0;
};

Times Measure(const std::function<void()>& work) {
    std::vector<double> milliseconds;
    for (int run = 0; run < kRuns; ++run) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        milliseconds.push_back(took.count());
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    return {milliseconds.front(), milliseconds[kRuns / 2]};
}

int Run(const std::vector<int>& sizes) {
    std::string folder = (fs::temp_directory_path() / "marrowkit-library-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return 1;
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    const fs::path library = fs::path(folder) / "Library";
    fs::create_directories(library);
    modGlobal::LibraryRoot = WindowsPath(library.string()) + "\\";
    frmMain window("-NOMSGBOX");
    window.Start();

    std::printf("# milliseconds of %d runs; 12 nodes and an icon for each folder\n", kRuns);
    std::printf("%8s %14s %14s %14s %16s\n", "folders", "refresh, best", "median", "disk alone",
                "us per folder");
    int made = 0;
    for (const int folders : sizes) {
        MakeFolders(library, made, folders);
        made = folders;
        const Times disk = Measure([] { ReadLibraryTree(); });
        const Times refresh = Measure([&] {
            window.RefreshLibraryTree();
            QApplication::processEvents();  // until it has been painted
        });
        if (window.ImageCount() != 5U + static_cast<unsigned>(folders)) return 1;
        std::printf("%8d %14.1f %14.1f %14.1f %16.1f\n", folders, refresh.best, refresh.median, disk.best,
                    refresh.best * 1000 / folders);
        std::fflush(stdout);
    }
    fs::remove_all(folder);
    return 0;
}

}  // namespace
}  // namespace marrowkit

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    std::vector<int> sizes;
    for (int i = 1; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
    if (sizes.empty()) sizes = {1000, 2000, 5000, 10000};
    std::sort(sizes.begin(), sizes.end());
    return marrowkit::Run(sizes);
}
