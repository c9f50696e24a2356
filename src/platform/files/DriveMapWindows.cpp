#include <cstddef>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/DriveMap.h"
#include "platform/files/HostFiles.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

namespace {

constexpr std::string_view kLongPathPrefix = R"(\\?\)";
constexpr std::string_view kLongSharePrefix = R"(\\?\UNC\)";

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

bool IsShare(std::string_view path) {
    return path.size() > 2 && IsSeparator(path[0]) && IsSeparator(path[1]) && !IsSeparator(path[2]);
}

void RequireSystemDrive(char letter) {
    const char lower = static_cast<char>(letter | 0x20);
    if ((GetLogicalDrives() >> (lower - 'a') & 1U) == 0) Raise(RuntimeErrorNumber::DeviceUnavailable);
}

/// "C:": the folder that is current on the drive.
std::string CurrentFolderOnDrive(char letter) {
    const std::wstring drive = windows::ToWide(std::string(1, letter) + ":");
    std::wstring folder(GetFullPathNameW(drive.c_str(), 0, nullptr, nullptr), L'\0');
    folder.resize(GetFullPathNameW(drive.c_str(), static_cast<DWORD>(folder.size()), folder.data(), nullptr));
    return windows::FromWidePath(folder);
}

/// "\\server\share\folder": server and share are no names that ".." could take away.
std::string ShareToHost(std::string_view path) {
    const std::size_t server = path.find_first_of("\\/", 2);
    const std::size_t share =
        server == std::string_view::npos ? server : path.find_first_of("\\/", server + 1);
    const std::string root = ResolveBelow(R"(\\)", PathComponents(path.substr(2, share - 2)));
    if (share == std::string_view::npos) return root;
    return ResolveBelow(root, PathComponents(path.substr(share)));
}

/// The text behind a drive's root when the path lies there.
std::optional<std::string_view> TailBelow(std::string_view root, std::string_view path) {
    while (root.ends_with('\\')) root.remove_suffix(1);
    if (!StartsWithNoCase(path, root)) return std::nullopt;
    path.remove_prefix(root.size());
    if (!path.empty() && path.front() != '\\') return std::nullopt;
    return path;
}

}  // namespace

DriveMap::DriveMap() = default;

DriveMap DriveMap::ForProgramIn(const std::string&) {
    return {};
}

std::string DriveMap::ToHost(std::string_view windowsPath) const {
    if (windowsPath.starts_with(kLongSharePrefix)) {
        return ShareToHost(std::string("\\\\").append(windowsPath.substr(kLongSharePrefix.size())));
    }
    if (windowsPath.starts_with(kLongPathPrefix)) windowsPath.remove_prefix(kLongPathPrefix.size());
    if (IsShare(windowsPath)) return ShareToHost(windowsPath);
    if (!HasDriveLetter(windowsPath)) Raise(RuntimeErrorNumber::PathNotFound);
    if (const Drive* drive = FindDrive(windowsPath[0])) {
        return ResolveBelow(drive->root, PathComponents(windowsPath.substr(2)));
    }
    RequireSystemDrive(windowsPath[0]);
    const bool isAbsolute = windowsPath.size() > 2 && IsSeparator(windowsPath[2]);
    const std::string from =
        isAbsolute ? std::string(windowsPath.substr(0, 2)) + "\\" : CurrentFolderOnDrive(windowsPath[0]);
    return ResolveBelow(from, PathComponents(windowsPath.substr(2)));
}

std::optional<std::string> DriveMap::ToWindows(std::string_view hostPath) const {
    const std::string path = windows::FromWidePath(windows::WidePath(hostPath));
    const Drive* deepest = nullptr;
    std::string_view tail;
    for (const Drive& drive : drives_) {
        const auto below = TailBelow(drive.root, path);
        if (!below || (deepest != nullptr && below->size() >= tail.size())) continue;
        deepest = &drive;
        tail = *below;
    }
    if (deepest == nullptr) return IsAbsolutePath(path) ? std::optional(path) : std::nullopt;
    return std::string(1, deepest->letter) + ":" + (tail.empty() ? "\\" : std::string(tail));
}

std::string ResolveBelow(const std::string& hostFolder, const std::vector<std::string>& components) {
    std::string path = hostFolder;
    for (const std::string& component : components) path = HostPathBelow(path, component);
    return path;
}

}  // namespace marrowkit
