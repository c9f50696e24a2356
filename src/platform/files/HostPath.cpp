#include "platform/files/HostPath.h"

#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/Paths.h"

namespace marrowkit {

namespace {

DriveMap& Drives() {
    static DriveMap drives = DriveMap::ForProgramIn(ProgramHostFolder());
    return drives;
}

bool IsShareOrNamespace(std::string_view path) {
    return path.starts_with("\\\\");
}

/// "\folder\file": on the drive that is current.
std::string OnCurrentDrive(std::string_view path) {
    const auto current = Drives().ToWindows(CurrentHostFolder());
    if (!current) Raise(RuntimeErrorNumber::PathNotFound);
    return Drives().ToHost(current->substr(0, 2).append(path));
}

/// A path from the current folder up ("..\a") is worked out on the full text.
std::string BelowCurrentFolder(std::string_view path) {
    std::string exact(path);
    if (LinkStatusOf(exact)) return exact;
    return ResolveBelow("/", PathComponents(CurrentHostFolder() + "/" + exact));
}

}  // namespace

const DriveMap& CurrentDrives() {
    return Drives();
}

void UseDrives(DriveMap drives) {
    Drives() = std::move(drives);
}

std::string HostPath(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos) Raise(RuntimeErrorNumber::BadFileName);
    if (path.front() == '/') return std::string(path);
    if (HasDriveLetter(path) || IsShareOrNamespace(path)) return Drives().ToHost(path);
    if (path.front() == '\\') return OnCurrentDrive(path);
    return BelowCurrentFolder(path);
}

std::string WindowsPath(std::string_view path) {
    if (HasDriveLetter(path) && IsAbsolutePath(path)) {
        std::string text(path);
        for (char& c : text) {
            if (c == '/') c = '\\';
        }
        return text;
    }
    const std::string host = HostPath(path);
    const auto windows = Drives().ToWindows(host.front() == '/' ? host : CurrentHostFolder() + "/" + host);
    if (!windows) Raise(RuntimeErrorNumber::BadFileName);
    return *windows;
}

std::optional<std::string> TryHostPath(std::string_view path) {
    try {
        return HostPath(path);
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

std::string ProgramFolder() {
    return WindowsPath(ProgramHostFolder());
}

}  // namespace marrowkit
