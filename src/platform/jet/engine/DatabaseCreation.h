#pragma once

#include "platform/jet/engine/LocalDatabase.h"

namespace marrowkit::jet {

/// Today's date as page 0 keeps it.
double CreationTime();

/// Makes a file that has nothing but its header and global map into an empty database: the four system
/// tables, with the rows and permissions that Jet itself gives a new database. In its own unit.
void WriteSystemTables(LocalDatabase& database);

}  // namespace marrowkit::jet
