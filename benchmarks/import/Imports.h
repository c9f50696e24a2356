#pragma once

#include <filesystem>
#include <string>

namespace marrowkit::benchmark {

/// Imports a datafile into a new database of the library, every stage of it, and returns the database file.
/// Ends the program when that fails.
std::filesystem::path Import(const std::filesystem::path& datafile, bool tosec,
                             const std::filesystem::path& library);

/// Whole imports beside SQLite inserting the rows that came out of them.
void CompareImports(const std::filesystem::path& folder);

/// Imports of ever more games, each in a process of its own: time for each game, memory at the most.
void MeasureGrowth(const std::filesystem::path& folder);

}  // namespace marrowkit::benchmark
