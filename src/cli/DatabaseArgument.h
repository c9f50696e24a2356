#pragma once

#include <string>

#include "maintenance/SelectedNode.h"

namespace marrowkit::cli {

/// The Windows path of the database that an argument DB means: one of the library by its name, else the file
/// itself or the one in its folder (a path of the host or of Windows). Whether there is such a file is for
/// the operation to find out.
std::string DatabaseOf(const std::string& argument);

/// The same as if the database's node were selected in the library tree.
SelectedNode DatabaseNode(const std::string& argument);

/// Why a new database cannot have this name: what the name dialog would not let pass, and names that lead
/// nowhere. Empty when it can.
std::string ObjectionToDatabaseName(const std::string& name);

/// The line of --help about DB.
inline constexpr const char* kDatabaseHelp = "A database's name in the library, or the path of an .mdb file";

}  // namespace marrowkit::cli
