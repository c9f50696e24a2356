#include "platform/files/FileSystem.h"

#include <optional>

#include "platform/errors/RuntimeError.h"
#include "platform/files/FolderSearch.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

std::optional<HostStatus> StatusOfPath(std::string_view path) {
    const auto host = TryHostPath(path);
    if (!host) return std::nullopt;
    return StatusOf(*host);
}

bool IsHostRoot(const std::string& hostPath) {
    if (HostParentOf(hostPath) == hostPath) return true;
    const auto status = StatusOf(hostPath);
    if (!status) return false;
    if (const auto root = StatusOf("/"); root && root->SameFileAs(*status)) return true;
    for (const DriveMap::Drive& drive : CurrentDrives().Drives()) {
        const auto root = StatusOf(drive.root);
        if (root && root->SameFileAs(*status)) return true;
    }
    return false;
}

/// The new name as it was typed, in the folder that was found: HostPath gives the existing spelling.
std::string AsTyped(const std::string& hostPath, std::string_view path) {
    return HostPathBelow(HostParentOf(hostPath), FileNameOf(path));
}

}  // namespace

bool PathExists(std::string_view path) {
    const bool isListing = !path.empty() && (path.back() == '\\' || HasWildcards(FileNameOf(path)));
    if (!isListing) return StatusOfPath(path).has_value();
    const std::string pattern = path.back() == '\\' ? std::string(path) + "*" : std::string(path);
    return FileSearch(pattern).Found();
}

bool IsFile(std::string_view path) {
    const auto status = StatusOfPath(path);
    return status && status->kind != HostKind::Folder;
}

bool IsFolder(std::string_view path) {
    const auto status = StatusOfPath(path);
    return status && status->kind == HostKind::Folder;
}

std::int64_t FileLength(std::string_view path) {
    const std::string host = HostPath(path);
    const auto status = StatusOf(host);
    if (!status) RaiseMissingHostFile(host);
    if (status->kind == HostKind::Folder) RaiseHostFolderIsNoFile();
    return static_cast<std::int64_t>(status->size);
}

void FileCopy(std::string_view from, std::string_view to) {
    const std::string source = HostPath(from);
    const std::string target = HostPath(to);
    const auto sourceStatus = StatusOf(source);
    const auto targetStatus = StatusOf(target);
    if (sourceStatus && targetStatus && sourceStatus->SameFileAs(*targetStatus)) {
        Raise(RuntimeErrorNumber::PermissionDenied);
    }
    CopyHostFile(source, target);
}

void MakeFolder(std::string_view path) {
    MakeHostFolder(HostPath(path));
}

void RenameFile(std::string_view from, std::string_view to) {
    const std::string source = HostPath(from);
    const std::string target = HostPath(to);
    if (source != target) return RenameHostEntry(source, target);
    if (!LinkStatusOf(source)) RaiseMissingHostFile(source);
    const std::string typed = AsTyped(target, WithoutFinalBackslash(to));
    if (typed == source) Raise(RuntimeErrorNumber::FileAlreadyExists);
    RenameHostEntry(source, typed);
}

void DeletePath(std::string_view path) {
    if (path.empty()) Raise(RuntimeErrorNumber::PathFileAccess);
    std::string host = HostPath(path);
    while (host.size() > 1 && host.back() == '/') host.pop_back();
    const auto entry = LinkStatusOf(host);
    if (!entry) return;
    if (!entry->isLink && IsHostRoot(host)) Raise(RuntimeErrorNumber::PathFileAccess);
    RemoveHostTree(host);
}

}  // namespace marrowkit
