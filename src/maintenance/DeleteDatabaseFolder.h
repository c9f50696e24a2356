#pragma once

#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// Deletes a database folder with everything in it, after a confirmation, and rebuilds the tree. Takes the
/// folder's node, whose key ends in "\". Any other node's key names no folder of the library, and is reported
/// like a folder that has gone. An error is not trapped; what was deleted before it stays deleted.
/// True when the folder was deleted.
bool DeleteDatabaseFolder(UserInterface& ui, const SelectedNode& folder);

}  // namespace marrowkit
