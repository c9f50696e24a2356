#include "platform/files/FolderSearch.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

std::uint32_t ToAttributes(std::string_view name, const HostStatus& status) {
    std::uint32_t attributes = status.kind == HostKind::Folder ? kAttributeDirectory : kAttributeArchive;
    if (!status.writable) attributes |= kAttributeReadOnly;
    if (IsHiddenEntry(name, status)) attributes |= kAttributeHidden;
    return attributes;
}

/// The folder and all above it, the way its path goes.
std::vector<HostStatus> FoldersUpwards(const std::string& hostFolder) {
    std::vector<HostStatus> folders;
    std::string above = hostFolder;
    for (std::string folder; folder != above; above = HostParentOf(folder)) {
        folder = above;
        if (const auto status = StatusOf(folder)) folders.push_back(*status);
    }
    if (const auto root = StatusOf("/")) folders.push_back(*root);
    return folders;
}

}  // namespace

class FileSearch::Source {
public:
    Source(std::string hostFolder, std::string_view pattern, FoundDetails details)
        : hostFolder_(std::move(hostFolder)),
          reader_(hostFolder_),
          pattern_(pattern),
          // Entries that cannot be looked at are not found, whatever the listing tells of them.
          listingWillDo_(details == FoundDetails::KindOnly && reader_.CanLookAtEntries()) {}

    bool Next(FoundFile& found) {
        while (const char* name = reader_.NextName()) {
            if (!pattern_.Fits(name) || !IsWindowsFileName(name)) continue;
            if (listingWillDo_ && IsListedAsNoFolder()) {
                found.name = name;
                found.attributes = kAttributeArchive;
                return true;
            }
            const auto status = reader_.Status();
            if (!status || (status->kind == HostKind::Folder && LeadsBackUp(*status))) continue;
            found.name = name;
            found.attributes = ToAttributes(found.name, *status);
            const std::uint64_t size = status->kind == HostKind::File ? status->size : 0;
            found.sizeLow = static_cast<std::uint32_t>(size);
            found.sizeHigh = static_cast<std::uint32_t>(size >> 32U);
            return true;
        }
        return false;
    }

private:
    bool IsListedAsNoFolder() const {
        const auto kind = reader_.ListedKind();
        return kind && *kind != HostKind::Folder;
    }

    bool LeadsBackUp(const HostStatus& folder) {
        if (upwards_.empty()) upwards_ = FoldersUpwards(hostFolder_);
        return std::any_of(upwards_.begin(), upwards_.end(),
                           [&folder](const HostStatus& above) { return above.SameFileAs(folder); });
    }

    std::string hostFolder_;
    HostFolderReader reader_;
    Wildcards pattern_;
    bool listingWillDo_;
    std::vector<HostStatus> upwards_;  // found out when the first folder comes up
};

FileSearch::FileSearch(std::string_view pathWithPattern, FoundDetails details) {
    const SplitPathParts parts = SplitPath(pathWithPattern);
    const auto hostFolder = TryHostPath(parts.folder.empty() ? "." : parts.folder);
    if (!hostFolder) return;
    source_ = std::make_unique<Source>(*hostFolder, parts.fileName, details);
    Next();
}

FileSearch::~FileSearch() = default;

bool FileSearch::Next() {
    found_ = source_ != nullptr && source_->Next(current_);
    return found_;
}

std::uint32_t AttributesOf(std::string_view path) {
    const auto host = TryHostPath(path);
    const auto status = host ? StatusOf(*host) : std::nullopt;
    return status ? ToAttributes(FileNameOf(WithoutFinalBackslash(path)), *status) : kAttributesInvalid;
}

std::vector<FoundFile> ListFolder(std::string_view folder, FoundDetails details) {
    std::vector<FoundFile> files;
    for (FileSearch search(WithFinalBackslash(folder) + "*", details); search.Found(); search.Next()) {
        files.push_back(search.Current());
    }
    return files;
}

std::vector<std::string> ListFilesByPattern(std::string_view folder, std::string_view pattern) {
    std::vector<std::string> names;
    for (FileSearch search(WithFinalBackslash(folder).append(pattern)); search.Found(); search.Next()) {
        const FoundFile& file = search.Current();
        if ((file.attributes & (kAttributeDirectory | kAttributeHidden)) == 0) names.push_back(file.name);
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        const int order = CompareNoCase(a, b);
        return order != 0 ? order < 0 : a < b;
    });
    return names;
}

}  // namespace marrowkit
