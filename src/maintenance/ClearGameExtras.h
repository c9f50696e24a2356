#pragma once

#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// Unlinks every extra file from every game, after a confirmation. The files themselves stay. Needs a
/// database of version 2.1 or higher; a file that is missing counts as too old. Errors are not
/// trapped. True when the extras were cleared.
bool ClearGameExtras(UserInterface& ui, const SelectedNode& database);

}  // namespace marrowkit
