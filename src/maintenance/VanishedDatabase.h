#pragma once

#include "global/UserInterface.h"

namespace marrowkit {

/// Tells that the selected database is not on the disk any more, and rebuilds the tree.
void ReportVanishedDatabase(UserInterface& ui);

}  // namespace marrowkit
