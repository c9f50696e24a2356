#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files/Wildcards.h"

namespace marrowkit {

// The platform's attribute bits.
inline constexpr std::uint32_t kAttributeReadOnly = 0x01;
inline constexpr std::uint32_t kAttributeHidden = 0x02;  // on the host: the name begins with a dot
inline constexpr std::uint32_t kAttributeDirectory = 0x10;
inline constexpr std::uint32_t kAttributeArchive = 0x20;
/// What AttributesOf gives when it cannot look: all bits set.
inline constexpr std::uint32_t kAttributesInvalid = 0xFFFFFFFF;

/// One name that a search found. Attributes and size are those of what a link leads to.
struct FoundFile {
    std::string name;
    std::uint32_t attributes = 0;
    std::uint32_t sizeLow = 0;
    std::uint32_t sizeHigh = 0;

    bool IsFolder() const { return (attributes & kAttributeDirectory) != 0; }
};

/// How much a search finds out about each name. KindOnly: no sizes, and of the attributes only whether it is
/// a folder. The listing tells that by itself on most file systems, so that a file costs no status call.
enum class FoundDetails { All, KindOnly };

/// A folder search, as with the platform's FindFirst/FindNext:
///     for (FileSearch search("C:\Roms\*.zip"); search.Found(); search.Next()) ... search.Current() ...
/// Entries come in the file system's order, read as the search goes on; each costs at most one status call
/// and no path resolution. Left out: "." and "..", names that no Windows name can be, dangling links, and
/// folders that are the searched folder itself or one above it (a link back up would make a walk endless). A
/// folder that is missing or cannot be read finds nothing.
class FileSearch {
public:
    /// Folder, "\" and a name or pattern (platform/files/Wildcards.h).
    explicit FileSearch(std::string_view pathWithPattern, FoundDetails details = FoundDetails::All);
    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;
    ~FileSearch();

    bool Found() const { return found_; }
    /// REQUIRES: Found().
    const FoundFile& Current() const { return current_; }
    /// Looks for the next one; the same as Found() afterwards.
    bool Next();

private:
    class Source;
    std::unique_ptr<Source> source_;
    FoundFile current_;
    bool found_ = false;
};

/// kAttributesInvalid when there is nothing of that name, or no way to look.
std::uint32_t AttributesOf(std::string_view path);

/// Everything in a folder, in the file system's order. Empty for a folder that cannot be read.
std::vector<FoundFile> ListFolder(std::string_view folder, FoundDetails details = FoundDetails::All);

/// What a file-list control shows: the names of files (no folders, nothing hidden) that fit the pattern,
/// in alphabetical order ignoring case.
std::vector<std::string> ListFilesByPattern(std::string_view folder, std::string_view pattern);

}  // namespace marrowkit
