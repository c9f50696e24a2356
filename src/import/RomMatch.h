#pragma once

#include <string>

#include "import/ImportProgress.h"
#include "import/ImportSettings.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Gives every scanned file its size and checksum, and marks the entries that have one of them: equal CRC
/// text and equal size. The first such file of the list wins for every entry. CRC texts are compared as they
/// stand: ours never has leading zeros, a datafile's keeps them, so such an entry is never found; that is
/// meant.
///
/// Builds tables.RomExtensionList unless settings.MatchExtensionsOnly, in which case it is there already.
/// Shows its own prompts. Returns an empty text, or the text of the error that ended it; entries matched
/// until then, or until the import was cancelled, stay matched. A size that overflows (6) comes before every
/// other trouble with the files, as if the walk had asked for the sizes.
/// REQUIRES: tables.Files is not empty.
std::string MatchByCrcAndSize(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress);

/// Its second half: the files have their checksums.
void MatchEntries(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress);

}  // namespace marrowkit
