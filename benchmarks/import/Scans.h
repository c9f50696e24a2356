#pragma once

#include <filesystem>

namespace marrowkit::benchmark {

/// Walking and checksumming 20,000 files of 16 KiB, beside merely opening and reading them and beside rhash.
/// All files have been read before, so the disk plays no part.
void CompareScans(const std::filesystem::path& folder);

/// Finding the files of as many entries as the largest datafile has among 100,000.
void MeasureMatching();

}  // namespace marrowkit::benchmark
