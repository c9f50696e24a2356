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

}  // namespace

const DriveMap& CurrentDrives() {
    return Drives();
}

void UseDrives(DriveMap drives) {
    Drives() = std::move(drives);
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
    const bool isAbsolute = host.starts_with('/') || IsAbsolutePath(host);
    const auto windows = Drives().ToWindows(isAbsolute ? host : HostPathBelow(CurrentHostFolder(), host));
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
