#pragma once

#include <string>

#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// Compacts a database file into "vltemp.mdb" in `folderPath` (which ends in "\"), makes sure that no game
/// was lost, and puts the result in the file's place. A leftover temporary file is deleted first.
///
/// All errors are trapped and reported, as are a missing file, a different number of games (the database
/// stays as it was) and success with the sizes before and after. True for the last.
bool CompactSelectedDatabase(UserInterface& ui, const std::string& databasePath,
                             const std::string& folderPath);

/// The menu's way: status text and busy display around it.
bool CompactWithBusyDisplay(UserInterface& ui, const SelectedNode& database);

}  // namespace marrowkit
