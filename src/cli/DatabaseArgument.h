#pragma once

#include <string>

namespace marrowkit::cli {

/// The Windows path of the database that an argument DB means: one of the library by its name, else the file
/// itself (a path of the host or of Windows). Whether there is such a file is for the operation to find out.
std::string DatabaseOf(const std::string& argument);

/// The line of --help about it.
inline constexpr const char* kDatabaseHelp = "A database's name in the library, or the path of an .mdb file";

}  // namespace marrowkit::cli
