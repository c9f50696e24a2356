#include "global/modGlobal.h"

#include "platform/files/DriveMap.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/installation/LibraryChoice.h"

namespace marrowkit::modGlobal {

std::string LibraryRoot;
bool Expert = false;

std::string VersionText() {
    return std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor);
}

void Start(const std::string& library) {
    std::string chosen = library;
    if (chosen.empty()) chosen = EnvironmentText("MARROWKIT_LIBRARY");
    if (chosen.empty() && IsInstalled()) chosen = RememberedLibrary();
    if (chosen.empty()) {
        LibraryRoot = WithFinalBackslash(ProgramFolder());
        return;
    }
    // The library's own drives count: it may lie in another Wine prefix than the program does, or in none.
    const std::string folder = HostPath(chosen);
    UseDrives(DriveMap::ForProgramIn(folder));
    LibraryRoot = WithFinalBackslash(WindowsPath(folder));
}

}  // namespace marrowkit::modGlobal
