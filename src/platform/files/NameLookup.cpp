#include "platform/files/NameLookup.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <utility>

#include "platform/files/HostFiles.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace {

/// The names of one folder by their lower-case form, as they were when the folder had `status`.
struct FolderNames {
    std::string folder;
    HostStatus status;
    std::unordered_map<std::string, std::string> nameByLowerCase;
};

constexpr std::size_t kRememberedFolders = 4;

/// Time stamps come from a clock that ticks every few milliseconds (seconds on some file systems). A folder
/// that changed this recently may change again under the same stamp, so nothing about it is remembered.
constexpr std::int64_t kSettledAfterNanoseconds = 2'500'000'000;

bool IsSettled(const HostStatus& status) {
    const auto now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    return now - status.modifiedNanoseconds > kSettledAfterNanoseconds;
}

std::optional<std::string> ScanFor(const std::string& hostFolder, std::string_view name) {
    std::optional<std::string> found;
    ForEachHostName(hostFolder, [&](const char* candidate) {
        if (EqualNoCase(candidate, name) && IsValidUtf8(candidate)) found = candidate;
        return !found;
    });
    return found;
}

FolderNames ReadNames(const std::string& hostFolder, const HostStatus& status) {
    FolderNames names{hostFolder, status, {}};
    ForEachHostName(hostFolder, [&](const char* candidate) {
        if (IsValidUtf8(candidate)) names.nameByLowerCase.emplace(LCase(candidate), candidate);
        return true;
    });
    return names;
}

const FolderNames& RememberedNames(const std::string& hostFolder, const HostStatus& status) {
    thread_local std::list<FolderNames> remembered;  // the one used last comes first
    for (auto it = remembered.begin(); it != remembered.end(); ++it) {
        if (it->folder != hostFolder) continue;
        const bool unchanged =
            it->status.SameFileAs(status) && it->status.modifiedNanoseconds == status.modifiedNanoseconds;
        if (!unchanged) *it = ReadNames(hostFolder, status);
        remembered.splice(remembered.begin(), remembered, it);
        return remembered.front();
    }
    remembered.push_front(ReadNames(hostFolder, status));
    if (remembered.size() > kRememberedFolders) remembered.pop_back();
    return remembered.front();
}

}  // namespace

std::optional<std::string> FindNameNoCase(const std::string& hostFolder, std::string_view name) {
    const auto status = StatusOf(hostFolder);
    if (!status || status->kind != HostKind::Folder) return std::nullopt;
    if (!IsSettled(*status)) return ScanFor(hostFolder, name);
    const auto& names = RememberedNames(hostFolder, *status).nameByLowerCase;
    const auto it = names.find(LCase(name));
    if (it == names.end()) return std::nullopt;
    return it->second;
}

}  // namespace marrowkit
