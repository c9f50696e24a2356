#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"

namespace marrowkit {

namespace {

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

/// "\folder\file": on the drive that is current.
std::string OnCurrentDrive(std::string_view path) {
    const std::string current = WindowsPath(CurrentHostFolder());
    if (!HasDriveLetter(current)) Raise(RuntimeErrorNumber::PathNotFound);
    return CurrentDrives().ToHost(current.substr(0, 2).append(path));
}

}  // namespace

std::string HostPath(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos) Raise(RuntimeErrorNumber::BadFileName);
    const bool isShare = path.size() > 1 && IsSeparator(path[0]) && IsSeparator(path[1]);
    if (HasDriveLetter(path) || isShare) return CurrentDrives().ToHost(path);
    if (IsSeparator(path.front())) return OnCurrentDrive(path);
    // On the full text, so that "..\a" is worked out. The current folder is a host path: no map applies to
    // it.
    return DriveMap().ToHost(CurrentHostFolder().append("\\").append(path));
}

}  // namespace marrowkit
