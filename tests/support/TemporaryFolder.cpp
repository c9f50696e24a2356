#include "support/TemporaryFolder.h"

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace marrowkit::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("marrowkit-" + std::to_string(random()));
    } while (!fs::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder() {
    MakeWritable();
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void TemporaryFolder::MakeWritable() const {
    std::error_code ignored;
    const auto makeWritable = [&ignored](const fs::path& folder) {
        fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, ignored);
    };
    makeWritable(path_);
    for (fs::recursive_directory_iterator it(path_, ignored), end; !ignored && it != end;
         it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored)) makeWritable(it->path());
    }
}

std::string ReadFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFile(const fs::path& file, std::string_view bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace marrowkit::test
