#pragma once

#include "global/UserInterface.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// Scan and fix: replaces Nulls that the frontend stumbles over by neutral values, and length types that it
/// does not know by 19. Which statements apply depends on the database's version. Each is a change of its
/// own: what ran before an error, which is not trapped here, stays.
///
/// Results are reported by messages: a missing file, a version below 2.0, and success. True for the last.
bool FixNullData(UserInterface& ui, const SelectedNode& database);

/// The menu's way: FixNullData with status text and busy display around it.
bool ScanAndFixErrors(UserInterface& ui, const SelectedNode& database);

}  // namespace marrowkit
