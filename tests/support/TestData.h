#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// The folder of sample files that do not belong to the project (databases written by Access, published
/// datafiles), as the environment variable MARROWKIT_TEST_DATA names it. nullopt when it is not set.
std::optional<std::filesystem::path> TestDataFolder();

/// Files with one of these endings (".mdb") below a sample folder ("mdb/jet4"), sorted. Empty without
/// samples.
std::vector<std::filesystem::path> SampleFiles(const std::string& folder, const std::string& ending);

/// A copy of the same name that may be changed whatever the sample may; in place of an earlier one. Whoever
/// does more than read works on one: other tests read the samples at the same time.
std::filesystem::path CopySample(const std::filesystem::path& sample, const TemporaryFolder& folder);

}  // namespace marrowkit::test

/// Skips the running test, saying why, when the sample files are not there.
#define MARROWKIT_NEED_TEST_DATA()            \
    if (!::marrowkit::test::TestDataFolder()) \
    GTEST_SKIP() << "MARROWKIT_TEST_DATA is not set: nothing was compared with genuine sample files"
