#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"

namespace marrowkit {

namespace {

bool IsShareOrNamespace(std::string_view path) {
    return path.starts_with("\\\\");
}

/// "\folder\file": on the drive that is current.
std::string OnCurrentDrive(std::string_view path) {
    const auto current = CurrentDrives().ToWindows(CurrentHostFolder());
    if (!current) Raise(RuntimeErrorNumber::PathNotFound);
    return CurrentDrives().ToHost(current->substr(0, 2).append(path));
}

/// A path from the current folder up ("..\a") is worked out on the full text.
std::string BelowCurrentFolder(std::string_view path) {
    std::string exact(path);
    if (LinkStatusOf(exact)) return exact;
    return ResolveBelow("/", PathComponents(CurrentHostFolder() + "/" + exact));
}

}  // namespace

std::string HostPath(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos) Raise(RuntimeErrorNumber::BadFileName);
    if (path.front() == '/') return std::string(path);
    if (HasDriveLetter(path) || IsShareOrNamespace(path)) return CurrentDrives().ToHost(path);
    if (path.front() == '\\') return OnCurrentDrive(path);
    return BelowCurrentFolder(path);
}

}  // namespace marrowkit
