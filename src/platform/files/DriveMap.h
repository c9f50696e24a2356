#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit {

/// Where the drive letters lie among the host's folders, as a Windows program in a Wine prefix sees them.
///
/// On Windows host paths are Windows paths, and a letter that has no entry here is the system's own drive:
/// the map of a program is empty there, and paths pass through it. Only tests put something in.
class DriveMap {
public:
    struct Drive {
        char letter;       // upper case
        std::string root;  // canonical host path
    };

    /// The map for a program in this host folder: the drive links (`dosdevices/c:` ...) of the Wine prefix it
    /// lies in, that is of the nearest folder above it that has a folder `dosdevices`; without one Z: is "/".
    static DriveMap ForProgramIn(const std::string& hostFolder);

    /// Z: is "/"; on Windows empty.
    DriveMap();
    explicit DriveMap(std::vector<Drive> drives, std::string winePrefix = "");

    /// In order of their letters.
    const std::vector<Drive>& Drives() const { return drives_; }
    /// Host path of the Wine prefix; empty outside of one.
    const std::string& WinePrefix() const { return winePrefix_; }

    /// The host path of a path with a drive letter. Each component is found ignoring case, the exact spelling
    /// first; from the first missing one on, the rest is taken as written. "." and ".." are worked out on the
    /// text; dots and blanks at the end of a name do not count, as Windows has it.
    /// Raises 68 for a letter without a drive, 52 for characters that no name may have, 76 for a share
    /// ("\\server\..."), which only Windows can reach. "C:file" is "C:\file"; on Windows it lies in the
    /// folder that is current on that drive.
    std::string ToHost(std::string_view windowsPath) const;

    /// The Windows path of an absolute host path, by the deepest drive above it (folders are compared as the
    /// system's objects, so links on the way do not matter). nullopt when no drive leads there or a component
    /// cannot be a Windows name.
    std::optional<std::string> ToWindows(std::string_view hostPath) const;

private:
    const Drive* FindDrive(char letter) const;

    std::vector<Drive> drives_;
    std::string winePrefix_;
};

/// Finds `components` below a host folder as ToHost does. On Windows the file system itself ignores case, and
/// they are taken as written.
std::string ResolveBelow(const std::string& hostFolder, const std::vector<std::string>& components);

/// The components of a Windows path behind its drive: both separators, "." and ".." worked out, dots and
/// blanks at the end of names cut. Raises 52 for characters that no name may have.
std::vector<std::string> PathComponents(std::string_view path);

}  // namespace marrowkit
