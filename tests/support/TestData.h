#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace marrowkit::test {

/// The folder of sample files that do not belong to the project (databases written by Access, published
/// datafiles), as the environment variable MARROWKIT_TEST_DATA names it. nullopt when it is not set.
std::optional<std::filesystem::path> TestDataFolder();

/// Files with one of these endings (".mdb") below a sample folder ("mdb/jet4"), sorted. Empty without
/// samples.
std::vector<std::filesystem::path> SampleFiles(const std::string& folder, const std::string& ending);

}  // namespace marrowkit::test

/// Skips the running test, saying why, when the sample files are not there.
#define MARROWKIT_NEED_TEST_DATA()            \
    if (!::marrowkit::test::TestDataFolder()) \
    GTEST_SKIP() << "MARROWKIT_TEST_DATA is not set: nothing was compared with genuine sample files"
