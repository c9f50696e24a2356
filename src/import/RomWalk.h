#pragma once

#include <string>

#include "import/ImportProgress.h"
#include "import/ImportSettings.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Lists the ROM folder and the folders below it in tables.Files, unsorted: first all entries of a folder,
/// subfolders listed like files, then subfolder by subfolder what lies in each. With
/// settings.MatchExtensionsOnly only names that end in one of tables.FileTypes, type after type.
///
/// Sizes come with the checksums (RomMatch.h), from the file when it is open: asking for them here would cost
/// as much again as opening it.
///
/// A folder that cannot be read adds nothing. Returns an empty text, or the text of the error that ended the
/// walk: 6 for a folder with more than 32767 subfolders.
std::string PrepareFileList(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress);

}  // namespace marrowkit
