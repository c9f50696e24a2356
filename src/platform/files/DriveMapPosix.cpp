#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/files/DriveMap.h"
#include "platform/files/HostFiles.h"
#include "platform/files/NameLookup.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kUnixNamespace = "\\\\?\\unix\\";
constexpr std::string_view kLongPathPrefix = "\\\\?\\";

/// The nearest folder at or above `hostFolder` that holds a folder `dosdevices`; empty without one.
std::string WinePrefixAbove(const std::string& hostFolder) {
    for (fs::path folder = CanonicalHostPath(hostFolder);; folder = folder.parent_path()) {
        const auto status = StatusOf((folder / "dosdevices").string());
        if (status && status->kind == HostKind::Folder) return folder.string();
        if (!folder.has_relative_path()) return "";
    }
}

std::vector<DriveMap::Drive> DrivesOfPrefix(const std::string& prefix) {
    std::vector<DriveMap::Drive> drives;
    const std::string devices = prefix + "/dosdevices";
    ForEachHostName(devices, [&](const char* name) {
        const std::string_view link(name);
        // "d::" is the device behind drive d:, "com1" a port.
        if (link.size() == 2 && HasDriveLetter(link)) {
            const std::string path = devices + "/" + name;
            const auto status = StatusOf(path);
            if (status && status->kind == HostKind::Folder) {
                drives.push_back({link[0], CanonicalHostPath(path)});
            }
        }
        return true;
    });
    return drives;
}

}  // namespace

DriveMap DriveMap::ForProgramIn(const std::string& hostFolder) {
    std::string prefix = WinePrefixAbove(hostFolder);
    if (prefix.empty()) return {};
    std::vector<Drive> drives = DrivesOfPrefix(prefix);
    return DriveMap(std::move(drives), std::move(prefix));
}

DriveMap::DriveMap() : DriveMap({{'Z', "/"}}) {}

std::string DriveMap::ToHost(std::string_view windowsPath) const {
    if (StartsWithNoCase(windowsPath, kUnixNamespace)) {
        return ResolveBelow("/", PathComponents(windowsPath.substr(kUnixNamespace.size())));
    }
    if (windowsPath.starts_with(kLongPathPrefix)) windowsPath.remove_prefix(kLongPathPrefix.size());
    if (!HasDriveLetter(windowsPath)) Raise(RuntimeErrorNumber::PathNotFound);
    const Drive* drive = FindDrive(windowsPath[0]);
    if (drive == nullptr) Raise(RuntimeErrorNumber::DeviceUnavailable);
    return ResolveBelow(drive->root, PathComponents(windowsPath.substr(2)));
}

std::optional<std::string> DriveMap::ToWindows(std::string_view hostPath) const {
    fs::path path(hostPath);
    if (!path.is_absolute()) return std::nullopt;
    const bool hasDotDot = std::find(path.begin(), path.end(), "..") != path.end();
    path = hasDotDot ? fs::path(CanonicalHostPath(path.string())) : path.lexically_normal();
    if (!path.has_filename() && path.has_relative_path()) path = path.parent_path();

    std::vector<std::pair<const Drive*, HostStatus>> roots;
    for (const Drive& drive : drives_) {
        if (const auto status = StatusOf(drive.root)) roots.emplace_back(&drive, *status);
    }
    std::string tail;
    for (;; path = path.parent_path()) {
        if (const auto status = StatusOf(path.string())) {
            for (const auto& [drive, root] : roots) {
                if (!root.SameFileAs(*status)) continue;
                return std::string(1, drive->letter) + ":" + (tail.empty() ? "\\" : tail);
            }
        }
        if (!path.has_relative_path()) return std::nullopt;
        const std::string name = path.filename().string();
        if (!IsWindowsFileName(name)) return std::nullopt;
        tail.insert(0, "\\" + name);
    }
}

std::string ResolveBelow(const std::string& hostFolder, const std::vector<std::string>& components) {
    std::string exact = hostFolder;
    for (const std::string& component : components) exact = HostPathBelow(exact, component);
    if (LinkStatusOf(exact)) return exact;

    std::string path = hostFolder;
    bool missing = false;
    for (const std::string& component : components) {
        std::string next = HostPathBelow(path, component);
        if (!missing && !LinkStatusOf(next)) {
            const auto name = FindNameNoCase(path, component);
            if (name) {
                next = HostPathBelow(path, *name);
            } else {
                missing = true;
            }
        }
        path = std::move(next);
    }
    return path;
}

}  // namespace marrowkit
