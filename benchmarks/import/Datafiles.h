#pragma once

#include <filesystem>
#include <string>

namespace marrowkit::benchmark {

/// A datafile to import: a genuine one where MARROWKIT_TEST_DATA leads to it, else an invented one of as many
/// games, which is written into `folder`.
struct Datafile {
    std::filesystem::path path;
    std::string name;  ///< for the table
};

inline constexpr int kMameGames = 74'157;
inline constexpr int kTosecGames = 12'951;

Datafile MameDatafile(const std::filesystem::path& folder);
Datafile TosecDatafile(const std::filesystem::path& folder);

/// Lines like those of an arcade datafile: sets of fifteen files.
std::filesystem::path InventDatafile(const std::filesystem::path& folder, int games);

/// Puts Empty.mdb there: the frontend's template, genuine or of our making.
void MakeTemplate(const std::filesystem::path& library);

}  // namespace marrowkit::benchmark
