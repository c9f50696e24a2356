#include "Datafiles.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>

#include "creation/TemplateDatabase.h"

namespace marrowkit::benchmark {

namespace fs = std::filesystem;

namespace {

constexpr int kFilesOfASet = 15;

fs::path Genuine(const char* file) {
    const char* folder = std::getenv("MARROWKIT_TEST_DATA");
    const fs::path path = folder == nullptr ? fs::path() : fs::path(folder) / file;
    return fs::exists(path) ? path : fs::path();
}

fs::path Write(const fs::path& path, int games, const std::function<std::string(int)>& line) {
    std::ofstream file(path, std::ios::binary);
    file << "[DAT]\r\nversion=2.00\r\n[GAMES]\r\n";
    for (int game = 0; game < games; ++game) file << line(game);
    return path;
}

std::string Number(const char* format, unsigned number) {
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

unsigned Scattered(int game) {
    return static_cast<unsigned>(game) * 2654435761U;
}

std::string ArcadeLine(int game) {
    const std::string set = Number("set%06u", Scattered(game / kFilesOfASet) % 1'000'000U);
    const std::string text = "The Adventures of " + set + " (World)";
    return "\xAC" + set + "\xAC" + text + "\xAC" + set + "\xAC" + text + "\xAC" + set + "-" +
           Number("%02u", static_cast<unsigned>(game % kFilesOfASet)) + ".bin\xAC" +
           Number("%08x", Scattered(game)) + "\xAC" + std::to_string(1024 << (game % 8)) + "\xAC\xAC\xAC\r\n";
}

std::string TosecLine(int game) {
    const std::string name = "Game " + Number("%08X", Scattered(game)) + " (19" +
                             std::to_string(80 + game % 20) + ")(Publisher " + std::to_string(game / 12) +
                             ")" + (game % 3 == 0 ? "(de)" : "") +
                             (game % 5 == 0 ? "[cr Crew " + std::to_string(game % 300) + "]" : "") +
                             (game % 9 == 0 ? "[t +3]" : "");
    return "\xAC" + name + "\xAC" + name + "\xAC" + name + "\xAC" + name + "\xAC" + name + ".st\xAC" +
           Number("%08x", Scattered(game)) +
           "\xAC"
           "737280\xAC\xAC\xAC\r\n";
}

}  // namespace

Datafile MameDatafile(const fs::path& folder) {
    const fs::path genuine = Genuine("datafiles/MAME v0.83.dat");
    if (!genuine.empty()) return {genuine, genuine.stem().string()};
    return {InventDatafile(folder, kMameGames), "invented arcade games"};
}

Datafile TosecDatafile(const fs::path& folder) {
    const fs::path genuine = Genuine("datafiles/Atari ST - TOSEC.dat");
    if (!genuine.empty()) return {genuine, genuine.stem().string()};
    return {Write(folder / "invented - TOSEC.dat", kTosecGames, TosecLine), "invented TOSEC games"};
}

fs::path InventDatafile(const fs::path& folder, int games) {
    return Write(folder / ("invented " + std::to_string(games) + ".dat"), games, ArcadeLine);
}

void MakeTemplate(const fs::path& library) {
    const fs::path genuine = Genuine("template/Empty.mdb");
    if (genuine.empty()) {
        CreateTemplateDatabase((library / "Empty.mdb").string(), jet::JetVersion::Jet4, kNewestSchemaVersion);
    } else {
        fs::copy_file(genuine, library / "Empty.mdb");
    }
}

}  // namespace marrowkit::benchmark
