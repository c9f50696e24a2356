#pragma once

#include <filesystem>

namespace marrowkit::test {

/// Every table as another reader sees it against ours, cell by cell; adds a failure for each table that
/// differs. Returns how many tables were compared.
int CompareWithMdbTools(const std::filesystem::path& file);
int CompareWithMdbReader(const std::filesystem::path& file);

/// Adds a failure for each problem that the full check finds.
void ExpectSound(const std::filesystem::path& file);

}  // namespace marrowkit::test
