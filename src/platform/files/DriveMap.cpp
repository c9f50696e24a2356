#include "platform/files/DriveMap.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/NameLookup.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"
#include "platform/text/Utf8.h"

namespace marrowkit {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kUnixNamespace = "\\\\?\\unix\\";
constexpr std::string_view kLongPathPrefix = "\\\\?\\";

char UpperLetter(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

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
                drives.push_back({UpperLetter(link[0]), CanonicalHostPath(path)});
            }
        }
        return true;
    });
    return drives;
}

void AddComponent(std::vector<std::string>& components, std::string_view component) {
    if (component.empty() || component == ".") return;
    if (component == "..") {
        if (!components.empty()) components.pop_back();
        return;
    }
    const std::size_t end = component.find_last_not_of(". ");
    if (end == std::string_view::npos) return;
    component = component.substr(0, end + 1);
    if (!IsWindowsFileName(component)) Raise(RuntimeErrorNumber::BadFileName);
    components.emplace_back(component);
}

std::string Below(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (path.empty() || path.back() != '/') path.push_back('/');
    return path.append(name);
}

}  // namespace

DriveMap DriveMap::ForProgramIn(const std::string& hostFolder) {
    std::string prefix = WinePrefixAbove(hostFolder);
    if (prefix.empty()) return {};
    std::vector<Drive> drives = DrivesOfPrefix(prefix);
    return DriveMap(std::move(drives), std::move(prefix));
}

DriveMap::DriveMap() : DriveMap({{'Z', "/"}}) {}

DriveMap::DriveMap(std::vector<Drive> drives, std::string winePrefix)
    : drives_(std::move(drives)), winePrefix_(std::move(winePrefix)) {
    std::sort(drives_.begin(), drives_.end(),
              [](const Drive& a, const Drive& b) { return a.letter < b.letter; });
}

const DriveMap::Drive* DriveMap::FindDrive(char letter) const {
    const auto drive = std::find_if(drives_.begin(), drives_.end(),
                                    [letter](const Drive& d) { return d.letter == UpperLetter(letter); });
    return drive == drives_.end() ? nullptr : &*drive;
}

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

std::vector<std::string> PathComponents(std::string_view path) {
    std::vector<std::string> components;
    std::size_t from = 0;
    for (;;) {
        const std::size_t at = path.find_first_of("\\/", from);
        AddComponent(components, path.substr(from, at == std::string_view::npos ? at : at - from));
        if (at == std::string_view::npos) return components;
        from = at + 1;
    }
}

std::string ResolveBelow(const std::string& hostFolder, const std::vector<std::string>& components) {
    std::string exact = hostFolder;
    for (const std::string& component : components) exact = Below(exact, component);
    if (LinkStatusOf(exact)) return exact;

    std::string path = hostFolder;
    bool missing = false;
    for (const std::string& component : components) {
        std::string next = Below(path, component);
        if (!missing && !LinkStatusOf(next)) {
            const auto name = FindNameNoCase(path, component);
            if (name) {
                next = Below(path, *name);
            } else {
                missing = true;
            }
        }
        path = std::move(next);
    }
    return path;
}

}  // namespace marrowkit
