#include "support/TestData.h"

#include <algorithm>
#include <cstdlib>

namespace marrowkit::test {

namespace fs = std::filesystem;

std::optional<fs::path> TestDataFolder() {
    const char* folder = std::getenv("MARROWKIT_TEST_DATA");
    if (folder == nullptr || *folder == '\0') return std::nullopt;
    return fs::path(folder);
}

std::vector<fs::path> SampleFiles(const std::string& folder, const std::string& ending) {
    std::vector<fs::path> files;
    const auto root = TestDataFolder();
    if (!root || !fs::is_directory(*root / folder)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(*root / folder)) {
        if (entry.is_regular_file() && entry.path().extension() == ending) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

fs::path CopySample(const fs::path& sample, const TemporaryFolder& folder) {
    fs::path copy = folder / sample.filename().string();
    WriteFile(copy, ReadFile(sample));
    return copy;
}

}  // namespace marrowkit::test
