#pragma once

#include "import/ImportProgress.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Collects the distinct extensions of the entries' file names (from the last dot, in upper case) into
/// tables.FileTypes, and appends each with ";" to tables.RomExtensionList. A file name without a dot adds
/// nothing. True when there is at least one and the import was not cancelled.
bool BuildFileTypes(ImportTables& tables, ImportProgress& progress);

}  // namespace marrowkit
