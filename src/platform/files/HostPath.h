#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files/DriveMap.h"

namespace marrowkit {

/// The drives of this process: those of the program's own folder, unless UseDrives said otherwise. Not for
/// use from several threads before the first call has returned.
const DriveMap& CurrentDrives();

/// Replaces them: for a library folder outside the program's own (DriveMap::ForProgramIn), and for tests.
void UseDrives(DriveMap drives);

/// The host path of a path in either form: with a drive letter (any case, either separator), absolute on the
/// host ("/srv/a.mdb"), or relative to the current folder. What does not exist (yet) is taken as written.
/// Raises 52 for an empty path or characters that no name may have, 68 for an unknown drive, and (but on
/// Windows) 76 for a share.
/// On Windows both forms are one: an absolute path with backslashes and without "." and "..".
std::string HostPath(std::string_view path);
/// The same, nullopt in place of an error.
std::optional<std::string> TryHostPath(std::string_view path);

/// The Windows path of a path in either form. Raises 52 when it cannot have one.
std::string WindowsPath(std::string_view path);

/// The folder of the running program as a Windows path, without a final "\" (but "C:\").
std::string ProgramFolder();

}  // namespace marrowkit
