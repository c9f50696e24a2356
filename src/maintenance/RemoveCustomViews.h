#pragma once

#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// Deletes every view and view filter that the user made in the frontend, after a confirmation, and resets
/// the frontend's remembered count of quick filters for this database in the registry. Errors are not
/// trapped. True when the views were removed.
bool RemoveCustomViews(UserInterface& ui, const SelectedNode& database);

}  // namespace marrowkit
