#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace marrowkit::test {

/// A new empty folder under the system's temporary folder, removed with everything in it at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

    /// Every folder in it can be changed again, as far as the user may say so; the end does the same.
    void MakeWritable() const;

private:
    std::filesystem::path path_;
};

/// A whole file's bytes; an empty text for a file that is not there.
std::string ReadFile(const std::filesystem::path& file);
/// Makes missing folders on the way.
void WriteFile(const std::filesystem::path& file, std::string_view bytes);

}  // namespace marrowkit::test
